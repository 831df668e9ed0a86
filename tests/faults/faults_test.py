#!/usr/bin/env python3
"""Hosts in which one call of the systems under the library fails, each call in a run of its own.

faults_test.py [--only NAME] host HOST IMAGES SOUNDS
faults_test.py [--only NAME] examples LAYER EXAMPLES IMAGES SOUNDS

A first run tells which calls there are. Then of each place in the library that makes calls some are
made to fail: in the host the first and one in the middle, or one if another job has come by; in the
examples one. No run may end by a signal or go on for ever, and the host finds nothing broken.
"""
import argparse
import concurrent.futures
import os
import shutil
import subprocess
import sys
import tempfile
import threading

HANGS = 60  # seconds: far above what any run takes

# Without them there is no hardware graphics, and the process ends with status 1.
FATAL = {"SDL_CreateWindow", "SDL_GL_SetAttribute", "SDL_GL_CreateContext", "SDL_GL_GetProcAddress", "malloc"}

# Runs in which the C library's heap calls are those of drivers and sanitizers, which don't get over a failure.
WITH_DRIVERS = {"threads", "devices", "software", "desktop", "hardware", "01_window", "03_sound_queue", "04_render_to_texture",
                "05_worker_pool", "08_controller_tester", "demo"}

# They can't fail for what is there. An example that counts its work by them would wait for ever.
CERTAIN = {"SDL_LockMutex", "SDL_SemPost", "SDL_SemWait", "SDL_CondWait"}

# What a selector has no room for isn't waited for: here that is the user, or the other side. And the
# server's line has to come at once.
WAITED_FOR = {("07_chat_client", "realloc"), ("06_chat_server", "realloc"), ("06_chat_server", "setvbuf")}

parser = argparse.ArgumentParser()
parser.add_argument("--only")
parser.add_argument("mode")
parser.add_argument("paths", nargs=argparse.REMAINDER)
options = parser.parse_args()
failures = []
tried = set()
lock = threading.Lock()


class Run:
    """One run of a host in an empty folder, with a fault in it or none."""

    def __init__(self, start, environment, fault=None):
        self.fault = fault
        with tempfile.TemporaryDirectory() as folder:
            log = folder + ".log"
            variables = dict(os.environ, FAULTS_LOG=log, **environment)
            if fault:
                variables["FAULTS"] = " ".join(map(str, fault))
            try:
                self.status, self.output = start(folder, variables)
            except subprocess.TimeoutExpired as late:
                self.status, self.output = "hangs", str(late.output)
            self.calls, self.struck = [], False
            if os.path.exists(log):
                with open(log) as lines:
                    for line in lines:
                        words = line.split()
                        self.struck |= words[0] == "struck"
                        if len(words) == 3:
                            self.calls.append((words[0], int(words[1]), words[2]))
                os.remove(log)


def command(*words):
    def start(folder, variables):
        done = subprocess.run(words, cwd=folder, env=variables, timeout=HANGS, stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        return done.returncode, done.stdout.decode(errors="replace")
    return start


def faults_among(name, calls):
    places = {}
    numbers = {}
    for function, ways, place in calls:
        if function.startswith("libc.") and name in WITH_DRIVERS:
            continue
        if (name, function) in WAITED_FOR or function in CERTAIN and options.mode == "examples":
            continue
        numbers[function] = numbers.get(function, 0) + 1
        places.setdefault((function, ways, place), []).append(numbers[function])
    for (function, ways, place), at in places.items():
        is_new = (function, place) not in tried
        chosen = {at[len(at) // 2]}
        if is_new and options.mode == "host":
            chosen.add(at[0])
        if not is_new and options.mode == "examples":
            chosen = set()
        tried.add((function, place))
        for number in sorted(chosen):
            for way in range(ways):
                yield function, number, way


def sweep(name, start, environment, is_good):
    if options.only and options.only not in name:
        return
    first = Run(start, environment)
    if first.status != 0 or not first.calls:
        failures.append(f"{name}, undisturbed: {first.status}\n{first.output}")
        return
    faults = list(faults_among(name, first.calls))
    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        runs = list(pool.map(lambda fault: Run(start, environment, fault), faults))
    reached = sum(run.struck for run in runs)
    for run in runs:
        if not is_good(run):
            failures.append(f"{name}, {' '.join(map(str, run.fault))}: {run.status}\n{run.output[-3000:]}")
    print(f"{name}: {len(first.calls)} calls, {len(faults)} faults, {reached} reached", flush=True)


def host(program, images, sounds):
    jobs = ("files copies names names.links names.across listing services images pictures waves sounds "
            "streams sockets selectors threads devices software desktop hardware").split()
    for job in jobs:
        def is_good(run):
            return run.status == 0 or run.status == 1 and job == "hardware" and run.fault[0] in FATAL
        sweep(job, command(program, job, images, sounds), {}, is_good)


def chat(server, client, faulty):
    """The server and a client, one of them with the fault. A server that nobody reaches goes on serving."""
    def start(folder, variables):
        clean = {name: value for name, value in variables.items() if not name.startswith(("FAULTS", "LD_"))}
        env = {server: clean, client: clean, faulty: variables}
        serving = subprocess.Popen((server, "0"), env=env[server], stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        try:
            output = serving.stdout.readline().decode()
            if not output:
                return serving.wait(HANGS), output
            done = subprocess.run((client, "anna", output.split()[-1]), env=env[client], timeout=HANGS,
                                  input=b"hello\n", stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
            output += done.stdout.decode(errors="replace")
            if faulty == client:
                return done.returncode, output
            try:
                return serving.wait(5), output
            except subprocess.TimeoutExpired:
                return 0, output
        finally:
            serving.kill()
            serving.stdout.close()
            serving.wait()
    return start


def examples(layer, folder, images, sounds):
    preload = {"LD_PRELOAD": layer}
    frames = dict(preload, FAULTS_FRAMES="2")
    disk = {"SDL_AUDIODRIVER": "disk", "SDL_DISKAUDIOFILE": "/dev/null", "SDL_DISKAUDIODELAY": "1"}

    def ends(run):
        return isinstance(run.status, int) and 0 <= run.status < 128

    def example(name, *words, environment=preload):
        sweep(name, command(f"{folder}/{name}", *words), environment, ends)

    for sound in "s24.flac", "stereo.ogg", "s16.wav":
        example("02_sound_converter", f"{sounds}/{sound}", "out.wav", "s32")
    server, client = f"{folder}/06_chat_server", f"{folder}/07_chat_client"
    for faulty in server, client:
        sweep(os.path.basename(faulty), chat(server, client, faulty), preload, ends)
    with tempfile.TemporaryDirectory() as few:
        for image in "rgba8.png", "420.jpg", "24.bmp", "plain.gif":
            shutil.copy(f"{images}/{image}", few)
        example("05_worker_pool", few)
    example("08_controller_tester", environment=frames)
    example("03_sound_queue", environment=dict(preload, **disk))
    example("01_window", environment=frames)
    example("04_render_to_texture", "out.png", environment=frames)
    example("demo", "--frames", "2", "--output", "demo.png", environment=dict(frames, **disk))


{"host": host, "examples": examples}[options.mode](*options.paths)
for failure in failures:
    print("FAILED:", failure)
sys.exit(bool(failures))
