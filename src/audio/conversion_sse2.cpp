// SPDX-License-Identifier: Zlib
#include "audio/conversion_passes.h"

#include <emmintrin.h>

namespace halvorin {
namespace {

// Packing and zipping leave the samples in order, so that after_ and before_ have nothing to do.
struct sse2 {
    using ints = __m128i;
    using floats = __m128;
    static constexpr i64 size = 16;
    static constexpr bool singles_are_faster = false; // from 32 bits

    static ints load(const u8* from) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    }
    static void store(u8* to, ints value) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to), value);
    }
    static ints repeat(u32 value) {
        return _mm_set1_epi32(static_cast<i32>(value));
    }
    static floats all(float value) {
        return _mm_set1_ps(value);
    }
    static ints bits(floats value) {
        return _mm_castps_si128(value);
    }
    static floats as_floats(ints value) {
        return _mm_castsi128_ps(value);
    }
    static ints add_32(ints a, ints b) {
        return _mm_add_epi32(a, b);
    }
    // -1 - sign - (below ^ sign) is ~below without the sign and below + 1 with it. A mask of the
    // top bit is as good added.
    static ints sized_as(ints sample, ints below, ints mask) {
        const ints sign = _mm_srai_epi32(sample, 31);
        const ints ones = _mm_add_epi32(mask, _mm_set1_epi32(-1));
        return _mm_sub_epi32(_mm_sub_epi32(ones, sign), below ^ sign);
    }

    static ints top_8_of_16(ints value) {
        return _mm_srai_epi16(value, 8);
    }
    template <int Width> static ints top(ints value) {
        return _mm_srai_epi32(value, 32 - Width);
    }
    template <int Width> static ints low(ints value) {
        return top<Width>(_mm_slli_epi32(value, 32 - Width));
    }
    static ints pack_16(ints a, ints b) {
        return _mm_packs_epi16(a, b);
    }
    static ints pack_32(ints a, ints b) {
        return _mm_packs_epi32(a, b);
    }
    static ints after_pack(ints packed) {
        return packed;
    }
    static ints after_two_packs(ints packed) {
        return packed;
    }
    static ints before_zip(ints value) {
        return value;
    }
    static ints before_two_zips(ints value) {
        return value;
    }
    static ints zip_8_low(ints value) {
        return _mm_unpacklo_epi8(_mm_setzero_si128(), value);
    }
    static ints zip_8_high(ints value) {
        return _mm_unpackhi_epi8(_mm_setzero_si128(), value);
    }
    static ints zip_16_low(ints value) {
        return _mm_unpacklo_epi16(_mm_setzero_si128(), value);
    }
    static ints zip_16_high(ints value) {
        return _mm_unpackhi_epi16(_mm_setzero_si128(), value);
    }

    static floats to_floats(ints value) {
        return _mm_cvtepi32_ps(value);
    }
    static floats multiply_add(floats a, floats b, floats c) {
        return a * b + c;
    }
    static ints cut(floats value) {
        return _mm_cvttps_epi32(value);
    }
    static ints rounded(floats value) {
        return _mm_cvtps_epi32(value);
    }
    static ints cut_double_product(const u8* from, double scale) {
        const __m128d factor = _mm_set1_pd(scale);
        const floats samples = as_floats(load(from));
        const __m128d low_half = _mm_cvtps_pd(samples) * factor;
        const __m128d high_half = _mm_cvtps_pd(_mm_movehl_ps(samples, samples)) * factor;
        return _mm_unpacklo_epi64(_mm_cvttpd_epi32(low_half), _mm_cvttpd_epi32(high_half));
    }
    static void store_double_product(u8* to, ints value, double scale) {
        const __m128d factor = _mm_set1_pd(scale);
        const __m128d low_half = _mm_cvtepi32_pd(value) * factor;
        const __m128d high_half = _mm_cvtepi32_pd(_mm_unpackhi_epi64(value, value)) * factor;
        _mm_storel_pi(reinterpret_cast<__m64*>(to), _mm_cvtpd_ps(low_half));
        _mm_storel_pi(reinterpret_cast<__m64*>(to + 8), _mm_cvtpd_ps(high_half));
    }

    static bool any_above(ints a, ints b, ints c, ints d, ints limit) {
        const ints above = (_mm_cmpgt_epi32(a, limit) | _mm_cmpgt_epi32(b, limit)) |
                           (_mm_cmpgt_epi32(c, limit) | _mm_cmpgt_epi32(d, limit));
        return _mm_movemask_epi8(above) != 0;
    }
    static bool any_outside_8(ints a, ints b) {
        const ints half = _mm_set1_epi16(0x80);
        const ints moved = _mm_add_epi16(a, half) | _mm_add_epi16(b, half);
        const ints inside = _mm_cmpeq_epi16(_mm_srli_epi16(moved, 8), _mm_setzero_si128());
        return _mm_movemask_epi8(inside) != 0xFFFF;
    }
    static bool any_outside_16(ints a, ints b, ints c, ints d) {
        const ints half = _mm_set1_epi32(0x8000);
        const ints moved = (_mm_add_epi32(a, half) | _mm_add_epi32(b, half)) |
                           (_mm_add_epi32(c, half) | _mm_add_epi32(d, half));
        const ints inside = _mm_cmpeq_epi32(_mm_srli_epi32(moved, 16), _mm_setzero_si128());
        return _mm_movemask_epi8(inside) != 0xFFFF;
    }
};

} // namespace

constinit const conversion_passes sse2_passes = passes<sse2>;

} // namespace halvorin
