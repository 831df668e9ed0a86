// SPDX-License-Identifier: Zlib
#include "platform/text.h"

#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace halvorin {
namespace {

constexpr u32 replacement = 0xFFFD;
constexpr i64 block = 16;

// The two uses of one pass: what is counted is what would be stored.
struct counter {
    i64 units = 0;

    void unit(u32) {
        ++units;
    }
    void ascii_block(const u8*, i64 known) {
        units += block - known;
    }
};

struct writer {
    u8* at;

    void unit(u32 value) {
        const auto narrow = static_cast<u16>(value);
        std::memcpy(at, &narrow, sizeof narrow);
        at += sizeof narrow;
    }
    // The first `known` of the bytes have been stored before, and are stored once more.
    void ascii_block(const u8* text, i64 known) {
        at -= 2 * known;
#ifdef __SSE2__
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
        const __m128i zero = _mm_setzero_si128();
        auto* target = reinterpret_cast<__m128i*>(at);
        _mm_storeu_si128(target, _mm_unpacklo_epi8(bytes, zero));
        _mm_storeu_si128(target + 1, _mm_unpackhi_epi8(bytes, zero));
        at += 2 * block;
#else
        for (i64 i = 0; i < block; ++i) {
            unit(text[i]);
        }
#endif
    }
};

bool is_ascii_block(const u8* text) {
#ifdef __SSE2__
    return _mm_movemask_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(text))) == 0;
#else
    u8 bits = 0;
    for (i64 i = 0; i < block; ++i) {
        bits |= text[i];
    }
    return bits < 0x80;
#endif
}

// The bits that a byte brings to its character, and above them whatever speaks against it.
u32 following(u8 byte) {
    return byte ^ 0x80u;
}

// Length of the longest start of a character at an ill-formed place, at least one byte. The second
// byte is where overlong forms, surrogates and values above U+10FFFF show.
i64 ill_formed_length(const u8* text, i64 count) {
    const u8 lead = text[0];
    if (lead < 0xE0 || lead > 0xF4 || count < 2) return 1;
    const u8 least = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const u8 most = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    if (text[1] < least || text[1] > most) return 1;
    return lead >= 0xF0 && count > 2 && following(text[2]) < 0x40 ? 3 : 2;
}

// One character of a text that has at least `count` bytes more. Gives the bytes that it took.
template <class Target> inline i64 character(const u8* text, i64 count, Target& target) {
    const u32 lead = text[0];
    if (lead < 0x80) {
        target.unit(lead);
        return 1;
    }
    if (lead < 0xE0) {
        const u32 second = count >= 2 ? following(text[1]) : 0xFF;
        if (lead >= 0xC2 && second < 0x40) {
            target.unit((lead & 0x1F) << 6 | second);
            return 2;
        }
    } else if (lead < 0xF0 && count >= 3) {
        const u32 second = following(text[1]);
        const u32 third = following(text[2]);
        const u32 value = (lead & 0x0F) << 12 | second << 6 | third;
        if ((second | third) < 0x40 && value >= 0x800 && (value & 0xF800) != 0xD800) {
            target.unit(value);
            return 3;
        }
    } else if (lead >= 0xF0 && count >= 4) {
        const u32 second = following(text[1]);
        const u32 third = following(text[2]);
        const u32 fourth = following(text[3]);
        const u32 above = ((lead & 0x0F) << 18 | second << 12 | third << 6 | fourth) - 0x10000;
        if ((second | third | fourth) < 0x40 && above < 0x100000) {
            target.unit(0xD800 | above >> 10);
            target.unit(0xDC00 | (above & 0x3FF));
            return 4;
        }
    }
    target.unit(replacement);
    return ill_formed_length(text, count);
}

// Full blocks of ASCII go as they are; nothing is stored ahead of being known to belong to the
// result, since another path may stand right behind it.
template <class Target> inline void convert(const u8* text, i64 count, Target& target) {
    constexpr i64 longest = 4;
    const u8* const end = text + count;
    while (end - text >= block) {
        if (*text < 0x80 && is_ascii_block(text)) {
            target.ascii_block(text, 0);
            text += block;
            continue;
        }
        if (end - text < block + longest - 1) break;
        for (const u8* const stop = text + block; text < stop;) {
            text += character(text, longest, target);
        }
    }
    // The rest and what came before it may fill a block of ASCII once more.
    if (count >= block && text != end && end - text < block && is_ascii_block(end - block)) {
        target.ascii_block(end - block, block - (end - text));
        return;
    }
    while (text != end) {
        text += character(text, end - text, target);
    }
}

} // namespace

i64 utf16_length(const u8* text, i64 count) {
    counter target;
    convert(text, count, target);
    return target.units;
}

// How its short loops lie against the lines of the code's cache is a third of the time.
[[gnu::aligned(64)]] i64 utf16_convert(const u8* text, i64 count, u8* units) {
    writer target{units};
    convert(text, count, target);
    return (target.at - units) / 2;
}

} // namespace halvorin
