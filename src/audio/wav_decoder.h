// SPDX-License-Identifier: Zlib
#pragma once

#include "audio/decoder.h"

#include <dr_wav.h>

namespace halvorin {

extern const sound_decoder wav_decoder;

// Creates a WAV file for samples of that stored format, rate and number of channels, which come to
// `size` bytes in all. With `announced` the header says so from the start; else it is told at the
// end what was written. False for channels that a WAV file can't have, with nothing touched, and
// when the file or its header can't be written.
bool create_wav(drwav* wav, const char* path, const AudioInfo& content, bool announced);

// Ends it. False when something of it isn't in the file.
bool finish_wav(drwav* wav);

// Samples of a WAV file have a number of channels in 16 bits.
constexpr bool is_channel_count(i32 channels) {
    return channels >= 1 && channels <= 0xFFFF;
}

} // namespace halvorin
