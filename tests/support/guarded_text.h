// SPDX-License-Identifier: Zlib
#pragma once

#include "api/types.h"

#include <cstring>
#include <string_view>
#include <sys/mman.h>

// A text whose last byte is the last that can be read: whoever looks behind it crashes.
class guarded_text {
public:
    explicit guarded_text(std::string_view text) {
        map();
        assign(text);
    }
    ~guarded_text() {
        munmap(pages, room + page);
    }
    guarded_text(const guarded_text&) = delete;
    guarded_text& operator=(const guarded_text&) = delete;

    Slice assign(std::string_view text) {
        count = static_cast<i64>(text.size());
        start = pages + room - text.size();
        std::memcpy(start, text.data(), text.size());
        return slice();
    }
    Slice slice() const {
        return {start, count};
    }

private:
    static constexpr size_t page = 4096;
    static constexpr size_t room = 16 * page;

    void map() {
        void* const all =
            mmap(nullptr, room + page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        pages = static_cast<char*>(all);
        mprotect(pages + room, page, PROT_NONE);
    }

    char* pages = nullptr;
    char* start = nullptr;
    i64 count = 0;
};
