// SPDX-License-Identifier: Zlib
// The demo as a host in C++, linked against the library.
//
// A solid of glazed stone turns in a dim studio, with a card over it that shows its texture, and
// music plays. Without a display the demo draws a fixed number of frames off screen, saves the last
// one as a PNG file, and beside it as a WAV file what it played. demo_c99.c and demo.py are the
// same program, function by function, and give the same pixels and samples.
//
// Keys: arrows or a drag turn the solid, the wheel zooms, a picture dropped on the window becomes
// the texture. Space rings a chime, F2 software graphics on and off, F11 or Alt+Return full screen,
// F12 or P saves the picture, Escape closes.
//
// Usage: demo [--frames N] [--output FILE] [--assets DIRECTORY]

#include "scene.h"

#include <halvorin_system/system.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr int WIDTH = 960, HEIGHT = 540, SAMPLES = 4, FRAMES = 60;
constexpr i64 IMAGE_MEMORY = 256 << 20; // not touched, and so not taken, before a load needs it
constexpr u32 TRIANGLES = 4, TRIANGLE_STRIP = 5;                          // OpenGL's own numbers
constexpr int SOUND_BLOCK = 1024, SOUND_SECONDS = 8, CHIME_FRAME = 88200; // in what is saved

struct Options {
    int frames = 0;
    std::string output = "demo.png", assets = EXAMPLE_ASSETS;
};

// What the callback and the host share. While the player runs, the callback alone calls the sound
// family, and the host touches this under audio_lock.
struct Sound {
    i32 music = -1; // the stream
    AudioInfo info{};
    Wave chime{};              // mono
    i64 played = 0;            // frames
    i64 chime_at = 0;          // the frame with which the chime began or begins
    std::vector<i16> recorded; // room for what is saved, or empty
};

struct Demo {
    i32 width = WIDTH, height = HEIGHT;
    double yaw = 0.0, tilt = 0.0, zoom = 1.0; // what the user added: turns, turns, a factor
    bool fullscreen = false, software = false, closed = false;
    u32 solid = 0, studio = 0, picture = 0; // shaders
    u32 stone = 0, panel = 0, copy = 0;     // textures
    u32 tube = 0, no_attributes = 0;        // vertex arrays
    Sound sound;
};

// A line for the user, and the end.
[[noreturn]] void fail(const std::string& line) {
    std::fprintf(stderr, "demo: %s\n", line.c_str());
    system_release();
    std::exit(1);
}

Slice text(std::string_view string) {
    return {const_cast<char*>(string.data()), static_cast<i64>(string.size())};
}

template <typename Numbers> Slice values(Numbers& numbers) {
    return {std::data(numbers), static_cast<i64>(std::size(numbers))};
}

f32_bits bits(double number) {
    return std::bit_cast<u32>(static_cast<float>(number));
}

std::string read_text(const std::string& path) {
    file_stream* file = file_open(text(path), FILE_MODE_READ);
    if (file_failed(file)) fail("can't read " + path);
    const i64 size = file_size(file);
    if (size < 0) fail("can't read " + path);
    std::string result(static_cast<size_t>(size), '\0');
    result.resize(file_read(file, result.size(), result.data()));
    file_close(file);
    return result;
}

u32 make_shader(const std::string& path) {
    const u32 program = shader_create();
    std::array<char, 4096> log;
    ShaderResult result;
    shader_source(&result, program, text(read_text(path)), values(log));
    if (!result.success)
        fail(path + ": " + std::string(log.data(), static_cast<size_t>(result.log.count)));
    return program;
}

// Fills a texture from an image file. Behind the upload the position goes back to the mark: the
// pixels, and all that the decoder took of the lent block, are free for the next load.
bool load_texture(u32 texture, const std::string& path) {
    const i64 mark = image_get_buffer_position();
    Image image;
    image_load(&image, text(path), 4);
    if (image.data) {
        texture_bind(TEXTURE_TARGET_2D, texture);
        texture_image_2d(TEXTURE_TARGET_2D, 0, INTERNAL_FORMAT_RGBA8, image.width, image.height,
                         PIXEL_FORMAT_RGBA, DATA_TYPE_UNSIGNED_BYTE, image.data);
        texture_generate_mipmap(TEXTURE_TARGET_2D);
        texture_parameter_filter(TEXTURE_TARGET_2D, TEXTURE_PARAMETER_MIN_FILTER,
                                 TEXTURE_FILTER_LINEAR_MIPMAP_LINEAR);
    }
    image_set_buffer_position(mark);
    return image.data != nullptr;
}

u32 make_texture(const std::string& path) {
    const u32 texture = texture_create();
    if (!load_texture(texture, path)) fail("can't load the picture " + path);
    return texture;
}

// Gives the next block of the music, from its end on to its beginning, with the chime over it. SDL2
// calls it on a thread of its own. It allocates nothing and waits for nothing.
void play(void* userdata, u8* block, i32 length) {
    Sound& sound = *static_cast<Sound*>(userdata);
    const i64 channels = sound.info.channels, frames = length / (2 * channels);
    i16* samples = reinterpret_cast<i16*>(block);
    i64 count = audio_stream_read(sound.music, static_cast<u64>(frames), samples);
    if (count < frames) {
        audio_stream_seek(sound.music, 0);
        count += audio_stream_read(sound.music, static_cast<u64>(frames - count),
                                   samples + count * channels);
    }
    std::fill(samples + count * channels, samples + frames * channels, i16{0});

    lay_over(samples, frames, sound.info.channels, static_cast<i16*>(sound.chime.data),
             sound.chime.size / 2, sound.chime_at - sound.played);
    const i64 done = sound.played * channels, room = std::ssize(sound.recorded) - done;
    if (room > 0)
        std::copy_n(samples, std::min(room, frames * channels), sound.recorded.data() + done);
    sound.played += frames;
}

// Lets the music begin. Without a sound device the demo goes on in silence.
void open_sound(Sound& sound, const Options& options) {
    alignas(8) static u8 memory[64 << 10]; // for the chime and the file that is saved
    audio_set_buffer(sizeof memory, memory);
    const std::string music = options.assets + "/music.ogg", chime = options.assets + "/chime.wav";
    sound.music = audio_stream_open(SAMPLE_FORMAT_S16, text(music), false);
    audio_stream_read_info(&sound.info, sound.music);
    if (!sound.info.size) fail("can't load the sound " + music);
    audio_wave_load(&sound.chime, SAMPLE_FORMAT_S16, text(chime));
    if (!sound.chime.data || sound.chime.channels != 1) fail("can't load the sound " + chime);

    const i64 frames = i64{sound.info.sample_rate} * SOUND_SECONDS;
    if (options.frames) sound.recorded.resize(static_cast<size_t>(frames * sound.info.channels));
    sound.chime_at = options.frames ? CHIME_FRAME : -sound.chime.size; // or over long ago
    audio_open(SAMPLE_FORMAT_S16, static_cast<u8>(sound.info.channels), sound.info.sample_rate,
               SOUND_BLOCK, play, &sound);
    audio_play();
}

// Saves what was played and prints where, its length, and the CRC-32 of its samples.
void save_sound(Sound& sound, const std::string& path) {
    AudioInfo info = sound.info;
    info.size = std::ssize(sound.recorded) * 2;
    const i64 frames = std::ssize(sound.recorded) / info.channels;
    for (i64 played = 0; played < frames; system_sleep(1)) {
        audio_lock();
        played = sound.played;
        audio_unlock();
    }
    audio_pause(); // no call comes in any more: the sound family is the host's again
    const i32 file = audio_stream_open(info.format, text(path), true);
    audio_stream_write_info(file, info);
    const u64 written = audio_stream_write(file, static_cast<u64>(frames), sound.recorded.data());
    audio_stream_close(file);
    if (written != static_cast<u64>(frames)) fail("can't write " + path);
    const u8* bytes = reinterpret_cast<const u8*>(sound.recorded.data());
    std::printf("%s: %.1f s, CRC-32 %08x\n", path.c_str(),
                static_cast<double>(frames) / info.sample_rate,
                checksum(0, bytes, static_cast<int>(info.size)));
}

void make_scene(Demo& demo, const std::string& assets) {
    demo.solid = make_shader(assets + "/solid.glsl");
    demo.studio = make_shader(assets + "/studio.glsl");
    demo.picture = make_shader(assets + "/picture.glsl");
    demo.stone = make_texture(assets + "/marble.jpg");
    demo.panel = make_texture(assets + "/panel.png");
    demo.copy = texture_create();

    std::vector<float> vertices(VERTEX_FLOATS);
    std::vector<u16> indices(INDICES);
    make_solid(vertices.data(), indices.data());
    demo.no_attributes = vertex_array_create();
    demo.tube = vertex_array_create();
    vertex_array_bind(demo.tube);
    buffer_bind(BUFFER_TARGET_ARRAY, buffer_create());
    buffer_data(BUFFER_TARGET_ARRAY, static_cast<i64>(vertices.size() * sizeof(float)),
                vertices.data(), BUFFER_USAGE_STATIC_DRAW);
    buffer_bind(BUFFER_TARGET_ELEMENT_ARRAY, buffer_create());
    buffer_data(BUFFER_TARGET_ELEMENT_ARRAY, static_cast<i64>(indices.size() * sizeof(u16)),
                indices.data(), BUFFER_USAGE_STATIC_DRAW);
    const i32 sizes[] = {3, 3, 2}, offsets[] = {0, 12, 24};
    for (u32 index = 0; index < 3; ++index) {
        attribute_enable(index, true);
        attribute_format(index, sizes[index], DATA_TYPE_FLOAT, false, 32, offsets[index]);
    }

    pipeline_clear_color(bits(0.0), bits(0.0), bits(0.0), bits(1.0));
    pipeline_blend_factor(BLEND_FACTOR_SRC_ALPHA, BLEND_FACTOR_ONE_MINUS_SRC_ALPHA);
    pipeline_pixel_store(PIXEL_STORE_PACK_ALIGNMENT, 1);
}

i32 uniform(u32 program, std::string_view name) {
    return shader_get_uniform_location(program, text(name));
}

// The solid, or for -1 its image in the floor, which is inside out.
void draw_solid(const Demo& demo, double mirror) {
    pipeline_depth_enable(true);
    pipeline_cull_enable(true);
    pipeline_cull_orientation(mirror > 0.0);
    shader_bind(demo.solid);
    shader_uniform1f(uniform(demo.solid, "mirror"), bits(mirror));
    texture_bind(TEXTURE_TARGET_2D, demo.stone);
    vertex_array_bind(demo.tube);
    draw_elements(TRIANGLES, DATA_TYPE_UNSIGNED_SHORT, 0, INDICES, 0, 1);
    pipeline_cull_enable(false);
    pipeline_depth_enable(false);
}

// A picture in its own size, counted from the lower left corner; a tall view doubles it.
void draw_picture(const Demo& demo, u32 texture, int left, int bottom, int width, int height,
                  double rounding) {
    const int scale = std::max(demo.height / HEIGHT, 1);
    float rectangle[4];
    const double edges[4] = {1.0 * left * scale, 1.0 * demo.height - (bottom + height) * scale,
                             1.0 * width * scale, 1.0 * height * scale};
    floats(rectangle, edges, 4);
    shader_bind(demo.picture);
    shader_uniform2f(uniform(demo.picture, "view"), bits(demo.width), bits(demo.height));
    shader_uniform1f(uniform(demo.picture, "rounding"), bits(rounding * scale));
    shader_uniform4fa(uniform(demo.picture, "rectangle"), 1, values(rectangle));
    texture_bind(TEXTURE_TARGET_2D, texture);
    draw_arrays(TRIANGLE_STRIP, 0, 4, 1);
}

void draw_frame(const Demo& demo, i64 frame) {
    View view;
    make_view(&view, demo.width, demo.height, frame, demo.yaw, demo.tilt, demo.zoom);
    for (u32 program : {demo.solid, demo.studio}) {
        shader_bind(program);
        shader_uniform_matrix4fa(uniform(program, "clip_from_world"), 1, false,
                                 values(view.clip_from_world));
        shader_uniform_matrix4fa(uniform(program, "world_from_solid"), 1, false,
                                 values(view.world_from_solid));
        shader_uniform4fa(uniform(program, "camera"), 1, values(view.camera));
        shader_uniform4fa(uniform(program, "lens"), 1, values(view.lens));
        shader_uniform4fa(uniform(program, "beads"), BEADS, values(view.beads));
    }

    // The image in the floor, the studio over it, the solid, the card with the texture in its slot.
    pipeline_viewport(0, 0, demo.width, demo.height);
    pipeline_clear(BUFFER_MASK_COLOR | BUFFER_MASK_DEPTH);
    draw_solid(demo, -1.0);
    pipeline_blend_enable(true);
    shader_bind(demo.studio);
    vertex_array_bind(demo.no_attributes);
    draw_arrays(TRIANGLES, 0, 3, 1);
    pipeline_blend_enable(false);
    pipeline_clear(BUFFER_MASK_DEPTH);
    draw_solid(demo, 1.0);
    pipeline_blend_enable(true);
    vertex_array_bind(demo.no_attributes);
    draw_picture(demo, demo.panel, 4, 4, 452, 148, 0.0);
    draw_picture(demo, demo.stone, 40, 40, 76, 76, 7.0);
    pipeline_blend_enable(false);
}

// The frame in the back buffer, from the bottom row up. It goes through a texture because that copy
// puts the samples of each pixel together; a plain read doesn't with every driver.
std::vector<u8> read_frame(const Demo& demo, pixel_format format, size_t channels) {
    std::vector<u8> pixels(static_cast<size_t>(demo.width * demo.height) * channels);
    texture_bind(TEXTURE_TARGET_2D, demo.copy);
    texture_copy_image_2d(TEXTURE_TARGET_2D, 0, INTERNAL_FORMAT_RGBA8, 0, 0, demo.width,
                          demo.height);
    texture_get_image(TEXTURE_TARGET_2D, 0, format, DATA_TYPE_UNSIGNED_BYTE, pixels.data());
    return pixels;
}

// Saves the frame and prints where, its size, and the CRC-32 of its RGB bytes, top row first.
void save_frame(const Demo& demo, const std::string& path) {
    std::vector<u8> pixels = read_frame(demo, PIXEL_FORMAT_RGB, 3);
    if (!image_save({pixels.data(), demo.width, demo.height}, text(path), 3))
        fail("can't write " + path);
    u32 sum = 0;
    for (i32 y = demo.height - 1; y >= 0; --y)
        sum = checksum(sum, &pixels[static_cast<size_t>(y * demo.width) * 3], demo.width * 3);
    std::printf("%s: %d x %d, CRC-32 %08x\n", path.c_str(), demo.width, demo.height, sum);
    std::fflush(stdout);
}

// Shows the frame. Under software graphics it is read back and handed over as an image: the top row
// first, and stretched to the size that the display's texture has got.
void present(const Demo& demo) {
    if (!demo.software) {
        pipeline_present();
        return;
    }
    const std::vector<u8> pixels = read_frame(demo, PIXEL_FORMAT_RGBA, 4);
    const i32 width = sdl_texture_width, height = sdl_texture_height;
    std::vector<u32> content(static_cast<size_t>(width * height));
    for (i32 y = 0; y < height; ++y)
        for (i32 x = 0; x < width; ++x) {
            const i32 row = demo.height - 1 - y * demo.height / height;
            std::memcpy(&content[static_cast<size_t>(y * width + x)],
                        &pixels[static_cast<size_t>(row * demo.width + x * demo.width / width) * 4],
                        4);
        }
    display_set_content(width, height, content.data());
}

// Takes what happened since the last frame. True when the frame is to be saved.
bool handle_input(Demo& demo) {
    input_poll();
    demo.closed = display_is_closed() || input_key_is_pressed(KEY_ESCAPE);
    i32 x = 0, y = 0;
    if (display_is_resized(&x, &y)) {
        demo.width = std::max(x, 1);
        demo.height = std::max(y, 1);
    }

    demo.yaw += (!!input_key_is_held(KEY_RIGHT) - !!input_key_is_held(KEY_LEFT)) / 180.0;
    demo.tilt += (!!input_key_is_held(KEY_DOWN) - !!input_key_is_held(KEY_UP)) / 180.0;
    if (input_mouse_is_held(MOUSE_LEFT)) {
        input_mouse_moved(&x, &y);
        demo.yaw += x / 900.0;
        demo.tilt += y / 900.0;
    }
    demo.zoom = std::clamp(demo.zoom * (1.0 - 0.06 * input_mouse_wheel()), 0.6, 2.5);

    if (input_key_is_pressed(KEY_F11) ||
        (input_key_is_held(KEY_ALT) && input_key_is_pressed(KEY_RETURN))) {
        demo.fullscreen = !demo.fullscreen;
        display_set_fullscreen(demo.fullscreen);
    }
    if (input_key_is_pressed(KEY_F2)) {
        demo.software = !demo.software;
        display_set_software_graphics(demo.software);
    }
    if (input_key_is_pressed(KEY_SPACE)) {
        audio_lock();
        demo.sound.chime_at = demo.sound.played;
        audio_unlock();
    }
    Slice dropped;
    display_file_dropped(&dropped);
    if (dropped.count > 0) {
        const std::string path(static_cast<char*>(dropped.data),
                               static_cast<size_t>(dropped.count));
        if (!load_texture(demo.stone, path))
            std::fprintf(stderr, "demo: can't load the picture %s\n", path.c_str());
    }
    return input_key_is_pressed(KEY_F12) || input_key_is_pressed(KEY_P);
}

// Draws and plays until the window is closed, or the number of frames asked for, the last of which
// is saved, with the sound.
void run(const Options& options) {
    system_init(SYSTEM_INIT_AUDIO | SYSTEM_INIT_VIDEO | SYSTEM_INIT_EVENTS);
    if (!display_open(WIDTH, HEIGHT, text("halvorin system"), DISPLAY_RESIZABLE | DISPLAY_VSYNC,
                      SAMPLES))
        fail("can't open the display");
    const auto memory = std::make_unique_for_overwrite<u8[]>(IMAGE_MEMORY);
    image_set_buffer(IMAGE_MEMORY, memory.get());
    image_set_flip(true); // the bottom row first, as OpenGL has it
    Demo demo;
    make_scene(demo, options.assets);
    open_sound(demo.sound, options);
    for (int frame = 0; !demo.closed && (!options.frames || frame < options.frames); ++frame) {
        const bool wanted = handle_input(demo);
        draw_frame(demo, options.frames ? frame : static_cast<i64>(system_ticks()) * 60 / 1000);
        if (wanted || frame + 1 == options.frames) save_frame(demo, options.output);
        // Off screen no one waits for a picture: OpenGL would queue frames, and keep what they
        // take.
        if (options.frames) pipeline_finish();
        present(demo);
    }
    if (options.frames && !demo.closed && audio_player_id)
        save_sound(demo.sound,
                   std::filesystem::path(options.output).replace_extension(".wav").string());
    audio_close();
    audio_stream_close(demo.sound.music);
    if (const u32 error = pipeline_get_error())
        fail("OpenGL reports an error: " + std::to_string(error - 1));
}

std::string_view variable(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; i += 2) {
        const std::string_view name = argv[i];
        if (i + 1 < argc && name == "--frames")
            options.frames = std::atoi(argv[i + 1]);
        else if (i + 1 < argc && name == "--output")
            options.output = argv[i + 1];
        else if (i + 1 < argc && name == "--assets")
            options.assets = argv[i + 1];
        else
            fail("usage: demo [--frames N] [--output FILE] [--assets DIRECTORY]");
    }

    // Without a display the demo goes off screen, and its sound to SDL2's disk driver, faster than
    // it would sound. The choice of drivers is the host's alone to make.
    if (variable("DISPLAY").empty() && variable("WAYLAND_DISPLAY").empty() &&
        variable("SDL_VIDEODRIVER").empty())
        setenv("SDL_VIDEODRIVER", "offscreen", 1);
    if (variable("SDL_VIDEODRIVER") == "offscreen") {
        if (!options.frames) options.frames = FRAMES;
        if (variable("SDL_AUDIODRIVER").empty()) {
            setenv("SDL_AUDIODRIVER", "disk", 1);
            setenv("SDL_DISKAUDIOFILE", "/dev/null", 0);
            setenv("SDL_DISKAUDIODELAY", "5", 0); // milliseconds a block
        }
    }
    run(options);
    system_release();
    return 0;
}
