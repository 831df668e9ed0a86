// SPDX-License-Identifier: Zlib
#pragma once

#include "api/types.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sanitizer/asan_interface.h>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

// What the fuzz targets share: input taken apart, blocks whose surroundings can't be touched, and
// the lines that go out on standard output.
namespace fuzzing {

using bytes = std::vector<u8>;

// Ends the run as a finding.
inline void require(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "it doesn't hold that %s\n", what);
    std::abort();
}

// The input from its front to its back. Numbers are 0 once it is used up.
class input {
public:
    input(const u8* data, size_t size) : at_(data), left_(size) {
    }

    u8 byte() {
        return number<u8>();
    }
    template <class Number> Number number() {
        Number value = 0;
        const size_t count = std::min(left_, sizeof value);
        if (count > 0) std::memcpy(&value, at_, count);
        at_ += count;
        left_ -= count;
        return value;
    }
    // So many bytes, or what is left, in a block of exactly their size.
    bytes block(size_t size) {
        const size_t count = std::min(left_, size);
        bytes taken(at_, at_ + count);
        at_ += count;
        left_ -= count;
        return taken;
    }
    bytes rest() {
        return block(left_);
    }
    bool is_used_up() const {
        return left_ == 0;
    }

private:
    const u8* at_;
    size_t left_;
};

// Memory of which a run gets the end. Ahead of its part and behind it the address sanitizer stops
// every access.
class guarded_memory {
public:
    explicit guarded_memory(i64 capacity)
        : capacity_(capacity),
          base_(static_cast<u8*>(std::aligned_alloc(64, static_cast<size_t>(capacity + guard)))) {
    }
    guarded_memory(const guarded_memory&) = delete;
    guarded_memory& operator=(const guarded_memory&) = delete;

    // Starts at a multiple of 8.
    u8* ending(i64 size) {
        ASAN_UNPOISON_MEMORY_REGION(base_, static_cast<size_t>(capacity_ + guard));
        u8* const end = base_ + guard + capacity_;
        u8* const start = end - (size + 7) / 8 * 8;
        ASAN_POISON_MEMORY_REGION(start - guard, guard);
        ASAN_POISON_MEMORY_REGION(start + size, static_cast<size_t>(end - start - size));
        return start;
    }

private:
    static constexpr i64 guard = 4096;
    i64 capacity_;
    u8* base_;
};

// Standard output, which the library alone writes to here.
class output_lines {
public:
    output_lines() {
        std::fflush(stdout);
        dup2(memfd_create("output", 0), STDOUT_FILENO);
    }

    // What has gone out since the last time.
    std::string take() {
        std::fflush(stdout);
        const off_t length = lseek(STDOUT_FILENO, 0, SEEK_CUR);
        std::string text(static_cast<size_t>(length), 0);
        if (length == 0) return text;
        require(pread(STDOUT_FILENO, text.data(), text.size(), 0) == length, "output can be read");
        require(ftruncate(STDOUT_FILENO, 0) == 0, "output can be emptied");
        lseek(STDOUT_FILENO, 0, SEEK_SET);
        return text;
    }
};

// A file in memory, which a path with an extension leads to.
class input_file {
public:
    explicit input_file(const char* extension) : descriptor_(memfd_create("input", 0)) {
        const char* const base = std::getenv("TMPDIR");
        folder_ = std::string(base != nullptr ? base : "/tmp") + "/fuzz-XXXXXX";
        require(mkdtemp(folder_.data()) != nullptr, "there is a folder for the input");
        path_ = folder_ + "/input." + extension;
        const std::string target = "/proc/self/fd/" + std::to_string(descriptor_);
        require(symlink(target.c_str(), path_.c_str()) == 0, "the input has a path");
    }
    ~input_file() {
        unlink(path_.c_str());
        rmdir(folder_.c_str());
    }
    input_file(const input_file&) = delete;
    input_file& operator=(const input_file&) = delete;

    void hold(const bytes& content) {
        const auto size = static_cast<ssize_t>(content.size());
        require(ftruncate(descriptor_, 0) == 0, "the input file can be emptied");
        require(pwrite(descriptor_, content.data(), content.size(), 0) == size,
                "the input file can be written");
    }
    Slice path() {
        return {path_.data(), static_cast<i64>(path_.size())};
    }

private:
    int descriptor_;
    std::string folder_;
    std::string path_;
};

// How much memory the host lends: from none to some MiB, in small steps where it is little.
inline i64 lent_size(u8 kind, u16 count, i64 ample) {
    switch (kind & 3) {
    case 0: return ample;
    case 1: return count;
    case 2: return i64{count} * 8;
    default: return i64{count} * 61;
    }
}

inline constexpr i64 most_lent = 4 << 20;

// The next file handle, which is the same as before when none was left open.
inline int next_descriptor() {
    const int descriptor = dup(STDERR_FILENO);
    close(descriptor);
    return descriptor;
}

} // namespace fuzzing

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
