// SPDX-License-Identifier: Zlib
#pragma once

#include "support/lent_buffer.h"

#include <algorithm>

// The sample images, and loads of them.
namespace image_samples {

inline std::string path_of(const std::string& name) {
    return IMAGE_SAMPLES "/" + name;
}

inline std::vector<std::string> all_images() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(IMAGE_SAMPLES)) {
        if (entry.path().extension() != ".rgba16") names.push_back(entry.path().filename());
    }
    return names;
}

inline bool has_16_bits(const std::string& name) {
    return name.find("16") != name.npos && !name.ends_with(".psd");
}

inline Image load(const std::string& path, int channels) {
    const guarded_text guarded(path);
    Image image = {&image, -1, -1};
    image_load(&image, guarded.slice(), static_cast<i8>(channels));
    return image;
}

// The file's bytes, with nothing to read behind them.
inline Image load(const bytes& file, size_t count, int channels) {
    static guarded_block source(1 << 16);
    Image image = {&image, -1, -1};
    image_load_from_memory(&image, static_cast<i32>(count), source.holding(file, count),
                           static_cast<i8>(channels));
    return image;
}
inline Image load(const bytes& file, int channels) {
    return load(file, file.size(), channels);
}

} // namespace image_samples
