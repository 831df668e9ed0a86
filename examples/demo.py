#!/usr/bin/env python3
# SPDX-License-Identifier: Zlib
"""The demo as a host in Python: the standard library alone, and every call through ctypes.

A solid of glazed stone turns in a dim studio, with a card over it that shows its texture, and music
plays. Without a display the demo draws a fixed number of frames off screen, saves the last one as a PNG
file, and beside it as a WAV file what it played. demo.cpp and demo_c99.c are the same program, function
by function, and give the same pixels and samples.

Keys: arrows or a drag turn the solid, the wheel zooms, a picture dropped on the window becomes the
texture. Space rings a chime, F2 software graphics on and off, F11 or Alt+Return full screen, F12 or P
saves the picture, Escape closes.

Usage: demo.py [--frames N] [--output FILE] [--assets DIRECTORY] [--library FILE]
"""

import argparse
import math
import os
import re
import struct
import sys
import zlib
from array import array
from ctypes import (CDLL, CFUNCTYPE, Structure, addressof, byref, c_char, c_char_p, c_int8, c_int16, c_int32, c_int64,
                    c_uint8, c_uint16, c_uint32, c_uint64, c_void_p, cast, create_string_buffer, memmove, memset,
                    string_at)
from mmap import mmap


class Slice(Structure):
    _fields_ = [("data", c_void_p), ("count", c_int64)]


class Image(Structure):
    _fields_ = [("data", c_void_p), ("width", c_int32), ("height", c_int32)]


class ShaderResult(Structure):
    _fields_ = [("success", c_uint8), ("log", Slice)]


class AudioInfo(Structure):
    _fields_ = [("format", c_uint8), ("channels", c_int32), ("sample_rate", c_int32), ("size", c_int64)]


class Wave(Structure):
    _fields_ = AudioInfo._fields_ + [("data", c_void_p)]


# What the demo calls. A record result is written through a first pointer, a float travels as the bits
# of a u32, and narrow numbers and other records go by value.
TYPES = {"void": None, "pointer": c_void_p, "b8": c_uint8, "u8": c_uint8, "u16": c_uint16, "u32": c_uint32,
         "u64": c_uint64, "i8": c_int8, "i32": c_int32, "i64": c_int64, "Slice": Slice, "Image": Image,
         "AudioInfo": AudioInfo}
AudioCallback = CFUNCTYPE(None, c_void_p, c_void_p, c_int32)
CALLS = """
    void system_init(u32)   void system_release()   u64 system_ticks()   void system_sleep(u32)
    pointer file_open(Slice, u8)   i64 file_size(pointer)   u64 file_read(pointer, u64, pointer)
    void file_close(pointer)
    b8 display_open(i32, i32, Slice, u16, i32)   b8 display_is_closed()   b8 display_is_resized(pointer, pointer)
    void display_file_dropped(pointer)   void display_set_fullscreen(b8)
    void display_set_software_graphics(b8)   void display_set_content(i32, i32, pointer)
    void input_poll()   b8 input_key_is_pressed(u8)   b8 input_key_is_held(u8)
    b8 input_mouse_is_held(u8)   void input_mouse_moved(pointer, pointer)   i32 input_mouse_wheel()
    u32 shader_create()   void shader_source(pointer, u32, Slice, Slice)   void shader_bind(u32)
    i32 shader_get_uniform_location(u32, Slice)   void shader_uniform1f(i32, u32)
    void shader_uniform2f(i32, u32, u32)   void shader_uniform4fa(i32, i32, Slice)
    void shader_uniform_matrix4fa(i32, i32, b8, Slice)
    u32 texture_create()   void texture_bind(u32, u32)   void texture_generate_mipmap(u32)
    void texture_image_2d(u32, i32, u32, i32, i32, u32, u32, pointer)
    void texture_copy_image_2d(u32, i32, u32, i32, i32, i32, i32)
    void texture_get_image(u32, i32, u32, u32, pointer)   void texture_parameter_filter(u32, u32, u32)
    u32 buffer_create()   void buffer_bind(u32, u32)   void buffer_data(u32, i64, pointer, u32)
    u32 vertex_array_create()   void vertex_array_bind(u32)   void attribute_enable(u32, b8)
    void attribute_format(u32, i32, u32, b8, i32, i32)
    void draw_arrays(u32, i32, i32, i32)   void draw_elements(u32, u32, i32, i32, i32, i32)
    void pipeline_clear(u32)   void pipeline_clear_color(u32, u32, u32, u32)
    void pipeline_viewport(i32, i32, i32, i32)   void pipeline_depth_enable(b8)   void pipeline_cull_enable(b8)
    void pipeline_cull_orientation(b8)   void pipeline_blend_enable(b8)   void pipeline_blend_factor(u32, u32)
    void pipeline_pixel_store(u32, i32)   void pipeline_present()   void pipeline_finish()   u32 pipeline_get_error()
    void image_set_buffer(i64, pointer)   void image_set_buffer_position(i64)   i64 image_get_buffer_position()
    void image_set_flip(b8)   void image_load(pointer, Slice, i8)   b8 image_save(Image, Slice, i8)
    void audio_set_buffer(i64, pointer)   void audio_wave_load(pointer, u8, Slice)
    i32 audio_stream_open(u8, Slice, b8)   void audio_stream_read_info(pointer, i32)
    void audio_stream_write_info(i32, AudioInfo)   i64 audio_stream_read(i32, u64, pointer)
    u64 audio_stream_write(i32, u64, pointer)   i32 audio_stream_seek(i32, u64)   void audio_stream_close(i32)
    b8 audio_open(u8, u8, i32, u16, pointer, pointer)   void audio_play()   void audio_pause()
    void audio_lock()   void audio_unlock()   void audio_close()
"""

SYSTEM_INIT_AUDIO, SYSTEM_INIT_VIDEO, SYSTEM_INIT_EVENTS, DISPLAY_RESIZABLE, DISPLAY_VSYNC = 2, 4, 8, 4, 64
FILE_MODE_READ, SAMPLE_FORMAT_S16 = 2, 4
KEY_P, KEY_LEFT, KEY_RIGHT, KEY_UP, KEY_DOWN, KEY_RETURN, KEY_ESCAPE, KEY_ALT = 17, 38, 39, 40, 41, 43, 46, 49
KEY_SPACE, KEY_F2, KEY_F11, KEY_F12, MOUSE_LEFT = 42, 97, 106, 107, 2
TEXTURE_TARGET_2D, INTERNAL_FORMAT_RGBA8, PIXEL_FORMAT_RGB, PIXEL_FORMAT_RGBA = 1, 13, 7, 8
DATA_TYPE_UNSIGNED_BYTE, DATA_TYPE_UNSIGNED_SHORT, DATA_TYPE_FLOAT = 0, 1, 6
TEXTURE_PARAMETER_MIN_FILTER, TEXTURE_FILTER_LINEAR_MIPMAP_LINEAR, PIXEL_STORE_PACK_ALIGNMENT = 3, 5, 7
BUFFER_TARGET_ARRAY, BUFFER_TARGET_ELEMENT_ARRAY, BUFFER_USAGE_STATIC_DRAW = 0, 1, 0
BUFFER_MASK_DEPTH, BUFFER_MASK_COLOR, BLEND_FACTOR_SRC_ALPHA, BLEND_FACTOR_ONE_MINUS_SRC_ALPHA = 1, 4, 3, 9
TRIANGLES, TRIANGLE_STRIP = 4, 5  # OpenGL's own numbers

WIDTH, HEIGHT, SAMPLES, FRAMES, IMAGE_MEMORY = 960, 540, 4, 60, 256 << 20
AUDIO_MEMORY, SOUND_BLOCK, SOUND_SECONDS, CHIME_FRAME = 64 << 10, 1024, 8, 88200
RINGS, SIDES, BEADS, RADIUS = 320, 40, 32, 0.26


class Fault(Exception):
    """A line for the user; the demo ends with exit status 1."""


class Demo:
    width, height = WIDTH, HEIGHT
    yaw, tilt, zoom = 0.0, 0.0, 1.0  # what the user added: turns, turns, a factor
    fullscreen = software = closed = False


def text(string):
    data = os.fsencode(string)
    result = Slice(cast(c_char_p(data), c_void_p), len(data))
    result.kept = data  # the record holds an address alone
    return result


def values(numbers):
    return Slice(numbers.buffer_info()[0], len(numbers))


def bits(number):
    return struct.unpack("=I", struct.pack("=f", number))[0]


# The hosts reckon in doubles, with nothing but the operations that IEEE 754 rounds exactly, and round
# to floats once, at the end: that is why their pictures agree to the last pixel.

def sine(turns):
    t = turns - math.floor(turns + 0.5)
    t = 0.5 - t if t > 0.25 else -0.5 - t if t < -0.25 else t
    x = t * 6.283185307179586
    y = x * x
    return x * (1.0 - y / 6.0 * (1.0 - y / 20.0 * (1.0 - y / 42.0 * (1.0 - y / 72.0 * (
        1.0 - y / 110.0 * (1.0 - y / 156.0 * (1.0 - y / 210.0 * (1.0 - y / 272.0))))))))


def cosine(turns):
    return sine(turns + 0.25)


def cross(a, b):
    return (a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0])


def unit(a):
    size = math.sqrt(a[0] * a[0] + a[1] * a[1] + a[2] * a[2])
    return (a[0] / size, a[1] / size, a[2] / size)


def centre(t):
    """The line that the solid follows: three times through the hole of a ring, twice round it."""
    out = 0.92 + 0.42 * cosine(3.0 * t)
    return (out * cosine(2.0 * t), out * sine(2.0 * t), 0.46 * sine(3.0 * t))


def make_solid():
    """A tube along the line. 8 floats a vertex: position, normal, place in the texture."""
    vertices, indices = array("f"), array("H")
    for ring in range(RINGS + 1):
        t = ring / RINGS
        middle, before, behind = centre(t), centre(t - 0.0005), centre(t + 0.0005)
        ahead = unit((behind[0] - before[0], behind[1] - before[1], behind[2] - before[2]))
        side = unit(cross(ahead, (cosine(3.0 * t) * cosine(2.0 * t), cosine(3.0 * t) * sine(2.0 * t), sine(3.0 * t))))
        out = cross(side, ahead)
        for corner in range(SIDES + 1):
            u = corner / SIDES
            c, s = cosine(u), sine(u)
            normal = (c * out[0] + s * side[0], c * out[1] + s * side[1], c * out[2] + s * side[2])
            vertices.extend((middle[0] + RADIUS * normal[0], middle[1] + RADIUS * normal[1],
                             middle[2] + RADIUS * normal[2]) + normal + (6.0 * t, u - 3.0 * t))
            if ring < RINGS and corner < SIDES:
                first = ring * (SIDES + 1) + corner
                above = first + SIDES + 1
                indices.extend((first, first + 1, above, above, first + 1, above + 1))
    return vertices, indices


def read_text(path):
    file = system.file_open(text(path), FILE_MODE_READ)
    if not file:
        raise Fault("can't read " + path)
    size = system.file_size(file)
    if size < 0:
        raise Fault("can't read " + path)
    room = create_string_buffer(size)
    count = system.file_read(file, len(room), room)
    system.file_close(file)
    return room.raw[:count].decode()


def make_shader(path):
    program, result, log = system.shader_create(), ShaderResult(), create_string_buffer(4096)
    system.shader_source(byref(result), program, text(read_text(path)), Slice(addressof(log), len(log)))
    if not result.success:
        raise Fault(path + ": " + string_at(result.log.data, result.log.count).decode())
    return program


def load_texture(texture, path):
    """Fills a texture from an image file. Behind the upload the position goes back to the mark: the
    pixels, and all that the decoder took of the lent block, are free for the next load."""
    image, mark = Image(), system.image_get_buffer_position()
    system.image_load(byref(image), text(path), 4)
    if image.data:
        system.texture_bind(TEXTURE_TARGET_2D, texture)
        system.texture_image_2d(TEXTURE_TARGET_2D, 0, INTERNAL_FORMAT_RGBA8, image.width, image.height,
                                PIXEL_FORMAT_RGBA, DATA_TYPE_UNSIGNED_BYTE, image.data)
        system.texture_generate_mipmap(TEXTURE_TARGET_2D)
        system.texture_parameter_filter(TEXTURE_TARGET_2D, TEXTURE_PARAMETER_MIN_FILTER,
                                        TEXTURE_FILTER_LINEAR_MIPMAP_LINEAR)
    system.image_set_buffer_position(mark)
    if not image.data:
        raise Fault("can't load the picture " + path)
    return texture


class Sound:
    """What the callback and the host share. While the player runs, the callback alone calls the sound
    family, and the host touches this under audio_lock."""

    def __init__(self, arguments):
        """Lets the music begin. Without a sound device the demo goes on in silence."""
        music, chime = arguments.assets + "/music.ogg", arguments.assets + "/chime.wav"
        self.info, wave, path = AudioInfo(), Wave(), text(music)
        self.music = system.audio_stream_open(SAMPLE_FORMAT_S16, path, False)
        system.audio_stream_read_info(byref(self.info), self.music)
        if not self.info.size:
            raise Fault("can't load the sound " + music)
        system.audio_wave_load(byref(wave), SAMPLE_FORMAT_S16, text(chime))
        if not wave.data or wave.channels != 1:
            raise Fault("can't load the sound " + chime)
        self.chime = array("h", string_at(wave.data, wave.size))

        self.frame_size = self.info.channels * 2
        self.played = 0  # frames
        self.record_frames = self.info.sample_rate * SOUND_SECONDS if arguments.frames else 0
        self.recorded = create_string_buffer(self.record_frames * self.frame_size)
        # The frame with which the chime begins, or began long ago.
        self.chime_at = CHIME_FRAME if arguments.frames else -len(self.chime)
        self.callback = AudioCallback(self.play)  # kept here for as long as the device is open
        self.is_open = system.audio_open(SAMPLE_FORMAT_S16, self.info.channels, self.info.sample_rate, SOUND_BLOCK,
                                         cast(self.callback, c_void_p), None)
        system.audio_play()

    def play(self, userdata, block, length):
        """Gives the next block of the music, from its end on to its beginning, with the chime over it. SDL2
        calls it on a thread of its own."""
        channels, size, frames = self.info.channels, self.frame_size, length // self.frame_size
        count = system.audio_stream_read(self.music, frames, block)
        if count < frames:
            system.audio_stream_seek(self.music, 0)
            count += system.audio_stream_read(self.music, frames - count, block + count * size)
        memset(block + count * size, 0, (frames - count) * size)

        start = self.chime_at - self.played
        first, end = max(start, 0), min(start + len(self.chime), frames)
        if first < end:
            samples = (c_int16 * (frames * channels)).from_address(block)
            for i in range(first * channels, end * channels):
                samples[i] = min(max(samples[i] + self.chime[i // channels - start], -32768), 32767)

        room = self.record_frames - self.played
        if room > 0:
            memmove(addressof(self.recorded) + self.played * size, block, min(room, frames) * size)
        self.played += frames

    def save(self, path):
        """Saves what was played and prints where, its length, and the CRC-32 of its samples."""
        played = 0
        while played < self.record_frames:
            system.system_sleep(1)
            system.audio_lock()
            played = self.played
            system.audio_unlock()
        system.audio_pause()  # no call comes in any more: the sound family is the host's again
        info, name = AudioInfo.from_buffer_copy(self.info), text(path)
        info.size = len(self.recorded)
        file = system.audio_stream_open(info.format, name, True)
        system.audio_stream_write_info(file, info)
        written = system.audio_stream_write(file, self.record_frames, self.recorded)
        system.audio_stream_close(file)
        if written != self.record_frames:
            raise Fault("can't write " + path)
        print("%s: %.1f s, CRC-32 %08x" % (path, self.record_frames / info.sample_rate, zlib.crc32(self.recorded)))

    def close(self):
        system.audio_close()
        system.audio_stream_close(self.music)


def make_scene(demo, assets):
    demo.solid = make_shader(assets + "/solid.glsl")
    demo.studio = make_shader(assets + "/studio.glsl")
    demo.picture = make_shader(assets + "/picture.glsl")
    demo.stone = load_texture(system.texture_create(), assets + "/marble.jpg")
    demo.panel = load_texture(system.texture_create(), assets + "/panel.png")
    demo.copy = system.texture_create()

    vertices, indices = make_solid()
    demo.index_count = len(indices)
    demo.no_attributes, demo.tube = system.vertex_array_create(), system.vertex_array_create()
    system.vertex_array_bind(demo.tube)
    for target, numbers in ((BUFFER_TARGET_ARRAY, vertices), (BUFFER_TARGET_ELEMENT_ARRAY, indices)):
        system.buffer_bind(target, system.buffer_create())
        system.buffer_data(target, len(numbers) * numbers.itemsize, values(numbers).data, BUFFER_USAGE_STATIC_DRAW)
    for index, (size, offset) in enumerate(((3, 0), (3, 12), (2, 24))):
        system.attribute_enable(index, True)
        system.attribute_format(index, size, DATA_TYPE_FLOAT, False, 32, offset)

    system.pipeline_clear_color(bits(0.0), bits(0.0), bits(0.0), bits(1.0))
    system.pipeline_blend_factor(BLEND_FACTOR_SRC_ALPHA, BLEND_FACTOR_ONE_MINUS_SRC_ALPHA)
    system.pipeline_pixel_store(PIXEL_STORE_PACK_ALIGNMENT, 1)


def uniform(program, name):
    return system.shader_get_uniform_location(program, text(name))


def draw_solid(demo, mirror):
    """The solid, or for -1 its image in the floor, which is inside out."""
    system.pipeline_depth_enable(True)
    system.pipeline_cull_enable(True)
    system.pipeline_cull_orientation(mirror > 0.0)
    system.shader_bind(demo.solid)
    system.shader_uniform1f(uniform(demo.solid, "mirror"), bits(mirror))
    system.texture_bind(TEXTURE_TARGET_2D, demo.stone)
    system.vertex_array_bind(demo.tube)
    system.draw_elements(TRIANGLES, DATA_TYPE_UNSIGNED_SHORT, 0, demo.index_count, 0, 1)
    system.pipeline_cull_enable(False)
    system.pipeline_depth_enable(False)


def draw_picture(demo, texture, left, bottom, width, height, rounding):
    """A picture in its own size, counted from the lower left corner; a tall view doubles it."""
    scale = max(demo.height // HEIGHT, 1)
    rectangle = array("f", (left * scale, demo.height - (bottom + height) * scale, width * scale, height * scale))
    system.shader_bind(demo.picture)
    system.shader_uniform2f(uniform(demo.picture, "view"), bits(demo.width), bits(demo.height))
    system.shader_uniform1f(uniform(demo.picture, "rounding"), bits(rounding * scale))
    system.shader_uniform4fa(uniform(demo.picture, "rectangle"), 1, values(rectangle))
    system.texture_bind(TEXTURE_TARGET_2D, texture)
    system.draw_arrays(TRIANGLE_STRIP, 0, 4, 1)


def draw_frame(demo, frame):
    # The camera looks level, and the picture is shifted in place of a tilt: uprights stay upright.
    eye, away, near, far = 1.55, 5.4 * demo.zoom, 0.5, 50.0
    high, right, up = 2.35, 0.16, 0.11
    wide = high * demo.height / demo.width
    clip_from_world = array("f", (
        wide, 0.0, 0.0, 0.0,
        0.0, high, 0.0, 0.0,
        -right, -up, -(far + near) / (far - near), -1.0,
        right * away, up * away - high * eye, (away * (far + near) - 2.0 * far * near) / (far - near), away))
    camera, lens = array("f", (0.0, eye, away, 1.0)), array("f", (1.0 / wide, 1.0 / high, right, up))

    yaw, tilt = -0.05 + frame / 960.0 + demo.yaw, 0.045 + demo.tilt
    cy, sy, ct, st = cosine(yaw), sine(yaw), cosine(tilt), sine(tilt)
    turn = (cy, st * sy, -ct * sy, 0.0, 0.0, ct, st, 0.0, sy, -st * cy, ct * cy, 0.0, 0.0, 1.62, 0.0, 1.0)
    world_from_solid, beads = array("f", turn), array("f")
    for bead in range(BEADS):
        x, y, z = centre(bead / BEADS)
        beads.extend([turn[row] * x + turn[4 + row] * y + turn[8 + row] * z + turn[12 + row] for row in range(3)])
        beads.append(RADIUS)

    for program in (demo.solid, demo.studio):
        system.shader_bind(program)
        system.shader_uniform4fa(uniform(program, "beads"), BEADS, values(beads))
        system.shader_uniform4fa(uniform(program, "camera"), 1, values(camera))
        system.shader_uniform4fa(uniform(program, "lens"), 1, values(lens))
        system.shader_uniform_matrix4fa(uniform(program, "clip_from_world"), 1, False, values(clip_from_world))
        system.shader_uniform_matrix4fa(uniform(program, "world_from_solid"), 1, False, values(world_from_solid))

    # The image in the floor, the studio over it, the solid, and the card with the texture in its slot.
    system.pipeline_viewport(0, 0, demo.width, demo.height)
    system.pipeline_clear(BUFFER_MASK_COLOR | BUFFER_MASK_DEPTH)
    draw_solid(demo, -1.0)
    system.pipeline_blend_enable(True)
    system.shader_bind(demo.studio)
    system.vertex_array_bind(demo.no_attributes)
    system.draw_arrays(TRIANGLES, 0, 3, 1)
    system.pipeline_blend_enable(False)
    system.pipeline_clear(BUFFER_MASK_DEPTH)
    draw_solid(demo, 1.0)
    system.pipeline_blend_enable(True)
    system.vertex_array_bind(demo.no_attributes)
    draw_picture(demo, demo.panel, 4, 4, 452, 148, 0.0)
    draw_picture(demo, demo.stone, 40, 40, 76, 76, 7.0)
    system.pipeline_blend_enable(False)


def read_frame(demo, format, channels):
    """The frame in the back buffer, from the bottom row up. It goes through a texture because that copy
    puts the samples of each pixel together; a plain read doesn't with every driver."""
    pixels = create_string_buffer(demo.width * demo.height * channels)
    system.texture_bind(TEXTURE_TARGET_2D, demo.copy)
    system.texture_copy_image_2d(TEXTURE_TARGET_2D, 0, INTERNAL_FORMAT_RGBA8, 0, 0, demo.width, demo.height)
    system.texture_get_image(TEXTURE_TARGET_2D, 0, format, DATA_TYPE_UNSIGNED_BYTE, pixels)
    return pixels


def save_frame(demo, path):
    """Saves the frame and prints where, its size, and the CRC-32 of its RGB bytes from the top row down."""
    pixels, row, checksum = read_frame(demo, PIXEL_FORMAT_RGB, 3), demo.width * 3, 0
    if not system.image_save(Image(addressof(pixels), demo.width, demo.height), text(path), 3):
        raise Fault("can't write " + path)
    for y in reversed(range(demo.height)):
        checksum = zlib.crc32(memoryview(pixels)[y * row:(y + 1) * row], checksum)
    print("%s: %d x %d, CRC-32 %08x" % (path, demo.width, demo.height, checksum), flush=True)


def present(demo):
    """Shows the frame. Under software graphics it is read back and handed over as an image: the top row
    first, and stretched to the size that the display's texture has got."""
    if not demo.software:
        system.pipeline_present()
        return
    width, height = (c_int32.in_dll(system, "sdl_texture_" + side).value for side in ("width", "height"))
    pixels = memoryview(read_frame(demo, PIXEL_FORMAT_RGBA, 4)).cast("B").cast("I")
    content = array("I")
    columns = [x * demo.width // width for x in range(width)]
    for y in range(height):
        row = (demo.height - 1 - y * demo.height // height) * demo.width
        content.extend(map(pixels[row:row + demo.width].__getitem__, columns))
    system.display_set_content(width, height, values(content).data)


def handle_input(demo):
    """Takes what happened since the last frame. True when the frame is to be saved."""
    pressed, held = system.input_key_is_pressed, system.input_key_is_held
    width, height, x, y, dropped = c_int32(), c_int32(), c_int32(), c_int32(), Slice()
    system.input_poll()
    demo.closed = bool(system.display_is_closed() or pressed(KEY_ESCAPE))
    if system.display_is_resized(byref(width), byref(height)):
        demo.width, demo.height = max(width.value, 1), max(height.value, 1)

    demo.yaw += ((held(KEY_RIGHT) != 0) - (held(KEY_LEFT) != 0)) / 180.0
    demo.tilt += ((held(KEY_DOWN) != 0) - (held(KEY_UP) != 0)) / 180.0
    if system.input_mouse_is_held(MOUSE_LEFT):
        system.input_mouse_moved(byref(x), byref(y))
        demo.yaw, demo.tilt = demo.yaw + x.value / 900.0, demo.tilt + y.value / 900.0
    demo.zoom = min(max(demo.zoom * (1.0 - 0.06 * system.input_mouse_wheel()), 0.6), 2.5)

    if pressed(KEY_F11) or (held(KEY_ALT) and pressed(KEY_RETURN)):
        demo.fullscreen = not demo.fullscreen
        system.display_set_fullscreen(demo.fullscreen)
    if pressed(KEY_F2):
        demo.software = not demo.software
        system.display_set_software_graphics(demo.software)
    if pressed(KEY_SPACE):
        system.audio_lock()
        demo.sound.chime_at = demo.sound.played
        system.audio_unlock()
    system.display_file_dropped(byref(dropped))
    if dropped.count > 0:
        try:
            load_texture(demo.stone, os.fsdecode(string_at(dropped.data, dropped.count)))
        except Fault as fault:
            print("demo: %s" % fault, file=sys.stderr)
    return bool(pressed(KEY_F12) or pressed(KEY_P))


def run(arguments):
    """Draws and plays until the window is closed, or the number of frames asked for, the last of which is
    saved, with the sound."""
    memory, audio_memory = mmap(-1, IMAGE_MEMORY), create_string_buffer(AUDIO_MEMORY)
    system.system_init(SYSTEM_INIT_AUDIO | SYSTEM_INIT_VIDEO | SYSTEM_INIT_EVENTS)
    if not system.display_open(WIDTH, HEIGHT, text("halvorin system"), DISPLAY_RESIZABLE | DISPLAY_VSYNC, SAMPLES):
        raise Fault("can't open the display")
    system.image_set_buffer(IMAGE_MEMORY, addressof(c_char.from_buffer(memory)))
    system.image_set_flip(True)  # the bottom row first, as OpenGL has it
    system.audio_set_buffer(AUDIO_MEMORY, audio_memory)
    demo = Demo()
    make_scene(demo, arguments.assets)
    demo.sound = Sound(arguments)
    frame = 0
    try:
        while not demo.closed and (not arguments.frames or frame < arguments.frames):
            wanted = handle_input(demo)
            draw_frame(demo, frame if arguments.frames else system.system_ticks() * 60 // 1000)
            frame += 1
            if wanted or frame == arguments.frames:
                save_frame(demo, arguments.output)
            # Off screen no one waits for a picture: OpenGL would queue frames, and keep what they take.
            if arguments.frames:
                system.pipeline_finish()
            present(demo)
        if arguments.frames and not demo.closed and demo.sound.is_open:
            demo.sound.save(os.path.splitext(arguments.output)[0] + ".wav")
    finally:  # no call may come in once the callback and its records are gone
        demo.sound.close()
    error = system.pipeline_get_error()
    if error:
        raise Fault("OpenGL reports an error: %#06x" % (error - 1))


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    parser = argparse.ArgumentParser(description="The demo, as a host in Python.")
    parser.add_argument("--frames", type=int, default=0, help="draw that many frames, save the last one and leave")
    parser.add_argument("--output", default="demo.png", help="where pictures are saved (demo.png)")
    parser.add_argument("--assets", default=os.path.join(here, "assets"), help="directory of shaders and pictures")
    parser.add_argument("--library", default=os.path.join(here, "../build/release/libhalvorin_system.so"))
    arguments = parser.parse_args()

    # Without a display the demo goes off screen, and its sound to SDL2's disk driver, faster than it
    # would sound. The choice of drivers is the host's alone to make.
    if not any(os.environ.get(name) for name in ("DISPLAY", "WAYLAND_DISPLAY", "SDL_VIDEODRIVER")):
        os.environ["SDL_VIDEODRIVER"] = "offscreen"
    if os.environ.get("SDL_VIDEODRIVER") == "offscreen":
        arguments.frames = arguments.frames or FRAMES
        if not os.environ.get("SDL_AUDIODRIVER"):
            os.environ["SDL_AUDIODRIVER"] = "disk"
            os.environ.setdefault("SDL_DISKAUDIOFILE", "/dev/null")
            os.environ.setdefault("SDL_DISKAUDIODELAY", "5")  # milliseconds a block

    global system
    try:
        system = CDLL(arguments.library)
        for result, name, parameters in re.findall(r"(\w+) (\w+)\((.*?)\)", CALLS):
            function = getattr(system, name)
            function.restype = TYPES[result]
            function.argtypes = [TYPES[word] for word in re.findall(r"\w+", parameters)]
    except (OSError, AttributeError) as error:
        print("demo: %s" % error, file=sys.stderr)
        return 1
    try:
        run(arguments)
        return 0
    except Fault as fault:
        print("demo: %s" % fault, file=sys.stderr)
        return 1
    finally:
        system.system_release()


if __name__ == "__main__":
    sys.exit(main())
