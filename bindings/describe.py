#!/usr/bin/env python3
# SPDX-License-Identifier: Zlib
"""Writes what is generated from the public headers.

describe.py API_FOLDER page|description|constants|proof    to standard output
describe.py API_FOLDER ROOT                                page and description to their places under ROOT
"""
import sys
from pathlib import Path

import headers
import outputs

WRITERS = {"page": outputs.host_page, "description": outputs.description,
           "constants": outputs.constants, "proof": outputs.proof}
PLACES = {"page": "docs/host_interface.md", "description": "bindings/halvorin_system.json"}


def main(folder, what):
    interface = headers.read_interface(Path(folder))
    if what in WRITERS:
        print(WRITERS[what](interface), end="")
        return
    for name, place in PLACES.items():
        (Path(what) / place).write_text(WRITERS[name](interface))


if __name__ == "__main__":
    try:
        main(*sys.argv[1:])
    except headers.Fault as fault:
        sys.exit(str(fault))
