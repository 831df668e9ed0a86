// SPDX-License-Identifier: Zlib
#pragma once

#include "audio/decoder.h"

namespace halvorin {

extern const sound_decoder flac_decoder;

} // namespace halvorin
