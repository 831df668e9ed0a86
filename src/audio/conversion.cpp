// SPDX-License-Identifier: Zlib
#include "audio/conversion_kernels.h"

#include "frame/boundary.h"

#include <atomic>
#include <cpuid.h>
#include <iterator>
#include <xmmintrin.h>

namespace halvorin {
namespace {

struct sample_form {
    sample_kind kind;
    bool is_unsigned;
};

constexpr sample_form forms[] = {
    {ONE_BYTE, true},    // SAMPLE_FORMAT_U8
    {TWO_BYTES, true},   // SAMPLE_FORMAT_U16
    {FOUR_BYTES, true},  // SAMPLE_FORMAT_U32
    {ONE_BYTE, false},   // SAMPLE_FORMAT_S8
    {TWO_BYTES, false},  // SAMPLE_FORMAT_S16
    {FOUR_BYTES, false}, // SAMPLE_FORMAT_S32
    {REAL, false},       // SAMPLE_FORMAT_F32
};
static_assert(std::size(forms) == SAMPLE_FORMAT_F32 + 1);

constexpr i64 widths[] = {1, 2, 4, 4};
constexpr u32 top_bits[] = {0x80808080, 0x80008000, 0x80000000};

// The floating-point modes of the passes from floats, by target, and to floats. Every exception is
// masked. Subnormal floats become what 0 becomes, and no quotient is subnormal: taking them for 0
// spares the processor's slow way.
constexpr u32 to_nearest = 0x1F80 | 0x8000 | 0x0040;
constexpr u32 downwards = to_nearest | 0x2000;
constexpr u32 toward_zero = to_nearest | 0x6000;
constexpr u32 modes[] = {toward_zero, toward_zero, downwards, to_nearest};

// Numbers outside the table count as unsigned of two bytes.
sample_form form_of(u8 format) {
    return format <= SAMPLE_FORMAT_F32 ? forms[format] : forms[SAMPLE_FORMAT_U16];
}

// The pass is called through a pointer that the compiler can't see through, so that none of its
// arithmetic leaves the span in which the mode is ours. The host gets its own back, raised
// exceptions and all.
void in_mode(u32 mode, conversion_pass pass, u8* data, i64 count, u32 mask) {
    const u32 mode_of_host = _mm_getcsr();
    _mm_setcsr(mode);
    pass(data, count, mask);
    _mm_setcsr(mode_of_host);
}

void convert_samples(u8* data, i64 count, sample_form from, sample_form to,
                     const conversion_passes& passes) {
    const sample_kind narrower = from.kind < to.kind ? from.kind : to.kind;
    const u32 mask = from.is_unsigned != to.is_unsigned ? top_bits[narrower] : 0;
    if (count <= 0 || (from.kind == to.kind && mask == 0)) return;
    const conversion_pass pass = passes.between[from.kind][to.kind];
    if (from.kind != REAL && to.kind != REAL) {
        pass(data, count, mask);
    } else {
        in_mode(modes[to.kind], pass, data, count, mask);
    }
}

// Unsigned, so that a senseless size wraps instead of overflowing.
i64 resized(i64 size, i64 from_width, i64 to_width) {
    if (to_width <= from_width) return size / (from_width / to_width);
    return static_cast<i64>(static_cast<u64>(size) * static_cast<u64>(to_width / from_width));
}

// The low half of the register that says which states the operating system saves.
u32 saved_states() {
    u32 low;
    u32 high;
    asm("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return low;
}

// Threads that come here at once store the same pointer.
const conversion_passes& best_passes() {
    constinit static std::atomic<const conversion_passes*> best = nullptr;
    const conversion_passes* passes = best.load(std::memory_order_relaxed);
    if (passes == nullptr) {
        passes = has_avx2() ? &avx2_passes : &sse2_passes;
        best.store(passes, std::memory_order_relaxed);
    }
    return *passes;
}

} // namespace

bool has_avx2() {
    constexpr u32 basic = bit_OSXSAVE | bit_AVX | bit_FMA;
    constexpr u32 vector_states = 6; // both halves of the vector registers
    u32 a;
    u32 b;
    u32 c;
    u32 d;
    if (!__get_cpuid(1, &a, &b, &c, &d) || (c & basic) != basic) return false;
    if ((saved_states() & vector_states) != vector_states) return false;
    return __get_cpuid_count(7, 0, &a, &b, &c, &d) && (b & bit_AVX2) != 0;
}

void convert_wave(Wave& wave, u8 format, const conversion_passes& passes) {
    if (wave.format == format) return;
    const sample_form from = form_of(wave.format);
    const sample_form to = form_of(format);
    const i64 from_width = widths[from.kind];
    convert_samples(static_cast<u8*>(wave.data), wave.size / from_width, from, to, passes);
    wave.format = format;
    wave.size = resized(wave.size, from_width, widths[to.kind]);
}

} // namespace halvorin

void audio_wave_convert(Wave* wave, u8 format) {
    halvorin::convert_wave(*wave, halvorin::low_bits(format), halvorin::best_passes());
}
