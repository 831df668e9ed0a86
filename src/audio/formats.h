// SPDX-License-Identifier: Zlib
#pragma once

#include "api/audio_waves.h"

// What waves and streams know of sample formats.
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

inline i64 bytes_a_frame(const Wave& wave) {
    return i64{wave.channels} * bytes_a_sample(wave.format);
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

} // namespace halvorin
