// SPDX-License-Identifier: Zlib
#pragma once

#include "audio/decoder.h"

namespace halvorin {

extern const sound_decoder vorbis_decoder;

} // namespace halvorin
