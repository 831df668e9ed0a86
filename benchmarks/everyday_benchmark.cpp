// SPDX-License-Identifier: Zlib
// What a host does now and then or once a frame, against the same on bare SDL2, OpenGL or
// libsndfile: a frame of software graphics, an upload to a texture, a thread, a sound opened to be
// streamed, the clipboard. Every row gives the ratio of our median to the peer's (`of_`) beside its
// goal (`goal_`).
#include <halvorin_system/system.h>

#include "in_turn.h"

#include <SDL.h>
#include <glad/gl.h>
#include <sndfile.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <unistd.h>

namespace {

constexpr int width = 640;
constexpr int height = 480;

Slice slice(const std::string& text) {
    return {const_cast<char*>(text.data()), static_cast<i64>(text.size())};
}

struct display {
    explicit display(display_flags flags) {
        system_init(SYSTEM_INIT_VIDEO | SYSTEM_INIT_EVENTS);
        display_open(width, height, {nullptr, 0}, flags, 0);
    }
    ~display() {
        display_close();
        system_release();
    }
};

void software_frame(benchmark::State& state) {
    const display opened(DISPLAY_SOFTWARE);
    const std::vector<u32> pixels(width * height, 0xFF8040C0);
    auto* const renderer = static_cast<SDL_Renderer*>(sdl_renderer);
    SDL_Texture* const texture = SDL_CreateTexture(renderer, SDL_PIXELFORMAT_ABGR8888,
                                                   SDL_TEXTUREACCESS_STREAMING, width, height);
    const auto ours = [&] { display_set_content(width, height, pixels.data()); };
    const auto bare = [&] {
        SDL_UpdateTexture(texture, nullptr, pixels.data(), width * 4);
        SDL_RenderClear(renderer);
        SDL_RenderCopy(renderer, texture, nullptr, nullptr);
        SDL_RenderPresent(renderer);
    };
    const auto [our_time, bare_time] = medians_in_turn(state, ours, bare);
    SDL_DestroyTexture(texture);
    show(state, "SDL2", our_time / bare_time, 1.05);
}
BENCHMARK(software_frame)->Iterations(301)->UseManualTime();

void texture_upload(benchmark::State& state) {
    const display opened(0);
    const auto side = static_cast<i32>(state.range(0));
    const std::vector<u32> pixels(static_cast<size_t>(side * side), 0xFF8040C0);
    const u32 texture = texture_create();
    texture_bind(TEXTURE_TARGET_2D, texture);
    texture_image_2d(TEXTURE_TARGET_2D, 0, INTERNAL_FORMAT_RGBA8, side, side, PIXEL_FORMAT_RGBA,
                     DATA_TYPE_UNSIGNED_BYTE, nullptr);
    const auto bare_upload =
        reinterpret_cast<PFNGLTEXSUBIMAGE2DPROC>(SDL_GL_GetProcAddress("glTexSubImage2D"));
    const auto ours = [&] {
        texture_sub_image_2d(TEXTURE_TARGET_2D, 0, 0, 0, side, side, PIXEL_FORMAT_RGBA,
                             DATA_TYPE_UNSIGNED_BYTE, pixels.data());
    };
    const auto bare = [&] {
        bare_upload(GL_TEXTURE_2D, 0, 0, 0, side, side, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
    };
    const auto [our_time, bare_time] = medians_in_turn(state, ours, bare);
    texture_destroy(texture);
    show(state, "OpenGL", our_time / bare_time, 1.05);
}
BENCHMARK(texture_upload)->Arg(16)->Arg(1024)->Iterations(1001)->UseManualTime();

void thread(benchmark::State& state) {
    const auto nothing = [](void*) -> i32 { return 0; };
    const auto ours = [&] {
        i32 status = 0;
        thread_wait(thread_create(nothing, nullptr), &status);
    };
    const auto bare = [&] {
        int status = 0;
        SDL_WaitThread(SDL_CreateThread(nothing, "thread", nullptr), &status);
    };
    const auto [our_time, bare_time] = medians_in_turn(state, ours, bare);
    show(state, "SDL2", our_time / bare_time, 1.05);
}
BENCHMARK(thread)->Iterations(3001)->UseManualTime();

// Opened, asked for its shape and closed.
void open_stream(benchmark::State& state, const char* extension, int format) {
    const std::string path =
        "/tmp/everyday_benchmark." + std::to_string(getpid()) + "." + extension;
    SF_INFO info = {0, 44100, 2, format, 1, 1};
    SNDFILE* const file = sf_open(path.c_str(), SFM_WRITE, &info);
    const std::vector<short> samples(44100 * 2);
    sf_writef_short(file, samples.data(), 44100);
    sf_close(file);
    std::vector<u8> buffer(1 << 20);
    AudioInfo shape = {};
    const auto ours = [&] {
        audio_set_buffer(static_cast<i64>(buffer.size()), buffer.data());
        const i32 stream = audio_stream_open(SAMPLE_FORMAT_S16, slice(path), 0);
        audio_stream_read_info(&shape, stream);
        audio_stream_close(stream);
    };
    const auto sndfile = [&] {
        SF_INFO found = {};
        sf_close(sf_open(path.c_str(), SFM_READ, &found));
    };
    const auto [our_time, their_time] = medians_in_turn(state, ours, sndfile);
    if (shape.channels != 2) state.SkipWithError("the stream isn't open");
    unlink(path.c_str());
    show(state, "sndfile", our_time / their_time, 1.0);
}
BENCHMARK_CAPTURE(open_stream, wav, "wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16)
    ->Iterations(1001)
    ->UseManualTime();
BENCHMARK_CAPTURE(open_stream, flac, "flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16)
    ->Iterations(1001)
    ->UseManualTime();
BENCHMARK_CAPTURE(open_stream, vorbis, "ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS)
    ->Iterations(301)
    ->UseManualTime();

void clipboard(benchmark::State& state) {
    const display opened(DISPLAY_SOFTWARE);
    const std::string text(200, 't');
    std::string kept;
    Slice found = {};
    const auto ours = [&] {
        clipboard_set(slice(text));
        clipboard_get(&found);
    };
    const auto bare = [&] {
        SDL_SetClipboardText(text.c_str());
        if (SDL_HasClipboardText() == SDL_FALSE) return;
        char* const given = SDL_GetClipboardText();
        kept = given;
        SDL_free(given);
    };
    const auto [our_time, bare_time] = medians_in_turn(state, ours, bare);
    if (found.count != 200) state.SkipWithError("the text isn't there");
    show(state, "SDL2", our_time / bare_time, 1.15);
}
BENCHMARK(clipboard)->Iterations(3001)->UseManualTime();

} // namespace
