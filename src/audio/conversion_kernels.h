// SPDX-License-Identifier: Zlib
#pragma once

#include "api/audio.h"

// Sample conversion exists twice, for plain x86-64 and for processors with AVX2, from one source
// text (conversion_passes.h). Both give the same bytes.
namespace halvorin {

// Takes `count` samples at `data`, which may stand at any address, from one kind to another in
// place. `mask` has the top bits of the integer samples that are to be inverted, repeated to 32
// bits; where both sides are integers it is laid out for the narrower. A pass from or to floats
// relies on the floating-point mode that convert_wave sets.
using conversion_pass = void (*)(u8* data, i64 count, u32 mask);

enum sample_kind : u8 {
    ONE_BYTE,
    TWO_BYTES,
    FOUR_BYTES,
    REAL
};

struct conversion_passes {
    conversion_pass between[4][4]; // source, target; all but floats to floats
};

extern const conversion_passes sse2_passes;
extern const conversion_passes avx2_passes;

// Asks the processor and the operating system. FMA, which the passes use too, has come with AVX2 on
// all but a few processors; those count as without.
bool has_avx2();

// What audio_wave_convert does, with passes of the caller's choice.
void convert_wave(Wave& wave, u8 format, const conversion_passes& passes);

} // namespace halvorin
