// SPDX-License-Identifier: Zlib
#pragma once

#include "api/types.h"

#include <bit>

// What the entry of an export does with its arguments before anything else.
namespace halvorin {

// The argument with only its own width left. The upper part of a register that carries a narrow
// argument may hold rubbish. g++ masks every narrow parameter where it is used; clang trusts the
// caller to have widened it, so there the value has to pass where the compiler can't follow it.
template <class Narrow> inline Narrow low_bits(Narrow argument) {
    static_assert(sizeof(Narrow) < 4);
#ifdef __clang__
    asm("" : "+r"(argument));
#endif
    return argument;
}

// The host may pass any byte for true; a C++ bool may hold nothing but 0 and 1.
inline bool is_true(b8 argument) {
    return low_bits(argument) != 0;
}

// For sums of numbers that the host gives as it likes: they wrap round.
inline i32 wrapping_sum(i32 a, i32 b) {
    return static_cast<i32>(static_cast<u32>(a) + static_cast<u32>(b));
}

inline float value_of(f32_bits argument) {
    return std::bit_cast<float>(argument);
}

inline double value_of(f64_bits argument) {
    return std::bit_cast<double>(argument);
}

} // namespace halvorin
