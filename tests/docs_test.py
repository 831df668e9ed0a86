#!/usr/bin/env python3
"""What is generated from the headers is what they give, is true for the compiler, and holds each export. The program
in the README is the example file, and every file that the README links to is there.

docs_test.py SOURCE_FOLDER LIBRARY COMPILER
"""
import json
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

root, library, compiler = Path(sys.argv[1]), sys.argv[2], sys.argv[3]
failures = []


def described(folder, what):
    command = [sys.executable, "-B", root / "bindings/describe.py", folder, what]
    return subprocess.run(command, capture_output=True, text=True)


page = described(root / "src/api", "page").stdout
description = described(root / "src/api", "description").stdout
for place, text in {"docs/host_interface.md": page, "bindings/halvorin_system.json": description}.items():
    if text != (root / place).read_text():
        failures.append(f"{place} isn't what the headers give: run script/describe")

# Each export has its row, and nothing else has.
table = subprocess.run(["nm", "-D", "--defined-only", library], check=True, capture_output=True, text=True).stdout
exported = {line.split()[2] for line in table.splitlines()}
own = {name for name in exported if not re.match(r"(stb|dr)(i|iw|_vorbis|wav|flac)_|[Gg][Ll][Aa][Dd]|_|.*san_", name)}
rows = re.findall(r"^\| `(\w+)`", page, re.MULTILINE)
read = json.loads(description)
if sorted(rows) != sorted(own) or sorted(rows) != sorted(e["name"] for e in read["functions"] + read["data"]):
    failures.append(f"exports, rows of the page and description differ: {sorted(own ^ set(rows))}")

# Prototypes, sizes, offsets and numbers, by the compiler's own reading of the headers.
proof = described(root / "src/api", "proof").stdout
check = subprocess.run([compiler, "-std=c11", "-fsyntax-only", "-I", root / "src/api", "-x", "c", "-"],
                       input=proof, capture_output=True, text=True)
if check.returncode != 0 or proof.count("\n") < 1000:
    failures.append(f"the compiler reads the headers in another way:\n{check.stderr[:2000]}")

# A fact that is missing, unknown or impossible stops the generator, by name.
faults = [("files.h", " * @waits    disk\n", "", "file_copy lacks @waits"),
          ("files.h", " * @lifetime    until file_close\n", "", "file_open lacks @lifetime"),
          ("files.h", "@failure  false", "@failure  null", "gives b8, which can't fail by: null"),
          ("math.h", "@thread   any", "@thread   some", "no such @thread")]
for header, right, wrong, message in faults:
    with tempfile.TemporaryDirectory() as folder:
        shutil.copytree(root / "src/api", folder, dirs_exist_ok=True)
        text = (Path(folder) / header).read_text()
        assert right in text, right
        (Path(folder) / header).write_text(text.replace(right, wrong, 1))
        result = described(folder, "page")
        if result.returncode == 0 or message not in result.stderr:
            failures.append(f"expected '{message}', got: {result.stderr}")

readme = (root / "README.md").read_text()
if f"```c\n{(root / 'examples/01_window.c').read_text()}```" not in readme:
    failures.append("the program in the README is not examples/01_window.c")
targets = re.findall(r"\]\(([^)#:]+)\)", readme)
failures += [f"the README links to {target}" for target in targets if not (root / target).exists()]
if not targets:
    failures.append("the README has no links")

print(f"{len(rows)} exports, {proof.count(chr(10))} statements for the compiler, {len(targets)} links")
if failures:
    sys.exit("\n".join(failures))
