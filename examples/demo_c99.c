/* SPDX-License-Identifier: Zlib */
/*
 * The demo as a host in C99 that isn't linked against the library: it loads the library by name at
 * run time, and each function by name out of it.
 *
 * A solid of glazed stone turns in a dim studio, with a card over it that shows its texture, and
 * music plays. Without a display the demo draws a fixed number of frames off screen, saves the last
 * one as a PNG file, and beside it as a WAV file what it played. demo.cpp and demo.py are the same
 * program, function by function, and give the same pixels and samples.
 *
 * Keys: arrows or a drag turn the solid, the wheel zooms, a picture dropped on the window becomes
 * the texture. Space rings a chime, F2 software graphics on and off, F11 or Alt+Return full screen,
 * F12 or P saves the picture, Escape closes.
 *
 * Usage: demo_c99 [--frames N] [--output FILE] [--assets DIRECTORY] [--library FILE]
 */

#define _XOPEN_SOURCE 700

#include "scene.h"

#include <halvorin_system/system.h>

#include <dlfcn.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/* What the demo calls: result, name, parameters. */
#define CALLS(CALL)                                                                                \
    CALL(void, system_init, (u32))                                                                 \
    CALL(void, system_release, (void))                                                             \
    CALL(u64, system_ticks, (void))                                                                \
    CALL(void, system_sleep, (u32))                                                                \
    CALL(file_stream*, file_open, (Slice, u8))                                                     \
    CALL(b8, file_failed, (const file_stream*))                                                    \
    CALL(i64, file_size, (file_stream*))                                                           \
    CALL(u64, file_read, (file_stream*, u64, void*))                                               \
    CALL(void, file_close, (file_stream*))                                                         \
    CALL(b8, display_open, (i32, i32, Slice, u16, i32))                                            \
    CALL(b8, display_is_closed, (void))                                                            \
    CALL(b8, display_is_resized, (i32*, i32*))                                                     \
    CALL(void, display_file_dropped, (Slice*))                                                     \
    CALL(void, display_set_fullscreen, (b8))                                                       \
    CALL(void, display_set_software_graphics, (b8))                                                \
    CALL(void, display_set_content, (i32, i32, const void*))                                       \
    CALL(void, input_poll, (void))                                                                 \
    CALL(b8, input_key_is_pressed, (u8))                                                           \
    CALL(b8, input_key_is_held, (u8))                                                              \
    CALL(b8, input_mouse_is_held, (u8))                                                            \
    CALL(void, input_mouse_moved, (i32*, i32*))                                                    \
    CALL(i32, input_mouse_wheel, (void))                                                           \
    CALL(u32, shader_create, (void))                                                               \
    CALL(void, shader_source, (ShaderResult*, u32, Slice, Slice))                                  \
    CALL(void, shader_bind, (u32))                                                                 \
    CALL(i32, shader_get_uniform_location, (u32, Slice))                                           \
    CALL(void, shader_uniform1f, (i32, f32_bits))                                                  \
    CALL(void, shader_uniform2f, (i32, f32_bits, f32_bits))                                        \
    CALL(void, shader_uniform4fa, (i32, i32, Slice))                                               \
    CALL(void, shader_uniform_matrix4fa, (i32, i32, b8, Slice))                                    \
    CALL(u32, texture_create, (void))                                                              \
    CALL(void, texture_bind, (u32, u32))                                                           \
    CALL(void, texture_image_2d, (u32, i32, u32, i32, i32, u32, u32, const void*))                 \
    CALL(void, texture_generate_mipmap, (u32))                                                     \
    CALL(void, texture_parameter_filter, (u32, u32, u32))                                          \
    CALL(void, texture_copy_image_2d, (u32, i32, u32, i32, i32, i32, i32))                         \
    CALL(void, texture_get_image, (u32, i32, u32, u32, void*))                                     \
    CALL(u32, buffer_create, (void))                                                               \
    CALL(void, buffer_bind, (u32, u32))                                                            \
    CALL(void, buffer_data, (u32, i64, const void*, u32))                                          \
    CALL(u32, vertex_array_create, (void))                                                         \
    CALL(void, vertex_array_bind, (u32))                                                           \
    CALL(void, attribute_enable, (u32, b8))                                                        \
    CALL(void, attribute_format, (u32, i32, u32, b8, i32, i32))                                    \
    CALL(void, draw_arrays, (u32, i32, i32, i32))                                                  \
    CALL(void, draw_elements, (u32, u32, i32, i32, i32, i32))                                      \
    CALL(void, pipeline_clear, (u32))                                                              \
    CALL(void, pipeline_clear_color, (f32_bits, f32_bits, f32_bits, f32_bits))                     \
    CALL(void, pipeline_viewport, (i32, i32, i32, i32))                                            \
    CALL(void, pipeline_depth_enable, (b8))                                                        \
    CALL(void, pipeline_cull_enable, (b8))                                                         \
    CALL(void, pipeline_cull_orientation, (b8))                                                    \
    CALL(void, pipeline_blend_enable, (b8))                                                        \
    CALL(void, pipeline_blend_factor, (u32, u32))                                                  \
    CALL(void, pipeline_pixel_store, (u32, i32))                                                   \
    CALL(void, pipeline_present, (void))                                                           \
    CALL(void, pipeline_finish, (void))                                                            \
    CALL(u32, pipeline_get_error, (void))                                                          \
    CALL(void, image_set_buffer, (i64, void*))                                                     \
    CALL(void, image_set_buffer_position, (i64))                                                   \
    CALL(i64, image_get_buffer_position, (void))                                                   \
    CALL(void, image_set_flip, (b8))                                                               \
    CALL(void, image_load, (Image*, Slice, i8))                                                    \
    CALL(b8, image_save, (Image, Slice, i8))                                                       \
    CALL(void, audio_set_buffer, (i64, void*))                                                     \
    CALL(void, audio_wave_load, (Wave*, u8, Slice))                                                \
    CALL(i32, audio_stream_open, (u8, Slice, b8))                                                  \
    CALL(void, audio_stream_read_info, (AudioInfo*, i32))                                          \
    CALL(void, audio_stream_write_info, (i32, AudioInfo))                                          \
    CALL(i64, audio_stream_read, (i32, u64, void*))                                                \
    CALL(u64, audio_stream_write, (i32, u64, void*))                                               \
    CALL(i32, audio_stream_seek, (i32, u64))                                                       \
    CALL(void, audio_stream_close, (i32))                                                          \
    CALL(b8, audio_open, (u8, u8, i32, u16, audio_callback, void*))                                \
    CALL(void, audio_play, (void))                                                                 \
    CALL(void, audio_pause, (void))                                                                \
    CALL(void, audio_lock, (void))                                                                 \
    CALL(void, audio_unlock, (void))                                                               \
    CALL(void, audio_close, (void))

#define MEMBER(result, name, parameters) result(*name) parameters;
static struct {
    CALLS(MEMBER)
    i32 *texture_width, *texture_height; /* data of the library, which is found by name as well */
    u32* player_id;
} lib;

enum {
    WIDTH = 960,
    HEIGHT = 540,
    SAMPLES = 4,
    FRAMES = 60,
    IMAGE_MEMORY = 256 << 20, /* not taken from the system before a load touches it */
    TRIANGLES = 4,            /* OpenGL's own numbers */
    TRIANGLE_STRIP = 5,
    SOUND_BLOCK = 1024,
    SOUND_SECONDS = 8,
    CHIME_FRAME = 88200 /* in what is saved */
};

typedef struct Options {
    int frames;
    const char *output, *assets, *library;
} Options;

/* What the callback and the host share. While the player runs, the callback alone calls the sound
 * family, and the host touches this under audio_lock. */
typedef struct Sound {
    i32 music; /* the stream */
    AudioInfo info;
    Wave chime;        /* mono */
    i64 played;        /* frames */
    i64 chime_at;      /* the frame with which the chime began or begins */
    i64 record_frames; /* to be saved */
    i16* recorded;     /* room for them */
} Sound;

typedef struct Demo {
    i32 width, height;
    double yaw, tilt, zoom; /* what the user added: turns, turns, a factor */
    int fullscreen, software, closed;
    u32 solid, studio, picture; /* shaders */
    u32 stone, panel, copy;     /* textures */
    u32 tube, no_attributes;    /* vertex arrays */
    Sound sound;
} Demo;

/* A line for the user, and the end. */
static void fail(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    fputs("demo: ", stderr);
    vfprintf(stderr, format, arguments);
    fputc('\n', stderr);
    va_end(arguments);
    if (lib.system_release) lib.system_release();
    exit(1);
}

static void* find(void* library, const char* name) {
    void* address = dlsym(library, name);
    if (!address) fail("the library has no %s", name);
    return address;
}

static void load_library(const char* path) {
    void *library = dlopen(path, RTLD_NOW | RTLD_LOCAL), *address;
    if (!library) fail("%s", dlerror());
        /* Each pointer must have the type that the headers declare. Nothing is evaluated here, so
         * the names aren't linked. */
#define CHECK(result, name, parameters) (void)sizeof(lib.name = name);
    CALLS(CHECK)
#define LOAD(result, name, parameters)                                                             \
    address = find(library, #name);                                                                \
    memcpy(&lib.name, &address, sizeof address);
    CALLS(LOAD)
    lib.texture_width = find(library, "sdl_texture_width");
    lib.texture_height = find(library, "sdl_texture_height");
    lib.player_id = find(library, "audio_player_id");
}

static Slice text(const char* string) {
    Slice result = {(void*)(size_t)string, (i64)strlen(string)};
    return result;
}

static Slice values(void* numbers, i64 count) {
    Slice result = {numbers, count};
    return result;
}

static f32_bits bits(double number) {
    float single = (float)number;
    f32_bits result;
    memcpy(&result, &single, sizeof result);
    return result;
}

static void* allocate(size_t size) {
    void* block = malloc(size);
    if (!block) fail("no memory");
    return block;
}

static const char* join(const char* directory, const char* name) {
    static char path[4096];
    if (snprintf(path, sizeof path, "%s/%s", directory, name) >= (int)sizeof path)
        fail("the path is too long: %s/%s", directory, name);
    return path;
}

static u32 make_shader(const char* assets, const char* name) {
    const char* path = join(assets, name);
    file_stream* file = lib.file_open(text(path), FILE_MODE_READ);
    u32 program = lib.shader_create();
    char log[4096];
    ShaderResult result;
    Slice source;
    if (lib.file_failed(file)) fail("can't read %s", path);
    source.count = lib.file_size(file);
    if (source.count < 0) fail("can't read %s", path);
    source.data = allocate((size_t)source.count + 1);
    source.count = (i64)lib.file_read(file, (u64)source.count, source.data);
    lib.file_close(file);
    lib.shader_source(&result, program, source, values(log, sizeof log));
    if (!result.success) fail("%s: %.*s", path, (int)result.log.count, (char*)result.log.data);
    free(source.data);
    return program;
}

/* Fills a texture from an image file. Behind the upload the position goes back to the mark: the
 * pixels, and all that the decoder took of the lent block, are free for the next load. */
static int load_texture(u32 texture, Slice path) {
    i64 mark = lib.image_get_buffer_position();
    Image image;
    lib.image_load(&image, path, 4);
    if (image.data) {
        lib.texture_bind(TEXTURE_TARGET_2D, texture);
        lib.texture_image_2d(TEXTURE_TARGET_2D, 0, INTERNAL_FORMAT_RGBA8, image.width, image.height,
                             PIXEL_FORMAT_RGBA, DATA_TYPE_UNSIGNED_BYTE, image.data);
        lib.texture_generate_mipmap(TEXTURE_TARGET_2D);
        lib.texture_parameter_filter(TEXTURE_TARGET_2D, TEXTURE_PARAMETER_MIN_FILTER,
                                     TEXTURE_FILTER_LINEAR_MIPMAP_LINEAR);
    }
    lib.image_set_buffer_position(mark);
    return image.data != NULL;
}

static u32 make_texture(const char* assets, const char* name) {
    const char* path = join(assets, name);
    u32 texture = lib.texture_create();
    if (!load_texture(texture, text(path))) fail("can't load the picture %s", path);
    return texture;
}

/* Gives the next block of the music, from its end on to its beginning, with the chime over it. SDL2
 * calls it on a thread of its own. It allocates nothing and waits for nothing. */
static void play(void* userdata, u8* block, i32 length) {
    Sound* sound = userdata;
    i64 channels = sound->info.channels, frames = length / (2 * channels);
    i16* samples = (i16*)(void*)block;
    i64 room = sound->record_frames - sound->played;
    i64 count = lib.audio_stream_read(sound->music, (u64)frames, samples);
    if (count < frames) {
        lib.audio_stream_seek(sound->music, 0);
        count +=
            lib.audio_stream_read(sound->music, (u64)(frames - count), samples + count * channels);
    }
    memset(samples + count * channels, 0, (size_t)((frames - count) * channels) * 2);

    lay_over(samples, frames, sound->info.channels, sound->chime.data, sound->chime.size / 2,
             sound->chime_at - sound->played);
    if (room > 0)
        memcpy(sound->recorded + sound->played * channels, samples,
               (size_t)((room < frames ? room : frames) * channels) * 2);
    sound->played += frames;
}

/* Lets the music begin. Without a sound device the demo goes on in silence. */
static void open_sound(Sound* sound, const Options* options) {
    static i64 memory[(64 << 10) / sizeof(i64)]; /* for the chime and the file that is saved */
    const char* path = join(options->assets, "music.ogg");
    lib.audio_set_buffer(sizeof memory, memory);
    sound->music = lib.audio_stream_open(SAMPLE_FORMAT_S16, text(path), 0);
    lib.audio_stream_read_info(&sound->info, sound->music);
    if (!sound->info.size) fail("can't load the sound %s", path);
    path = join(options->assets, "chime.wav");
    lib.audio_wave_load(&sound->chime, SAMPLE_FORMAT_S16, text(path));
    if (!sound->chime.data || sound->chime.channels != 1) fail("can't load the sound %s", path);

    if (options->frames) sound->record_frames = (i64)sound->info.sample_rate * SOUND_SECONDS;
    sound->recorded = allocate((size_t)(sound->record_frames * sound->info.channels) * 2 + 1);
    sound->chime_at = options->frames ? CHIME_FRAME : -sound->chime.size; /* or over long ago */
    lib.audio_open(SAMPLE_FORMAT_S16, (u8)sound->info.channels, sound->info.sample_rate,
                   SOUND_BLOCK, play, sound);
    lib.audio_play();
}

/* Saves what was played beside the picture and prints where, its length, and the CRC-32 of its
 * samples. */
static void save_sound(const Sound* sound, const char* picture) {
    AudioInfo info = sound->info;
    u64 frames = (u64)sound->record_frames, written;
    const char *slash = strrchr(picture, '/'), *dot = strrchr(slash ? slash : picture, '.');
    char path[4096];
    i32 file;
    if (snprintf(path, sizeof path, "%.*s.wav", (int)(dot ? dot - picture : (i64)strlen(picture)),
                 picture) >= (int)sizeof path)
        fail("the path is too long: %s", picture);
    for (i64 played = 0; played < sound->record_frames; lib.system_sleep(1)) {
        lib.audio_lock();
        played = sound->played;
        lib.audio_unlock();
    }
    lib.audio_pause(); /* no call comes in any more: the sound family is the host's again */
    info.size = sound->record_frames * info.channels * 2;
    file = lib.audio_stream_open(info.format, text(path), 1);
    lib.audio_stream_write_info(file, info);
    written = lib.audio_stream_write(file, frames, sound->recorded);
    lib.audio_stream_close(file);
    if (written != frames) fail("can't write %s", path);
    printf("%s: %.1f s, CRC-32 %08x\n", path, (double)frames / info.sample_rate,
           checksum(0, (u8*)sound->recorded, (int)info.size));
}

static void make_scene(Demo* demo, const char* assets) {
    static const i32 sizes[] = {3, 3, 2}, offsets[] = {0, 12, 24};
    float* vertices = allocate(VERTEX_FLOATS * sizeof *vertices);
    u16* indices = allocate(INDICES * sizeof *indices);

    demo->solid = make_shader(assets, "solid.glsl");
    demo->studio = make_shader(assets, "studio.glsl");
    demo->picture = make_shader(assets, "picture.glsl");
    demo->stone = make_texture(assets, "marble.jpg");
    demo->panel = make_texture(assets, "panel.png");
    demo->copy = lib.texture_create();

    make_solid(vertices, indices);
    demo->no_attributes = lib.vertex_array_create();
    demo->tube = lib.vertex_array_create();
    lib.vertex_array_bind(demo->tube);
    lib.buffer_bind(BUFFER_TARGET_ARRAY, lib.buffer_create());
    lib.buffer_data(BUFFER_TARGET_ARRAY, VERTEX_FLOATS * sizeof *vertices, vertices,
                    BUFFER_USAGE_STATIC_DRAW);
    lib.buffer_bind(BUFFER_TARGET_ELEMENT_ARRAY, lib.buffer_create());
    lib.buffer_data(BUFFER_TARGET_ELEMENT_ARRAY, INDICES * sizeof *indices, indices,
                    BUFFER_USAGE_STATIC_DRAW);
    for (u32 index = 0; index < 3; ++index) {
        lib.attribute_enable(index, 1);
        lib.attribute_format(index, sizes[index], DATA_TYPE_FLOAT, 0, 32, offsets[index]);
    }
    free(vertices);
    free(indices);

    lib.pipeline_clear_color(bits(0.0), bits(0.0), bits(0.0), bits(1.0));
    lib.pipeline_blend_factor(BLEND_FACTOR_SRC_ALPHA, BLEND_FACTOR_ONE_MINUS_SRC_ALPHA);
    lib.pipeline_pixel_store(PIXEL_STORE_PACK_ALIGNMENT, 1);
}

static i32 uniform(u32 program, const char* name) {
    return lib.shader_get_uniform_location(program, text(name));
}

/* The solid, or for -1 its image in the floor, which is inside out. */
static void draw_solid(const Demo* demo, double mirror) {
    lib.pipeline_depth_enable(1);
    lib.pipeline_cull_enable(1);
    lib.pipeline_cull_orientation(mirror > 0.0);
    lib.shader_bind(demo->solid);
    lib.shader_uniform1f(uniform(demo->solid, "mirror"), bits(mirror));
    lib.texture_bind(TEXTURE_TARGET_2D, demo->stone);
    lib.vertex_array_bind(demo->tube);
    lib.draw_elements(TRIANGLES, DATA_TYPE_UNSIGNED_SHORT, 0, INDICES, 0, 1);
    lib.pipeline_cull_enable(0);
    lib.pipeline_depth_enable(0);
}

/* A picture in its own size, counted from the lower left corner; a tall view doubles it. */
static void draw_picture(const Demo* demo, u32 texture, int left, int bottom, int width, int height,
                         double rounding) {
    int scale = demo->height < 2 * HEIGHT ? 1 : demo->height / HEIGHT;
    double edges[4] = {left * scale, demo->height - (bottom + height) * scale, width * scale,
                       height * scale};
    float rectangle[4];
    floats(rectangle, edges, 4);
    lib.shader_bind(demo->picture);
    lib.shader_uniform2f(uniform(demo->picture, "view"), bits(demo->width), bits(demo->height));
    lib.shader_uniform1f(uniform(demo->picture, "rounding"), bits(rounding * scale));
    lib.shader_uniform4fa(uniform(demo->picture, "rectangle"), 1, values(rectangle, 4));
    lib.texture_bind(TEXTURE_TARGET_2D, texture);
    lib.draw_arrays(TRIANGLE_STRIP, 0, 4, 1);
}

static void draw_frame(const Demo* demo, i64 frame) {
    View view;
    make_view(&view, demo->width, demo->height, frame, demo->yaw, demo->tilt, demo->zoom);
    for (int i = 0; i < 2; ++i) {
        u32 program = i == 0 ? demo->solid : demo->studio;
        lib.shader_bind(program);
        lib.shader_uniform_matrix4fa(uniform(program, "clip_from_world"), 1, 0,
                                     values(view.clip_from_world, 16));
        lib.shader_uniform_matrix4fa(uniform(program, "world_from_solid"), 1, 0,
                                     values(view.world_from_solid, 16));
        lib.shader_uniform4fa(uniform(program, "camera"), 1, values(view.camera, 4));
        lib.shader_uniform4fa(uniform(program, "lens"), 1, values(view.lens, 4));
        lib.shader_uniform4fa(uniform(program, "beads"), BEADS, values(view.beads, 4 * BEADS));
    }

    /* The image in the floor, the studio over it, the solid, the card with the texture in its slot.
     */
    lib.pipeline_viewport(0, 0, demo->width, demo->height);
    lib.pipeline_clear(BUFFER_MASK_COLOR | BUFFER_MASK_DEPTH);
    draw_solid(demo, -1.0);
    lib.pipeline_blend_enable(1);
    lib.shader_bind(demo->studio);
    lib.vertex_array_bind(demo->no_attributes);
    lib.draw_arrays(TRIANGLES, 0, 3, 1);
    lib.pipeline_blend_enable(0);
    lib.pipeline_clear(BUFFER_MASK_DEPTH);
    draw_solid(demo, 1.0);
    lib.pipeline_blend_enable(1);
    lib.vertex_array_bind(demo->no_attributes);
    draw_picture(demo, demo->panel, 4, 4, 452, 148, 0.0);
    draw_picture(demo, demo->stone, 40, 40, 76, 76, 7.0);
    lib.pipeline_blend_enable(0);
}

/* The frame in the back buffer, from the bottom row up, to be freed. It goes through a texture
 * because that copy puts the samples of each pixel together; a plain read doesn't with every
 * driver. */
static u8* read_frame(const Demo* demo, u32 format, size_t channels) {
    u8* pixels = allocate((size_t)demo->width * (size_t)demo->height * channels);
    lib.texture_bind(TEXTURE_TARGET_2D, demo->copy);
    lib.texture_copy_image_2d(TEXTURE_TARGET_2D, 0, INTERNAL_FORMAT_RGBA8, 0, 0, demo->width,
                              demo->height);
    lib.texture_get_image(TEXTURE_TARGET_2D, 0, format, DATA_TYPE_UNSIGNED_BYTE, pixels);
    return pixels;
}

/* Saves the frame and prints where, its size, and the CRC-32 of its RGB bytes, top row first. */
static void save_frame(const Demo* demo, const char* path) {
    u8* pixels = read_frame(demo, PIXEL_FORMAT_RGB, 3);
    Image image = {pixels, demo->width, demo->height};
    u32 sum = 0;
    if (!lib.image_save(image, text(path), 3)) fail("can't write %s", path);
    for (i32 y = demo->height - 1; y >= 0; --y)
        sum = checksum(sum, pixels + (size_t)y * (size_t)demo->width * 3, demo->width * 3);
    printf("%s: %d x %d, CRC-32 %08x\n", path, demo->width, demo->height, sum);
    fflush(stdout);
    free(pixels);
}

/* Shows the frame. Under software graphics it is read back and handed over as an image: the top row
 * first, and stretched to the size that the display's texture has got. */
static void present(const Demo* demo) {
    i32 width = *lib.texture_width, height = *lib.texture_height;
    u8 *pixels, *content;
    if (!demo->software) {
        lib.pipeline_present();
        return;
    }
    pixels = read_frame(demo, PIXEL_FORMAT_RGBA, 4);
    content = allocate((size_t)width * (size_t)height * 4);
    for (i32 y = 0; y < height; ++y)
        for (i32 x = 0; x < width; ++x) {
            i32 row = demo->height - 1 - y * demo->height / height;
            i32 pixel = row * demo->width + x * demo->width / width;
            memcpy(content + (size_t)(y * width + x) * 4, pixels + (size_t)pixel * 4, 4);
        }
    lib.display_set_content(width, height, content);
    free(content);
    free(pixels);
}

/* Takes what happened since the last frame. True when the frame is to be saved. */
static int handle_input(Demo* demo) {
    Slice dropped;
    i32 x = 0, y = 0;
    lib.input_poll();
    demo->closed = lib.display_is_closed() || lib.input_key_is_pressed(KEY_ESCAPE);
    if (lib.display_is_resized(&x, &y)) {
        demo->width = x < 1 ? 1 : x;
        demo->height = y < 1 ? 1 : y;
    }

    demo->yaw += (!!lib.input_key_is_held(KEY_RIGHT) - !!lib.input_key_is_held(KEY_LEFT)) / 180.0;
    demo->tilt += (!!lib.input_key_is_held(KEY_DOWN) - !!lib.input_key_is_held(KEY_UP)) / 180.0;
    if (lib.input_mouse_is_held(MOUSE_LEFT)) {
        lib.input_mouse_moved(&x, &y);
        demo->yaw += x / 900.0;
        demo->tilt += y / 900.0;
    }
    demo->zoom = fmin(fmax(demo->zoom * (1.0 - 0.06 * lib.input_mouse_wheel()), 0.6), 2.5);

    if (lib.input_key_is_pressed(KEY_F11) ||
        (lib.input_key_is_held(KEY_ALT) && lib.input_key_is_pressed(KEY_RETURN))) {
        demo->fullscreen = !demo->fullscreen;
        lib.display_set_fullscreen((b8)demo->fullscreen);
    }
    if (lib.input_key_is_pressed(KEY_F2)) {
        demo->software = !demo->software;
        lib.display_set_software_graphics((b8)demo->software);
    }
    if (lib.input_key_is_pressed(KEY_SPACE)) {
        lib.audio_lock();
        demo->sound.chime_at = demo->sound.played;
        lib.audio_unlock();
    }
    lib.display_file_dropped(&dropped);
    if (dropped.count > 0 && !load_texture(demo->stone, dropped))
        fprintf(stderr, "demo: can't load the picture %.*s\n", (int)dropped.count,
                (char*)dropped.data);
    return lib.input_key_is_pressed(KEY_F12) || lib.input_key_is_pressed(KEY_P);
}

/* Draws and plays until the window is closed, or the number of frames asked for, the last of which
 * is saved, with the sound. */
static void run(const Options* options) {
    Demo demo = {.width = WIDTH, .height = HEIGHT, .zoom = 1.0};
    void* memory = allocate(IMAGE_MEMORY);
    u32 error;
    lib.system_init(SYSTEM_INIT_AUDIO | SYSTEM_INIT_VIDEO | SYSTEM_INIT_EVENTS);
    if (!lib.display_open(WIDTH, HEIGHT, text("halvorin system"), DISPLAY_RESIZABLE | DISPLAY_VSYNC,
                          SAMPLES))
        fail("can't open the display");
    lib.image_set_buffer(IMAGE_MEMORY, memory);
    lib.image_set_flip(1); /* the bottom row first, as OpenGL has it */
    make_scene(&demo, options->assets);
    open_sound(&demo.sound, options);
    for (int frame = 0; !demo.closed && (!options->frames || frame < options->frames); ++frame) {
        int wanted = handle_input(&demo);
        draw_frame(&demo, options->frames ? frame : (i64)lib.system_ticks() * 60 / 1000);
        if (wanted || frame + 1 == options->frames) save_frame(&demo, options->output);
        /* Off screen no one waits for a picture: OpenGL would queue frames, and keep what they
         * take. */
        if (options->frames) lib.pipeline_finish();
        present(&demo);
    }
    if (options->frames && !demo.closed && *lib.player_id) save_sound(&demo.sound, options->output);
    lib.audio_close();
    lib.audio_stream_close(demo.sound.music);
    error = lib.pipeline_get_error();
    if (error) fail("OpenGL reports an error: 0x%04x", error - 1);
    lib.system_release();
    free(demo.sound.recorded);
    free(memory);
}

static const char* variable(const char* name) {
    const char* value = getenv(name);
    return value ? value : "";
}

int main(int argc, char** argv) {
    Options options = {0, "demo.png", EXAMPLE_ASSETS, "libhalvorin_system.so.1"};
    for (int i = 1; i < argc; i += 2) {
        const char *name = argv[i], *value = argv[i + 1];
        if (value && strcmp(name, "--frames") == 0)
            options.frames = atoi(value);
        else if (value && strcmp(name, "--output") == 0)
            options.output = value;
        else if (value && strcmp(name, "--assets") == 0)
            options.assets = value;
        else if (value && strcmp(name, "--library") == 0)
            options.library = value;
        else
            fail("usage: demo_c99 [--frames N] [--output FILE] [--assets DIRECTORY] [--library "
                 "FILE]");
    }

    /* Without a display the demo goes off screen, and its sound to SDL2's disk driver, faster than
     * it would sound. The choice of drivers is the host's alone to make. */
    if (!*variable("DISPLAY") && !*variable("WAYLAND_DISPLAY") && !*variable("SDL_VIDEODRIVER"))
        setenv("SDL_VIDEODRIVER", "offscreen", 1);
    if (strcmp(variable("SDL_VIDEODRIVER"), "offscreen") == 0) {
        if (!options.frames) options.frames = FRAMES;
        if (!*variable("SDL_AUDIODRIVER")) {
            setenv("SDL_AUDIODRIVER", "disk", 1);
            setenv("SDL_DISKAUDIOFILE", "/dev/null", 0);
            setenv("SDL_DISKAUDIODELAY", "5", 0); /* milliseconds a block */
        }
    }
    load_library(options.library);
    run(&options);
    return 0;
}
