#!/usr/bin/env python3
"""A host that is made from the description alone tries what it says of failures, of scratch memory and of the heap.

Each call that has a failure value is made with arguments that are wrong as far as the call stands them: texts too
long, null, no handle, numbers outside. It has to give that value, and to leave the scratch memory alone. Then each call
that takes text is made with one that fits, and has to move the position of the scratch memory. And then each function
is called as in a host at work. None of all these calls may take more from the heap than its function says; the watch
on the heap (heap_layer.cpp) is preloaded.

facts_test.py SOURCE_FOLDER LIBRARY IMAGES SOUNDS
"""
import collections
import ctypes
import json
import os
import struct
import sys
import tempfile
from pathlib import Path

described = json.loads((Path(sys.argv[1]) / "bindings/halvorin_system.json").read_text())
# A message box is to find no display to wait on.
for variable in ("DISPLAY", "WAYLAND_DISPLAY"):
    os.environ.pop(variable, None)
library = ctypes.CDLL(str(Path(sys.argv[2]).resolve()))
images, sounds = (Path(folder).resolve() for folder in sys.argv[3:])
heap = ctypes.CDLL(None)
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
failures = []
taken = collections.Counter()
is_vorbis = False


def check_heap(name):
    """What the library's code has taken, the C library for it, and the others: nothing but what is told."""
    told = functions[name]["facts"]["heap"]
    decodes = is_vorbis and "Vorbis" in told
    allowed = decodes or "encoder" in told or "the list" in told, decodes or "C library" in told, told != "none"
    for account, (owner, is_allowed) in enumerate(zip(("library", "C library", "others"), allowed)):
        count = heap.heap_taken(account)
        taken[name] += count if owner == "library" else 0
        if count and not is_allowed:
            failures.append(f"{name} makes {count} calls of the heap ({owner}), and tells: {told}")


def call(name, words, own):
    """The call's result and its result record. An argument goes by its name, or by its type; those that nobody names
    are wrong ones."""
    arguments, record = [], None
    for parameter in functions[name]["parameters"]:
        kind = parameter["type"]
        if parameter["name"] == "result":
            record = types[kind.rstrip("*")]()
            ctypes.memset(ctypes.byref(record), UNTOUCHED, ctypes.sizeof(record))
            arguments.append(ctypes.addressof(record))
        elif parameter["name"] in own:
            arguments.append(own[parameter["name"]])
        elif kind in own:
            arguments.append(own[kind])
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
    function = getattr(library, name)
    heap.heap_watch(1)
    value = function(*arguments)
    heap.heap_watch(0)
    check_heap(name)
    return value, record


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

sdl = ctypes.CDLL("libSDL2-2.0.so.0")
sdl.SDL_SetError(b"%900s", b"takes its room once, and keeps it")
flags = sum(constants[f"SYSTEM_INIT_{part}"] for part in ("VIDEO", "EVENTS", "JOYSTICK", "HAPTIC"))
call("system_init", too_long, {"flags": flags})
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


# A host at work.
def work(name, words=text("facts.wav"), **own):
    value, record = call(name, words, {**usual, **own})
    called.add(name)
    return value if record is None else record


called = set()
room = ctypes.create_string_buffer(1 << 22)
data = ctypes.addressof(room)
zero, lock = ctypes.c_int64(), ctypes.c_int32()
nothing = ctypes.cast(heap.heap_nothing, ctypes.c_void_p)
usual = {kind: ctypes.addressof(zero) for kind in ("i32*", "void**", "double*")}
usual |= {kind: data for kind in ("void*", "const void*", "Wave*")}
usual |= {"audio_callback": nothing, "thread_function": nothing, "lock": ctypes.addressof(lock), "i32": 1, "b8": 1,
          "size": 8, "frames": 8, "frequency": 44100, "samples": 64, "sample_format": constants["SAMPLE_FORMAT_S16"]}


def with_handle(name, kind, **own):
    usual[kind] = work(name, **own)
    return usual[kind]


def load_and_stream(path):
    """All ways to have a file's content."""
    whole = path.read_bytes()
    source = {"size": len(whole), "data": whole}
    if path.parent == images:
        loaded = work("image_load", text(str(path)), channels=4), work("image_load_from_memory", channels=4, **source)
        if not all(image.data for image in loaded):
            failures.append(f"{path} is no picture")
        return
    work("audio_wave_load", text(str(path)))
    work("audio_wave_load_from_memory", **source)
    opened = work("audio_stream_open", text(str(path)), writing=0), work("audio_stream_open_from_memory", **source)
    for own in ({"stream": stream} for stream in opened):
        if not work("audio_stream_read_info", **own).channels and path.name != "in-ogg.flac":
            failures.append(f"{path} is no sound")
        for name in "read", "seek", "read", "close":
            work(f"audio_stream_{name}", frame=100, **own)


def push_events(window):
    for kind in 0x100, 0x300, 0x301, 0x400, 0x401, 0x402, 0x403, 0x605:
        sdl.SDL_PushEvent(struct.pack("IIIII36x", kind, 0, window, 1, 4))
    for kind in range(18):
        sdl.SDL_PushEvent(struct.pack("IIIB43x", 0x200, 0, window, kind))


library.display_close()
work("system_init", flags=flags | constants["SYSTEM_INIT_AUDIO"])
work("display_open", samples=0, flags=constants["DISPLAY_SOFTWARE"])
for name in "clipboard", "image", "audio":
    work(f"{name}_set_buffer", size=len(room), memory=None if name == "clipboard" else data)
    work(f"{name}_set_buffer_position", position=8)
for name in "rgb8.png 444.jpg progressive.jpg 24.bmp plain.gif raw.psd alpha.psd 8.ppm 16.ppm rgb.tga".split():
    load_and_stream(images / name)
for name in ("s16.wav s24.wav f32.wav a-law.wav ima.wav ms.wav w64.wav aiff.wav s16.flac in-ogg.flac no-length.flac "
             "stereo.ogg six.ogg").split():
    is_vorbis = name.endswith(".ogg")
    load_and_stream(sounds / name)
is_vorbis = False
work("image_save", text("facts.png"), image=types["Image"](data, 9, 9), channels=4)
wave = types["Wave"](constants["SAMPLE_FORMAT_F32"], 1, 8000, 800, data)
work("audio_wave_save", wave=wave)
work("audio_wave_convert", wave=ctypes.addressof(wave))
stream = work("audio_stream_open")
work("audio_stream_write_info", stream=stream, info=types["AudioInfo"](constants["SAMPLE_FORMAT_S16"], 1, 8000, 0))
work("audio_stream_write", stream=stream)
work("audio_stream_close", stream=stream)

for name, first, then in ("file_copy", "facts.wav", "b"), ("file_rename", "b", "c"), ("directory_rename", "d", "e"):
    if name == "directory_rename":
        work("directory_create", text("d"))
    if not work(name, **{"from": text(first), "to": text(then)}):
        failures.append(f"{name} is to work")
work("directory_get_content", text("."))
work("directory_delete", text("e"))
work("file_delete", text("c"))
usual["const file_stream*"] = with_handle("file_open", "file_stream*", mode=constants["FILE_MODE_READ_WRITE"])

usual["library"] = work("system_load_library", text("libz.so.1"))
work("system_load_function", text("zlibVersion"))
work("system_execute", text(":"))
for ending in "wait", "detach":
    with_handle("thread_create", "thread_handle*")
    work(f"thread_{ending}")
for name in "mutex", "cond", "semaphore":
    with_handle(f"{name}_create", f"{name}_handle*", value=9)
work("mutex_lock")


def signal(_):
    library.mutex_lock(usual["mutex_handle*"])  # once the other waits
    library.cond_signal(usual["cond_handle*"])
    return library.mutex_unlock(usual["mutex_handle*"])


signal = ctypes.CFUNCTYPE(ctypes.c_int32, ctypes.c_void_p)(signal)
thread = library.thread_create(signal, None)
work("cond_wait")
library.thread_wait(thread, None)
work("mutex_unlock")


def open_port(kind):
    flags = constants["NETWORK_IPV4"] | constants[f"NETWORK_{kind}"]
    socket = work("network_socket_create", flags=flags)
    found = work("network_address_find", text("127.0.0.1"), port=0, flags=flags)
    if not work("network_socket_bind", socket=socket, address=found):
        failures.append("no port")
    heap.getsockname(ctypes.c_int(socket), ctypes.byref(found), ctypes.byref(ctypes.c_uint(16)))
    usual["NetworkAddress"], usual["NetworkAddress*"] = found, data
    return socket


listener = open_port("TCP")
client = library.network_socket_create(constants["NETWORK_IPV4"] | constants["NETWORK_TCP"])
for name, socket, good in ("listen", listener, 1), ("connect", client, 1), ("send", client, 8):
    if work(f"network_tcp_{name}", socket=socket) != good:
        failures.append(f"network_tcp_{name} is to work")
server = work("network_tcp_accept", socket=listener)
if work("network_tcp_receive", socket=server) != 8:
    failures.append("network_tcp_receive is to work")
work("network_tcp_disconnect", socket=client)
for socket in listener, client, server:
    work("network_socket_destroy", socket=socket)
usual["network_socket"] = open_port("UDP")
selector = work("network_selector_create")
for name in "add", "wait", "remove", "failed", "destroy":
    work(f"network_selector_{name}", text("room for one"), selector=selector)

pad = sdl.SDL_JoystickAttachVirtual(1, 2, 4, 1)
with_handle("controller_open", "controller", index=pad)
work("controller_name_for_index", index=pad)
usual["haptic"] = None

window = ctypes.c_uint32.in_dll(library, "sdl_window_id").value
version = ctypes.create_string_buffer(b"3.3.0 nothing")
get_text = ctypes.CFUNCTYPE(ctypes.c_void_p, ctypes.c_uint)(lambda name: ctypes.addressof(version))
get_number = ctypes.CFUNCTYPE(None, ctypes.c_uint, ctypes.POINTER(ctypes.c_int))(
    lambda name, value: value.__setitem__(0, 3 if name in (0x821B, 0x821C) else 0))
find = {b"glGetString": get_text, b"glGetIntegerv": get_number}
find_function = ctypes.CFUNCTYPE(ctypes.c_void_p, ctypes.c_char_p)(
    lambda name: ctypes.cast(find.get(name, heap.heap_nothing), ctypes.c_void_p).value)
library.gladLoadGL(find_function)

# All others, as in some frames; then what ends the host's objects.
last = [name for name in functions if name.endswith(("_close", "_destroy")) and name not in called | {"display_close"}]
last += ["system_unload_library", "display_close", "system_release"]
first = [name for name in functions if name not in called and name not in last]
for frame in range(3):
    push_events(window)
    for name in first:
        work(name)
for name in last:
    work(name)
for name, entry in functions.items():
    if any(own in entry["facts"]["heap"] for own in ("encoder", "Vorbis", "the list")) and not taken[name]:
        failures.append(f"{name} takes nothing from the heap, though it says so")

os.chdir("..")
print(f"{tried} failures, {len(takers)} calls with text, {len(called)} functions at work")
if tried < 80 or len(takers) < 25 or called != set(functions):
    failures.append("too few calls were tried")
if failures:
    sys.exit("\n".join(failures))
