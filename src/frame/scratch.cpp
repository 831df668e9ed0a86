// SPDX-License-Identifier: Zlib
#include "frame/scratch.h"

#include "platform/text.h"

#include <cstring>

// Aligned for the lists of numbers that some calls build at offset 0 and hand on as an array.
alignas(16) constinit u8 temporary_buffer[halvorin::temporary_size] = {};
constinit i32 temporary_pos = 0;

namespace halvorin {

alignas(16) constinit u8 dynamic_buffer[dynamic_size] = {};
constinit i32 dynamic_pos = 0;

namespace {

i64 length_of(Slice text) {
    return text.count > 0 ? text.count : 0;
}

// Where a block of `temporary_buffer` goes that follows `pos`. A position that the host has set
// outside the arena counts as its end.
i64 temporary_start(i64 pos, i64 size) {
    return pos < 0 || pos + size > temporary_size ? 0 : pos;
}

// Whether a block of `temporary_buffer` lies over a text, which a host may have put there.
bool lies_under(Slice text, i64 start, i64 size) {
    const auto bytes = reinterpret_cast<uintptr_t>(text.data);
    const auto target = reinterpret_cast<uintptr_t>(temporary_buffer + start);
    return length_of(text) > 0 && bytes < target + static_cast<u64>(size) &&
           target < bytes + static_cast<u64>(text.count);
}

void terminate_at(Slice& text, i64 start) {
    const i64 length = length_of(text);
    u8* const target = temporary_buffer + start;
    if (length > 0) std::memmove(target, text.data, static_cast<size_t>(length));
    target[length] = 0;
    text = {target, length + 1};
}

// Where the two go that stand apart. They start again at the front together when the second would
// come down on the first.
bool place_pair(i64 first_size, i64 second_size, i64* first_start, i64* second_start) {
    *first_start = temporary_start(temporary_pos, first_size);
    *second_start = temporary_start(*first_start + first_size, second_size);
    if (*second_start == 0 && second_size > *first_start) {
        *first_start = 0;
        *second_start = first_size;
    }
    return *second_start + second_size <= temporary_size;
}

// The copy of the first text would come down on the second before that is read.
[[gnu::noinline]] void terminate_crossing(Slice& first, i64 first_start, Slice& second,
                                          i64 second_start) {
    u8 kept[longest_text];
    std::memcpy(kept, second.data, static_cast<size_t>(second.count));
    second.data = kept;
    terminate_at(first, first_start);
    terminate_at(second, second_start);
}

constexpr i64 longest_wide_text = temporary_size / 2 - 1;

// Most texts fit whatever they hold; only near the end of the arena the exact size matters.
i64 wide_start(const u8* text, i64 count) {
    if (temporary_start(temporary_pos, 2 * count + 2) == temporary_pos) return temporary_pos;
    return temporary_start(temporary_pos, 2 * utf16_length(text, count) + 2);
}

u16* wide_text(const u8* text, i64 count, i64 start) {
    u8* const target = temporary_buffer + start;
    const i64 size = 2 * utf16_convert(text, count, target) + 2;
    target[size - 2] = 0;
    target[size - 1] = 0;
    temporary_pos = static_cast<i32>(start + size);
    // The address may be odd: the host reads it as its platform's calls do.
    return static_cast<u16*>(static_cast<void*>(target));
}

// A text inside the arena that its own conversion would overwrite while it is being read.
[[gnu::noinline]] u16* wide_text_in_place(const u8* text, i64 count, i64 start) {
    u8 kept[longest_wide_text * most_bytes_per_unit];
    std::memcpy(kept, text, static_cast<size_t>(count));
    return wide_text(kept, count, start);
}

} // namespace

bool append_character(Slice& text) {
    const i64 length = length_of(text);
    if (length > longest_text) return false;
    const i64 start = temporary_start(temporary_pos, length + 1);
    terminate_at(text, start);
    temporary_pos = static_cast<i32>(start + length + 1);
    return true;
}

bool append_characters(Slice& first, Slice& second) {
    const i64 first_length = length_of(first);
    const i64 second_length = length_of(second);
    if (first_length > longest_text || second_length > longest_text) return false;
    i64 first_start = 0;
    i64 second_start = 0;
    if (!place_pair(first_length + 1, second_length + 1, &first_start, &second_start)) return false;
    if (lies_under(second, first_start, first_length + 1)) {
        terminate_crossing(first, first_start, second, second_start);
    } else {
        terminate_at(first, first_start);
        terminate_at(second, second_start);
    }
    temporary_pos = static_cast<i32>(second_start + second_length + 1);
    return true;
}

const path_char* native_path(Slice path) {
    return append_character(path) ? c_string(path) : nullptr;
}

bool native_paths(Slice first, Slice second, const path_char** native_first,
                  const path_char** native_second) {
    if (!append_characters(first, second)) return false;
    *native_first = c_string(first);
    *native_second = c_string(second);
    return true;
}

const path_char* native_search(Slice directory) {
    const i64 length = length_of(directory);
    if (length > longest_text - 1) return nullptr;
    const i64 size = length + 2;
    const i64 start = temporary_start(temporary_pos, size);
    u8* const target = temporary_buffer + start;
    if (length > 0) std::memmove(target, directory.data, static_cast<size_t>(length));
    target[length] = '/';
    target[length + 1] = 0;
    temporary_pos = static_cast<i32>(start + size);
    return reinterpret_cast<const path_char*>(target);
}

void* system_reallocate(void* block, i64 new_size, i64 old_size) {
    if (new_size < 0 || new_size > dynamic_size) return nullptr;
    const auto kept = static_cast<size_t>(old_size < new_size ? old_size : new_size);
    if (static_cast<u8*>(block) + old_size != dynamic_buffer + dynamic_pos) {
        return std::memmove(system_allocate(new_size), block, kept);
    }
    const i64 new_end = dynamic_pos + new_size - old_size;
    if (new_end <= dynamic_size) {
        dynamic_pos = static_cast<i32>(new_end);
        return block;
    }
    dynamic_pos = static_cast<i32>(new_size);
    return std::memmove(dynamic_buffer, block, kept);
}

bool add_string(Slice** items, i64* count, i64* capacity, Slice value) {
    constexpr auto entry = static_cast<i64>(sizeof(Slice));
    if (*capacity == 0) {
        *capacity = 8;
        *items = static_cast<Slice*>(system_allocate(8 * entry));
    }
    if (*count >= *capacity) {
        const i64 size = *capacity * entry;
        void* const grown = system_reallocate(*items, 2 * size, size);
        if (grown == nullptr) return false;
        *items = static_cast<Slice*>(grown);
        *capacity *= 2;
    }
    (*items)[(*count)++] = value;
    return true;
}

} // namespace halvorin

using namespace halvorin;

// No text of more bytes fits the arena, whatever they are, so a longer one isn't read at all.
u16* to_wide_cstr(Slice text) {
    const auto* bytes = static_cast<const u8*>(text.data);
    i64 count = length_of(text);
    if (count > longest_wide_text * most_bytes_per_unit ||
        (count > longest_wide_text && utf16_length(bytes, count) > longest_wide_text)) {
        count = 0;
    }
    const i64 start = wide_start(bytes, count);
    // At most two bytes for each of the text, which is where the block can reach.
    if (count > 0 && lies_under({text.data, count}, start, 2 * count + 2)) {
        return wide_text_in_place(bytes, count, start);
    }
    return wide_text(bytes, count, start);
}
