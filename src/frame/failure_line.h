// SPDX-License-Identifier: Zlib
#pragma once

namespace halvorin {

// The few failures that also show on standard output: the words and a line feed.
void print_failure_line(const char* words);

} // namespace halvorin
