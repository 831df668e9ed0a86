// SPDX-License-Identifier: Zlib
#include "images/memory.h"

// Sizes come as ints that may have wrapped: widened with their sign, they are refused.
#define STBI_MALLOC(size) image_memory_allocate((i64)(size))
#define STBI_REALLOC_SIZED(block, old_size, new_size)                                              \
    image_memory_reallocate(block, (i64)(old_size), (i64)(new_size))
#define STBI_FREE(block)

// The flip switch is one plain variable, as the one for saving is. A variable for each thread would
// also come from the heap at a thread's first load.
#define STBI_NO_THREAD_LOCALS

// A damaged file must not stop the process.
#define STBI_ASSERT(condition)

#define STBI_NO_HDR
#define STBI_NO_LINEAR
#define STBI_NO_FAILURE_STRINGS
#define STBIDEF __attribute__((visibility("default"))) extern
#define STB_IMAGE_IMPLEMENTATION
#include "stb_image.h"
