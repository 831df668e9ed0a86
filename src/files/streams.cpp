// SPDX-License-Identifier: Zlib
#include "api/files.h"
#include "frame/boundary.h"
#include "frame/scratch.h"
#include "platform/files.h"

#include <cstdio>

using namespace halvorin;

namespace {

file_stream* handle_of(FILE* stream) {
    return reinterpret_cast<file_stream*>(stream);
}

FILE* stream_of(file_stream* file) {
    return reinterpret_cast<FILE*>(file);
}

bool find_mode(file_mode mode, stream_mode* found) {
    switch (mode) {
    case FILE_MODE_WRITE: *found = stream_mode::write; return true;
    case FILE_MODE_READ: *found = stream_mode::read; return true;
    case FILE_MODE_READ_WRITE: *found = stream_mode::read_write; return true;
    case FILE_MODE_APPEND: *found = stream_mode::append; return true;
    case FILE_MODE_READ_APPEND: *found = stream_mode::read_append; return true;
    default: return false;
    }
}

} // namespace

b8 file_copy(Slice from, Slice to) {
    const path_char* native_from = nullptr;
    const path_char* native_to = nullptr;
    return native_paths(from, to, &native_from, &native_to) && copy_file(native_from, native_to);
}

b8 file_create(Slice path) {
    file_stream* const file = file_open(path, FILE_MODE_WRITE);
    if (file == nullptr) return false;
    file_close(file);
    return true;
}

b8 file_exists(Slice path) {
    const path_char* const native = native_path(path);
    return native != nullptr && is_readable_file(native);
}

file_stream* file_open(Slice path, file_mode mode) {
    stream_mode native_mode{};
    if (!find_mode(low_bits(mode), &native_mode)) return nullptr;
    const path_char* const native = native_path(path);
    return native != nullptr ? handle_of(open_stream(native, native_mode)) : nullptr;
}

void file_close(file_stream* file) {
    std::fclose(stream_of(file));
}

b8 file_failed(const file_stream* file) {
    return file == nullptr;
}

b8 file_seek(file_stream* file, i64 position) {
    return seek_stream(stream_of(file), static_cast<i32>(position), SEEK_SET);
}

b8 file_end(file_stream* file) {
    return std::feof(stream_of(file)) != 0;
}

// The host sees 32 bits of the size; the way back takes the position whole. Where one can't seek
// there is no position either.
i64 file_size(file_stream* file) {
    FILE* const stream = stream_of(file);
    const i64 position = stream_position(stream);
    if (!seek_stream(stream, 0, SEEK_END)) return -1;
    const i64 size = stream_position(stream);
    return seek_stream(stream, position, SEEK_SET) ? static_cast<i32>(size) : -1;
}

u64 file_write(file_stream* file, u64 size, const void* data) {
    return std::fwrite(data, 1, size, stream_of(file));
}

void file_write_byte(file_stream* file, u8 value) {
    std::fputc(low_bits(value), stream_of(file));
}

u64 file_read(file_stream* file, u64 size, void* data) {
    return std::fread(data, 1, size, stream_of(file));
}

u8 file_read_byte(file_stream* file) {
    return static_cast<u8>(std::fgetc(stream_of(file)));
}
