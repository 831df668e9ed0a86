// SPDX-License-Identifier: Zlib
#include "api/images.h"

#include "frame/boundary.h"
#include "frame/scratch.h"
#include "images/memory.h"

#include <stb_image.h>
#include <stb_image_write.h>

#include <cstdio>

namespace {

bool is_layout(i8 channels) {
    return channels >= 0 && channels <= 4;
}

// Null for what can't be read at all: a directory opens, but gives no byte.
std::FILE* open_image(Slice path) {
    if (!halvorin::append_character(path)) return nullptr;
    std::FILE* const file = std::fopen(halvorin::c_string(path), "rb");
    if (file == nullptr) return nullptr;
    const int first = std::fgetc(file);
    if (first != EOF) {
        std::ungetc(first, file);
        return file;
    }
    std::fclose(file);
    return nullptr;
}

// The file, or the bytes where there is none.
struct source {
    std::FILE* file;
    const u8* bytes;
    i32 size;
};

// The decoder takes a file that can't be read any further for one that ends there, and goes on
// where it stands if it can't be moved on: both would be pictures of nothing that is in the file.
constinit bool reading_failed = false;

int read_file(void* file, char* bytes, int count) {
    auto* const stream = static_cast<FILE*>(file);
    const size_t wanted = static_cast<size_t>(count);
    const size_t got = std::fread(bytes, 1, wanted, stream);
    if (got < wanted && std::ferror(stream) != 0) reading_failed = true;
    return static_cast<int>(got);
}

// Only a read tells where a file ends.
void skip_in_file(void* file, int count) {
    auto* const stream = static_cast<FILE*>(file);
    if (std::fseek(stream, count, SEEK_CUR) != 0) reading_failed = true;
    const int next = std::fgetc(stream);
    if (next != EOF) std::ungetc(next, stream);
}

int file_has_ended(void* file) {
    return std::feof(static_cast<FILE*>(file)) != 0 || std::ferror(static_cast<FILE*>(file)) != 0;
}

constexpr stbi_io_callbacks file_calls = {read_file, skip_in_file, file_has_ended};

Image decode(const source& from, int channels) {
    Image image = {};
    int dropped = 0; // the file's own number of channels
    reading_failed = false;
    if (from.file != nullptr) {
        image.data = stbi_load_from_callbacks(&file_calls, from.file, &image.width, &image.height,
                                              &dropped, channels);
        if (reading_failed) image.data = nullptr;
    } else {
        image.data = stbi_load_from_memory(from.bytes, from.size, &image.width, &image.height,
                                           &dropped, channels);
    }
    return image;
}

// Comes back a second time when the buffer is exhausted, and then reads nothing that the first
// time has changed. Some formats can say that they have no pixels: there is nothing to point at.
void load(Image* result, const source& from, int channels) {
    *result = {};
    std::jmp_buf exit;
    halvorin::load_exit = &exit;
    if (setjmp(exit) == 0) {
        const Image image = decode(from, channels);
        if (image.width > 0 && image.height > 0 && image.data != nullptr) *result = image;
    }
    halvorin::load_exit = nullptr;
}

} // namespace

void image_set_flip(b8 flip) {
    const bool upside_down = halvorin::is_true(flip);
    stbi_set_flip_vertically_on_load(upside_down);
    stbi_flip_vertically_on_write(upside_down);
}

void image_load(Image* result, Slice path, i8 channels) {
    *result = {};
    channels = halvorin::low_bits(channels);
    if (!is_layout(channels)) return;
    std::FILE* const file = open_image(path);
    if (file == nullptr) return;
    load(result, {file, nullptr, 0}, channels);
    std::fclose(file);
}

void image_load_from_memory(Image* result, i32 size, void* data, i8 channels) {
    *result = {};
    channels = halvorin::low_bits(channels);
    if (!is_layout(channels) || data == nullptr || size <= 0) return;
    load(result, {nullptr, static_cast<const u8*>(data), size}, channels);
}
