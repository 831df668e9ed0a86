#!/usr/bin/env python3
# SPDX-License-Identifier: Zlib
"""Drops files on the demo's window, off screen, by way of SDL's event queue, as the window system does.

Usage: demo_drop_test.py LIBRARY EXAMPLES_SOURCES DIRECTORY_FOR_PICTURES
"""

import contextlib
import ctypes
import importlib
import io
import os
import sys

library, sources, directory = sys.argv[1:]
os.environ["SDL_VIDEODRIVER"] = "offscreen"
sys.path.insert(0, sources)
sys.dont_write_bytecode = True
demo = importlib.import_module("demo")
handle_input = demo.handle_input


class DropEvent(ctypes.Structure):
    _fields_ = [("type", ctypes.c_uint32), ("timestamp", ctypes.c_uint32), ("file", ctypes.c_void_p),
                ("window", ctypes.c_uint32), ("rest", ctypes.c_uint8 * 32)]


def checksum_after(dropped):
    """Three frames with a file dropped ahead of the second: the checksum, and what went to the user."""
    frames = 0

    def drop_and_handle(state):
        nonlocal frames
        frames += 1
        if frames == 2 and dropped:
            sdl = ctypes.CDLL("libSDL2-2.0.so.0")
            sdl.SDL_strdup.restype = ctypes.c_void_p
            event = DropEvent(type=0x1000, file=sdl.SDL_strdup(os.fsencode(dropped)))
            assert sdl.SDL_PushEvent(ctypes.byref(event)) == 1
        return handle_input(state)

    demo.handle_input = drop_and_handle
    sys.argv[1:] = ["--library", library, "--frames", "3", "--output", directory + "/drop.png"]
    with contextlib.redirect_stdout(io.StringIO()) as out, contextlib.redirect_stderr(io.StringIO()) as err:
        status = demo.main()
        demo.system.display_close()  # a host that starts again begins with this
    assert status == 0 and frames == 3, (status, frames, err.getvalue())
    return out.getvalue().splitlines()[0].split()[-1], err.getvalue()


plain, message = checksum_after("")
assert message == "", message
textured, message = checksum_after(sources + "/assets/panel.png")
assert textured != plain and message == "", (textured, plain, message)
same, message = checksum_after(sources + "/demo.py")  # no picture: the old texture stays
assert same == plain and message == "demo: can't load the picture %s/demo.py\n" % sources, (same, plain, message)
