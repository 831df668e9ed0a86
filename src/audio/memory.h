/* SPDX-License-Identifier: Zlib */
#pragma once

/* What whole sounds and the WAV and FLAC decoders take their memory from. Read by the decoders' own
 * units too, which are C. */

#include "api/types.h"

HALVORIN_EXTERN void* audio_memory_allocate(i64 size);
HALVORIN_EXTERN void* audio_memory_reallocate(void* block, i64 old_size, i64 new_size);

/* For those who don't know the size that the block has. */
HALVORIN_EXTERN void* audio_memory_resize(void* block, i64 new_size);
