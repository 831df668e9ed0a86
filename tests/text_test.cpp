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

std::u16string converted(guarded_text& text, std::string_view bytes) {
    const u16* const units = to_wide_cstr(text.assign(bytes));
    // The address may be odd, and the units end where the arena's free part begins.
    const auto* const start = reinterpret_cast<const char*>(units);
    const char* const end = reinterpret_cast<const char*>(temporary_buffer) + temporary_pos;
    std::u16string result(static_cast<size_t>(end - start) / 2, u'\0');
    std::memcpy(result.data(), start, result.size() * 2);
    EXPECT_EQ(result.back(), u'\0');
    result.pop_back();
    return result;
}

std::u16string by_iconv(std::string text) {
    static iconv_t descriptor = iconv_open("UTF-16LE", "UTF-8");
    std::u16string result(text.size(), u'\0');
    char* from = text.data();
    char* to = reinterpret_cast<char*>(result.data());
    size_t from_left = text.size();
    size_t to_left = result.size() * 2;
    EXPECT_EQ(iconv(descriptor, &from, &from_left, &to, &to_left), 0u);
    result.resize(result.size() - to_left / 2);
    return result;
}

void append_utf8(std::string& text, char32_t character) {
    const auto byte = [&text](char32_t value) { text += static_cast<char>(value); };
    if (character < 0x80) {
        byte(character);
    } else if (character < 0x800) {
        byte(0xC0 | character >> 6);
        byte(0x80 | (character & 0x3F));
    } else if (character < 0x10000) {
        byte(0xE0 | character >> 12);
        byte(0x80 | (character >> 6 & 0x3F));
        byte(0x80 | (character & 0x3F));
    } else {
        byte(0xF0 | character >> 18);
        byte(0x80 | (character >> 12 & 0x3F));
        byte(0x80 | (character >> 6 & 0x3F));
        byte(0x80 | (character & 0x3F));
    }
}

bool is_surrogate(char32_t character) {
    return character >= 0xD800 && character <= 0xDFFF;
}

// The rows of well-formed sequences: the range of each byte. What follows no row to its end is
// replaced as far as it went.
struct sequence_row {
    u8 length;
    u8 least[4];
    u8 most[4];
};
constexpr sequence_row rows[] = {{1, {0x00}, {0x7F}},
                                 {2, {0xC2, 0x80}, {0xDF, 0xBF}},
                                 {3, {0xE0, 0xA0, 0x80}, {0xE0, 0xBF, 0xBF}},
                                 {3, {0xE1, 0x80, 0x80}, {0xEC, 0xBF, 0xBF}},
                                 {3, {0xED, 0x80, 0x80}, {0xED, 0x9F, 0xBF}},
                                 {3, {0xEE, 0x80, 0x80}, {0xEF, 0xBF, 0xBF}},
                                 {4, {0xF0, 0x90, 0x80, 0x80}, {0xF0, 0xBF, 0xBF, 0xBF}},
                                 {4, {0xF1, 0x80, 0x80, 0x80}, {0xF3, 0xBF, 0xBF, 0xBF}},
                                 {4, {0xF4, 0x80, 0x80, 0x80}, {0xF4, 0x8F, 0xBF, 0xBF}}};

size_t matched(const sequence_row& row, std::string_view text) {
    size_t length = 0;
    while (length < row.length && length < text.size() &&
           static_cast<u8>(text[length]) >= row.least[length] &&
           static_cast<u8>(text[length]) <= row.most[length]) {
        ++length;
    }
    return length;
}

std::u16string by_rows(std::string_view text) {
    std::u16string result;
    while (!text.empty()) {
        size_t longest = 1;
        bool whole = false;
        for (const sequence_row& row : rows) {
            const size_t length = matched(row, text);
            longest = std::max(longest, length);
            whole = whole || length == row.length;
        }
        result += whole ? by_iconv(std::string(text.substr(0, longest))) : u"\uFFFD";
        text.remove_prefix(longest);
    }
    return result;
}

TEST(Text, EveryCharacterConvertsAsIconvDoes) {
    guarded_text text("");
    std::string bytes;
    for (char32_t character = 0; character <= 0x110000; ++character) {
        if (character == 0x110000 || bytes.size() > 5000) {
            ASSERT_EQ(converted(text, bytes), by_iconv(bytes)) << "up to " << u32{character};
            bytes.clear();
        }
        if (!is_surrogate(character)) append_utf8(bytes, character);
    }
}

// Leads of every kind with every second byte, and behind them the bytes on which something turns.
TEST(Text, IllFormedBytesGiveOneReplacementForEachMaximalPart) {
    const std::string turning = {'\x00', '\x41', '\x7F', '\x80', '\x8F', '\xBF',
                                 '\xC0', '\xC2', '\xE0', '\xED', '\xF4', '\xFF'};
    guarded_text text("");
    std::string bytes(4, '\0');
    for (int lead = 0x80; lead < 0x100; ++lead) {
        for (int second = 0; second < 0x100; ++second) {
            bytes[0] = static_cast<char>(lead);
            bytes[1] = static_cast<char>(second);
            ASSERT_EQ(converted(text, bytes.substr(0, 1)), u"\uFFFD");
            ASSERT_EQ(converted(text, bytes.substr(0, 2)), by_rows(bytes.substr(0, 2)));
            for (const char third : turning) {
                bytes[2] = third;
                bytes[3] = turning[static_cast<size_t>(second) % turning.size()];
                ASSERT_EQ(converted(text, bytes.substr(0, 3)), by_rows(bytes.substr(0, 3)))
                    << ::testing::PrintToString(bytes);
                ASSERT_EQ(converted(text, bytes), by_rows(bytes))
                    << ::testing::PrintToString(bytes);
            }
        }
    }
}

// Runs of valid characters, and here and there bytes that aren't.
TEST(Text, MixedTextConvertsAtEveryLengthAndAddress) {
    std::mt19937 random(1);
    guarded_text text("");
    const char32_t highest[] = {0x7F, 0x7F, 0x7F, 0x7FF, 0xFFFF, 0x10FFFF};
    for (int round = 0; round < 50000; ++round) {
        std::string bytes;
        const size_t length = random() % 100;
        while (bytes.size() < length) {
            const auto character =
                static_cast<char32_t>(random() % (highest[random() % std::size(highest)] + 1));
            for (size_t run = random() % 8 == 0 ? random() % 40 : 1; run > 0; --run) {
                if (!is_surrogate(character)) append_utf8(bytes, character);
            }
            if (round % 2 == 0 && random() % 4 == 0) bytes += static_cast<char>(0x80 | random());
        }
        temporary_pos = static_cast<i32>(random() % 16385);
        ASSERT_EQ(converted(text, bytes), by_rows(bytes)) << ::testing::PrintToString(bytes);
    }
}

} // namespace
