// SPDX-License-Identifier: Zlib

// The same for processors with AVX2. Its names stay inside.
#define DRFLAC_API static
#define FLAC_CALLS flac_calls_avx2
#include "dr_flac.c"
