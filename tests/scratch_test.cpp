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
    for (size_t i = 0; i < text.size(); ++i) {
        text[i] = static_cast<char>('a' + i % 23);
    }
    return text;
}

i64 offset_of(const void* place) {
    return static_cast<const u8*>(place) - temporary_buffer;
}

void expect_untouched_outside(i64 start, i64 end) {
    for (i64 i = 0; i < temporary_size; ++i) {
        ASSERT_TRUE((i >= start && i < end) || temporary_buffer[i] == 0xA5) << i;
    }
}

class Scratch : public ::testing::Test {
protected:
    void SetUp() override {
        std::fill(std::begin(temporary_buffer), std::end(temporary_buffer), u8{0xA5});
        temporary_pos = 0;
        dynamic_pos = 0;
    }
    void TearDown() override {
        temporary_pos = 0;
        dynamic_pos = 0;
    }
};

struct place {
    i32 pos;
    i64 length, start;
};

// Texts of these lengths, with that end behind them, that a call puts at these places.
template <size_t Count, class Append>
void expect_places(const place (&places)[Count], const std::string& end, const Append& append) {
    for (const place& p : places) {
        SCOPED_TRACE(testing::Message() << p.pos << " " << p.length);
        std::fill(std::begin(temporary_buffer), std::end(temporary_buffer), u8{0xA5});
        temporary_pos = p.pos;
        const std::string content = sample(p.start == refused ? 0 : p.length);
        const guarded_text source(content);
        Slice text = {content.empty() ? nowhere : source.slice().data, p.length};
        ASSERT_EQ(append(text), p.start != refused);
        if (p.start == refused) {
            EXPECT_EQ(text.data, nowhere);
            EXPECT_EQ(temporary_pos, p.pos);
            expect_untouched_outside(0, 0);
            continue;
        }
        EXPECT_EQ(offset_of(text.data), p.start);
        EXPECT_EQ(std::string(static_cast<char*>(text.data), content.size() + end.size()),
                  content + end);
        EXPECT_EQ(temporary_pos, p.start + static_cast<i64>(content.size() + end.size()));
        expect_untouched_outside(p.start, temporary_pos);
    }
}

TEST_F(Scratch, TerminatedTextStaysUpToTheExactEndAndThenStartsAgain) {
    constexpr place places[] = {
        {0, 0, 0},           {0, 16383, 0},   {1, 16382, 1},       {1, 16383, 0},
        {16000, 383, 16000}, {16000, 384, 0}, {16383, 0, 16383},   {16383, 1, 0},
        {16384, 0, 0},       {16384, 5, 0},   {0, -1, 0},          {7, INT64_MIN, 7},
        {-1, 5, 0},          {20000, 5, 0},   {0, 16384, refused}, {9, INT64_MAX, refused}};
    expect_places(places, std::string(1, '\0'), append_character);
}

TEST_F(Scratch, SearchPathsEndInASlashAndTakeTwoBytesMore) {
    constexpr place places[] = {{0, 0, 0},     {16000, 382, 16000}, {16000, 383, 0},
                                {5, 16382, 0}, {0, 16383, refused}, {0, INT64_MAX, refused},
                                {3, -5, 3}};
    expect_places(places, std::string("/", 2), [](Slice& text) {
        const path_char* const path = native_search(text);
        if (path != nullptr) text.data = const_cast<path_char*>(path);
        return path != nullptr;
    });
}

TEST_F(Scratch, TwoTextsStandApartOrAreRefusedTogether) {
    const struct {
        i32 pos;
        i64 first, second, first_start, second_start;
    } cases[] = {{0, 5, 7, 0, 6},
                 {100, 8191, 8091, 100, 8292}, // the second ends at the arena's end
                 {100, 8191, 8092, 0, 8192},   // one more, and it would come down on the first
                 {8192, 8191, 8191, 8192, 0},  // it wraps and ends where the first begins
                 {8191, 8191, 8191, 0, 8192},  // one byte into the first
                 {16000, 500, 100, 0, 501},    // the first wraps by itself
                 {0, 0, 16382, 0, 1},
                 {5000, 16382, 0, 0, 16383},
                 {5000, 8191, 8192, refused, 0},
                 {0, 16383, 0, refused, 0},
                 {0, 16384, 0, refused, 0},
                 {0, 1, INT64_MAX, refused, 0},
                 {3, INT64_MAX, INT64_MAX, refused, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.pos << " " << c.first << " " << c.second);
        SetUp();
        temporary_pos = c.pos;
        const bool fits = c.first_start != refused;
        std::string first_content = sample(fits ? c.first : 0);
        std::string second_content = sample(fits ? c.second : 0);
        std::reverse(second_content.begin(), second_content.end());
        Slice first = {fits ? first_content.data() : nowhere, c.first};
        Slice second = {fits ? second_content.data() : nowhere, c.second};
        ASSERT_EQ(append_characters(first, second), fits);
        if (!fits) {
            EXPECT_EQ(temporary_pos, c.pos);
            expect_untouched_outside(0, 0);
            continue;
        }
        EXPECT_EQ(offset_of(first.data), c.first_start);
        EXPECT_EQ(offset_of(second.data), c.second_start);
        EXPECT_EQ(text_of(first), first_content + '\0');
        EXPECT_EQ(text_of(second), second_content + '\0');
        EXPECT_EQ(temporary_pos, c.second_start + c.second + 1);
    }
}

// A host may hand back what it finds in the arena. Every overlap of texts and places comes up.
TEST_F(Scratch, TextsThatLieInTheArenaItselfAreReadBeforeTheyAreOverwritten) {
    std::mt19937 random(3);
    const auto below = [&random](i64 limit) {
        return static_cast<i64>(random() % static_cast<u64>(limit));
    };
    for (int round = 0; round < 20000; ++round) {
        std::generate(temporary_buffer, temporary_buffer + temporary_size,
                      [&random, i = 0u]() mutable {
                          return static_cast<u8>(++i % 64 == 0 ? random() : 'a' + i % 26u);
                      });
        temporary_pos = static_cast<i32>(below(temporary_size + 1));
        Slice first = {temporary_buffer + below(8000), 0};
        Slice second = {temporary_buffer + below(8000), below(8000)};
        first.count = below(8000);
        const std::string first_content = text_of(first);
        const std::string second_content = text_of(second);
        if (round % 2 == 0) {
            ASSERT_TRUE(append_characters(first, second));
            ASSERT_EQ(text_of(first), first_content + '\0');
            ASSERT_EQ(text_of(second), second_content + '\0');
        } else {
            const i32 pos = temporary_pos;
            const guarded_text copy(first_content);
            const u16* units = to_wide_cstr(first);
            const std::string in_place(reinterpret_cast<const char*>(units),
                                       static_cast<size_t>(temporary_pos - offset_of(units)));
            temporary_pos = pos;
            units = to_wide_cstr(copy.slice());
            ASSERT_EQ(in_place, std::string(reinterpret_cast<const char*>(units),
                                            static_cast<size_t>(temporary_pos - offset_of(units))));
        }
    }
}

TEST_F(Scratch, WideTextTakesTwoBytesAUnitAndTwoForItsEnd) {
    const auto times = [](int count, const std::string& part) {
        std::string text;
        while (count-- > 0) {
            text += part;
        }
        return text;
    };
    const char *const accent = "\xC3\xA9", *const han = "\xE4\xB8\xAD", // two bytes, three
                                               *const emoji =
                                                   "\xF0\x9F\x98\x80"; // four, and two units
    const struct {
        i32 pos;
        std::string text;
        i32 start, end;
    } cases[] = {{0, "", 0, 2},
                 {16382, "", 16382, 16384},
                 {16383, "", 0, 2},
                 {16000, sample(191), 16000, 16384},
                 {16000, sample(192), 0, 386},
                 {16001, times(190, accent), 16001, 16383}, // by its bytes it would have to wrap
                 {16001, times(191, accent), 0, 384},
                 {77, sample(8191), 0, 16384},
                 {0, times(4095, emoji), 0, 16382},
                 {0, times(8191, han), 0, 16384},
                 {3, sample(8192), 3, 5}, // too long: empty
                 {3, times(4096, emoji), 3, 5},
                 {16383, times(8192, han), 0, 2},
                 {5, std::string("a\0b", 3), 5, 13},
                 {-7, "a", 0, 4}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.pos << " " << c.text.size());
        SetUp();
        temporary_pos = c.pos;
        const guarded_text source(c.text);
        const u16* const units = to_wide_cstr(source.slice());
        EXPECT_EQ(offset_of(units), c.start);
        EXPECT_EQ(temporary_pos, c.end);
        EXPECT_EQ(temporary_buffer[c.end - 1], 0);
        EXPECT_EQ(temporary_buffer[c.end - 2], 0);
        expect_untouched_outside(c.start, c.end);
    }
    for (const i64 count : {i64{0}, i64{-1}, INT64_MIN, INT64_MAX, i64{1} << 31, i64{1} << 32}) {
        SetUp();
        to_wide_cstr({nowhere, count});
        EXPECT_EQ(temporary_pos, 2) << count;
    }
}

TEST_F(Scratch, BlocksStartAtMultiplesOfEightAndWrapOnlyPastTheEnd) {
    const struct {
        i32 pos;
        i64 size, start;
    } cases[] = {{0, 0, 0},
                 {1, 3, 8},
                 {8, 3, 8},
                 {524160, 128, 524160},
                 {524161, 128, 0},
                 {524224, 64, 524224},
                 {524225, 64, 0},
                 {524288, 0, 524288},
                 {524288, 1, 0},
                 {524281, 0, 524288},
                 {0, 524288, 0},
                 {8, 524288, 0},
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

TEST_F(Scratch, TheLastBlockGrowsWhereItStandsAndOthersMoveWithTheirBytes) {
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
                 {0, 128, 128, 524288, 0, 524288},
                 {8, 128, 136, 524289, refused, 136},
                 {8, 128, 200, 524289, refused, 200}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.start << " " << c.new_size);
        const std::string content = sample(c.old_size);
        std::copy(content.begin(), content.end(), dynamic_buffer + c.start);
        dynamic_pos = c.pos;
        const void* const block =
            system_reallocate(dynamic_buffer + c.start, c.new_size, c.old_size);
        EXPECT_EQ(dynamic_pos, c.new_pos);
        if (c.new_start == refused) {
            EXPECT_EQ(block, nullptr);
            continue;
        }
        ASSERT_EQ(block, dynamic_buffer + c.new_start);
        EXPECT_EQ(std::memcmp(block, content.data(), content.size()), 0);
    }
}

} // namespace
