// SPDX-License-Identifier: Zlib
#pragma once

#include "audio/decoder.h"

#include <dr_wav.h>

namespace halvorin {

extern const sound_decoder wav_decoder;

// Creates a WAV file for samples of that stored format, rate and number of channels, which come to
// `size` bytes in all. With `announced` the header says so from the start; else drwav_uninit, which
// ends the file, goes back and tells what was written. False for channels that a WAV file can't
// have, with nothing touched, and when the file can't be created.
bool create_wav(drwav* wav, const char* path, const AudioInfo& content, bool announced);

// Samples of a WAV file have a number of channels in 16 bits.
constexpr bool is_channel_count(i32 channels) {
    return channels >= 1 && channels <= 0xFFFF;
}

} // namespace halvorin
