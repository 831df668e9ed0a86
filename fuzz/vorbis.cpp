// SPDX-License-Identifier: Zlib
#include "ogg_pages.h"
#include "sounds.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzzing::run_sound({data, size}, "ogg", fuzzing::mend_ogg_sums);
    return 0;
}
