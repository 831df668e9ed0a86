// SPDX-License-Identifier: Zlib
#pragma once

#include "audio/conversion_kernels.h"

#include <cstring>

// The passes over the samples, written over a vector type `V` of V::size bytes. Units that include
// this are compiled for different processors: the unnamed namespace keeps the linker from giving
// one unit's code to the other.
//
// A step converts a few vectors of samples, at most V::size samples where their width changes, and
// reads them before it writes over them. That and the direction of a pass are what conversion in
// place needs: towards narrower samples, upwards, the writing falls behind the reading, and towards
// wider ones it stays behind from the end downwards.
namespace halvorin {
namespace {

// Multiplying by the reciprocal in single precision doesn't give the correctly rounded quotient for
// all samples of 8 and 16 bits. It does in two parts, of which the first is a power of two. These
// samples come as the top bits of 32, hence the second factor.
constexpr float large_part_8 = 0x1p-7F * 0x1p-24F;
constexpr float small_part_8 = static_cast<float>(1 / 127.0 - 0x1p-7) * 0x1p-24F;
constexpr float large_part_16 = 0x1p-15F * 0x1p-16F;
constexpr float small_part_16 = static_cast<float>(1 / 32767.0 - 0x1p-15) * 0x1p-16F;

template <class V> void store_quotients_8(u8* target, typename V::ints samples) {
    const auto f = V::to_floats(samples);
    V::store(target, V::bits(V::multiply_add(f, V::all(large_part_8), f * V::all(small_part_8))));
}

template <class V> void store_quotients_16(u8* target, typename V::ints samples) {
    const auto f = V::to_floats(samples);
    V::store(target, V::bits(V::multiply_add(f, V::all(large_part_16), f * V::all(small_part_16))));
}

// In double precision, the product with the reciprocal gives the same float for all samples. In
// single precision: the quotient is the sample times 2^-31 and a little more, away from zero, by
// less than 1 where the sample counts as a whole number. That decides between two floats only where
// the sample lies half-way, so that any little will do, if it is too little to matter where the
// sample is a float. The samples come with 2^15 taken off, which the low part brings back: its
// byte, put into the middle of a float's bits, is 2^15 and the byte, times 2^-31. The ends aren't
// for this way: low samples overflow without 2^15, and a double rounds 2^31 - 65 to half-way, too.
template <class V> void store_quotients_32(u8* target, typename V::ints moved) {
    const auto high = V::to_floats(moved & V::repeat(0xFFFFFF00));
    const auto low = V::as_floats(V::low_byte_to_second(moved) | V::bits(V::all(0x1p-16F)));
    const auto low_and_little = V::multiply_add(high, V::all(0x1p-63F), low);
    V::store(target, V::bits(V::multiply_add(high, V::all(0x1p-31F), low_and_little)));
}

// The product cut toward zero, under rounding toward zero: so rounded, a single-precision product
// never crosses a whole number, and its cut is that of the exact product as far as that fits in 16
// bits.
template <class V> typename V::ints cut_product(const u8* source, float scale) {
    return V::cut(V::as_floats(V::load(source)) * V::all(scale));
}

// The same for products of any size, of which the `Width` low bits stay. The processor gives
// 0x80000000 for what doesn't fit in 32 bits. The way the double product is rounded doesn't matter:
// it is exact for 8 and 16 bits, and for 32 no rounding takes it to a whole number or past one.
template <class V, int Width> typename V::ints wrapped_product(const u8* source, double scale) {
    return V::template low<Width>(V::cut_double_product(source, scale));
}

// The same for 2147483647 and floats from -1 to 1, given with the sign bit set: the complement of
// the result's size. The exact product is a little nearer to zero than that with 2^31, so that its
// size is the next whole number below. With the sign set and under rounding downwards, the next
// whole number below is the complement. 2^31 goes into the exponent, which takes 0 for a very small
// number, too.
template <class V> typename V::ints below_32(typename V::ints negative) {
    return V::rounded(V::as_floats(V::add_32(negative, V::repeat(31 << 23))));
}

template <class V, int Width> struct flip {
    static constexpr i64 from = Width, to = Width, samples = V::size * 2 / Width;

    static void convert(const u8* source, u8* target, typename V::ints mask) {
        const auto a = V::load(source) ^ mask;
        const auto b = V::load(source + V::size) ^ mask;
        V::store(target, a);
        V::store(target + V::size, b);
    }
};

template <class V> struct narrow_16_to_8 {
    static constexpr i64 from = 2, to = 1, samples = V::size;

    static void convert(const u8* source, u8* target, typename V::ints mask) {
        const auto a = V::top_8_of_16(V::load(source));
        const auto b = V::top_8_of_16(V::load(source + V::size));
        V::store(target, V::after_pack(V::pack_16(a, b)) ^ mask);
    }
};

template <class V> struct narrow_32_to_8 {
    static constexpr i64 from = 4, to = 1, samples = V::size;

    static void convert(const u8* source, u8* target, typename V::ints mask) {
        const auto a = V::template top<8>(V::load(source));
        const auto b = V::template top<8>(V::load(source + V::size));
        const auto c = V::template top<8>(V::load(source + V::size * 2));
        const auto d = V::template top<8>(V::load(source + V::size * 3));
        const auto packed = V::pack_16(V::pack_32(a, b), V::pack_32(c, d));
        V::store(target, V::after_two_packs(packed) ^ mask);
    }
};

template <class V> struct narrow_32_to_16 {
    static constexpr i64 from = 4, to = 2, samples = V::size / 2;

    static void convert(const u8* source, u8* target, typename V::ints mask) {
        const auto a = V::template top<16>(V::load(source));
        const auto b = V::template top<16>(V::load(source + V::size));
        V::store(target, V::after_pack(V::pack_32(a, b)) ^ mask);
    }
};

template <class V> struct widen_8_to_16 {
    static constexpr i64 from = 1, to = 2, samples = V::size;

    static void convert(const u8* source, u8* target, typename V::ints mask) {
        const auto bytes = V::before_zip(V::load(source) ^ mask);
        V::store(target + V::size, V::zip_8_high(bytes));
        V::store(target, V::zip_8_low(bytes));
    }
};

template <class V> struct widen_8_to_32 {
    static constexpr i64 from = 1, to = 4, samples = V::size;

    static void convert(const u8* source, u8* target, typename V::ints mask) {
        const auto bytes = V::before_two_zips(V::load(source) ^ mask);
        const auto high = V::zip_8_high(bytes);
        const auto low = V::zip_8_low(bytes);
        V::store(target + V::size * 3, V::zip_16_high(high));
        V::store(target + V::size * 2, V::zip_16_low(high));
        V::store(target + V::size, V::zip_16_high(low));
        V::store(target, V::zip_16_low(low));
    }
};

template <class V> struct widen_16_to_32 {
    static constexpr i64 from = 2, to = 4, samples = V::size / 2;

    static void convert(const u8* source, u8* target, typename V::ints mask) {
        const auto words = V::before_zip(V::load(source) ^ mask);
        V::store(target + V::size, V::zip_16_high(words));
        V::store(target, V::zip_16_low(words));
    }
};

template <class V> struct real_to_8 {
    static constexpr i64 from = 4, to = 1, samples = V::size;

    // Packing saturates, so that what is outside of 8 bits stays outside in the 16 of the first.
    static void convert(const u8* source, u8* target, typename V::ints mask) {
        constexpr float scale = 127;
        auto ab =
            V::pack_32(cut_product<V>(source, scale), cut_product<V>(source + V::size, scale));
        auto cd = V::pack_32(cut_product<V>(source + V::size * 2, scale),
                             cut_product<V>(source + V::size * 3, scale));
        if (V::any_outside_8(ab, cd)) [[unlikely]] {
            ab = V::pack_32(wrapped_product<V, 8>(source, scale),
                            wrapped_product<V, 8>(source + V::size, scale));
            cd = V::pack_32(wrapped_product<V, 8>(source + V::size * 2, scale),
                            wrapped_product<V, 8>(source + V::size * 3, scale));
        }
        V::store(target, V::after_two_packs(V::pack_16(ab, cd)) ^ mask);
    }
};

template <class V> struct real_to_16 {
    static constexpr i64 from = 4, to = 2, samples = V::size;

    static void convert(const u8* source, u8* target, typename V::ints mask) {
        constexpr float scale = 32767;
        auto a = cut_product<V>(source, scale);
        auto b = cut_product<V>(source + V::size, scale);
        auto c = cut_product<V>(source + V::size * 2, scale);
        auto d = cut_product<V>(source + V::size * 3, scale);
        if (V::any_outside_16(a, b, c, d)) [[unlikely]] {
            a = wrapped_product<V, 16>(source, scale);
            b = wrapped_product<V, 16>(source + V::size, scale);
            c = wrapped_product<V, 16>(source + V::size * 2, scale);
            d = wrapped_product<V, 16>(source + V::size * 3, scale);
        }
        V::store(target, V::after_pack(V::pack_32(a, b)) ^ mask);
        V::store(target + V::size, V::after_pack(V::pack_32(c, d)) ^ mask);
    }
};

template <class V> struct real_to_32 {
    static constexpr i64 from = 4, to = 4, samples = V::size;

    static void convert(const u8* source, u8* target, typename V::ints mask) {
        constexpr u32 sign = 0x80000000;
        constexpr u32 minus_one = 0xBF800000;
        const typename V::ints floats[] = {V::load(source), V::load(source + V::size),
                                           V::load(source + V::size * 2),
                                           V::load(source + V::size * 3)};
        const auto a = floats[0] | V::repeat(sign);
        const auto b = floats[1] | V::repeat(sign);
        const auto c = floats[2] | V::repeat(sign);
        const auto d = floats[3] | V::repeat(sign);
        if (V::any_above(a, b, c, d, V::repeat(minus_one))) [[unlikely]] {
            convert_any(source, target, mask);
            return;
        }
        V::store(target, V::sized_as(floats[0], below_32<V>(a), mask));
        V::store(target + V::size, V::sized_as(floats[1], below_32<V>(b), mask));
        V::store(target + V::size * 2, V::sized_as(floats[2], below_32<V>(c), mask));
        V::store(target + V::size * 3, V::sized_as(floats[3], below_32<V>(d), mask));
    }

    static void convert_any(const u8* source, u8* target, typename V::ints mask) {
        for (i64 at = 0; at < V::size * 4; at += V::size) {
            V::store(target + at, V::cut_double_product(source + at, 2147483647.0) ^ mask);
        }
    }
};

template <class V> struct real_from_8 {
    static constexpr i64 from = 1, to = 4, samples = V::size;

    static void convert(const u8* source, u8* target, typename V::ints mask) {
        const auto bytes = V::before_two_zips(V::load(source) ^ mask);
        const auto high = V::zip_8_high(bytes);
        const auto low = V::zip_8_low(bytes);
        store_quotients_8<V>(target + V::size * 3, V::zip_16_high(high));
        store_quotients_8<V>(target + V::size * 2, V::zip_16_low(high));
        store_quotients_8<V>(target + V::size, V::zip_16_high(low));
        store_quotients_8<V>(target, V::zip_16_low(low));
    }
};

template <class V> struct real_from_16 {
    static constexpr i64 from = 2, to = 4, samples = V::size / 2;

    static void convert(const u8* source, u8* target, typename V::ints mask) {
        const auto words = V::before_zip(V::load(source) ^ mask);
        store_quotients_16<V>(target + V::size, V::zip_16_high(words));
        store_quotients_16<V>(target, V::zip_16_low(words));
    }
};

template <class V> struct real_from_32 {
    static constexpr i64 from = 4, to = 4, samples = V::size;

    static void convert(const u8* source, u8* target, typename V::ints mask) {
        if constexpr (V::singles_are_faster) {
            constexpr u32 offset = 1 << 15;
            constexpr u32 ends = 0x7FFFFFFF - 0x100 - offset; // both ends come to lie above
            const auto moved = V::add_32(mask, V::repeat(-offset));
            const auto a = V::add_32(V::load(source), moved);
            const auto b = V::add_32(V::load(source + V::size), moved);
            const auto c = V::add_32(V::load(source + V::size * 2), moved);
            const auto d = V::add_32(V::load(source + V::size * 3), moved);
            if (!V::any_above(a, b, c, d, V::repeat(ends))) [[likely]] {
                store_quotients_32<V>(target, a);
                store_quotients_32<V>(target + V::size, b);
                store_quotients_32<V>(target + V::size * 2, c);
                store_quotients_32<V>(target + V::size * 3, d);
                return;
            }
        }
        convert_any(source, target, mask);
    }

    static void convert_any(const u8* source, u8* target, typename V::ints mask) {
        for (i64 at = 0; at < V::size * 4; at += V::size) {
            V::store_double_product(target + at, V::load(source + at) ^ mask, 1 / 2147483647.0);
        }
    }
};

// Fewer samples than a step takes go through a step beside the block. Out of line: a pass calls it
// twice, and it isn't where the time goes.
template <class V, class Step>
[[gnu::noinline]] void convert_few(u8* data, i64 first, i64 count, typename V::ints mask) {
    if (count <= 0) return;
    alignas(32) u8 few[Step::samples * (Step::from > Step::to ? Step::from : Step::to)] = {};
    std::memcpy(few, data + first * Step::from, static_cast<size_t>(count * Step::from));
    Step::convert(few, few, mask);
    std::memcpy(data + first * Step::to, few, static_cast<size_t>(count * Step::to));
}

// How many samples of `width` bytes `address` stands above a multiple of the vector's size. None
// at an address that no whole number of samples leads away from.
template <class V> i64 samples_above(u64 address, i64 width) {
    const i64 bytes = static_cast<i64>(address % V::size);
    return bytes % width == 0 ? bytes / width : 0;
}

// Stores that cross a cache line cost up to twice the time of those that don't. Samples up to the
// first address without that are therefore taken by themselves.
template <class V, class Step> void upwards(u8* data, i64 count, u32 bits) {
    const auto mask = V::repeat(bits);
    const i64 odd = samples_above<V>(-reinterpret_cast<u64>(data), Step::to);
    i64 done = odd < count ? odd : count;
    convert_few<V, Step>(data, 0, done, mask);
    for (const i64 last = count - Step::samples; done <= last; done += Step::samples) {
        Step::convert(data + done * Step::from, data + done * Step::to, mask);
    }
    convert_few<V, Step>(data, done, count - done, mask);
}

template <class V, class Step> void downwards(u8* data, i64 count, u32 bits) {
    const auto mask = V::repeat(bits);
    const u64 end = reinterpret_cast<u64>(data) + static_cast<u64>(count * Step::to);
    const i64 odd = samples_above<V>(end, Step::to);
    i64 left = odd < count ? count - odd : 0;
    convert_few<V, Step>(data, left, count - left, mask);
    while (left >= Step::samples) {
        left -= Step::samples;
        Step::convert(data + left * Step::from, data + left * Step::to, mask);
    }
    convert_few<V, Step>(data, 0, left, mask);
}

template <class V>
constexpr conversion_passes passes = {{
    {upwards<V, flip<V, 1>>, downwards<V, widen_8_to_16<V>>, downwards<V, widen_8_to_32<V>>,
     downwards<V, real_from_8<V>>},
    {upwards<V, narrow_16_to_8<V>>, upwards<V, flip<V, 2>>, downwards<V, widen_16_to_32<V>>,
     downwards<V, real_from_16<V>>},
    {upwards<V, narrow_32_to_8<V>>, upwards<V, narrow_32_to_16<V>>, upwards<V, flip<V, 4>>,
     upwards<V, real_from_32<V>>},
    {upwards<V, real_to_8<V>>, upwards<V, real_to_16<V>>, upwards<V, real_to_32<V>>, nullptr},
}};

} // namespace
} // namespace halvorin
