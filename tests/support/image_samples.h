// SPDX-License-Identifier: Zlib
#pragma once

#include "api/images.h"
#include "support/common.h"
#include "support/guarded_text.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

// What the image tests share: sample files, memory whose surroundings can't be touched, and the
// lines that go out on standard output.
namespace image_samples {

using bytes = std::vector<u8>;

inline std::string path_of(const std::string& name) {
    return IMAGE_SAMPLES "/" + name;
}

inline bytes read_file(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void append(bytes& to, std::initializer_list<int> values) {
    for (const int value : values) {
        to.push_back(static_cast<u8>(value));
    }
}

// A Softimage PIC of 5 by 2 pixels, one packet of each kind: red raw, green and blue with plain
// run lengths, alpha with mixed ones.
inline bytes pic_file() {
    bytes file = {0x53, 0x80, 0xF6, 0x34};
    file.resize(88);
    append(file, {'P', 'I', 'C', 'T', 0, 5, 0, 2, 0, 0, 0, 0, 0, 3, 0, 0});
    append(file, {1, 8, 0, 0x80, 1, 8, 1, 0x60, 0, 8, 2, 0x10});
    for (const int row : {0, 100}) {
        append(file, {row + 1, row + 2, row + 3, row + 4, row + 5});
        append(file, {3, row + 20, row + 30, 2, row + 21, row + 31});
        append(file, {1, row + 50, row + 51, 129, row + 52, 128, 0, 1, row + 53});
    }
    return file;
}

inline bytes pic_pixels() {
    bytes pixels;
    for (const int row : {0, 100}) {
        append(pixels, {row + 1, row + 20, row + 30, row + 50, row + 2, row + 20, row + 30});
        append(pixels, {row + 51, row + 3, row + 20, row + 30, row + 52, row + 4, row + 21});
        append(pixels, {row + 31, row + 52, row + 5, row + 21, row + 31, row + 53});
    }
    return pixels;
}

// Lends the end of a guarded block. The bytes that are left behind it are watched.
class lent_buffer {
public:
    explicit lent_buffer(i64 capacity) : block_(capacity) {
    }
    ~lent_buffer() {
        image_set_buffer(0, nullptr);
    }

    void lend(i64 size) {
        size_ = size;
        memory_ = block_.ending_block(size, 8);
        std::fill(memory_ + size, memory_ + rounded(), u8{0xA5});
        image_set_buffer(size, memory_);
    }
    bool is_intact() const {
        return std::all_of(memory_ + size_, memory_ + rounded(), [](u8 b) { return b == 0xA5; });
    }
    u8* memory() {
        return memory_;
    }

private:
    i64 rounded() const {
        return (size_ + 7) / 8 * 8;
    }
    guarded_block block_;
    i64 size_ = 0;
    u8* memory_ = nullptr;
};

// What a call prints on the standard output of the process.
class output_capture {
public:
    output_capture() : file_(fileno(std::tmpfile())), saved_(dup(1)) {
    }

    template <class Call> std::string during(const Call& call) {
        std::fflush(stdout);
        dup2(file_, 1);
        call();
        std::fflush(stdout);
        dup2(saved_, 1);
        std::string text(4096, 0);
        const auto length = pread(file_, text.data(), text.size(), 0);
        text.resize(length > 0 ? static_cast<size_t>(length) : 0);
        lseek(file_, 0, SEEK_SET);
        return ftruncate(file_, 0) == 0 ? text : "can't empty the capture file";
    }

private:
    int file_;
    int saved_;
};

// The environment asks for all that there is to try, which takes minutes.
inline bool is_whole_sweep() {
    return std::getenv("HALVORIN_WHOLE_SWEEP") != nullptr;
}

constexpr const char allocation_failed[] = "image memory allocation failed\n";
constexpr const char reallocation_failed[] = "image memory reallocation failed\n";

} // namespace image_samples
