// SPDX-License-Identifier: Zlib

// The same for processors with AVX2. Its names stay inside.
#define DRWAV_API     static
#define DRWAV_PRIVATE static
#define WAV_CALLS     wav_calls_avx2
#include "dr_wav.c"
