// SPDX-License-Identifier: Zlib
#pragma once

#include "api/audio_waves.h"

#include <bit>
#include <cstring>
#include <vector>

// Sample conversion one sample after the other, by the numbers that they stand for.
namespace sample_model {

using byte_block = std::vector<u8>;

inline size_t width_of(u8 format) {
    constexpr size_t widths[] = {1, 2, 4, 1, 2, 4, 4};
    return format < 7 ? widths[format] : 2;
}

inline bool is_unsigned(u8 format) {
    return format < 3 || format > 6;
}

inline double scale_of(size_t width) {
    return width == 1 ? 127.0 : width == 2 ? 32767.0 : 2147483647.0;
}

inline void put_bytes(u8* at, u64 value, size_t width) {
    std::memcpy(at, &value, width); // the low ones come first
}

inline void append_bytes(byte_block& to, u64 value, size_t width) {
    to.resize(to.size() + width);
    put_bytes(to.data() + to.size() - width, value, width);
}

inline u64 bits_at(const u8* sample, size_t width) {
    u64 bits = 0;
    std::memcpy(&bits, sample, width);
    return bits;
}

// The number that a sample stands for, 0 being silence.
inline i64 integer_at(const u8* sample, u8 format) {
    const i64 half = i64{1} << (8 * width_of(format) - 1);
    const i64 value = static_cast<i64>(bits_at(sample, width_of(format)));
    if (is_unsigned(format)) return value - half;
    return value < half ? value : value - 2 * half;
}

inline u64 with_offset(i64 value, u8 format) {
    const i64 half = i64{1} << (8 * width_of(format) - 1);
    return static_cast<u64>(is_unsigned(format) ? value + half : value);
}

inline i64 integer_of(float sample, size_t width) {
    const double product = static_cast<double>(sample) * scale_of(width);
    const bool fits = product > -2147483649.0 && product < 2147483648.0;
    return fits ? static_cast<i64>(product) : INT32_MIN;
}

inline i64 rescaled(i64 value, size_t from_width, size_t to_width) {
    if (to_width >= from_width) return value * (i64{1} << (8 * (to_width - from_width)));
    return value >> (8 * (from_width - to_width));
}

// The bytes of a sample in another format, as the low ones of a number.
inline u64 converted_sample(const u8* sample, u8 from, u8 to) {
    if (from == SAMPLE_FORMAT_F32 && to != SAMPLE_FORMAT_F32) {
        const float real = std::bit_cast<float>(static_cast<u32>(bits_at(sample, 4)));
        return with_offset(integer_of(real, width_of(to)), to);
    }
    const i64 value = integer_at(sample, from);
    if (to == SAMPLE_FORMAT_F32 && from != SAMPLE_FORMAT_F32) {
        const double quotient = static_cast<double>(value) / scale_of(width_of(from));
        return std::bit_cast<u32>(static_cast<float>(quotient));
    }
    return with_offset(rescaled(value, width_of(from), width_of(to)), to);
}

inline byte_block model(const byte_block& samples, u8 from, u8 to) {
    const size_t count = samples.size() / width_of(from);
    byte_block result(count * width_of(to));
    for (size_t i = 0; i < count; ++i) {
        put_bytes(result.data() + i * width_of(to),
                  converted_sample(samples.data() + i * width_of(from), from, to), width_of(to));
    }
    return result;
}

} // namespace sample_model
