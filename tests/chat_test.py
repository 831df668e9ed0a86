#!/usr/bin/env python3
"""The chat server with three clients, and what each of them saw.

chat_test.py SERVER CLIENT PYTHON_CLIENT [LIBRARY]

Without a library the third client is the one in C as well.
"""
import re
import subprocess
import sys
import threading
import time

server_file, client_file, python_client, *library = sys.argv[1:]
running = []


class Program:
    def __init__(self, *command):
        self.process = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, bufsize=0)
        self.seen = ""
        self.reader = threading.Thread(target=self.read, daemon=True)
        self.reader.start()
        running.append(self.process)

    def read(self):
        while text := self.process.stdout.readline():
            self.seen += text

    def type(self, text):
        self.process.stdin.write(text)

    def sees(self, text, seconds=10):
        end = time.monotonic() + seconds
        while text not in self.seen:
            assert time.monotonic() < end, f"{self.process.args} doesn't see {text!r} but {self.seen!r}"
            time.sleep(0.005)

    def ends(self, status):
        assert self.process.wait(10) == status, f"{self.process.args} ended with {self.process.returncode}"
        self.reader.join(10)


def all_see(programs, text):
    for program in programs:
        program.sees(text)


def test():
    server = Program(server_file, "0")
    server.sees("beacon at port")
    port = re.search(r"beacon at port (\d+)", server.seen)[1]
    greeting = server.seen

    anna = Program(client_file, "anna", port)
    server.sees("anna is here\n")
    bert = Program(client_file, "bert", port)
    all_see((anna, bert), "bert is here\n")
    python = (sys.executable, python_client, "cleo", "--port", port, "--library", *library)
    cleo = Program(*(python if library else (client_file, "cleo", port)))
    everybody = (server, anna, bert, cleo)
    all_see(everybody, "cleo is here\n")

    anna.type("hello\n")
    all_see(everybody, "anna: hello\n")
    cleo.type("two lines\nat once\n")
    all_see(everybody, "cleo: two lines\ncleo: at once\n")
    bert.type("half a line ")
    bert.type("and the rest\n")
    all_see(everybody, "bert: half a line and the rest\n")
    # All talk at once: whatever the order, it is the same one for everybody.
    for i in range(50):
        for talking in (anna, bert, cleo):
            talking.type(f"line {i}\n")
    for name in ("anna", "bert", "cleo"):
        all_see(everybody, f"{name}: line 49\n")

    anna.process.stdin.close()
    anna.ends(0)
    all_see((server, bert, cleo), "anna has left\n")
    bert.process.kill()
    bert.ends(-9)
    all_see((server, cleo), "bert has left\n")
    cleo.type("only me\n")
    all_see((server, cleo), "cleo: only me\n")
    cleo.process.stdin.close()
    cleo.ends(0)
    server.ends(0)

    whole = server.seen.removeprefix(greeting)
    assert whole.count("\n") == 3 + 4 + 150 + 3 + 1, whole
    assert whole.endswith("cleo: only me\ncleo has left\n"), whole
    for program, first, last in ((anna, "anna is here\n", None), (bert, "bert is here\n", "anna has left\n"),
                                 (cleo, "cleo is here\n", "cleo: only me\n")):
        part = whole[whole.index(first):]
        if last:
            part = part[:part.index(last) + len(last)]
        # Up to the moment at which the client left, which is anna's own affair.
        assert part.startswith(program.seen) and (not last or program.seen == part), \
            f"{first!r}: {program.seen!r}\nof {part!r}"
    assert anna.seen.count("\n") >= 7, anna.seen

    nobody = subprocess.run([client_file, "x" * 31], capture_output=True, timeout=10)
    assert nobody.returncode == 2, nobody
    print(f"{whole.count(chr(10))} lines, {'two clients in C and one in Python' if library else 'three clients in C'}")


try:
    test()
finally:
    for process in running:
        process.kill()
