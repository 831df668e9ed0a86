// SPDX-License-Identifier: Zlib
#pragma once

#include "support/lent_buffer.h"

// The sample sounds, and loads of them.
namespace sound_samples {

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
    const std::string raw = path + ".raw";
    const std::string command = "sox -D '" + path + "' -t raw -e signed -b 32 '" + raw + "'";
    return std::system(command.c_str()) == 0 ? read_file(raw) : bytes{};
}

inline std::vector<std::string> all_sounds() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(SOUND_SAMPLES)) {
        const std::string name = entry.path().filename();
        if (!name.ends_with(".s16") && !name.ends_with(".s32")) names.push_back(name);
    }
    return names;
}

// What the sample's name says.
inline i32 channels_in(const std::string& name) {
    if (name.starts_with("channels-")) return name[9] - '0';
    if (name.find("six") != name.npos) return 6;
    return name.find("mono") != name.npos || name.find("long") != name.npos ? 1 : 2;
}

// A load from memory goes by the first bytes, which are others' in some of the files.
inline bool is_known_by_content(const std::string& name) {
    return name != "aiff.wav" && name != "w64.wav" && name != "s16-big.wav" &&
           name != "in-ogg.flac";
}

inline bytes samples_of(const Wave& wave) {
    const auto* const data = static_cast<const u8*>(wave.data);
    return data == nullptr ? bytes{} : bytes(data, data + wave.size);
}

inline Wave load(const std::string& path, sample_format format) {
    Wave wave = {9, -1, -1, -1, &wave};
    audio_wave_load(&wave, format, slice(path));
    return wave;
}

// The file's bytes, with nothing to read behind them.
inline Wave load(const bytes& file, sample_format format) {
    static guarded_block source(ample);
    Wave wave = {9, -1, -1, -1, &wave};
    audio_wave_load_from_memory(&wave, format, static_cast<i64>(file.size()),
                                source.holding(file, file.size()));
    return wave;
}

// The same, from the start of the buffer.
inline bytes samples_in(const std::string& name, sample_format format) {
    audio_set_buffer_position(0);
    return samples_of(load(path_of(name), format));
}

} // namespace sound_samples
