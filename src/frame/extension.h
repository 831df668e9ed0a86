// SPDX-License-Identifier: Zlib
#pragma once

#include "api/types.h"

#include <string_view>

namespace halvorin {

// What follows the last dot, wherever in the path that is. Empty without a dot.
inline std::string_view extension_of(Slice path) {
    const auto* const bytes = static_cast<const char*>(path.data);
    for (i64 dot = path.count - 1; dot >= 0; --dot) {
        if (bytes[dot] == '.') return {bytes + dot + 1, static_cast<size_t>(path.count - dot - 1)};
    }
    return {};
}

} // namespace halvorin
