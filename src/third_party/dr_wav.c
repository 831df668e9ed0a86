// SPDX-License-Identifier: Zlib
#ifndef DRWAV_API
#define DRWAV_API     __attribute__((visibility("default"))) extern
#define DRWAV_PRIVATE static
#define WAV_CALLS     wav_calls_any
#endif

#include "audio/decoder_builds.h"
#include "audio/memory.h"

#define DRWAV_MALLOC(size)         audio_memory_allocate((i64)(size))
#define DRWAV_REALLOC(block, size) audio_memory_resize((block), (i64)(size))
#define DRWAV_FREE(block)

// A damaged file must not stop the process.
#define DRWAV_ASSERT(condition)

#define DR_WAV_IMPLEMENTATION
#include <dr_wav.h>

const wav_calls WAV_CALLS = {
    drwav_read_pcm_frames_s16,
    drwav_read_pcm_frames_s32,
    drwav_read_pcm_frames_f32,
};
