// SPDX-License-Identifier: Zlib
#ifndef DRFLAC_API
#define DRFLAC_API __attribute__((visibility("default"))) extern
#define FLAC_CALLS flac_calls_any
#endif

#include "audio/decoder_builds.h"
#include "audio/memory.h"

#define DRFLAC_MALLOC(size)         audio_memory_allocate((i64)(size))
#define DRFLAC_REALLOC(block, size) audio_memory_resize((block), (i64)(size))
#define DRFLAC_FREE(block)

// A damaged file must not stop the process.
#define DRFLAC_ASSERT(condition)

#define DR_FLAC_IMPLEMENTATION
#include <dr_flac.h>

static FILE* file_of(const drflac* decoder) {
    drflac_read_proc read = decoder->bs.onRead;
    void* user = decoder->bs.pUserData;
    if (decoder->container == drflac_container_ogg) {
        read = ((const drflac_oggbs*)decoder->_oggbs)->onRead;
        user = ((const drflac_oggbs*)decoder->_oggbs)->pUserData;
    }
    return read == drflac__on_read_stdio ? (FILE*)user : NULL;
}

const flac_calls FLAC_CALLS = {
    drflac_open_file,
    drflac_open_memory,
    drflac_read_pcm_frames_s16,
    drflac_read_pcm_frames_s32,
    drflac_read_pcm_frames_f32,
    drflac_seek_to_pcm_frame,
    drflac_close,
    file_of,
};
