// SPDX-License-Identifier: Zlib
#include "audio/conversion_passes.h"

#include <immintrin.h>

namespace halvorin {
namespace {

// Packing and zipping work within halves of a vector. after_ and before_ put right what that does
// to the order of the samples.
struct avx2 {
    using ints = __m256i;
    using floats = __m256;
    static constexpr i64 size = 32;
    static constexpr bool singles_are_faster = true;

    static ints load(const u8* from) {
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
    }
    static void store(u8* to, ints value) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), value);
    }
    static ints repeat(u32 value) {
        return _mm256_set1_epi32(static_cast<i32>(value));
    }
    static floats all(float value) {
        return _mm256_set1_ps(value);
    }
    static ints bits(floats value) {
        return _mm256_castps_si256(value);
    }
    static floats as_floats(ints value) {
        return _mm256_castsi256_ps(value);
    }
    // The lowest byte of each 32 bits, one byte higher, and no other.
    static ints low_byte_to_second(ints value) {
        const __m128i places =
            _mm_setr_epi8(-1, 0, -1, -1, -1, 4, -1, -1, -1, 8, -1, -1, -1, 12, -1, -1);
        return _mm256_shuffle_epi8(value, _mm256_broadcastsi128_si256(places));
    }
    static ints add_32(ints a, ints b) {
        return _mm256_add_epi32(a, b);
    }
    // A sample of 0 gives 0, whatever the size.
    static ints sized_as(ints sample, ints below, ints mask) {
        return _mm256_sign_epi32(below ^ repeat(0xFFFFFFFF), sample) ^ mask;
    }

    static ints top_8_of_16(ints value) {
        return _mm256_srai_epi16(value, 8);
    }
    template <int Width> static ints top(ints value) {
        return _mm256_srai_epi32(value, 32 - Width);
    }
    template <int Width> static ints low(ints value) {
        return top<Width>(_mm256_slli_epi32(value, 32 - Width));
    }
    static ints pack_16(ints a, ints b) {
        return _mm256_packs_epi16(a, b);
    }
    static ints pack_32(ints a, ints b) {
        return _mm256_packs_epi32(a, b);
    }
    static ints after_pack(ints packed) {
        return _mm256_permute4x64_epi64(packed, 0xD8);
    }
    static ints after_two_packs(ints packed) {
        return _mm256_permutevar8x32_epi32(packed, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
    }
    static ints before_zip(ints value) {
        return _mm256_permute4x64_epi64(value, 0xD8);
    }
    static ints before_two_zips(ints value) {
        return _mm256_permutevar8x32_epi32(value, _mm256_setr_epi32(0, 2, 4, 6, 1, 3, 5, 7));
    }
    static ints zip_8_low(ints value) {
        return _mm256_unpacklo_epi8(_mm256_setzero_si256(), value);
    }
    static ints zip_8_high(ints value) {
        return _mm256_unpackhi_epi8(_mm256_setzero_si256(), value);
    }
    static ints zip_16_low(ints value) {
        return _mm256_unpacklo_epi16(_mm256_setzero_si256(), value);
    }
    static ints zip_16_high(ints value) {
        return _mm256_unpackhi_epi16(_mm256_setzero_si256(), value);
    }

    static floats to_floats(ints value) {
        return _mm256_cvtepi32_ps(value);
    }
    // One of the factors is a power of two: with the product exact, it makes no difference that
    // nothing is rounded ahead of the sum.
    static floats multiply_add(floats a, floats b, floats c) {
        return _mm256_fmadd_ps(a, b, c);
    }
    static ints cut(floats value) {
        return _mm256_cvttps_epi32(value);
    }
    static ints rounded(floats value) {
        return _mm256_cvtps_epi32(value);
    }
    static ints cut_double_product(const u8* from, double scale) {
        const __m256d factor = _mm256_set1_pd(scale);
        const float* const samples = reinterpret_cast<const float*>(from);
        const __m256d low_half = _mm256_cvtps_pd(_mm_loadu_ps(samples)) * factor;
        const __m256d high_half = _mm256_cvtps_pd(_mm_loadu_ps(samples + 4)) * factor;
        return _mm256_set_m128i(_mm256_cvttpd_epi32(high_half), _mm256_cvttpd_epi32(low_half));
    }
    static void store_double_product(u8* to, ints value, double scale) {
        const __m256d factor = _mm256_set1_pd(scale);
        const __m128i low_half = _mm256_castsi256_si128(value);
        const __m128i high_half = _mm256_extracti128_si256(value, 1);
        float* const target = reinterpret_cast<float*>(to);
        _mm_storeu_ps(target, _mm256_cvtpd_ps(_mm256_cvtepi32_pd(low_half) * factor));
        _mm_storeu_ps(target + 4, _mm256_cvtpd_ps(_mm256_cvtepi32_pd(high_half) * factor));
    }

    static bool any_above(ints a, ints b, ints c, ints d, ints limit) {
        const ints most = _mm256_max_epi32(_mm256_max_epi32(a, b), _mm256_max_epi32(c, d));
        return _mm256_movemask_epi8(_mm256_cmpgt_epi32(most, limit)) != 0;
    }
    static bool any_outside_8(ints a, ints b) {
        const ints half = _mm256_set1_epi16(0x80);
        const ints moved = _mm256_add_epi16(a, half) | _mm256_add_epi16(b, half);
        return _mm256_testz_si256(moved, _mm256_set1_epi16(~0xFF)) == 0;
    }
    static bool any_outside_16(ints a, ints b, ints c, ints d) {
        const ints half = _mm256_set1_epi32(0x8000);
        const ints moved = (_mm256_add_epi32(a, half) | _mm256_add_epi32(b, half)) |
                           (_mm256_add_epi32(c, half) | _mm256_add_epi32(d, half));
        return _mm256_testz_si256(moved, _mm256_set1_epi32(~0xFFFF)) == 0;
    }
};

} // namespace

constinit const conversion_passes avx2_passes = passes<avx2>;

} // namespace halvorin
