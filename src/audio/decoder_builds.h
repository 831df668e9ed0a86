/* SPDX-License-Identifier: Zlib */
#pragma once

/* The WAV and FLAC decoders are built twice from one text, for every processor and for those with
 * AVX2: 24 bits come out there in a third of the time, FLAC in three quarters. Both builds work on
 * the same objects, but a drflac is ended by the build that made it. Read by the decoders' own
 * units too, which are C. */

#include "api/types.h"

#include <dr_flac.h>
#include <dr_wav.h>

#include <stdio.h>

typedef struct wav_calls {
    __typeof__(drwav_read_pcm_frames_s16)* read_s16;
    __typeof__(drwav_read_pcm_frames_s32)* read_s32;
    __typeof__(drwav_read_pcm_frames_f32)* read_f32;
} wav_calls;

typedef struct flac_calls {
    __typeof__(drflac_open_file)* open_file;
    __typeof__(drflac_open_memory)* open_memory;
    __typeof__(drflac_read_pcm_frames_s16)* read_s16;
    __typeof__(drflac_read_pcm_frames_s32)* read_s32;
    __typeof__(drflac_read_pcm_frames_f32)* read_f32;
    __typeof__(drflac_seek_to_pcm_frame)* seek;
    __typeof__(drflac_close)* close;
    FILE* (*file)(const drflac* decoder); /* that it reads from; null for bytes */
} flac_calls;

HALVORIN_EXTERN const wav_calls wav_calls_any;
HALVORIN_EXTERN const wav_calls wav_calls_avx2;
HALVORIN_EXTERN const flac_calls flac_calls_any;
HALVORIN_EXTERN const flac_calls flac_calls_avx2;

/* The same of an stb_vorbis. */
HALVORIN_EXTERN FILE* vorbis_file(const void* decoder);
