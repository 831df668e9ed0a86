// SPDX-License-Identifier: Zlib
// The arithmetic of the two arenas, to the byte. A host would notice a fault in it much later, by
// a path or a result that changed under its hands.
#include "frame/scratch.h"
#include "support/common.h"
#include "support/guarded_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

using namespace halvorin;
using namespace std::string_view_literals;

namespace {

void* const nowhere = reinterpret_cast<void*>(1);
constexpr i64 refused = -1;
std::mt19937 source(3);

i64 below(i64 limit) {
    return static_cast<i64>(source() % static_cast<u64>(limit));
}

// Near the places where something turns.
i64 any_length() {
    constexpr i64 turns[] = {4, 190, 380, 4094, 8188, 8191, 16380, INT64_MAX - 4, INT64_MIN + 4};
    return turns[below(std::size(turns))] + (below(9) - 4);
}

i32 any_position() {
    constexpr i64 turns[] = {4, 8188, 8192, 16000, 16380, 20000, -100};
    return static_cast<i32>(turns[below(std::size(turns))] + below(9) - 4);
}

std::string times(i64 count, std::string_view part) {
    std::string text;
    while (count-- > 0) {
        text += part;
    }
    return text;
}

i64 start_of(i64 pos, i64 size) {
    return pos < 0 || pos + size > 16384 ? 0 : pos;
}

i64 offset_of(const void* place) {
    return static_cast<const u8*>(place) - temporary_buffer;
}

void clear_arena(i32 position) {
    std::fill(std::begin(temporary_buffer), std::end(temporary_buffer), u8{0xA5});
    temporary_pos = position;
}

// The bytes from `start` to the position, and nothing else.
void expect_alone(i64 start, const std::string& bytes) {
    ASSERT_EQ(temporary_pos, start + static_cast<i64>(bytes.size()));
    std::string expected(16384, '\xA5');
    if (!bytes.empty()) expected.replace(static_cast<size_t>(start), bytes.size(), bytes);
    EXPECT_EQ(std::memcmp(expected.data(), temporary_buffer, expected.size()), 0);
}

const void* terminated(Slice text) {
    return append_character(text) ? text.data : nullptr;
}

const void* searched(Slice text) {
    return native_search(text);
}

const void* widened(Slice text) {
    return to_wide_cstr(text);
}

TEST(Scratch, ATextStaysUpToTheExactEndAndThenStartsAgain) {
    const struct {
        const void* (*call)(Slice);
        std::string_view character, placed, end;
    } calls[] = {{terminated, "x", "x", "\0"sv},
                 {searched, "x", "x", "/\0"sv},
                 {widened, "x", "x\0"sv, "\0\0"sv},
                 {widened, "\xC3\xA9", "\xE9\0"sv, "\0\0"sv},
                 {widened, "\xE4\xB8\xAD", "\x2D\x4E", "\0\0"sv},
                 {widened, "\xF0\x9F\x98\x80", "\x3D\xD8\x00\xDE"sv, "\0\0"sv}};
    for (int round = 0; round < 12000; ++round) {
        const auto& c = calls[round % 6];
        const i64 length = any_length();
        const i32 pos = any_position();
        SCOPED_TRACE(testing::Message() << c.character << " " << length << " at " << pos);
        const bool is_text = length > 0 && length < 20000;
        const std::string content = times(is_text ? length : 0, c.character);
        std::string bytes = times(is_text ? length : 0, c.placed) + std::string(c.end);
        const guarded_text guarded(content);
        Slice text = {nowhere, length};
        if (is_text) text = guarded.slice();
        clear_arena(pos);
        const void* const placed = c.call(text);
        if (length > 20000 || bytes.size() > 16384) {
            // A wide text that is too long is an empty one.
            bytes = c.call == widened ? "\0\0"sv : "";
        }
        if (bytes.empty()) {
            EXPECT_EQ(placed, nullptr);
            expect_alone(pos, "");
        } else {
            const i64 start = start_of(pos, static_cast<i64>(bytes.size()));
            EXPECT_EQ(offset_of(placed), start);
            expect_alone(start, bytes);
        }
    }
}

TEST(Scratch, TwoTextsStandApartOrAreRefusedTogether) {
    for (int round = 0; round < 5000; ++round) {
        const i64 sizes[] = {std::max<i64>(any_length(), 0), std::max<i64>(any_length(), 0)};
        const i32 pos = any_position();
        SCOPED_TRACE(testing::Message() << sizes[0] << ", " << sizes[1] << " at " << pos);
        const bool are_texts = sizes[0] < 16384 && sizes[1] < 16384;
        const std::string contents[] = {times(are_texts ? sizes[0] : 0, "1"),
                                        times(are_texts ? sizes[1] : 0, "2")};
        Slice first = {nowhere, sizes[0]}, second = {nowhere, sizes[1]};
        i64 first_start = 0, second_start = 0;
        if (are_texts) {
            first = slice(contents[0]);
            second = slice(contents[1]);
            first_start = start_of(pos, sizes[0] + 1);
            second_start = start_of(first_start + sizes[0] + 1, sizes[1] + 1);
            // The second would come down on the first.
            if (second_start == 0 && sizes[1] + 1 > first_start) {
                first_start = 0;
                second_start = sizes[0] + 1;
            }
        }
        const bool fits = are_texts && second_start + sizes[1] < 16384;
        clear_arena(pos);
        ASSERT_EQ(append_characters(first, second), fits);
        if (fits) {
            EXPECT_EQ(offset_of(first.data), first_start);
            EXPECT_EQ(offset_of(second.data), second_start);
            EXPECT_EQ(text_of(first), contents[0] + '\0');
            EXPECT_EQ(text_of(second), contents[1] + '\0');
            EXPECT_EQ(temporary_pos, second_start + sizes[1] + 1);
        } else {
            EXPECT_EQ(first.count, sizes[0]);
            expect_alone(pos, "");
        }
    }
}

// A host may hand back what it finds in the arena. Every overlap of texts and places comes up.
TEST(Scratch, TextsThatLieInTheArenaItselfAreReadBeforeTheyAreOverwritten) {
    for (int round = 0; round < 20000; ++round) {
        for (int i = 0; i < 16384; ++i) {
            temporary_buffer[i] =
                static_cast<u8>(i % 64 == 0 ? source() : 'a' + static_cast<u32>(i) % 26);
        }
        const auto pos = static_cast<i32>(below(16385));
        temporary_pos = pos;
        Slice first = {temporary_buffer + below(8000), below(8000)};
        Slice second = {temporary_buffer + below(8000), below(8000)};
        const std::string contents[] = {text_of(first), text_of(second)};
        if (round % 2 == 0) {
            ASSERT_TRUE(append_characters(first, second));
            ASSERT_EQ(text_of(first), contents[0] + '\0');
            ASSERT_EQ(text_of(second), contents[1] + '\0');
        } else {
            const auto wide = [](Slice text) {
                const auto* const start = static_cast<const u8*>(widened(text));
                return std::string(start, static_cast<const u8*>(temporary_buffer) + temporary_pos);
            };
            const std::string in_place = wide(first);
            temporary_pos = pos;
            ASSERT_EQ(in_place, wide(slice(contents[0])));
        }
    }
}

TEST(Scratch, BlocksStartAtMultiplesOfEightAndWrapOnlyPastTheEnd) {
    const struct {
        i32 pos;
        i64 size, start;
    } cases[] = {{1, 3, 8},
                 {8, 3, 8},
                 {524224, 64, 524224},
                 {524225, 64, 0},
                 {524288, 1, 0},
                 {8, 524288, 0},
                 {524281, 0, 524288},
                 {5, 524289, refused},
                 {5, -1, refused},
                 {5, INT64_MAX, refused}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.pos << " " << c.size);
        dynamic_pos = c.pos;
        const void* const block = system_allocate(c.size);
        EXPECT_EQ(block, c.start == refused ? nullptr : dynamic_buffer + c.start);
        EXPECT_EQ(dynamic_pos, c.start == refused ? c.pos : c.start + c.size);
    }
}

TEST(Scratch, TheLastBlockGrowsWhereItStandsAndOthersMoveWithTheirBytes) {
    const struct {
        i32 start, old_size, pos; // the block is the last one when its end is `pos`
        i64 new_size, new_start;
        i32 new_pos;
    } cases[] = {{800, 100, 900, 150, 800, 950},
                 {800, 100, 901, 150, 904, 1054},
                 {524000, 200, 524200, 288, 524000, 524288},
                 {524000, 200, 524200, 289, 0, 289},
                 {100000, 300000, 400000, 500000, 0, 500000}, // comes down on itself
                 {8, 300000, 300100, 400000, 0, 400000},
                 {8, 128, 136, 524289, refused, 136}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.start << " " << c.new_size);
        std::string content(static_cast<size_t>(c.old_size), '\0');
        std::generate(content.begin(), content.end(), [] { return static_cast<char>(source()); });
        std::copy(content.begin(), content.end(), dynamic_buffer + c.start);
        dynamic_pos = c.pos;
        const void* const block =
            system_reallocate(dynamic_buffer + c.start, c.new_size, c.old_size);
        EXPECT_EQ(dynamic_pos, c.new_pos);
        ASSERT_EQ(block, c.new_start == refused ? nullptr : dynamic_buffer + c.new_start);
        EXPECT_TRUE(block == nullptr || std::memcmp(block, content.data(), content.size()) == 0);
    }
}

} // namespace
