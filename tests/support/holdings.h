// SPDX-License-Identifier: Zlib
#pragma once

// What a process holds at the moment.

#include "api/types.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <malloc.h>
#include <string>

namespace endurance {

struct holdings {
    i64 heap;          // bytes of blocks in use
    i64 private_bytes; // written to by this process alone
    i64 descriptors, threads;
};

inline i64 entries_of(const char* path) {
    return std::distance(std::filesystem::directory_iterator(path), {});
}

// A library's own pages count for nothing: they become private when the last other process that has
// loaded it ends.
inline i64 private_bytes() {
    std::ifstream file("/proc/self/smaps_rollup");
    i64 sum = 0;
    i64 kilobytes = 0;
    for (std::string word; file >> word;) {
        if (word != "Private_Dirty:" && word != "Swap:") continue;
        file >> kilobytes;
        sum += kilobytes * 1024;
    }
    return sum;
}

inline holdings held_now() {
    static_cast<void>(private_bytes()); // what looking takes the first time
    malloc_trim(0);
    const struct mallinfo2 heap = mallinfo2();
    return {static_cast<i64>(heap.uordblks + heap.hblkhd), private_bytes(),
            entries_of("/proc/self/fd"), entries_of("/proc/self/task")};
}

inline holdings growth(const holdings& before, const holdings& after) {
    return {after.heap - before.heap, after.private_bytes - before.private_bytes,
            after.descriptors - before.descriptors, after.threads - before.threads};
}

// However many rounds there were: no more blocks than others keep for the same work, but for a few
// that threads hold at the moment, and no more pages, but for those that the library's arenas and a
// driver's threads touch little by little.
inline bool is_flat(const holdings& before, const holdings& after, const holdings& others_keep) {
    constexpr i64 few_blocks = 24 << 10;
    constexpr i64 few_pages = 8 << 20;
    const holdings grown = growth(before, after);
    return grown.heap <= others_keep.heap + few_blocks &&
           grown.private_bytes <= std::max<i64>(others_keep.private_bytes, 0) + few_pages &&
           grown.descriptors <= others_keep.descriptors && grown.threads <= others_keep.threads;
}

// As many rounds as a host does in days, if the environment asks for them, or as a test has time
// for.
inline bool is_whole() {
    const char* const value = std::getenv("ENDURANCE");
    return value != nullptr && std::strcmp(value, "whole") == 0;
}

// The holdings before, and what came to them.
inline void print(const char* name, i64 rounds, double seconds, const holdings& before,
                  const holdings& after) {
    const holdings grown = growth(before, after);
    std::printf("%-34s %7ld rounds %7.1f s  heap %9ld %+9ld  private %6ld KiB %+6ld  "
                "descriptors %2ld %+ld  threads %2ld %+ld\n",
                name, rounds, seconds, before.heap, grown.heap, before.private_bytes / 1024,
                grown.private_bytes / 1024, before.descriptors, grown.descriptors, before.threads,
                grown.threads);
    std::fflush(stdout);
}

} // namespace endurance
