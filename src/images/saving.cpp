// SPDX-License-Identifier: Zlib
#include "api/images.h"

#include "frame/boundary.h"
#include "frame/extension.h"
#include "frame/scratch.h"

#include <stb_image_write.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <string_view>

namespace {

// Where an encoder's bytes go. The file is made, or cut, by the first of them: an encoder that
// runs out of memory ahead of that leaves the old one as it is.
class image_file {
public:
    explicit image_file(const char* name) : path(name) {
    }
    image_file(const image_file&) = delete;
    ~image_file() {
        if (file != nullptr) std::fclose(file);
    }
    static void write(void* context, void* bytes, int count) {
        static_cast<image_file*>(context)->write(bytes, static_cast<size_t>(count));
    }
    // Whether all of it is in the file: what waited in the buffer, too.
    bool close() {
        if (file == nullptr) return false;
        const bool flushed = std::fclose(file) == 0;
        file = nullptr;
        return flushed && !failed;
    }

private:
    void write(const void* bytes, size_t count) {
        if (file == nullptr && !failed) {
            file = std::fopen(path, "wb");
            failed = file == nullptr;
        }
        if (!failed) failed = std::fwrite(bytes, 1, count, file) != count;
    }

    const char* path;
    std::FILE* file = nullptr;
    bool failed = false;
};

// The encoders compute sizes and offsets in 32 bits.
bool rows_fit(i64 row_bytes, i64 rows, i64 most) {
    return row_bytes <= most / rows;
}

// A side of those formats whose header has 16 bits for it.
bool sides_fit(const Image& image) {
    return image.width <= 0xFFFF && image.height <= 0xFFFF;
}

// Three channels at least are written, in rows of a multiple of 4, behind up to 122 bytes.
bool write_bmp(image_file& file, const Image& image, int channels) {
    const i64 row_bytes = i64{image.width} * std::max(channels, 3) + 3;
    return rows_fit(row_bytes, image.height, INT_MAX - 122) &&
           stbi_write_bmp_to_func(image_file::write, &file, image.width, image.height, channels,
                                  image.data) != 0;
}

// The compressed data can be an eighth larger than the rows.
bool write_png(image_file& file, const Image& image, int channels) {
    const i64 row_bytes = i64{image.width} * channels + 1;
    return rows_fit(row_bytes, image.height, INT_MAX / 8 * 5) &&
           stbi_write_png_to_func(image_file::write, &file, image.width, image.height, channels,
                                  image.data, image.width * channels) != 0;
}

bool write_tga(image_file& file, const Image& image, int channels) {
    return sides_fit(image) && rows_fit(i64{image.width} * channels, image.height, INT_MAX) &&
           stbi_write_tga_to_func(image_file::write, &file, image.width, image.height, channels,
                                  image.data) != 0;
}

bool write_jpg(image_file& file, const Image& image, int channels) {
    constexpr int quality = 100;
    return sides_fit(image) && rows_fit(i64{image.width} * channels, image.height, INT_MAX) &&
           stbi_write_jpg_to_func(image_file::write, &file, image.width, image.height, channels,
                                  image.data, quality) != 0;
}

using image_writer = bool (*)(image_file& file, const Image& image, int channels);

struct image_format {
    std::string_view extension;
    image_writer write;
};

constexpr image_format formats[] = {
    {"bmp", write_bmp},
    {"png", write_png},
    {"tga", write_tga},
    {"jpg", write_jpg},
};

image_writer writer_for(std::string_view extension) {
    for (const image_format& format : formats) {
        if (format.extension == extension) return format.write;
    }
    return nullptr;
}

bool is_writable(const Image& image, i8 channels) {
    const bool has_pixels = image.data != nullptr && image.width > 0 && image.height > 0;
    return has_pixels && channels >= 1 && channels <= 4;
}

} // namespace

b8 image_save(Image image, Slice path, i8 channels) {
    channels = halvorin::low_bits(channels);
    const image_writer write = writer_for(halvorin::extension_of(path));
    if (write == nullptr || !is_writable(image, channels)) return false;
    if (!halvorin::append_character(path)) return false;
    image_file file(halvorin::c_string(path));
    return write(file, image, channels) && file.close();
}
