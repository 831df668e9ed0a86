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

namespace {

void* const nowhere = reinterpret_cast<void*>(1);
constexpr i64 refused = -1;

std::string sample(i64 length) {
    std::string text(static_cast<size_t>(std::max<i64>(length, 0)), '\0');
    std::generate(text.begin(), text.end(),
                  [i = 0]() mutable { return static_cast<char>('a' + i++ % 23); });
    return text;
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
    std::string expected(temporary_size, '\xA5');
    expected.replace(static_cast<size_t>(start), bytes.size(), bytes);
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), std::begin(temporary_buffer),
                           [](char a, u8 b) { return static_cast<u8>(a) == b; }));
}

bool append_search(Slice& text) {
    const path_char* const path = native_search(text);
    if (path != nullptr) text.data = const_cast<path_char*>(path);
    return path != nullptr;
}

TEST(Scratch, TextsStayUpToTheExactEndAndThenStartAgain) {
    struct place {
        i32 pos;
        i64 length, start;
    };
    const struct {
        bool (*append)(Slice&);
        std::string end;
        std::vector<place> places;
    } calls[] = {{append_character,
                  std::string(1, '\0'),
                  {{0, 0, 0},
                   {1, 16382, 1},
                   {1, 16383, 0},
                   {16000, 383, 16000},
                   {16000, 384, 0},
                   {16383, 0, 16383},
                   {16384, 0, 0},
                   {7, INT64_MIN, 7},
                   {-1, 5, 0},
                   {20000, 5, 0},
                   {0, 16384, refused},
                   {9, INT64_MAX, refused}}},
                 {append_search,
                  std::string("/", 2),
                  {{16000, 382, 16000},
                   {16000, 383, 0},
                   {5, 16382, 0},
                   {0, 16383, refused},
                   {0, INT64_MAX, refused},
                   {3, -5, 3}}}};
    for (const auto& call : calls) {
        for (const place& p : call.places) {
            SCOPED_TRACE(testing::Message() << p.pos << " " << p.length);
            clear_arena(p.pos);
            const std::string content = sample(p.start == refused ? 0 : p.length);
            const guarded_text source(content);
            Slice text = {content.empty() ? nowhere : source.slice().data, p.length};
            ASSERT_EQ(call.append(text), p.start != refused);
            if (p.start == refused) {
                EXPECT_EQ(text.data, nowhere);
                expect_alone(p.pos, "");
            } else {
                EXPECT_EQ(offset_of(text.data), p.start);
                expect_alone(p.start, content + call.end);
            }
        }
    }
}

TEST(Scratch, TwoTextsStandApartOrAreRefusedTogether) {
    const struct {
        i32 pos;
        i64 first, second, first_start, second_start;
    } cases[] = {{0, 5, 7, 0, 6},
                 {100, 8191, 8091, 100, 8292}, // the second ends at the arena's end
                 {100, 8191, 8092, 0, 8192},   // one more, and it would come down on the first
                 {8192, 8191, 8191, 8192, 0},  // it wraps and ends where the first begins
                 {8191, 8191, 8191, 0, 8192},  // one byte into the first
                 {16000, 500, 100, 0, 501},    // the first wraps by itself
                 {5000, 16382, 0, 0, 16383},
                 {5000, 8191, 8192, refused, 0},
                 {0, 16384, 0, refused, 0},
                 {0, 1, INT64_MAX, refused, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.pos << " " << c.first << " " << c.second);
        clear_arena(c.pos);
        const bool fits = c.first_start != refused;
        std::string first_content = sample(fits ? c.first : 0);
        std::string second_content = sample(fits ? c.second : 0);
        std::reverse(second_content.begin(), second_content.end());
        Slice first = {fits ? first_content.data() : nowhere, c.first};
        Slice second = {fits ? second_content.data() : nowhere, c.second};
        ASSERT_EQ(append_characters(first, second), fits);
        if (fits) {
            EXPECT_EQ(offset_of(first.data), c.first_start);
            EXPECT_EQ(offset_of(second.data), c.second_start);
            EXPECT_EQ(text_of(first), first_content + '\0');
            EXPECT_EQ(text_of(second), second_content + '\0');
            EXPECT_EQ(temporary_pos, c.second_start + c.second + 1);
        } else {
            expect_alone(c.pos, "");
        }
    }
}

// The bytes of a wide text.
std::string widened(Slice text) {
    const u16* const units = to_wide_cstr(text);
    return {reinterpret_cast<const char*>(units),
            reinterpret_cast<const char*>(temporary_buffer) + temporary_pos};
}

// A host may hand back what it finds in the arena. Every overlap of texts and places comes up.
TEST(Scratch, TextsThatLieInTheArenaItselfAreReadBeforeTheyAreOverwritten) {
    std::mt19937 random(3);
    const auto text_in_arena = [&]() -> Slice {
        return {temporary_buffer + random() % 8000, static_cast<i64>(random() % 8000)};
    };
    for (int round = 0; round < 20000; ++round) {
        std::generate(
            std::begin(temporary_buffer), std::end(temporary_buffer), [&, i = 0]() mutable {
                return static_cast<u8>(++i % 64 == 0 ? random() : 'a' + static_cast<u32>(i) % 26);
            });
        const auto pos = static_cast<i32>(random() % (temporary_size + 1));
        Slice first = text_in_arena(), second = text_in_arena();
        std::string first_content = text_of(first), second_content = text_of(second);
        temporary_pos = pos;
        const std::string wide = round % 2 == 0 ? "" : widened(first);
        if (round % 2 == 0) {
            ASSERT_TRUE(append_characters(first, second));
            ASSERT_EQ(text_of(first), first_content + '\0');
            ASSERT_EQ(text_of(second), second_content + '\0');
        } else {
            temporary_pos = pos;
            ASSERT_EQ(wide, widened(slice(first_content)));
        }
    }
}

TEST(Scratch, WideTextTakesTwoBytesAUnitAndTwoForItsEnd) {
    const auto times = [](int count, const std::string& part) {
        std::string text;
        while (count-- > 0) {
            text += part;
        }
        return text;
    };
    const std::string accent = "\xC3\xA9", han = "\xE4\xB8\xAD", // two bytes, three
        emoji = "\xF0\x9F\x98\x80";                              // four, and two units
    const struct {
        i32 pos;
        std::string text;
        i32 start, end;
    } cases[] = {{16382, "", 16382, 16384},
                 {16383, "", 0, 2},
                 {16000, sample(191), 16000, 16384},
                 {16000, sample(192), 0, 386},
                 {16001, times(190, accent), 16001, 16383}, // by its bytes it would have to wrap
                 {16001, times(191, accent), 0, 384},
                 {77, sample(8191), 0, 16384},
                 {0, times(8191, han), 0, 16384},
                 {3, sample(8192), 3, 5}, // too long: empty
                 {3, times(4096, emoji), 3, 5},
                 {16383, times(8192, han), 0, 2},
                 {5, std::string("a\0b", 3), 5, 13},
                 {-7, "a", 0, 4}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.pos << " " << c.text.size());
        clear_arena(c.pos);
        const guarded_text source(c.text);
        const std::string wide = widened(source.slice());
        ASSERT_EQ(temporary_pos, c.end);
        EXPECT_EQ(wide.substr(wide.size() - 2), std::string(2, '\0'));
        expect_alone(c.start, wide);
    }
    for (const i64 count : {i64{0}, INT64_MIN, INT64_MAX, i64{1} << 32}) {
        clear_arena(0);
        EXPECT_EQ(widened({nowhere, count}), std::string(2, '\0')) << count;
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
        const std::string content = sample(c.old_size);
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
