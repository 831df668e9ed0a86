// SPDX-License-Identifier: Zlib
// A host that runs for days. Nothing that a round has taken may stay. Each job is in a process of
// its own, and its first rounds aren't counted: pools, caches and drivers fill in them.

#include "api/system.h"
#include "support/common.h"
#include "support/holdings.h"
#include "support/sockets.h"

#include <SDL.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <vector>

namespace {

// What SDL2 gave has to be back in its hands. The X library and the driver keep some for
// themselves.
void expect_flat(const char* name, i64 rounds, i64 others_keep, void (*round)(i64)) {
    const i64 first = rounds / 5 + 10;
    for (i64 i = 0; i < first && !testing::Test::HasFailure(); ++i) {
        round(i);
    }
    const endurance::holdings before = endurance::held_now();
    const int sdl_blocks = SDL_GetNumAllocations();
    const auto start = std::chrono::steady_clock::now();
    for (i64 i = first; i < first + rounds && !testing::Test::HasFailure(); ++i) {
        round(i);
    }
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(SDL_GetNumAllocations(), sdl_blocks);
    const endurance::holdings after = endurance::held_now();
    endurance::print(name, rounds, time.count(), before, after);
    EXPECT_TRUE(endurance::is_flat(before, after, {rounds * others_keep, 0, 0, 0}));
}

i64 rounds(i64 whole, i64 brief) {
    return endurance::is_whole() ? whole : brief;
}

struct sample {
    std::string path, bytes;
};

std::vector<sample> sound_samples() {
    std::vector<sample> samples;
    for (const auto& entry : std::filesystem::directory_iterator(SOUND_SAMPLES)) {
        const auto extension = entry.path().extension();
        if (extension != ".wav" && extension != ".flac" && extension != ".ogg") continue;
        std::ifstream file(entry.path(), std::ios::binary);
        samples.push_back({entry.path(), {std::istreambuf_iterator<char>(file), {}}});
    }
    return samples;
}

void stream_of_a_sound(i64 number) {
    static const std::vector<sample> samples = sound_samples();
    alignas(16) static u8 lent[8 << 20];
    static i16 block[1 << 16];
    const sample& s = samples[static_cast<size_t>(number / 2) % samples.size()];
    const bool by_path = number % 2 == 0 || s.path.find("in-ogg") != std::string::npos;
    audio_set_buffer(sizeof lent, lent);
    const i32 stream =
        by_path ? audio_stream_open(SAMPLE_FORMAT_S16, slice(s.path), 0)
                : audio_stream_open_from_memory(SAMPLE_FORMAT_F32, static_cast<i64>(s.bytes.size()),
                                                const_cast<char*>(s.bytes.data()));
    ASSERT_EQ(stream, 0);
    AudioInfo info = {};
    audio_stream_read_info(&info, stream);
    audio_stream_read(stream, 500, block);
    audio_stream_seek(stream, 100);
    ASSERT_GT(audio_stream_read(stream, 500, block), 0) << s.path;
    audio_stream_close(stream);
}

void wait_for_sockets(i64 number) {
    static const sockets::owned silent = sockets::bound(NETWORK_IPV4 | NETWORK_UDP);
    static const sockets::owned spoken = [] {
        sockets::owned socket = sockets::bound(NETWORK_IPV4 | NETWORK_UDP);
        sockets::tell(socket, socket, "a message");
        return socket;
    }();
    static i32 selector = network_selector_create();
    if (number % 100 == 0) { // another one, of the same number
        network_selector_destroy(selector);
        selector = network_selector_create();
        for (int i = 0; i < 20; ++i) {
            network_selector_add(selector, silent);
        }
        network_selector_add(selector, spoken);
    }
    if (number % 3 == 0) network_selector_remove(selector, silent);
    if (number % 3 == 1) network_selector_add(selector, silent);
    network_socket ready[4];
    ASSERT_EQ(network_selector_wait(selector, 0, {ready, 4}), 1);
    ASSERT_EQ(ready[0], spoken);
}

void handles_of_sdl(i64) {
    const audio_callback silence = [](void*, u8* bytes, i32 size) {
        std::fill(bytes, bytes + size, u8{0});
    };
    mutex_destroy(mutex_create());
    cond_destroy(cond_create());
    semaphore_destroy(semaphore_create(0));
    thread_wait(thread_create([](void*) { return 0; }, nullptr), nullptr);
    ASSERT_EQ(audio_open(SAMPLE_FORMAT_S16, 2, 44100, 64, silence, nullptr), 1);
    audio_close();
}

constexpr u32 one = 0x3F800000;
constexpr int side = 64;
u32 image[side * side];

void compile(bool is_good) {
    std::string text = "#vertex \n#version 330 core\nvoid main() { gl_Position = vec4(0); }\n"
                       "#fragment \n#version 330 core\nout vec4 result;\n"
                       "void main() { result = vec4(1); }\n";
    if (!is_good) text += "nothing";
    char log[256];
    ShaderResult result = {};
    const u32 shader = shader_create();
    shader_source(&result, shader, slice(text), {log, sizeof log});
    ASSERT_EQ(result.success, is_good);
    shader_destroy(shader);
}

void hardware_display(i64 number) {
    ASSERT_EQ(display_open(side, side, slice("hardware"), 0, 0), 1);
    input_poll();
    pipeline_clear_color(static_cast<u32>(number % 2) * one, 0, one, one);
    pipeline_clear(BUFFER_MASK_COLOR);
    u32 pixel = 0;
    pipeline_read_pixels(1, 1, 1, 1, PIXEL_FORMAT_RGBA, DATA_TYPE_UNSIGNED_BYTE, &pixel);
    ASSERT_EQ(pixel, number % 2 == 0 ? 0xFFFF0000 : 0xFFFF00FF);
    pipeline_present();
    compile(true);
    compile(false);
    display_set_software_graphics(1);
    display_set_content(side, side, image);
    display_set_software_graphics(0);
    display_close();
}

void software_display() {
    ASSERT_EQ(display_open(side, side, slice("software"), DISPLAY_SOFTWARE, 0), 1);
    display_set_content(side, side, image);
    display_set_vsync(1);
    for (u32 type : {SDL_DROPFILE, SDL_DROPTEXT}) {
        SDL_Event event = {};
        event.type = type;
        event.drop.file = SDL_strdup("/a/path/that/was/dropped");
        SDL_PushEvent(&event);
    }
    input_poll();
    Slice text = {};
    display_file_dropped(&text);
    ASSERT_EQ(text.count, 24);
    display_set_icon(side, side, image);
    clipboard_set(slice("a text for the clipboard"));
    clipboard_get(&text);
    ASSERT_EQ(text.count, 24);
    display_close();
}

void displays_of_both_kinds(i64 number) {
    if (number % 2 != 0) software_display();
    hardware_display(number);
    if (number % 2 == 0) software_display();
}

} // namespace

TEST(Endurance, streams) {
    expect_flat("stream opens, all sound formats", rounds(100000, 3000), 0, stream_of_a_sound);
}

TEST(Endurance, selectors) {
    expect_flat("selector waits", rounds(1000000, 30000), 0, wait_for_sockets);
}

TEST(Endurance, handles) {
    system_init(SYSTEM_INIT_AUDIO);
    expect_flat("threads, locks, sound devices", rounds(1000, 50), 0, handles_of_sdl);
}

TEST(Endurance, displays) {
    constexpr i64 others_keep = 256;
    system_init(SYSTEM_INIT_VIDEO | SYSTEM_INIT_EVENTS);
    expect_flat("displays of both kinds", rounds(1000, 100), others_keep, displays_of_both_kinds);
}

TEST(Endurance, lives) {
    constexpr i64 others_keep = 1024;
    expect_flat("starts and stops of the system", rounds(500, 10), others_keep, [](i64 number) {
        system_init(SYSTEM_INIT_VIDEO | SYSTEM_INIT_EVENTS);
        displays_of_both_kinds(number);
        display_open(side, side, slice("left"), 0, 0);
        system_release();
        display_close();
    });
}
