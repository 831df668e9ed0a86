// SPDX-License-Identifier: Zlib
#include "sounds.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzzing::run_sound({data, size}, "wav", [](fuzzing::bytes&) {});
    return 0;
}
