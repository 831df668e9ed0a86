#!/usr/bin/env python3
"""A host that is made from the description alone tries what it says of failures and of scratch memory.

Each call that has a failure value is made with arguments that are wrong as far as the call stands them: texts too
long, null, no handle, numbers outside. It has to give that value, and to leave the scratch memory alone. Then each call
that takes text is made with one that fits, and has to move the position of the scratch memory.

facts_test.py SOURCE_FOLDER LIBRARY
"""
import ctypes
import json
import os
import sys
import tempfile
from pathlib import Path

described = json.loads((Path(sys.argv[1]) / "bindings/halvorin_system.json").read_text())
# A message box is to find no display to wait on.
for variable in ("DISPLAY", "WAYLAND_DISPLAY"):
    os.environ.pop(variable, None)
library = ctypes.CDLL(str(Path(sys.argv[2]).resolve()))
scratch = tempfile.TemporaryDirectory(dir=".")
os.chdir(scratch.name)

types = {"void": None, "double": ctypes.c_double}
for entry in described["types"]:
    if "signed" in entry:
        types[entry["name"]] = getattr(ctypes, f"c_{'' if entry['signed'] else 'u'}int{8 * entry['size']}")
    else:
        types[entry["name"]] = ctypes.c_void_p


def c_type(name, count=None):
    kind = ctypes.c_void_p if name.endswith("*") else types[name]
    return kind * count if count else kind


for entry in described["records"]:
    fields = [(f["name"], c_type(f["type"], f.get("count"))) for f in entry["fields"]]
    types[entry["name"]] = type(entry["name"], (ctypes.Structure,), {"_fields_": fields})
functions = {entry["name"]: entry for entry in described["functions"]}
for name, entry in functions.items():
    getattr(library, name).restype = c_type(entry["result"])
    getattr(library, name).argtypes = [c_type(parameter["type"]) for parameter in entry["parameters"]]
constants = {v["name"]: v["value"] for t in described["types"] for v in t.get("values", [])} | {
    v["name"]: v["value"] for v in described["constants"]}

Slice = types["Slice"]
position = ctypes.c_int32.in_dll(library, "temporary_pos")
block = ctypes.create_string_buffer(b"a" * 16400)
too_long = Slice(ctypes.addressof(block), 16384)
UNTOUCHED = 0xEE


def text(words):
    kept.append(ctypes.create_string_buffer(words.encode()))
    return Slice(ctypes.addressof(kept[-1]), len(words))


kept = []


def call(name, words, own):
    """The call's result and the bytes of its result record. Arguments that nobody names are wrong ones."""
    arguments, record = [], None
    for parameter in functions[name]["parameters"]:
        kind = parameter["type"]
        if parameter["name"] == "result":
            record = types[kind.rstrip("*")]()
            ctypes.memset(ctypes.byref(record), UNTOUCHED, ctypes.sizeof(record))
            arguments.append(ctypes.addressof(record))
        elif parameter["name"] in own:
            arguments.append(own[parameter["name"]])
        elif kind == "Slice":
            arguments.append(words)
        elif kind.endswith("*") or kind not in types or types[kind] is ctypes.c_void_p:
            arguments.append(None)
        elif issubclass(types[kind], ctypes.Structure):
            arguments.append(types[kind]())
        elif kind == "network_socket":
            arguments.append(2**64 - 1)
        else:
            arguments.append(-1 if types[kind](-1).value < 0 else 0)
    return getattr(library, name)(*arguments), record


def is_zero(record):
    return not any(bytes(record))


LOOKS = {
    "false": lambda value, record: value == 0,
    "null": lambda value, record: value is None,
    "0": lambda value, record: value == 0,
    "-1": lambda value, record: value == -1,
    "255": lambda value, record: value == 255,
    "negative": lambda value, record: value < 0,
    "0xFFFFFFFF": lambda value, record: value == 0xFFFFFFFF,
    "all bits set": lambda value, record: value == 2**64 - 1,
    "all zero": lambda value, record: is_zero(record),
    "`count` 0": lambda value, record: record.count == 0,
    "null `data`": lambda value, record: record.data is None,
    "null `data`, count 0": lambda value, record: record.data is None and record.count == 0,
    "`success` 0": lambda value, record: record.success == 0,
    "`channels`, `sample_rate` and `size` are 0":
        lambda value, record: (record.channels, record.sample_rate, record.size) == (0, 0, 0),
    "the record is left as it was": lambda value, record: set(bytes(record)) == {UNTOUCHED},
    "an empty wide string": lambda value, record: ctypes.string_at(value, 2) == b"\0\0",
    "fewer than `frames`": lambda value, record: value == 0,
    "CONTROLLER_POWER_UNKNOWN": lambda value, record: value == constants["CONTROLLER_POWER_UNKNOWN"],
}
# Failures that no argument brings about, calls that need a valid handle, and one that never is without a failure.
BEYOND = {"thread_create", "thread_set_priority", "cond_create", "mutex_create", "semaphore_create", "controller_num",
          "atomic_cas", "atomic_cas_ptr", "atomic_trylock", "shader_create", "texture_create", "buffer_create",
          "vertex_array_create", "frame_buffer_create", "render_buffer_create", "network_selector_create"}
BEYOND |= {name for name, entry in functions.items() if any("file_stream" in p["type"] for p in entry["parameters"])}

failures = []
flags = sum(constants[f"SYSTEM_INIT_{part}"] for part in ("VIDEO", "EVENTS", "JOYSTICK", "HAPTIC"))
library.system_init(flags)
info = call("display_get_info", too_long, {})
library.display_open(16, 16, text("facts"), constants["DISPLAY_HIDDEN"], 0)
library.input_poll()

failing = {"network_selector_wait": {"selector": library.network_selector_create()},
           "audio_stream_write": {"frames": 5}}
tried = 0
for name, entry in functions.items():
    failure = entry["facts"]["failure"]
    if failure in ("none", "not told", "OpenGL", "NaN or infinity") or name in BEYOND:
        continue
    before = position.value
    value, record = call(name, too_long, failing.get(name, {})) if name != "display_get_info" else info
    tried += 1
    if not LOOKS[failure](value, record):
        failures.append(f"{name} should fail by {failure}: {value}, {record and bytes(record)}")
    if position.value != before and name != "to_wide_cstr":
        failures.append(f"{name} has moved the scratch memory's position, and failed")

pixel = ctypes.addressof(block)
fitting = {
    "system_execute": {"command": text(":")},
    "network_address_find": {"host": text("::1")},
    "image_save": {"image": types["Image"](pixel, 1, 1), "path": text("facts.png"), "channels": 1},
    "image_load": {"channels": 0},
    "file_open": {"mode": constants["FILE_MODE_READ"]},
    "system_load_function": {"library": library.system_load_library(text("libm.so.6"))},
    "audio_wave_save": {"wave": types["Wave"](0, 1, 8000, 1, pixel)},
    "audio_stream_read_info": {"stream": library.audio_stream_open(constants["SAMPLE_FORMAT_S16"], text("no.wav"), 0)},
    "audio_stream_write_info": {"stream": library.audio_stream_open(constants["SAMPLE_FORMAT_S16"], text("f.wav"), 1),
                                "info": types["AudioInfo"](constants["SAMPLE_FORMAT_S16"], 1, 8000, 0)},
}
takers = [name for name, entry in functions.items() if entry["facts"]["memory"].startswith("text")]
# The list of pipeline_draw_buffers goes by the front of the arena; its position stays.
takers.remove("pipeline_draw_buffers")
for name in takers:
    if name == "display_open":
        library.display_close()
    before = position.value
    call(name, text("facts.wav"), fitting.get(name, {"flags": constants["DISPLAY_SOFTWARE"]}
                                              if name == "display_open" else {}))
    if position.value == before:
        failures.append(f"{name} takes no text")

library.system_release()
os.chdir("..")
print(f"{tried} failures, {len(takers)} calls with text")
if tried < 80 or len(takers) < 25:
    failures.append("too few calls were tried")
if failures:
    sys.exit("\n".join(failures))
