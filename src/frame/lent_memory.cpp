// SPDX-License-Identifier: Zlib
#include "frame/lent_memory.h"

#include "frame/failure_line.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace halvorin {
namespace {

constexpr i64 alignment = 8;

void* refuse(const char* words) {
    print_failure_line(words);
    return nullptr;
}

// A position within 7 of the largest number has no multiple above it, and stays.
void align(lent_memory& lent) {
    if (lent.pos <= INT64_MAX - alignment + 1) {
        lent.pos = (lent.pos + alignment - 1) & -alignment;
    }
}

bool is_valid_size(const lent_memory& lent, i64 size) {
    return size >= 0 && size <= lent.largest_block;
}

// Subtracts instead of adding: neither side leaves the range, whatever the host has stored.
bool has_room(const lent_memory& lent, i64 size) {
    const bool within = lent.pos >= 0 && lent.pos <= lent.size;
    return within && is_valid_size(lent, size) && size <= lent.size - lent.pos;
}

// Compares addresses as numbers: with a position from the host the sum need not be one.
bool is_last(const lent_memory& lent, const void* block, i64 size) {
    const u64 end = reinterpret_cast<uintptr_t>(block) + static_cast<u64>(size);
    return end == reinterpret_cast<uintptr_t>(lent.memory) + static_cast<u64>(lent.pos);
}

i64 moved_position(i64 pos, i64 old_size, i64 new_size) {
    i64 growth = 0;
    i64 moved = 0;
    const bool overflow = __builtin_sub_overflow(new_size, old_size, &growth) ||
                          __builtin_add_overflow(pos, growth, &moved);
    return overflow ? INT64_MAX : moved;
}

void* resize_last(lent_memory& lent, void* block, i64 old_size, i64 new_size) {
    lent.pos = moved_position(lent.pos, old_size, new_size);
    if (is_valid_size(lent, new_size) && lent.pos < lent.size) return block;
    lent.pos = std::max(lent.pos, lent.size);
    return refuse(lent.reallocation_failed);
}

} // namespace

void lend(lent_memory& lent, i64 size, void* memory) {
    lent.memory = static_cast<u8*>(memory);
    lent.size = memory != nullptr ? size : 0;
    lent.pos = 0;
}

void* lent_allocate(lent_memory& lent, i64 size) {
    align(lent);
    if (lent.pos % alignment != 0) return refuse(lent.allocation_failed);
    return lent_take(lent, size);
}

void* lent_take(lent_memory& lent, i64 size) {
    if (!has_room(lent, size)) return refuse(lent.allocation_failed);
    u8* const block = lent.memory + lent.pos;
    lent.pos += size;
    return block;
}

// Decoders ask for their first block as the growth of no block. Without memory its end would be
// the position, so it is told apart first.
void* lent_reallocate(lent_memory& lent, void* block, i64 old_size, i64 new_size) {
    if (block != nullptr && is_last(lent, block, old_size)) {
        return resize_last(lent, block, old_size, new_size);
    }
    void* const moved = lent_allocate(lent, new_size);
    const i64 kept = std::min(old_size, new_size);
    if (moved != nullptr && kept > 0) std::memmove(moved, block, static_cast<size_t>(kept));
    return moved;
}

} // namespace halvorin
