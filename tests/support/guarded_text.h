// SPDX-License-Identifier: Zlib
#pragma once

#include "api/types.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <sys/mman.h>
#include <vector>

// A block between pages that fault on any access. It ends at such a page, less what keeps its start
// at a multiple of the alignment.
class guarded_block {
public:
    explicit guarded_block(i64 capacity) : inner_((capacity / page + 1) * page) {
        base_ = static_cast<u8*>(mmap(nullptr, static_cast<size_t>(inner_ + 2 * page), PROT_NONE,
                                      MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        mprotect(base_ + page, static_cast<size_t>(inner_), PROT_READ | PROT_WRITE);
    }
    ~guarded_block() {
        munmap(base_, static_cast<size_t>(inner_ + 2 * page));
    }
    guarded_block(const guarded_block&) = delete;
    guarded_block& operator=(const guarded_block&) = delete;

    u8* ending_block(i64 size, i64 alignment = 1) {
        return base_ + page + inner_ - (size + alignment - 1) / alignment * alignment;
    }

    // The file's bytes, with nothing to read behind them.
    void* holding(const std::vector<u8>& content, size_t count) {
        return std::copy_n(content.data(), count, ending_block(static_cast<i64>(count))) - count;
    }

private:
    static constexpr i64 page = 4096;
    i64 inner_;
    u8* base_;
};

// A text whose last byte is the last that can be read: whoever looks behind it crashes.
class guarded_text {
public:
    explicit guarded_text(std::string_view text) {
        assign(text);
    }
    Slice assign(std::string_view text) {
        const auto count = static_cast<i64>(text.size());
        slice_ = {block_.ending_block(count), count};
        std::memcpy(slice_.data, text.data(), text.size());
        return slice_;
    }
    Slice slice() const {
        return slice_;
    }

private:
    guarded_block block_{65536};
    Slice slice_ = {};
};
