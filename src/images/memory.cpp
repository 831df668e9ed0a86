// SPDX-License-Identifier: Zlib
#include "images/memory.h"

#include "api/images.h"
#include "frame/lent_memory.h"

constinit std::jmp_buf* halvorin::load_exit = nullptr;

namespace {

// The decoder computes sizes in 32 bits. Blocks below this keep the sizes that it derives from
// them, at most eight times as large, from wrapping round to a small one.
constexpr i64 largest_block = (i64{1} << 30) - 1;

constinit halvorin::lent_memory image_memory = {
    .memory = nullptr,
    .size = 0,
    .pos = 0,
    .largest_block = largest_block,
    .allocation_failed = "image memory allocation failed",
    .reallocation_failed = "image memory reallocation failed",
};

// The decoder doesn't get over a refused block everywhere: it goes on with null, takes the refusal
// for another format, or asks again. So the load ends at the first one. Between here and the load
// there is nothing but the decoder's own frames, which hold memory of this buffer alone.
void* granted(void* block) {
    if (block == nullptr && halvorin::load_exit != nullptr) {
        std::longjmp(*halvorin::load_exit, 1);
    }
    return block;
}

} // namespace

void* image_memory_allocate(i64 size) {
    return granted(halvorin::lent_allocate(image_memory, size));
}

void* image_memory_reallocate(void* block, i64 old_size, i64 new_size) {
    return granted(halvorin::lent_reallocate(image_memory, block, old_size, new_size));
}

void image_set_buffer(i64 size, void* memory) {
    halvorin::lend(image_memory, size, memory);
}

void image_set_buffer_position(i64 position) {
    image_memory.pos = position;
}

i64 image_get_buffer_position(void) {
    return image_memory.pos;
}
