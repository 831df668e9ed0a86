// SPDX-License-Identifier: Zlib
#include "frame/failure_line.h"

#include <cstdio>

void halvorin::print_failure_line(const char* words) {
    std::printf("%s", words);
    std::putchar(10);
}
