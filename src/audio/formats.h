// SPDX-License-Identifier: Zlib
#pragma once

#include "api/audio_waves.h"

#include <string_view>

// What waves and streams know of sample formats and of names of files.
namespace halvorin {

// Numbers outside the enumeration count as 16 bits.
constexpr i32 bytes_a_sample(sample_format format) {
    switch (format) {
    case SAMPLE_FORMAT_U8:
    case SAMPLE_FORMAT_S8: return 1;
    case SAMPLE_FORMAT_U32:
    case SAMPLE_FORMAT_S32:
    case SAMPLE_FORMAT_F32: return 4;
    default: return 2;
    }
}

// What a WAV file holds for a format: whole numbers of the same width. Other numbers stay.
constexpr sample_format stored_format(sample_format format) {
    if (format > SAMPLE_FORMAT_F32) return format;
    switch (bytes_a_sample(format)) {
    case 1: return SAMPLE_FORMAT_U8;
    case 2: return SAMPLE_FORMAT_S16;
    default: return SAMPLE_FORMAT_S32;
    }
}

// What follows the last dot, wherever in the path that is. Empty without a dot.
inline std::string_view extension_of(Slice path) {
    const auto* const bytes = static_cast<const char*>(path.data);
    for (i64 dot = path.count - 1; dot >= 0; --dot) {
        if (bytes[dot] == '.') return {bytes + dot + 1, static_cast<size_t>(path.count - dot - 1)};
    }
    return {};
}

} // namespace halvorin
