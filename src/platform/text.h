// SPDX-License-Identifier: Zlib
#pragma once

#include "api/types.h"

// Text between UTF-8 and the UTF-16 of wide system interfaces.
namespace halvorin {

// No text needs fewer UTF-16 units than a third of its bytes.
inline constexpr i64 most_bytes_per_unit = 3;

// Units that a text converts to, without a terminator: at most one for each byte. Bytes that
// aren't valid UTF-8 become U+FFFD, one for each maximal part of a character.
i64 utf16_length(const u8* text, i64 count);

// Converts, and gives the number of units. Stores exactly that many, in the byte order of the
// machine and at any address, odd ones included; the text must not lie under them.
i64 utf16_convert(const u8* text, i64 count, u8* units);

} // namespace halvorin
