// SPDX-License-Identifier: Zlib
#pragma once

#include "fuzzing.h"

namespace fuzzing {

// Loads a sound, or reads and seeks in it as a stream, as the first bytes of the input say. Some
// inputs say that `mend_sums` goes over the file before: a decoder that looks at check sums gets no
// further without it. `extension` chooses the decoder where the sound comes from a file.
void run_sound(input from, const char* extension, void (*mend_sums)(bytes& file));

} // namespace fuzzing
