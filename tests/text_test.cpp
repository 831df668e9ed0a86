// SPDX-License-Identifier: Zlib
// The conversion to UTF-16 from outside, held against iconv where the text is valid and against
// the table of well-formed byte sequences where it isn't.
#include "api/frame.h"
#include "support/guarded_text.h"

#include <gtest/gtest.h>
#include <iconv.h>

#include <random>
#include <string>

namespace {

// The bytes of the units, without the end.
std::string converted(std::string_view bytes) {
    static guarded_text text("");
    // The address may be odd, and the units end where the arena's free part begins.
    const u16* const units = to_wide_cstr(text.assign(bytes));
    std::string result(reinterpret_cast<const char*>(units),
                       reinterpret_cast<const char*>(temporary_buffer) + temporary_pos);
    EXPECT_EQ(result.substr(result.size() - 2), std::string(2, '\0'));
    result.resize(result.size() - 2);
    return result;
}

std::string by_iconv(iconv_t descriptor, std::string text) {
    std::string result(2 * text.size(), '\0');
    char* from = text.data();
    char* to = result.data();
    size_t from_left = text.size();
    size_t to_left = result.size();
    EXPECT_EQ(iconv(descriptor, &from, &from_left, &to, &to_left), 0u);
    result.resize(result.size() - to_left);
    return result;
}

std::string utf16_of(std::string_view text) {
    static const iconv_t descriptor = iconv_open("UTF-16LE", "UTF-8");
    return by_iconv(descriptor, std::string(text));
}

std::string utf8_of(char32_t character) {
    static const iconv_t descriptor = iconv_open("UTF-8", "UTF-32LE");
    if (character >= 0xD800 && character < 0xE000) return "";
    return by_iconv(descriptor, std::string(reinterpret_cast<const char*>(&character), 4));
}

// The rows of well-formed sequences: the range of each byte. What follows no row to its end is
// replaced as far as it went.
struct sequence_row {
    std::string_view least, most;
};
using namespace std::string_view_literals;
constexpr sequence_row rows[] = {{"\0"sv, "\x7F"sv},
                                 {"\xC2\x80"sv, "\xDF\xBF"sv},
                                 {"\xE0\xA0\x80"sv, "\xE0\xBF\xBF"sv},
                                 {"\xE1\x80\x80"sv, "\xEC\xBF\xBF"sv},
                                 {"\xED\x80\x80"sv, "\xED\x9F\xBF"sv},
                                 {"\xEE\x80\x80"sv, "\xEF\xBF\xBF"sv},
                                 {"\xF0\x90\x80\x80"sv, "\xF0\xBF\xBF\xBF"sv},
                                 {"\xF1\x80\x80\x80"sv, "\xF3\xBF\xBF\xBF"sv},
                                 {"\xF4\x80\x80\x80"sv, "\xF4\x8F\xBF\xBF"sv}};

size_t matched(const sequence_row& row, std::string_view text) {
    const auto is_in_range = [&](size_t i) {
        return static_cast<u8>(text[i]) >= static_cast<u8>(row.least[i]) &&
               static_cast<u8>(text[i]) <= static_cast<u8>(row.most[i]);
    };
    size_t length = 0;
    while (length < row.least.size() && length < text.size() && is_in_range(length)) {
        ++length;
    }
    return length;
}

void expect_right(const std::string& bytes) {
    std::string expected;
    for (std::string_view text = bytes; !text.empty();) {
        size_t longest = 1;
        bool whole = false;
        for (const sequence_row& row : rows) {
            const size_t length = matched(row, text);
            longest = std::max(longest, length);
            whole = whole || length == row.least.size();
        }
        expected += whole ? utf16_of(text.substr(0, longest)) : "\xFD\xFF";
        text.remove_prefix(longest);
    }
    ASSERT_EQ(converted(bytes), expected) << testing::PrintToString(bytes);
}

TEST(Text, EveryCharacterConvertsAsIconvDoes) {
    std::string bytes;
    for (char32_t character = 0; character < 0x110000; ++character) {
        bytes += utf8_of(character);
        if (character % 1024 != 1023) continue;
        ASSERT_EQ(converted(bytes), utf16_of(bytes)) << "up to " << u32{character};
        bytes.clear();
    }
}

// Leads of every kind with every second byte, and behind them the bytes on which something turns.
TEST(Text, IllFormedBytesGiveOneReplacementForEachMaximalPart) {
    const std::string turning("\x80\x41\x7F\x8F\xBF\xC0\xC2\xE0\xED\xF4\xFF\x00", 12);
    for (size_t pair = 0x8000; pair < 0x10000; ++pair) {
        std::string bytes;
        for (const char third : turning) {
            bytes += {static_cast<char>(pair >> 8), static_cast<char>(pair), third,
                      turning[pair % turning.size()]};
        }
        for (const size_t length : {1u, 2u, 3u, 48u}) {
            expect_right(bytes.substr(0, length));
        }
    }
}

// Runs of valid characters, and here and there bytes that aren't.
TEST(Text, MixedTextConvertsAtEveryLengthAndAddress) {
    std::mt19937 random(1);
    const u32 highest[] = {0x7F, 0x7F, 0x7F, 0x7FF, 0xFFFF, 0x10FFFF};
    for (int round = 0; round < 50000; ++round) {
        std::string bytes;
        for (const size_t length = random() % 100; bytes.size() < length;) {
            const std::string character =
                utf8_of(static_cast<char32_t>(random() % (highest[random() % 6] + 1)));
            for (size_t run = random() % 8 == 0 ? random() % 40 : 1; run > 0; --run) {
                bytes += character;
            }
            if (round % 2 == 0 && random() % 4 == 0) bytes += static_cast<char>(0x80 | random());
        }
        temporary_pos = static_cast<i32>(random() % 16385);
        expect_right(bytes);
    }
}

} // namespace
