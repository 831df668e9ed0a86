// SPDX-License-Identifier: Zlib
#pragma once

#include "api/audio.h"
#include "support/image_samples.h"

#include <cstring>
#include <filesystem>

// What the audio tests share: sample sounds with what other tools read from them, and a lent buffer
// whose surroundings can't be touched.
namespace sound_samples {

using image_samples::bytes;
using image_samples::is_whole_sweep;
using image_samples::output_capture;
using image_samples::read_file;

constexpr const char allocation_failed[] = "audio memory allocation failed\n";
constexpr const char reallocation_failed[] = "audio memory reallocation failed\n";
constexpr i64 ample = 1 << 20;
constexpr sample_format all_formats[] = {0, 1, 2, 3, 4, 5, 6};
constexpr i32 widths[] = {1, 2, 4, 1, 2, 4, 4};

inline std::string path_of(const std::string& name) {
    return SOUND_SAMPLES "/" + name;
}

// A file to be written, in a folder that lives as long as the process.
inline std::string scratch_path(const std::string& name) {
    static const struct folder {
        std::filesystem::path path =
            std::filesystem::temp_directory_path() / ("sounds-" + std::to_string(getpid()));
        folder() {
            std::filesystem::create_directory(path);
        }
        ~folder() {
            std::filesystem::remove_all(path);
        }
    } scratch;
    return scratch.path / name;
}

inline void write_file(const std::string& path, const bytes& content) {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(content.data()),
               static_cast<std::streamsize>(content.size()));
}

// What sox reads from a sound, in 32 bits.
inline bytes read_by_sox(const std::string& path) {
    bytes samples;
    FILE* const pipe = popen(("sox -D '" + path + "' -t raw -e signed -b 32 -").c_str(), "r");
    for (int byte = fgetc(pipe); byte != EOF; byte = fgetc(pipe)) {
        samples.push_back(static_cast<u8>(byte));
    }
    return pclose(pipe) == 0 ? samples : bytes{};
}

// With a few bytes changed, most of them in the headers.
template <class Random> bytes damaged(bytes file, Random& random, bool anywhere) {
    const size_t reach = anywhere ? file.size() : std::min<size_t>(file.size(), 300);
    for (auto changes = 1 + random() % 8; changes > 0; --changes) {
        file[random() % reach] = static_cast<u8>(random());
    }
    return file;
}

inline std::vector<std::string> all_sounds() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(SOUND_SAMPLES)) {
        const std::string extension = entry.path().extension();
        if (extension == ".wav" || extension == ".flac" || extension == ".ogg")
            names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
}

// Lends the end of a guarded block.
class lent_buffer {
public:
    explicit lent_buffer(i64 capacity = ample) : block_(capacity) {
        lend(capacity);
    }
    ~lent_buffer() {
        audio_set_buffer(0, nullptr);
    }
    void lend(i64 size) {
        memory_ = block_.ending_block(size, 8);
        audio_set_buffer(size, memory_);
    }
    u8* memory() {
        return memory_;
    }

private:
    guarded_block block_;
    u8* memory_ = nullptr;
};

inline bytes samples_of(const Wave& wave) {
    const auto* const data = static_cast<const u8*>(wave.data);
    return data == nullptr ? bytes{} : bytes(data, data + wave.size);
}

inline Wave load(const std::string& path, sample_format format) {
    Wave wave = {9, -1, -1, -1, nullptr};
    audio_wave_load(&wave, format, slice(path));
    return wave;
}

inline Wave load_bytes(const void* data, i64 size, sample_format format) {
    Wave wave = {9, -1, -1, -1, nullptr};
    audio_wave_load_from_memory(&wave, format, size, const_cast<void*>(data));
    return wave;
}

} // namespace sound_samples
