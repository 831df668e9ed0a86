#!/usr/bin/env python3
"""The program in the README is the example file, and every file that the README links to is there.

readme_test.py SOURCE_FOLDER
"""
import re
import sys
from pathlib import Path

root = Path(sys.argv[1])
readme = (root / "README.md").read_text()
program = (root / "examples/01_window.c").read_text()

failures = []
if f"```c\n{program}```" not in readme:
    failures.append("the program in the README is not examples/01_window.c")
targets = re.findall(r"\]\(([^)#:]+)\)", readme)
failures += [f"the README links to {target}" for target in targets if not (root / target).exists()]
if len(targets) < 5:
    failures.append("the README has hardly any links: is it the right file?")
if failures:
    sys.exit("\n".join(failures))
