// SPDX-License-Identifier: Zlib
#pragma once

#include "api/audio_waves.h"
#include "audio/formats.h"
#include "audio/memory.h"

#include <cstdio>

// What waves and streams ask of a decoder. There is one for each kind of file.
namespace halvorin {

// A file, by its terminated path, or the bytes of one where there is no path.
struct sound_source {
    const char* path;
    const void* bytes;
    i64 size;
};

struct sound_shape {
    i32 channels;
    i32 sample_rate;
    u64 frames; // 0 also where the file doesn't say
};

struct sound_decoder {
    // What samples of 32 bits come as, floats apart; those of 8 and 16 bits come as S16.
    sample_format wide_output;

    // Decodes all of a sound in one of the decoder's outputs. Null data on failure, and then
    // nothing else counts.
    Wave (*load)(const sound_source& source, sample_format output);

    // For block by block. Null on failure.
    void* (*open)(const sound_source& source);
    sound_shape (*shape)(const void* decoder);
    u64 (*read)(void* decoder, sample_format output, u64 frames, void* destination);
    bool (*seek)(void* decoder, u64 frame);
    void (*close)(void* decoder);

    // What it reads from, or null for bytes.
    std::FILE* (*file)(const void* decoder);
};

// A file that breaks off is all there is of a sound. One that can't be read any further isn't, but
// the decoders don't tell the two apart, and go on behind the gap if they can.
inline bool reading_has_failed(const sound_decoder& decoder, const void* opened) {
    std::FILE* const file = decoder.file(opened);
    return file != nullptr && std::ferror(file) != 0;
}

// Fills a wave, whose format is one of the outputs, with as many frames as the file says that there
// are, of which it may hold fewer. Null data where the buffer has no room for them.
inline void read_announced(Wave* wave, const sound_decoder& decoder, void* opened, u64 frames) {
    i64 size = 0;
    if (__builtin_mul_overflow(frames, bytes_a_frame(*wave), &size)) return;
    wave->data = audio_memory_allocate(size);
    if (wave->data == nullptr) return;
    const u64 count = decoder.read(opened, wave->format, frames, wave->data);
    wave->size = static_cast<i64>(count) * bytes_a_frame(*wave);
}

// The decoder's output that is at least as wide as the format and needs no change of width where
// the format has more than 8 bits.
inline sample_format output_for(const sound_decoder& decoder, sample_format wanted) {
    switch (wanted) {
    case SAMPLE_FORMAT_F32: return SAMPLE_FORMAT_F32;
    case SAMPLE_FORMAT_U32:
    case SAMPLE_FORMAT_S32: return decoder.wide_output;
    default: return SAMPLE_FORMAT_S16;
    }
}

} // namespace halvorin
