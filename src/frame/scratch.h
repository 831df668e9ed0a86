// SPDX-License-Identifier: Zlib
#pragma once

#include "api/frame.h"
#include "path_char.h"

// The two scratch arenas. Each is used from its front to its back and then from the front again;
// nothing is freed. `temporary_buffer` (exported) holds the text of the call in progress,
// `dynamic_buffer` the results that outlive it.
namespace halvorin {

inline constexpr i32 temporary_size = 16384;
inline constexpr i32 dynamic_size = 524288;

// Longest text that fits with its terminator.
inline constexpr i64 longest_text = temporary_size - 1;

extern u8 dynamic_buffer[dynamic_size];

// Offset of the first free byte: the exact end of the last block. The next start rounds it up.
extern i32 dynamic_pos;

// Replaces the text by a terminated copy in `temporary_buffer`, whose count takes the terminator
// in. False, with nothing changed, when the text is too long.
bool append_character(Slice& text);

// The same for the two texts of one call. Where the second would wrap onto the first, both start
// again at the front of the arena. False when the two don't fit side by side.
bool append_characters(Slice& first, Slice& second);

inline const char* c_string(const Slice& terminated) {
    return static_cast<const char*>(terminated.data);
}

// A path, or the two paths of one call, in the form that the system's file calls take: bytes on
// POSIX systems, UTF-16 on Windows. Null, or false, when they don't fit.
const path_char* native_path(Slice path);
bool native_paths(Slice first, Slice second, const path_char** native_first,
                  const path_char** native_second);

// The path of a directory whose entries are asked for, with a slash behind it: what is left of a
// search pattern where the system needs none. Null when it doesn't fit.
const path_char* native_search(Slice directory);

// Offset in `dynamic_buffer` of the block that system_allocate would give for that size now.
inline i64 next_block(i64 size) {
    const i64 start = (static_cast<i64>(dynamic_pos) + 7) & ~i64{7};
    return start + size > dynamic_size ? 0 : start;
}

// A block of `dynamic_buffer`, at a multiple of 8. Null, with nothing changed, when the size is
// negative or more than the arena holds. The block isn't cleared.
inline void* system_allocate(i64 size) {
    if (size < 0 || size > dynamic_size) return nullptr;
    const i64 start = next_block(size);
    dynamic_pos = static_cast<i32>(start + size);
    return dynamic_buffer + start;
}

// Grows a block: where it stands if it is the last one, else in a new block. The old bytes come
// along. Null, with nothing changed, when the new size is more than the arena holds.
void* system_reallocate(void* block, i64 new_size, i64 old_size);

// Appends to an array of records in `dynamic_buffer` that starts with 8 entries and doubles. The
// three variables are 0 at the start. False, with the array as it was, when the arena can't hold
// the doubled array.
bool add_string(Slice** items, i64* count, i64* capacity, Slice value);

} // namespace halvorin
