// SPDX-License-Identifier: Zlib
#pragma once

#include "fuzzing.h"

namespace fuzzing {

inline u32 ogg_sum(const u8* page, size_t size) {
    u32 sum = 0;
    for (size_t i = 0; i < size; ++i) {
        sum ^= u32{page[i]} << 24;
        for (int bit = 0; bit < 8; ++bit) {
            sum = sum << 1 ^ (sum >> 31 != 0 ? 0x04C11DB7 : 0);
        }
    }
    return sum;
}

// Gives every page of an Ogg file the check sum that it should have.
inline void mend_ogg_sums(bytes& file) {
    constexpr size_t header = 27;
    for (size_t at = 0; at + header <= file.size(); ++at) {
        if (std::memcmp(&file[at], "OggS", 4) != 0) continue;
        const size_t lengths = file[at + 26];
        size_t size = header + lengths;
        for (size_t i = 0; i < lengths && at + header + i < file.size(); ++i) {
            size += file[at + header + i];
        }
        if (size > file.size() - at) return;
        std::memset(&file[at + 22], 0, 4);
        const u32 sum = ogg_sum(&file[at], size);
        std::memcpy(&file[at + 22], &sum, 4);
        at += size - 1;
    }
}

} // namespace fuzzing
