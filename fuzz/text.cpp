// SPDX-License-Identifier: Zlib
#include "fuzzing.h"

#include "frame/scratch.h"
#include "platform/text.h"

// Text of any bytes into UTF-16 and into the arenas, at any fill of these, from outside and out of
// the arena itself.

using namespace fuzzing;
using namespace halvorin;

namespace {

// One form of a character: its first byte, its length, and what its second byte may be.
struct form {
    u8 first;
    u8 last;
    int length;
    u8 least;
    u8 most;
};

constexpr form forms[] = {
    {0x00, 0x7F, 1, 0, 0},       {0xC2, 0xDF, 2, 0x80, 0xBF}, {0xE0, 0xE0, 3, 0xA0, 0xBF},
    {0xE1, 0xEC, 3, 0x80, 0xBF}, {0xED, 0xED, 3, 0x80, 0x9F}, {0xEE, 0xEF, 3, 0x80, 0xBF},
    {0xF0, 0xF0, 4, 0x90, 0xBF}, {0xF1, 0xF3, 4, 0x80, 0xBF}, {0xF4, 0xF4, 4, 0x80, 0x8F},
};

struct character {
    u32 value;
    int length;
};

// The character at a place, or the replacement for the longest part of one.
character character_at(const u8* text, size_t left) {
    for (const form& f : forms) {
        if (text[0] < f.first || text[0] > f.last) continue;
        constexpr u8 lead_bits[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
        u32 value = text[0] & lead_bits[f.length];
        for (int i = 1; i < f.length; ++i) {
            const u8 least = i == 1 ? f.least : 0x80;
            const u8 most = i == 1 ? f.most : 0xBF;
            const auto at = static_cast<size_t>(i);
            if (at >= left || text[at] < least || text[at] > most) return {0xFFFD, i};
            value = value << 6 | (text[at] & 0x3F);
        }
        return {value, f.length};
    }
    return {0xFFFD, 1};
}

std::vector<u16> in_utf16(const bytes& text) {
    std::vector<u16> units;
    for (size_t at = 0; at < text.size();) {
        const character c = character_at(&text[at], text.size() - at);
        if (c.value >= 0x10000) {
            units.push_back(static_cast<u16>(0xD800 + ((c.value - 0x10000) >> 10)));
            units.push_back(static_cast<u16>(0xDC00 + (c.value & 0x3FF)));
        } else {
            units.push_back(static_cast<u16>(c.value));
        }
        at += static_cast<size_t>(c.length);
    }
    return units;
}

bool are_units(const void* memory, const std::vector<u16>& units) {
    return units.empty() || std::memcmp(memory, units.data(), units.size() * 2) == 0;
}

Slice slice_of(const bytes& text) {
    return {const_cast<u8*>(text.data()), static_cast<i64>(text.size())};
}

void check_conversion(const bytes& text, u8 offset) {
    const std::vector<u16> expected = in_utf16(text);
    const i64 count = static_cast<i64>(text.size());
    require(utf16_length(text.data(), count) == static_cast<i64>(expected.size()),
            "the length is known ahead");
    const size_t start = offset % 16;
    bytes target(start + expected.size() * 2);
    require(utf16_convert(text.data(), count, target.data() + start) ==
                static_cast<i64>(expected.size()),
            "as many units are written");
    require(are_units(target.data() + start, expected), "the units are right");
}

bool is_within(const void* block, size_t size) {
    const auto* const first = static_cast<const u8*>(block);
    return first >= temporary_buffer && first + size <= temporary_buffer + temporary_size;
}

// A text of the arena's own, or the one from outside.
Slice place(const bytes& text, bool in_arena, u16 offset) {
    if (!in_arena || text.size() > temporary_size) return slice_of(text);
    u8* const at = temporary_buffer + offset % (temporary_size - text.size() + 1);
    std::copy(text.begin(), text.end(), at);
    return {at, static_cast<i64>(text.size())};
}

void check_wide(const bytes& text, Slice placed) {
    std::vector<u16> expected = in_utf16(text);
    constexpr size_t longest = temporary_size / 2 - 1;
    if (expected.size() > longest) expected.clear();
    expected.push_back(0);
    const u16* const wide = to_wide_cstr(placed);
    require(is_within(wide, expected.size() * 2) && are_units(wide, expected),
            "the wide text is whole, and in the arena");
    require(reinterpret_cast<const u8*>(wide + expected.size()) == temporary_buffer + temporary_pos,
            "the position is behind the wide text");
}

bool is_copy(Slice copy, const bytes& text) {
    const auto* const first = static_cast<const u8*>(copy.data);
    return copy.count == static_cast<i64>(text.size()) + 1 && is_within(first, text.size() + 1) &&
           std::equal(text.begin(), text.end(), first) && first[text.size()] == 0;
}

void check_append(const bytes& text, Slice placed) {
    const i32 position = temporary_pos;
    const Slice before = placed;
    if (!append_character(placed)) {
        require(text.size() > longest_text, "only texts that are too long are refused");
        require(placed.data == before.data && temporary_pos == position, "nothing has changed");
        return;
    }
    require(is_copy(placed, text), "the copy is the text and its end");
    require(static_cast<u8*>(placed.data) + placed.count == temporary_buffer + temporary_pos,
            "the position is behind the copy");
}

void check_two(const bytes& first_text, const bytes& second_text, Slice first, Slice second) {
    const i32 position = temporary_pos;
    if (!append_characters(first, second)) {
        require(first_text.size() + second_text.size() + 2 > temporary_size,
                "only texts that are too long together are refused");
        require(temporary_pos == position, "nothing has changed");
        return;
    }
    require(is_copy(first, first_text) && is_copy(second, second_text),
            "both copies are there at once");
    require(static_cast<u8*>(second.data) + second.count == temporary_buffer + temporary_pos,
            "the position is behind the second copy");
}

struct held_block {
    u8* data;
    i64 size;
    u8 content;
};

bool is_intact(const held_block& block, i64 size) {
    return std::all_of(block.data, block.data + size, [&](u8 b) { return b == block.content; });
}

// One block is taken and grown as the input says; it keeps what is in it.
void check_blocks(input from) {
    dynamic_pos = static_cast<i32>(from.number<u32>() % (dynamic_size + 1));
    held_block block = {nullptr, 0, 0};
    while (!from.is_used_up()) {
        const u8 kind = from.byte();
        const i64 size = i64{from.number<u16>()} << (kind >> 5);
        const bool grows = block.data != nullptr && kind % 2 == 1 && size >= block.size;
        void* const data =
            grows ? system_reallocate(block.data, size, block.size) : system_allocate(size);
        require((data == nullptr) == (size > dynamic_size), "only what can't fit is refused");
        if (data == nullptr) continue;
        const held_block next = {static_cast<u8*>(data), size, static_cast<u8>(kind + size)};
        require(next.data >= dynamic_buffer && next.data + size <= dynamic_buffer + dynamic_size &&
                    next.data + size == dynamic_buffer + dynamic_pos,
                "a block lies in the arena, and is the last");
        if (grows)
            require(is_intact({next.data, size, block.content}, block.size), "it grows whole");
        block = next;
        if (size > 0) std::memset(block.data, block.content, static_cast<size_t>(size));
    }
}

bytes repeated(const bytes& piece, size_t times) {
    bytes all;
    for (size_t i = 0; i < times && all.size() + piece.size() <= 20000; ++i) {
        all.insert(all.end(), piece.begin(), piece.end());
    }
    return all;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    input from(data, size);
    const u8 kind = from.byte();
    const u16 offset = from.number<u16>();
    const i32 position = from.number<i32>();
    // In most runs within the arena; the rest is what a host may have stored.
    temporary_pos = (kind & 8) != 0
                        ? position
                        : static_cast<i32>(static_cast<u32>(position) % (temporary_size + 1));
    if (kind % 8 == 4) {
        check_blocks(from);
        return 0;
    }
    const size_t times = 1 + from.number<u16>() % 512;
    const bytes other = repeated(from.block(from.byte()), times);
    const bytes text = repeated(from.rest(), kind & 64 ? times : 1);
    const Slice placed = place(text, (kind & 16) != 0, offset);
    switch (kind % 8) {
    case 0:
    case 1: check_conversion(text, static_cast<u8>(offset)); break;
    case 2: check_wide(text, placed); break;
    case 3: check_append(text, placed); break;
    default: {
        // Placed last, the second text may have come down on the first.
        const Slice second = place(other, (kind & 32) != 0, static_cast<u16>(offset * 7));
        const auto* const start = static_cast<const u8*>(placed.data);
        check_two(bytes(start, start + placed.count), other, placed, second);
    }
    }
    return 0;
}
