// SPDX-License-Identifier: Zlib
#pragma once

#include "api/audio.h"
#include "api/images.h"
#include "support/common.h"
#include "support/guarded_text.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <unistd.h>

using bytes = std::vector<u8>;

inline bytes read_file(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// The environment asks for all that there is to try, which takes minutes.
inline bool is_whole_sweep() {
    return std::getenv("HALVORIN_WHOLE_SWEEP") != nullptr;
}

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

// One of the two buffers that a host lends.
struct lendable {
    std::string name;
    void (*set)(i64 size, void* memory);
    i64 (*position)(void);
};
inline const lendable image_buffer = {"image", image_set_buffer, image_get_buffer_position};
inline const lendable audio_buffer = {"audio", audio_set_buffer, audio_get_buffer_position};

constexpr i64 ample = 1 << 20;

struct attempt {
    bool succeeded;
    i64 position;
    std::string printed;

    bool operator==(const attempt&) const = default;
};

// Lends the end of a guarded block. The bytes that are left behind it are watched.
class lent_buffer {
public:
    explicit lent_buffer(const lendable& buffer) : buffer_(buffer) {
        lend(ample);
    }
    ~lent_buffer() {
        buffer_.set(0, nullptr);
    }
    void lend(i64 size) {
        size_ = size;
        memory_ = block_.ending_block(size, 8);
        std::fill(memory_ + size, memory_ + rounded(), u8{0xA5});
        buffer_.set(size, memory_);
    }
    u8* memory() {
        return memory_;
    }

    // Makes a call with so much memory, and looks at all that a failure may leave behind. The call
    // says whether it succeeded.
    template <class Call> attempt try_in(i64 size, const Call& call) {
        lend(size);
        attempt result = {};
        result.printed = output.during([&] { result.succeeded = call(); });
        result.position = buffer_.position();
        if (result.printed == buffer_.name + " memory allocation failed\n") {
            EXPECT_LE(result.position, rounded());
        } else if (result.printed == buffer_.name + " memory reallocation failed\n") {
            EXPECT_GE(result.position, size);
        } else {
            EXPECT_EQ(result.printed, "");
        }
        EXPECT_TRUE(result.printed.empty() || !result.succeeded);
        EXPECT_TRUE(
            std::all_of(memory_ + size, memory_ + rounded(), [](u8 byte) { return byte == 0xA5; }));
        return result;
    }

    // Makes a call with every size at which another allocation fails. One fails at all the sizes
    // between two of these, and with it all of the attempt is the same: so each next one is found
    // by halving. Gives the least size that is enough.
    template <class Call> i64 try_every_refusal(const Call& call, bool every_size = false) {
        const attempt full = try_in(ample, call);
        const i64 enough = full.position + 1;
        EXPECT_TRUE(full.succeeded && try_in(enough, call).succeeded);
        i64 size = 0;
        while (size < enough && !testing::Test::HasFailure()) {
            SCOPED_TRACE(testing::Message() << size << " bytes");
            const attempt first = try_in(size, call);
            if (first.succeeded) break;
            EXPECT_NE(first.printed, "");
            i64 other = every_size ? size + 1 : enough;
            for (i64 same = size; other - same > 1;) {
                const i64 middle = same + (other - same) / 2;
                (try_in(middle, call) == first ? same : other) = middle;
            }
            size = other;
        }
        EXPECT_GT(size, 0);
        return size;
    }

    output_capture output;

private:
    i64 rounded() const {
        return (size_ + 7) / 8 * 8;
    }

    const lendable& buffer_;
    guarded_block block_{ample};
    i64 size_ = 0;
    u8* memory_ = nullptr;
};
