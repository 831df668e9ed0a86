// SPDX-License-Identifier: Zlib
#pragma once

#include "graphics/shader_scan.h"

#include <array>
#include <string>
#include <string_view>

// The search for directives by the plainest of means.
namespace plain_scan {

using stages = std::array<std::string, halvorin::shader_stages>;

inline stages split_plainly(std::string_view text) {
    const std::string_view words[] = {"#vertex", "#fragment", "#geometry"};
    stages found;
    std::string* open = nullptr;
    size_t start = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        for (size_t stage = 0; stage < halvorin::shader_stages; ++stage) {
            const size_t white = i + words[stage].size();
            if (text.substr(i, words[stage].size()) != words[stage]) continue;
            if (white + 1 >= text.size()) continue;
            if (std::string_view(" \t\n\r").find(text[white]) == std::string_view::npos) continue;
            if (open) *open = text.substr(start, i - start);
            open = &found[stage];
            start = white + 1;
        }
    }
    if (open) *open = text.substr(start);
    return found;
}

} // namespace plain_scan
