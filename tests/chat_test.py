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

    def ends(self, status):
        assert self.process.wait(10) == status, f"{self.process.args} ended with {self.process.returncode}"
        self.reader.join(10)


def all_see(programs, text):
    end = time.monotonic() + 10
    for program in programs:
        while text not in program.seen:
            assert time.monotonic() < end, f"{program.process.args} doesn't see {text!r} but {program.seen!r}"
            time.sleep(0.005)


def test():
    server = Program(server_file, "0")
    all_see([server], "beacon at port")
    port = re.search(r"beacon at port (\d+)", server.seen)[1]
    greeting = server.seen

    anna = Program(client_file, "anna", port)
    all_see([server], "anna is here\n")
    bert = Program(client_file, "bert", port)
    all_see([anna, bert], "bert is here\n")
    python = (sys.executable, python_client, "cleo", "--port", port, "--library", *library)
    cleo = Program(*(python if library else (client_file, "cleo", port)))
    everybody = [server, anna, bert, cleo]
    all_see(everybody, "cleo is here\n")

    cleo.type("two lines\nat once\n")
    all_see(everybody, "cleo: two lines\ncleo: at once\n")
    bert.type("half a line ")
    bert.type("and the rest\n")
    all_see(everybody, "bert: half a line and the rest\n")
    for i in range(50):
        for talking in (anna, bert, cleo):
            talking.type(f"line {i}\n")
    for name in ("anna", "bert", "cleo"):
        all_see(everybody, f"{name}: line 49\n")

    anna.process.stdin.close()
    anna.ends(0)
    all_see([server, bert, cleo], "anna has left\n")
    bert.process.kill()
    bert.ends(-9)
    all_see([server, cleo], "bert has left\n")
    cleo.type("only me\n")
    all_see([server, cleo], "cleo: only me\n")
    cleo.process.stdin.close()
    cleo.ends(0)
    server.ends(0)

    # Whatever the order, it is the same one for everybody.
    whole = server.seen.removeprefix(greeting)
    assert whole.count("\n") == 3 + 3 + 150 + 3 + 1 and whole.endswith("cleo: only me\ncleo has left\n"), whole
    for client, name in ((anna, "anna"), (bert, "bert"), (cleo, "cleo")):
        assert client.seen.startswith(f"{name} is here\n") and client.seen in whole, client.seen
    print(f"{whole.count(chr(10))} lines, {'two clients in C and one in Python' if library else 'three clients in C'}")


try:
    test()
finally:
    for process in running:
        process.kill()
