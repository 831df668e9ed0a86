// SPDX-License-Identifier: Zlib
#include "audio/memory.h"

#include "api/audio.h"
#include "frame/lent_memory.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

static_assert(sizeof(AudioInfo) == 24 && offsetof(AudioInfo, channels) == 4 &&
              offsetof(AudioInfo, sample_rate) == 8 && offsetof(AudioInfo, size) == 16);
static_assert(sizeof(Wave) == 32 && offsetof(Wave, channels) == 4 &&
              offsetof(Wave, sample_rate) == 8 && offsetof(Wave, size) == 16 &&
              offsetof(Wave, data) == 24);

namespace {

constinit halvorin::lent_memory audio_memory = {
    .memory = nullptr,
    .size = 0,
    .pos = 0,
    .largest_block = INT64_MAX,
    .allocation_failed = "audio memory allocation failed",
    .reallocation_failed = "audio memory reallocation failed",
};

// The block that was taken last, whose size nobody else may know.
constinit void* last_block = nullptr;
constinit i64 last_size = 0;

void* remembered(void* block, i64 size) {
    last_block = block;
    last_size = size;
    return block;
}

} // namespace

void* audio_memory_allocate(i64 size) {
    return remembered(halvorin::lent_allocate(audio_memory, size), size);
}

void* audio_memory_reallocate(void* block, i64 old_size, i64 new_size) {
    return remembered(halvorin::lent_reallocate(audio_memory, block, old_size, new_size), new_size);
}

// An older block ends somewhere below the position: what is copied may be more than its own bytes,
// but is all of them.
void* audio_memory_resize(void* block, i64 new_size) {
    if (block == nullptr) return audio_memory_allocate(new_size);
    if (block == last_block) return audio_memory_reallocate(block, last_size, new_size);
    const i64 most = audio_memory.memory + audio_memory.pos - static_cast<u8*>(block);
    void* const moved = audio_memory_allocate(new_size);
    const i64 kept = most < new_size ? most : new_size;
    if (moved != nullptr && kept > 0) std::memcpy(moved, block, static_cast<size_t>(kept));
    return moved;
}

void audio_set_buffer(i64 size, void* memory) {
    halvorin::lend(audio_memory, size, memory);
}

void audio_set_buffer_position(i64 position) {
    audio_memory.pos = position;
}

i64 audio_get_buffer_position(void) {
    return audio_memory.pos;
}
