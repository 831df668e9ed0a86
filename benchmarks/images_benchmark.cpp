// SPDX-License-Identifier: Zlib
#include <halvorin_system/images.h>

#include "image_peers.h"
#include "in_turn.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fstream>
#include <functional>
#include <iterator>
#include <jpeglib.h>
#include <png.h>
#include <string>
#include <unistd.h>
#include <vector>

// Images of 1024 by 1024 pixels. Every figure is a ratio of processor time, ours to another's,
// taken in turn in one run: the median of the rounds. The goal stands beside it.
namespace {

using bytes = std::vector<u8>;

constexpr i32 side = 1024;

struct picture {
    int channels;
    bytes pixels;

    Image image() {
        return {pixels.data(), side, side};
    }
};

// Smooth shapes under the noise of a sensor.
picture photo() {
    picture made = {3, {}};
    u32 noise = 1;
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            for (int c = 0; c < 3; ++c) {
                noise = noise * 1664525 + 1013904223;
                const int shape =
                    (x * (c + 1) / 8 + y / (c + 2) + (x / 64 * (y / 96)) % 23 * 5) & 255;
                made.pixels.push_back(static_cast<u8>((shape * 7 / 8) + (noise >> 29)));
            }
        }
    }
    return made;
}

// A drawing: even areas with a soft edge.
picture drawing() {
    picture made = {4, {}};
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            const int from_centre = std::max(std::abs(x % 256 - 128), std::abs(y % 256 - 128));
            const int alpha = std::clamp((100 - from_centre) * 16, 0, 255);
            const int area = (x / 256 + y / 256) % 4 * 60;
            for (const int value : {area, 255 - area, 40, alpha}) {
                made.pixels.push_back(static_cast<u8>(value));
            }
        }
    }
    return made;
}

bytes read_file(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string temporary_path(const std::string& name) {
    return "/tmp/images_benchmark." + std::to_string(getpid()) + "." + name;
}

Slice slice(const std::string& text) {
    return {const_cast<char*>(text.data()), static_cast<i64>(text.size())};
}

bytes saved(picture made, const std::string& extension) {
    const std::string path = temporary_path("made." + extension);
    image_save(made.image(), slice(path), static_cast<i8>(made.channels));
    const bytes file = read_file(path);
    unlink(path.c_str());
    return file;
}

bytes png_file(const picture& made) {
    png_image png = {};
    png.version = PNG_IMAGE_VERSION;
    png.width = png.height = side;
    png.format = made.channels == 3 ? PNG_FORMAT_RGB : PNG_FORMAT_RGBA;
    png_alloc_size_t size = made.pixels.size() * 2;
    bytes file(size);
    png_image_write_to_memory(&png, file.data(), &size, 0, made.pixels.data(), 0, nullptr);
    file.resize(size);
    return file;
}

bytes jpeg_file(picture made, int quality) {
    jpeg_compress_struct state = {};
    jpeg_error_mgr errors;
    state.err = jpeg_std_error(&errors);
    jpeg_create_compress(&state);
    unsigned char* memory = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&state, &memory, &size);
    state.image_width = state.image_height = side;
    state.input_components = 3;
    state.in_color_space = JCS_RGB;
    jpeg_set_defaults(&state);
    jpeg_set_quality(&state, quality, TRUE);
    jpeg_start_compress(&state, TRUE);
    while (state.next_scanline < state.image_height) {
        JSAMPROW row = made.pixels.data() + size_t{state.next_scanline} * side * 3;
        jpeg_write_scanlines(&state, &row, 1);
    }
    jpeg_finish_compress(&state);
    const bytes file(memory, memory + size);
    jpeg_destroy_compress(&state);
    std::free(memory);
    return file;
}

// Takes the next bytes of the file. The benchmark's files don't end early.
void read_png_bytes(png_structp png, png_bytep to, size_t count) {
    const u8** const next = static_cast<const u8**>(png_get_io_ptr(png));
    std::memcpy(to, *next, count);
    *next += count;
}

bool load_by_libpng(const bytes& file, int channels, bytes& pixels) {
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    const u8* next = file.data();
    png_set_read_fn(png, &next, read_png_bytes);
    png_read_info(png, info);
    const bool as_asked = png_get_channels(png, info) == channels;
    const size_t row_bytes = png_get_rowbytes(png, info);
    pixels.resize(row_bytes * side);
    for (size_t row = 0; row < side; ++row) {
        png_read_row(png, pixels.data() + row * row_bytes, nullptr);
    }
    png_read_end(png, nullptr);
    png_destroy_read_struct(&png, &info, nullptr);
    return as_asked;
}

bool load_by_libjpeg(const bytes& file, int channels, bytes& pixels) {
    jpeg_decompress_struct state = {};
    jpeg_error_mgr errors;
    state.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&state);
    jpeg_mem_src(&state, file.data(), file.size());
    jpeg_read_header(&state, TRUE);
    state.out_color_space = channels == 3 ? JCS_RGB : JCS_EXT_RGBA;
    jpeg_start_decompress(&state);
    const size_t row_bytes = size_t{side} * static_cast<size_t>(channels);
    pixels.resize(row_bytes * side);
    while (state.output_scanline < state.output_height) {
        JSAMPROW row = pixels.data() + row_bytes * state.output_scanline;
        jpeg_read_scanlines(&state, &row, 1);
    }
    jpeg_finish_decompress(&state);
    jpeg_destroy_decompress(&state);
    return true;
}

using job = std::function<bool()>;

constexpr double no_goal = -1;

struct contender {
    std::string name;
    double goal;
    job run;
};

// Runs all in turn, once an iteration. The time of the benchmark is ours.
void compete(benchmark::State& state, const job& ours, const std::vector<contender>& others) {
    const auto timed = [&](const job& run) {
        const double start = processor_time();
        if (!run()) state.SkipWithError("a job failed");
        return processor_time() - start;
    };
    std::vector<std::vector<double>> ratios(others.size());
    std::vector<double> times;
    timed(ours);
    for (auto _ : state) {
        const double our_time = timed(ours);
        for (size_t i = 0; i < others.size(); ++i) {
            ratios[i].push_back(our_time / timed(others[i].run));
        }
        times.push_back(our_time);
        state.SetIterationTime(our_time);
    }
    state.counters["ns"] = median_of(times) * 1e9;
    for (size_t i = 0; i < others.size(); ++i) {
        const double ratio = median_of(ratios[i]);
        if (others[i].goal != no_goal) {
            show(state, others[i].name, ratio, others[i].goal);
        } else {
            state.counters["of_" + others[i].name] = ratio;
        }
    }
}

// A peer without a value isn't measured.
struct load_goals {
    double stb;
    double libpng = 0;
    double libjpeg = 0;
};

void load(benchmark::State& state, const bytes& file, int channels, load_goals goals) {
    static bytes lent(64 << 20, 1);
    const int size = static_cast<int>(file.size());
    void* const data = const_cast<u8*>(file.data());
    bytes pixels;
    Image image = {};
    const job ours = [&] {
        image_set_buffer(static_cast<i64>(lent.size()), lent.data());
        image_load_from_memory(&image, size, data, static_cast<i8>(channels));
        return image.data != nullptr;
    };
    std::vector<contender> others = {
        {"stb_heap", goals.stb, [&] { return peer_load(file.data(), size, channels) >= 0; }}};
    if (goals.libpng != 0) {
        others.push_back(
            {"libpng", goals.libpng, [&] { return load_by_libpng(file, channels, pixels); }});
    }
    if (goals.libjpeg != 0) {
        others.push_back(
            {"libjpeg", goals.libjpeg, [&] { return load_by_libjpeg(file, channels, pixels); }});
    }
    compete(state, ours, others);
    state.counters["buffer_of_pixels"] =
        static_cast<double>(image_get_buffer_position()) / (side * side * channels);
}

void save(benchmark::State& state, picture made, int format, double goal) {
    const char* const extensions[] = {"bmp", "png", "tga", "jpg"};
    const std::string extension = extensions[format];
    const std::string path = temporary_path("ours." + extension);
    const std::string other_path = temporary_path("other." + extension);
    const job ours = [&] {
        return image_save(made.image(), slice(path), static_cast<i8>(made.channels)) != 0;
    };
    const job other = [&] {
        return peer_save(format, other_path.c_str(), side, side, made.channels,
                         made.pixels.data()) != 0;
    };
    compete(state, ours, {{"stb", goal, other}});
    if (read_file(path) != read_file(other_path)) state.SkipWithError("the bytes differ");
    unlink(path.c_str());
    unlink(other_path.c_str());
}

#define IMAGE_LOAD(name, ...)                                                                      \
    BENCHMARK_CAPTURE(load, name, __VA_ARGS__)                                                     \
        ->UseManualTime()                                                                          \
        ->Iterations(31)                                                                           \
        ->Unit(benchmark::kMillisecond)
#define IMAGE_SAVE(name, ...)                                                                      \
    BENCHMARK_CAPTURE(save, name, __VA_ARGS__)                                                     \
        ->UseManualTime()                                                                          \
        ->Iterations(15)                                                                           \
        ->Unit(benchmark::kMillisecond)

IMAGE_LOAD(png_photo_rgb, png_file(photo()), 3, {.stb = 0.92, .libpng = 0.97});
IMAGE_LOAD(png_flat_rgba, png_file(drawing()), 4, {.stb = 0.50, .libpng = 0.50});
IMAGE_LOAD(jpeg_photo_rgb, jpeg_file(photo(), 100), 3, {.stb = 1.05, .libjpeg = 1.6});
IMAGE_LOAD(jpeg_photo_rgba, jpeg_file(photo(), 100), 4, {.stb = 1.05, .libjpeg = 1.35});
IMAGE_LOAD(jpeg_90_photo_rgb, jpeg_file(photo(), 90), 3, {.stb = 1.05, .libjpeg = no_goal});
IMAGE_LOAD(jpeg_90_photo_rgba, jpeg_file(photo(), 90), 4, {.stb = 1.05, .libjpeg = no_goal});
IMAGE_LOAD(bmp_photo_rgb, saved(photo(), "bmp"), 3, {.stb = 1.03});
IMAGE_LOAD(tga_flat_rgba, saved(drawing(), "tga"), 4, {.stb = 0.75});
IMAGE_LOAD(tga_photo_rgb, saved(photo(), "tga"), 3, {.stb = 0.75});

IMAGE_SAVE(png_photo_rgb, photo(), 1, 0.92);
IMAGE_SAVE(png_flat_rgba, drawing(), 1, 0.80);
IMAGE_SAVE(jpg_photo_rgb, photo(), 3, 0.95);
IMAGE_SAVE(bmp_photo_rgb, photo(), 0, 0.95);
IMAGE_SAVE(tga_photo_rgb, photo(), 2, 1.05);
IMAGE_SAVE(tga_flat_rgba, drawing(), 2, 1.05);

} // namespace
