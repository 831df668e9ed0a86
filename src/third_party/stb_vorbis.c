// SPDX-License-Identifier: Zlib

// The one decoder whose memory is the heap's. Asserts are out: a damaged file must not stop the
// process. It leaves macros of one letter behind, so next to nothing comes after it.
#include "audio/decoder_builds.h"

#define STB_VORBIS_NO_PUSHDATA_API

#pragma GCC visibility push(default)
#include <stb_vorbis.c>
#pragma GCC visibility pop

FILE* vorbis_file(const void* decoder) {
    return ((const stb_vorbis*)decoder)->f;
}
