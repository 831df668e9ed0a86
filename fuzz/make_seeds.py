#!/usr/bin/env python3
# SPDX-License-Identifier: Zlib
"""Makes the seed corpus of the fuzz targets out of the tests' sample images and sounds.

Usage: make_seeds.py IMAGES SOUNDS FOLDER. Each target gets a folder of small files: the bytes that
choose what it does, and behind them what it does that with.
"""
import os
import shutil
import struct
import subprocess
import sys

images, sounds, folder = map(os.path.abspath, sys.argv[1:4])


def put(target, name, *parts):
    path = os.path.join(folder, target)
    os.makedirs(path, exist_ok=True)
    with open(os.path.join(path, name), "wb") as file:
        file.write(b"".join(parts))


def read(*path):
    with open(os.path.join(*path), "rb") as file:
        return file.read()


FLIPPED, FROM_FILE, TWICE = 1, 2, 4
LITTLE, SOME = 1 << 6, 2 << 6


def image_seeds():
    names = sorted(name for name in os.listdir(images) if not name.endswith(".rgba16"))
    for i, name in enumerate(names):
        content = read(images, name)
        for j in range(5):
            flags = [0, FLIPPED, FROM_FILE, TWICE, FLIPPED | SOME][(i + j) % 5]
            control = struct.pack("<BbHBx", flags, j, 40 * i, 5 * (j % 2))
            put("images", f"{name}-{j}", control, content)
        put("images", f"{name}-cut", struct.pack("<BbHBx", TWICE, i % 5, 0, 0), content[: len(content) * 2 // 3])
        put("images", f"{name}-short", struct.pack("<BbHBx", FLIPPED | LITTLE, i % 5, 3000, 0), content)


AS_STREAM, WITH_SUMS = 1, 8
READ, READ_FEW, SEEK, SEEK_END, SEEK_FAR, READ_TOO_MUCH = 0, 3, 4, 5, 6, 7

PROGRAMS = [
    [(READ, 4096)],
    [(READ, 100), (SEEK, 10), (READ, 300), (SEEK, 0), (READ_FEW, 7), (SEEK, 250), (READ, 1000)],
    [(SEEK_END, 0x8000 - 20), (READ, 100), (SEEK_FAR, 1), (READ, 5), (SEEK, 40), (READ, 60), (READ_TOO_MUCH, 0)],
]


def sound_control(flags, format, size, start, program):
    steps = b"".join(struct.pack("<BH", *step) for step in program)
    return struct.pack("<BBHBB", flags, format, size, start, len(program)) + steps.ljust(24, b"\0") + b"\0\0"


def sound_seeds(target, name, content):
    for i, program in enumerate(PROGRAMS):
        flags = AS_STREAM | [0, FROM_FILE, WITH_SUMS][i]
        put(target, f"{name}-stream-{i}", sound_control(flags, [4, 6, 2][i], 0, 0, program), content)
    for format in (0, 1, 5, 6):
        flags = [0, FROM_FILE, 0, 0, 0, TWICE | WITH_SUMS, FROM_FILE | TWICE][format]
        put(target, f"{name}-load-{format}", sound_control(flags, format, 0, 5, []), content)
    put(target, f"{name}-short", sound_control(LITTLE, 4, 700, 0, []), content)
    cut = content[: len(content) * 3 // 4]
    put(target, f"{name}-cut", sound_control(AS_STREAM | WITH_SUMS, 4, 0, 0, PROGRAMS[1]), cut)
    put(target, f"{name}-cut-load", sound_control(TWICE | WITH_SUMS, 6, 0, 0, []), cut)


def run(*command):
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def short_sounds():
    """The same sounds, a few blocks long."""
    work = os.path.join(folder, "work")
    os.makedirs(work)
    cut = os.path.join(work, "cut.wav")
    for name in sorted(os.listdir(sounds)):
        base, kind = os.path.splitext(name)
        source = os.path.join(sounds, name)
        short = os.path.join(work, name)
        if kind == ".wav":
            form = {"aiff.wav": "aiff", "w64.wav": "w64"}.get(name, "wav")
            run("sox", "-D", "-t", form, source, "-t", form, short, "trim", "1000s", "300s")
            sound_seeds("wav", name, read(short))
        elif kind == ".flac":
            whole = os.path.join(work, "whole.wav")
            wrap = ["--ogg"] if name == "in-ogg.flac" else []
            run("flac", "--silent", "--force", "--decode", *wrap, source, "-o", whole)
            run("sox", "-D", whole, cut, "trim", "0s", "1000s")
            for size in ("192", "576"):
                run("flac", "--silent", "--force", "--lax", "--channel-map=none", "--no-padding", f"--blocksize={size}", *wrap, cut, "-o", short)
                content = read(short)
                if name == "no-length.flac":
                    # The number of samples, and the sum over them: not known.
                    content = content[:21] + bytes([content[21] & 0xF0, 0, 0, 0, 0]) + bytes(16) + content[42:]
                sound_seeds("flac", f"{base}-{size}", content)
        elif kind == ".ogg":
            source = {"mono": "s16-mono", "stereo": "s16", "six": "s16-six"}.get(base, base) + ".wav"
            run("sox", "-D", os.path.join(sounds, source), cut, "trim", "0s", "2000s")
            run("oggenc", "--quiet", "-q", "0", cut, "-o", short)
            content = read(short)
            sound_seeds("vorbis", name, content)
            # The position of the last page: further on than the samples go.
            last = content.rindex(b"OggS") + 6
            further = content[:last] + struct.pack("<q", 5000) + content[last + 8 :]
            put("vorbis", f"{base}-promises", sound_control(TWICE | WITH_SUMS, 6, 0, 0, []), further)
    shutil.rmtree(work)


def event(kind, number=0, content=b""):
    return struct.pack("<BHB", kind, number, len(content)) + content


def event_seeds():
    def key(scancode, down, repeat=0):
        return event(3 if down else 4, 0, struct.pack("<IIIBBBBi", 0, 0, 1, down, repeat, 0, 0, scancode))

    put("events", "keys", *(key(code, True) for code in (4, 30, 224, 225, 228, 231)), key(224, False), key(4, False, 1), key(285, True), key(511, True), key(-1, False))
    put("events", "mouse", event(5, 0, struct.pack("<IIIIIiiii", 0, 0, 1, 0, 0, 10, 20, -3, 4)),
        *(event(kind, 0, struct.pack("<IIIIB", 0, 0, 1, 0, button)) for kind in (6, 7) for button in (1, 2, 3, 4)),
        event(8, 0, struct.pack("<IIIIii", 0, 0, 1, 0, 2, -1)))
    put("events", "window", *(event(1, 0, struct.pack("<IIIBxxxii", 0, 0, 1, kind, 300, 200)) for kind in range(17)))
    put("events", "drops", *(struct.pack("<BHH", kind, 0, size) + b"x" * size for kind, size in ((11, 9), (13, 4), (11, 300), (11, 0))))
    put("events", "others", event(0), event(9, 0, bytes(12)), event(10, 0, bytes(12)), event(0xE0, 0x201, bytes(24)),
        struct.pack("<BHH", 0xE0, 0x305, 5) + b"hello", event(0xE0, 0x7F00), event(0), event(0xE0, 0x8000, bytes(56)))


def shader_seeds():
    texts = [b"#vertex\nV;\n#fragment\nF;\n", b"#geometry G#fragment F#vertex V", b"#version 330\n#if x\n##vertex a" + b"-" * 90 + b"#fragment\r\n#vertex\tb"]
    texts += [b"#vertex\n", b"#vertex V#fragment ", b"." * 70 + b"#geometry\t"]
    for i, text in enumerate(texts):
        for flags in (0, 1, 8 | 2, 16 | 64 | 15, 32 | 7):
            for size in (0, 40, 255):
                control = struct.pack("<BBiB", flags, size, 50, 9)
                put("shader", f"{i}-{flags}-{size}", control, b"0:1: bad\n", text)


def text_seeds():
    texts = ["plain text of more than sixteen bytes", "Grüße, Привет", "漢字 and 😀", "a" * 40 + "ß"]
    pieces = [text.encode() for text in texts] + [b"\xC0\x80\xED\xA0\x80\xF4\x90\x80\x80\xE2\x82", bytes(range(256))]
    for i, piece in enumerate(pieces):
        for kind in range(4):
            put("text", f"{i}-{kind}", struct.pack("<BHiHB", kind | 16 * (i % 2), 9 * i, 16300, 0, 0), piece)
        put("text", f"{i}-long", struct.pack("<BHiHB", 64 | 2 + i % 4, 100, 8000, 400, 3), b"a/b", piece)
        put("text", f"{i}-two", struct.pack("<BHiHB", 5 | 16 * i, 4, 16370 - i, 1, 5), b"/home", piece)
    # Up to the last byte of the arena, and one further.
    for length in (83, 84, 85):
        put("text", f"end-{length}", struct.pack("<BHiHB", 3, 0, 16384 - 84, 0, 0), b"x" * length)
        put("text", f"wide-end-{length}", struct.pack("<BHiHB", 2, 0, 16384 - 168, 0, 0), b"x" * length)
    put("text", "blocks", struct.pack("<BHiI", 4, 0, 0, 524200), *(struct.pack("<BH", kind, size) for kind, size in ((0, 8), (1, 40), (1, 80), (0, 3), (225, 300), (224, 5000))))


def conversion_seeds():
    floats = struct.pack("<12f", 0, 0.5, -0.5, 1, -1, 1.5, -0.9999, 1e9, 2.0**-130, float("inf"), float("nan"), 1 / 127)
    for source in range(8):
        for target in range(8):
            block = floats if source == 6 else bytes(range(0, 250, 7))
            put("conversion", f"{source}-{target}", bytes([source, target, (source * 8 + target) % 32, target]), block)


def address_seeds():
    hosts = [b"127.0.0.1", b"::1", b"fe80::1%lo", b"2001:db8::ff:1", b"::ffff:10.0.0.1", b"0x7f.1", b"localhost", b"256.1.1.1", b"", b"1:2:3:4:5:6:7:8:9", b"*", b"%"]
    for i, host in enumerate(hosts):
        put("addresses", f"find-{i}", struct.pack("<BHB", 2, 8080, 1 + i % 4), host)
    for kind in (0, 16, 4):
        put("addresses", f"record-{kind}", struct.pack("<BHB", kind, 0, 0), bytes(range(2, 34)))
    for length in (0, 16, 28, 32, 100, 128):
        put("addresses", f"answer-{length}", struct.pack("<BHB", 1, length, 0), bytes(range(length)), b"host")


if os.path.isdir(folder):
    shutil.rmtree(folder)
os.makedirs(folder)
image_seeds()
short_sounds()
event_seeds()
shader_seeds()
text_seeds()
conversion_seeds()
address_seeds()
