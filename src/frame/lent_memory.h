// SPDX-License-Identifier: Zlib
#pragma once

#include "api/types.h"

// Blocks out of memory that the host has lent to a family: a position that the family only moves
// up, and the host alone moves back.
namespace halvorin {

struct lent_memory {
    u8* memory;
    i64 size;
    i64 pos; // where the next block begins; the host may have stored any number
    i64 largest_block;
    const char* allocation_failed;
    const char* reallocation_failed;
};

void lend(lent_memory& lent, i64 size, void* memory);

// A block at the next multiple of 8, which the position takes even if there is no room behind it.
// Null, with the family's line on standard output, when the block would end behind the memory, or
// when the size is negative or above the largest.
void* lent_allocate(lent_memory& lent, i64 size);

// A block that begins exactly at the position. Null and the line as above; the position stays.
void* lent_take(lent_memory& lent, i64 size);

// Resizes a block: where it stands if it is the last one, else in a new block, with the old bytes
// brought along. A last block has to end below the end of the memory, not at it. Null and the line
// otherwise; the position is then at the end of the memory or above, so that nothing is given out
// until the host moves it back.
void* lent_reallocate(lent_memory& lent, void* block, i64 old_size, i64 new_size);

} // namespace halvorin
