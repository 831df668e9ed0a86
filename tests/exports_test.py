#!/usr/bin/env python3
"""Compares what the built library exports with what the headers declare, in both directions.

exports_test.py LIBRARY COMPILER API_FOLDER THIRD_PARTY_HEADER[:DEFINE[:PREFIX]]...

The declarations are read from the compiler's own view of the headers, in which the export macros
are turned into marks that survive preprocessing. Where a header has no macro of its own, a prefix
tells its names from those of the headers that it includes.
"""
import re
import subprocess
import sys

library, compiler, api, *third_party = sys.argv[1:]


def preprocessed(header, *defines):
    command = [compiler, "-E", "-P", "-x", "c", *(f"-D{d}" for d in defines), header]
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def declared(text, mark, kind):
    """Names of the declarations that carry a mark; a function's name stands ahead of its list."""
    pattern = {"function": r"([A-Za-z_]\w*)\s*\(", "data": r"([A-Za-z_]\w*)\s*(?:\[[^\]]*\])?$"}[kind]
    names = set()
    for statement in text.split(";"):
        if mark in statement:
            names.add(re.search(pattern, statement.split(mark, 1)[1].strip())[1])
    return names


def dynamic_symbols():
    table = subprocess.run(["nm", "-D", "--defined-only", library], check=True, capture_output=True, text=True)
    symbols = dict(reversed(line.split()[1:3]) for line in table.stdout.splitlines())
    return {name.split("@")[0]: kind for name, kind in symbols.items()}


chief = preprocessed(f"{api}/system.h", "HALVORIN_API=@function@", "HALVORIN_DATA=@data@")
ours = {"function": declared(chief, "@function@", "function"), "data": declared(chief, "@data@", "data")}

theirs = set()
for entry in third_party:
    header, define, prefix = (entry + "::").split(":")[:3]
    for declaration in preprocessed(header, *define.split(",")).split(";"):
        if "@mark@" in declaration:
            body = declaration.split("@mark@", 1)[1].strip()
            name = (re.search(r"([A-Za-z_]\w*)\s*\(", body) or re.search(r"([A-Za-z_]\w*)$", body))[1]
            theirs |= {name} if name.startswith(prefix) else set()
assert theirs, "the third-party headers declare nothing"
# Public in the implementation alone, and a loader name for hosts of the generation before.
theirs |= {"stbi_write_png_to_mem", "stbi_zlib_compress", "gladLoadGLLoader"}
# Declared, but not built: there is one flip switch for all threads.
theirs = {name for name in theirs if not name.endswith("_thread")}

exported = dynamic_symbols()
failures = []
# The interface is whole: what is added or taken away changes these on purpose.
for kind, count in {"function": 399, "data": 21}.items():
    if len(ours[kind]) != count:
        failures.append(f"the headers declare {len(ours[kind])} of kind {kind}, not {count}")
for kind, letters in {"function": "T", "data": "BDR"}.items():
    for name in sorted(ours[kind]):
        if name not in exported:
            failures.append(f"declared, not exported: {name}")
        elif exported[name] not in letters:
            failures.append(f"exported as '{exported[name]}', declared as {kind}: {name}")
known = ours["function"] | ours["data"] | theirs
failures += [f"exported, not declared: {name}" for name in sorted(exported.keys() - known)]
missing = sorted(theirs - exported.keys())
failures += [f"third-party name not exported: {name}" for name in missing]

needed = subprocess.run(["readelf", "-d", library], check=True, capture_output=True, text=True).stdout
soname = re.search(r"SONAME\).*\[(.*)\]", needed)
if not soname or soname[1] != "libhalvorin_system.so.1":
    failures.append(f"SONAME is {soname and soname[1]}")
libraries = set(re.findall(r"NEEDED\).*\[(.*)\]", needed))
imports = subprocess.run(["nm", "-D", "--undefined-only", library], check=True, capture_output=True, text=True).stdout
if "__asan_init" not in imports and "__tsan_init" not in imports:
    if libraries != {"libSDL2-2.0.so.0", "libm.so.6", "libc.so.6"}:
        failures.append(f"needs {sorted(libraries)}, not SDL2, libm and libc alone")
for unwanted in "RPATH", "RUNPATH", "TEXTREL":
    if unwanted in needed:
        failures.append(f"has {unwanted}")
# What the loader looks up can be a host's: nothing that is the library's own may be among it.
looked_up = subprocess.run(["readelf", "-rW", library], check=True, capture_output=True, text=True).stdout
names = {match[1] for match in re.finditer(r"R_X86_64_(?!RELATIVE)\w+ +[0-9a-f]+ +([A-Za-z_]\w*)", looked_up)}
failures += [f"looks up its own {name}" for name in sorted(names & exported.keys())]
if not names:
    failures.append("nothing is looked up: not even the C library")

print(f"{len(ours['function'])} functions, {len(ours['data'])} data objects, {len(theirs)} third-party names")
if failures:
    sys.exit("\n".join(failures))
