#!/usr/bin/env python3
# SPDX-License-Identifier: Zlib
"""Runs the benchmarks of a folder and prints one table of their ratios to limits and peers.

table.py FOLDER [--record FILE] [NAME]

With NAME only the programs whose name holds it. --record also writes the table into FILE, with the
machine and how calm it was. The status is 1 where a benchmark failed; a missed goal is a result.
"""
import argparse
import datetime
import json
import os
import platform
import re
import resource
import subprocess
import sys
import tempfile
from pathlib import Path

HEAD = ("job", "ours", "peer or limit", "ratio", "goal", "met")


def readable_time(nanoseconds):
    for unit, size in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if nanoseconds >= size:
            return f"{nanoseconds / size:.3g} {unit}"
    return f"{nanoseconds:.3g} ns"


def job_name(program, run):
    """The benchmark's own name without what is the same for all, and its label for bare numbers."""
    parts = [part for part in run["name"].split("/") if not re.match(r"iterations:|manual_time", part)]
    if run.get("label"):
        parts = [part for part in parts if not part.isdigit()] + [run["label"]]
    return f"{program}: {' '.join(parts)}".replace("_", " ")


def rows_of(program, run):
    """A row for each counter `of_PEER`. `ns_PEER` or `ns` is the time of one call, where a round has many."""
    job = job_name(program, run)
    if run.get("error_occurred"):
        return [(job, "failed", run["error_message"], "", "", "no")]
    unit = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}[run["time_unit"]]
    rows = []
    for counter in sorted(run):
        if not counter.startswith("of_"):
            continue
        peer = counter[3:]
        time = run.get("ns_" + peer, run.get("ns", run["real_time"] * unit))
        goal = run.get("goal_" + peer)
        met = "" if goal is None else "yes" if run[counter] <= goal else "no"
        rows.append((job, readable_time(time), peer.replace("_", " "), f"{run[counter]:.2f}",
                     "" if goal is None else f"{goal:.2f}", met))
    return rows


def measure(program, environment):
    """The rows of one program. Its own words go to the terminal only where it fails."""
    with tempfile.NamedTemporaryFile() as out:
        done = subprocess.run([program, f"--benchmark_out={out.name}", "--benchmark_out_format=json"],
                              env=environment, capture_output=True, text=True)
        name = program.name.removesuffix("_benchmark")
        if done.returncode != 0:
            print(done.stdout, done.stderr, sep="", file=sys.stderr)
            return [(name, "failed", f"status {done.returncode}", "", "", "no")]
        return [row for run in json.load(out)["benchmarks"] for row in rows_of(name, run)]


def markdown(rows):
    table = [HEAD] + rows
    widths = [max(len(row[i]) for row in table) for i in range(len(HEAD))]
    lines = ["| " + " | ".join(cell.ljust(width) for cell, width in zip(row, widths)) + " |" for row in table]
    lines.insert(1, "|" + "|".join("-" * (width + 2) for width in widths) + "|")
    return "\n".join(lines)


def summary(rows):
    judged = [row for row in rows if row[5]]
    met = sum(row[5] == "yes" for row in judged)
    return f"{met} of {len(judged)} goals met."


class Calm:
    """What others took of the processors between start and end."""

    def __init__(self):
        self.load = os.getloadavg()[0]
        self.start = self.ticks()

    @staticmethod
    def ticks():
        user, nice, system, idle, wait, irq, softirq, steal = map(
            int, Path("/proc/stat").read_text().splitlines()[0].split()[1:9])
        usage = resource.getrusage(resource.RUSAGE_CHILDREN)
        ours = (usage.ru_utime + usage.ru_stime) * os.sysconf("SC_CLK_TCK")
        busy = user + nice + system + irq + softirq
        return busy, busy + idle + wait + steal, steal, ours

    def words(self):
        busy, total, steal, ours = (now - then for now, then in zip(self.ticks(), self.start))
        total = max(total, 1)
        return (f"Load {self.load:.2f} at the start; while it ran, other programs took {max(busy - ours, 0) / total:.0%} of the "
                f"processors' time, and other machines on the same hardware {steal / total:.0%}.")


def first_match(path, pattern):
    found = re.search(pattern, Path(path).read_text(), re.MULTILINE)
    return found.group(1).strip() if found else "unknown"


def machine(compiler):
    memory = int(first_match("/proc/meminfo", r"^MemTotal:\s+(\d+)")) / 2**20
    return "\n".join([
        f"- Processor: {first_match('/proc/cpuinfo', '^model name[^:]*:(.*)')}, {os.cpu_count()} cores",
        f"- Memory: {memory:.0f} GiB",
        f"- System: {platform.freedesktop_os_release()['PRETTY_NAME']}, {platform.system()} {platform.release().split('-')[0]}",
        f"- Compiler: {compiler}",
        f"- Date: {datetime.date.today().isoformat()}",
    ])


def record(file, rows, calm, compiler):
    head = file.read_text().split("\n## ")[0].rstrip()
    file.write_text(f"{head}\n\n## The last run\n\n{machine(compiler)}\n- Calm: {calm}\n\n"
                    f"{summary(rows)}\n\n{markdown(rows)}\n")


def main():
    options = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    options.add_argument("folder", type=Path)
    options.add_argument("--record", type=Path)
    options.add_argument("--compiler", default="unknown")
    options.add_argument("name", nargs="?", default="")
    wanted = options.parse_args()
    if wanted.record and wanted.name:
        options.error("only the whole table is recorded")
    environment = {"SDL_VIDEODRIVER": "offscreen", "SDL_AUDIODRIVER": "dummy", **os.environ}
    programs = sorted(file for file in wanted.folder.glob("*_benchmark") if wanted.name in file.name)
    if not programs:
        options.error(f"no benchmark is named {wanted.name}")
    calm = Calm()
    rows = []
    for program in programs:
        print(f"measuring {program.name}", file=sys.stderr)
        rows += measure(program, environment)
    print(markdown(rows), "", calm.words(), summary(rows), sep="\n")
    if wanted.record:
        record(wanted.record, rows, calm.words(), wanted.compiler)
    return any(row[1] == "failed" for row in rows)


if __name__ == "__main__":
    sys.exit(main())
