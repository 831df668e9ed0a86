// SPDX-License-Identifier: Zlib
// Whole sounds and blocks of 1,024 frames against libsndfile, from memory; files against reading
// and writing their bytes alone. Every row gives the ratio of our median to the peer's (`of_`)
// beside its goal (`goal_`).
#include "in_turn.h"

#include <halvorin_system/audio.h>

#include <sndfile.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <vector>

#include <unistd.h>

namespace {

constexpr i64 seconds = 20;
constexpr i64 frames = seconds * 44100;
constexpr int channels = 2;
constexpr i64 block_frames = 1024;

// At the start of a page: a copy to 16 bytes behind it takes three times as long.
struct page_memory {
    explicit page_memory(i64 bytes)
        : size(bytes), data(new (std::align_val_t(4096)) u8[size_t(bytes)]) {
        std::memset(data, 1, size_t(bytes));
    }
    ~page_memory() {
        operator delete[](data, std::align_val_t(4096));
    }
    page_memory(const page_memory&) = delete;
    page_memory& operator=(const page_memory&) = delete;
    i64 size;
    u8* data;
};

Slice slice(const std::string& text) {
    return {const_cast<char*>(text.data()), static_cast<i64>(text.size())};
}

std::string scratch_path(const std::string& name) {
    return std::filesystem::temp_directory_path() / (std::to_string(getpid()) + name);
}

// A chord under noise: what a music file is to a decoder, more or less.
std::vector<float> sound() {
    std::mt19937 random(1);
    std::vector<float> samples(frames * channels);
    float low = 0;
    for (size_t i = 0; i < samples.size(); ++i) {
        low += (static_cast<float>(random() % 2001) / 1000 - 1 - low) * 0.1f;
        float tones = 0;
        for (const float pitch : {220.0f, 277.2f, 329.6f, 1760.0f}) {
            const float turns = pitch * static_cast<float>(i / channels % 44100) / 44100;
            tones += std::abs(turns - std::floor(turns) - 0.5f) - 0.25f;
        }
        samples[i] = 0.3f * tones + (i % channels ? 0.3f : 0.2f) * low;
    }
    return samples;
}

// The bytes of a file as libsndfile writes it. Each is made once.
std::unique_ptr<page_memory> file_of(int format) {
    const std::string path = scratch_path("made");
    SF_INFO info = {frames, 44100, channels, format, 1, 1};
    SNDFILE* const file = sf_open(path.c_str(), SFM_WRITE, &info);
    const std::vector<float> samples = sound();
    for (i64 at = 0; at < frames; at += 44100) { // the Vorbis encoder keeps a block on the stack
        sf_writef_float(file, samples.data() + at * channels, 44100);
    }
    sf_close(file);
    std::ifstream stream(path, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
    std::filesystem::remove(path);
    auto memory = std::make_unique<page_memory>(static_cast<i64>(bytes.size()));
    std::copy(bytes.begin(), bytes.end(), memory->data);
    return memory;
}

// A file in memory as libsndfile reads one.
struct virtual_file {
    const u8* data;
    sf_count_t size;
    sf_count_t position;
};

SF_VIRTUAL_IO virtual_calls = {
    [](void* user) { return static_cast<virtual_file*>(user)->size; },
    [](sf_count_t offset, int whence, void* user) {
        auto* const file = static_cast<virtual_file*>(user);
        const sf_count_t start = whence == SEEK_SET   ? 0
                                 : whence == SEEK_CUR ? file->position
                                                      : file->size;
        return file->position = start + offset;
    },
    [](void* destination, sf_count_t count, void* user) {
        auto* const file = static_cast<virtual_file*>(user);
        count = std::min(count, file->size - file->position);
        std::memcpy(destination, file->data + file->position, static_cast<size_t>(count));
        file->position += count;
        return count;
    },
    nullptr,
    [](void* user) { return static_cast<virtual_file*>(user)->position; },
};

// Reads all by blocks of that many frames, each to the same place. libsndfile clears what it can't
// fill.
void read_by_sndfile(const page_memory& file, sample_format format, i64 block, u8* to) {
    virtual_file opened = {file.data, file.size, 0};
    SF_INFO info = {};
    SNDFILE* const sound = sf_open_virtual(&virtual_calls, SFM_READ, &info, &opened);
    for (i64 done = 0; done < frames; done += block) {
        if (format == SAMPLE_FORMAT_S16) {
            sf_readf_short(sound, reinterpret_cast<short*>(to), block);
        } else {
            sf_readf_float(sound, reinterpret_cast<float*>(to), block);
        }
    }
    sf_close(sound);
}

constexpr int wav16 = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
constexpr int wav24 = SF_FORMAT_WAV | SF_FORMAT_PCM_24;
constexpr int wav_float = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
constexpr int flac16 = SF_FORMAT_FLAC | SF_FORMAT_PCM_16;
constexpr int vorbis = SF_FORMAT_OGG | SF_FORMAT_VORBIS;

const struct sound_row {
    const char* name;
    int file;
    sample_format format;
    double whole_goal;
    double block_goal; // 0: not measured
} rows[] = {
    {"wav16_s16", wav16, SAMPLE_FORMAT_S16, 1.15, 1.05},
    {"wav16_f32", wav16, SAMPLE_FORMAT_F32, 0.85, 0.60},
    {"wav24_s16", wav24, SAMPLE_FORMAT_S16, 1.45, 0},
    {"wav24_f32", wav24, SAMPLE_FORMAT_F32, 1.05, 0},
    {"wavf32_f32", wav_float, SAMPLE_FORMAT_F32, 1.10, 0},
    {"wavf32_s16", wav_float, SAMPLE_FORMAT_S16, 1.75, 0},
    {"flac_s16", flac16, SAMPLE_FORMAT_S16, 0.82, 0.90},
    {"flac_f32", flac16, SAMPLE_FORMAT_F32, 0.82, 0.90},
    {"vorbis_s16", vorbis, SAMPLE_FORMAT_S16, 0.93, 1.0},
    {"vorbis_f32", vorbis, SAMPLE_FORMAT_F32, 0.90, 1.0},
};

void load_whole(benchmark::State& state, const sound_row& row) {
    const auto file = file_of(row.file);
    page_memory buffer(frames * channels * 4 * 2);
    page_memory theirs(frames * channels * 4);
    audio_set_buffer(buffer.size, buffer.data);
    Wave wave = {};
    const auto ours = [&] {
        audio_set_buffer_position(0);
        audio_wave_load_from_memory(&wave, row.format, file->size, file->data);
    };
    const auto sndfile = [&] { read_by_sndfile(*file, row.format, frames, theirs.data); };
    const auto [our_time, their_time] = medians_in_turn(state, ours, sndfile);
    const bool lossless =
        row.file != vorbis && row.format == SAMPLE_FORMAT_S16 && row.file != wav_float;
    if (wave.data == nullptr ||
        wave.size != frames * channels * (row.format == SAMPLE_FORMAT_S16 ? 2 : 4) ||
        (lossless && std::memcmp(wave.data, theirs.data, static_cast<size_t>(wave.size)) != 0)) {
        state.SkipWithError("not the sound that libsndfile reads");
    }
    show(state, "sndfile", our_time / their_time, row.whole_goal);
}

void read_blocks(benchmark::State& state, const sound_row& row) {
    const auto file = file_of(row.file);
    page_memory buffer(1 << 20);
    page_memory block(block_frames * channels * 4);
    i64 count = 0;
    const auto ours = [&] {
        audio_set_buffer(buffer.size, buffer.data);
        const i32 stream = audio_stream_open_from_memory(row.format, file->size, file->data);
        AudioInfo info;
        audio_stream_read_info(&info, stream);
        count = 0;
        i64 got = block_frames;
        while (got == block_frames) {
            got = audio_stream_read(stream, block_frames, block.data);
            count += got;
        }
        audio_stream_close(stream);
    };
    const auto sndfile = [&] { read_by_sndfile(*file, row.format, block_frames, block.data); };
    const auto [our_time, their_time] = medians_in_turn(state, ours, sndfile);
    if (count != frames) state.SkipWithError("frames are missing");
    show(state, "sndfile", our_time / their_time, row.block_goal);
}

void load_file(benchmark::State& state, int kind, sample_format format, double goal) {
    const auto file = file_of(kind);
    const std::string path = scratch_path("read.wav");
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<char*>(file->data), file->size);
    page_memory buffer(frames * channels * 4);
    audio_set_buffer(buffer.size, buffer.data);
    const auto ours = [&] {
        Wave wave;
        audio_set_buffer_position(0);
        audio_wave_load(&wave, format, slice(path));
    };
    const auto bytes_alone = [&] {
        std::FILE* const opened = std::fopen(path.c_str(), "rb");
        benchmark::DoNotOptimize(
            std::fread(file->data, 1, static_cast<size_t>(file->size), opened));
        std::fclose(opened);
    };
    const auto [our_time, bare] = medians_in_turn(state, ours, bytes_alone);
    std::filesystem::remove(path);
    show(state, "reading", our_time / bare, goal);
}
BENCHMARK_CAPTURE(load_file, wav16_s16, wav16, SAMPLE_FORMAT_S16, 1.6)
    ->Iterations(51)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(load_file, wavf32_f32, wav_float, SAMPLE_FORMAT_F32, 1.25)
    ->Iterations(51)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

void save_file(benchmark::State& state) {
    page_memory samples(frames * channels * 2);
    const Wave wave = {SAMPLE_FORMAT_S16, channels, 44100, samples.size, samples.data};
    const std::string path = scratch_path("written.wav");
    const std::string bare_path = scratch_path("written.raw");
    const auto ours = [&] { benchmark::DoNotOptimize(audio_wave_save(wave, slice(path))); };
    const auto bytes_alone = [&] {
        std::FILE* const opened = std::fopen(bare_path.c_str(), "wb");
        std::fwrite(samples.data, 1, static_cast<size_t>(samples.size), opened);
        std::fclose(opened);
    };
    const auto [our_time, bare] = medians_in_turn(state, ours, bytes_alone);
    std::filesystem::remove(path);
    std::filesystem::remove(bare_path);
    show(state, "writing", our_time / bare, 1.10);
}
BENCHMARK(save_file)->Iterations(51)->UseManualTime()->Unit(benchmark::kMillisecond);

const bool registered = [] {
    for (const sound_row& row : rows) {
        const auto add = [&](const char* what, auto run) {
            benchmark::RegisterBenchmark((std::string(what) + "/" + row.name).c_str(),
                                         [run, &row](benchmark::State& state) { run(state, row); })
                ->Iterations(row.file == flac16 || row.file == vorbis ? 15 : 101)
                ->UseManualTime()
                ->Unit(benchmark::kMillisecond);
        };
        add("load_whole", load_whole);
        if (row.block_goal > 0) add("read_blocks", read_blocks);
    }
    return true;
}();

} // namespace
