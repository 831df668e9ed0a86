// SPDX-License-Identifier: Zlib
#include "support/image_samples.h"

using namespace image_samples;
namespace fs = std::filesystem;

namespace {

bool has_any(const std::string& name, std::initializer_list<const char*> parts) {
    return std::any_of(parts.begin(), parts.end(),
                       [&](const char* part) { return name.find(part) != name.npos; });
}

// Those that a file has by itself.
int channels_in(const std::string& name) {
    if (has_any(name, {"grey-alpha"})) return 2;
    if (has_any(name, {"grey", ".pgm"})) return 1;
    return has_any(name, {"alpha", "rgba", "key", "32.bmp", ".gif", ".psd", ".pic"}) ? 4 : 3;
}

int luma(const int* rgb) {
    return (77 * rgb[0] + 150 * rgb[1] + 29 * rgb[2]) >> 8;
}

// Pixels of 16-bit RGBA as a load gives them. Files of 16 bits are weighed to grey before they are
// cut to 8, all others after.
bytes expected_pixels(const bytes& rgba16, int channels, bool is_wide) {
    bytes pixels;
    for (auto pixel = rgba16.begin(); pixel != rgba16.end(); pixel += 8) {
        int wide[4];
        int narrow[4];
        for (int i = 0; i < 4; ++i) {
            wide[i] = pixel[2 * i] | pixel[2 * i + 1] << 8;
            narrow[i] = wide[i] >> 8;
        }
        const int grey = is_wide ? luma(wide) >> 8 : luma(narrow);
        for (int i = 0; i < channels; ++i) {
            const bool is_alpha = channels % 2 == 0 && i == channels - 1;
            pixels.push_back(static_cast<u8>(is_alpha        ? narrow[3]
                                             : channels <= 2 ? grey
                                                             : narrow[i]));
        }
    }
    return pixels;
}

bytes pixels_of(const Image& image, int channels) {
    if (image.data == nullptr) return {};
    const u8* const data = static_cast<u8*>(image.data);
    return {data, data + i64{image.width} * image.height * channels};
}

bytes upside_down(const bytes& pixels, i32 rows) {
    const size_t row = pixels.size() / static_cast<size_t>(rows);
    bytes turned;
    for (auto at = pixels.end(); at != pixels.begin(); at -= static_cast<i64>(row)) {
        turned.insert(turned.end(), at - static_cast<i64>(row), at);
    }
    return turned;
}

// Decoders of JPEG may round differently at each of their steps: the inverse transform, the
// scaling up of the colours and the way back to RGB add up to a few levels.
void compare(const bytes& pixels, const bytes& expected, bool is_jpeg) {
    ASSERT_EQ(pixels.size(), expected.size());
    for (size_t i = 0; i < pixels.size(); ++i) {
        ASSERT_NEAR(pixels[i], expected[i], is_jpeg ? 3 : 0) << "byte " << i;
    }
}

class ImagesTest : public testing::Test {
protected:
    ImagesTest() {
        fs::create_directories(folder);
    }
    ~ImagesTest() override {
        image_set_flip(0);
        fs::remove_all(folder);
    }
    std::string in_folder(const std::string& name) const {
        return folder / name;
    }

    const fs::path folder = fs::temp_directory_path() / ("images_test." + std::to_string(getpid()));
    lent_buffer buffer{image_buffer};
};

TEST_F(ImagesTest, PixelsAreThoseOfAnotherReader) {
    const auto free_pixels = by_name<void(void*)>("stbi_image_free");
    for (const std::string& name : all_images()) {
        if (name == "clear.gif") continue; // readers differ in the colours of clear pixels
        const bytes rgba16 = read_file(path_of(name) + ".rgba16");
        for (const int channels : {0, 1, 2, 3, 4, 10, 11, 12, 13, 14}) {
            SCOPED_TRACE(testing::Message() << name << ", " << channels);
            const bool is_flipped = channels >= 10;
            const int asked = channels % 10;
            const int given = asked == 0 ? channels_in(name) : asked;
            image_set_flip(is_flipped);
            image_set_buffer_position(0);
            const Image image = load(path_of(name), asked);
            const Image same = load(read_file(path_of(name)), asked);
            ASSERT_NE(image.data, nullptr);
            ASSERT_EQ(rgba16.size(), static_cast<size_t>(image.width * image.height * 8));
            free_pixels(image.data); // does nothing
            EXPECT_EQ(pixels_of(image, given), pixels_of(same, given));
            const bytes expected = expected_pixels(rgba16, given, has_16_bits(name));
            compare(pixels_of(image, given),
                    is_flipped ? upside_down(expected, image.height) : expected,
                    name.ends_with(".jpg"));
        }
    }
}

TEST_F(ImagesTest, APositionIsTheHosts) {
    const bytes file = read_file(path_of("24.bmp"));
    constexpr i64 size = 21 * 13 * 3;
    image_set_buffer_position(5);
    EXPECT_EQ(load(file, 3).data, buffer.memory() + 8);
    EXPECT_EQ(image_get_buffer_position(), 8 + size);
    EXPECT_EQ(load(file, 3).data, buffer.memory() + (8 + size + 7) / 8 * 8);

    buffer.lend(size);
    image_set_buffer_position(1);
    const auto load_again = [&] { EXPECT_EQ(load(file, 3).data, nullptr); };
    EXPECT_EQ(buffer.output.during(load_again), "image memory allocation failed\n");
    EXPECT_EQ(image_get_buffer_position(), 8);
    image_set_buffer_position(0);
    EXPECT_NE(load(file, 3).data, nullptr) << "a full buffer is usable again from a mark";
}

TEST_F(ImagesTest, WhatCannotBeAnImageGivesNull) {
    const bytes gif = {'G', 'I', 'F', '8', '9', 'a', 0, 0, 0, 0, 0x80, 0, 0, 0,    0, 0,
                       1,   1,   1,   ',', 0,   0,   0, 0, 0, 0, 0,    0, 0, 0x3B, 0};
    bytes empty_psd = read_file(path_of("raw.psd"));
    std::fill_n(empty_psd.begin() + 14, 8, u8{0});
    for (const bytes& file : {gif, empty_psd, bytes(1, 'P')}) {
        const Image image = load(file, 4);
        EXPECT_EQ(image.data, nullptr);
        EXPECT_EQ(image.width, 0);
        EXPECT_EQ(image.height, 0);
    }
    EXPECT_GT(image_get_buffer_position(), 0) << "what a failed load took stays taken";

    image_set_buffer_position(0);
    const int descriptors = open_descriptors();
    const bytes ppm = read_file(path_of("8.ppm"));
    for (const int channels : {-128, -1, 5, 127}) {
        EXPECT_EQ(load(path_of("8.ppm"), channels).data, nullptr);
        EXPECT_EQ(load(ppm, channels).data, nullptr);
    }
    for (const std::string name : {"none.png", "", "/a directory/"}) {
        EXPECT_EQ(load(in_folder(name), 3).data, nullptr);
    }
    const std::pair<i32, void*> no_files[] = {
        {0, buffer.memory()}, {-1, buffer.memory()}, {100, nullptr}};
    for (const auto& [size, data] : no_files) {
        Image image = {&image, 1, 1};
        image_load_from_memory(&image, size, data, 4);
        EXPECT_EQ(image.data, nullptr);
    }
    EXPECT_EQ(image_get_buffer_position(), 0);
    EXPECT_EQ(open_descriptors(), descriptors);
}

// Not what the call before left on the stack.
TEST_F(ImagesTest, ColoursThatAFileDoesntHaveAreBlack) {
    for (const std::string kind : {"bmp", "png"}) {
        bytes file = read_file(SOURCE_DIR "/fuzz/found/images/colours-missing." + kind);
        file.erase(file.begin(), file.begin() + 6); // those that tell the fuzz target what to do
        ASSERT_NE(load(path_of("palette8.png"), 3).data, nullptr);
        const bytes pixels = pixels_of(load(file, 3), 3);
        EXPECT_GE(std::count(pixels.begin(), pixels.end(), 0), 21 * 13 * 3 * 9 / 10) << kind;
    }
}

// What a file should hold: grey formats keep grey, and alpha stays where the format has it.
bytes saved_pixels(const bytes& pixels, int channels, const std::string& format) {
    const bool has_alpha = format == "bmp" ? channels == 4 : format != "jpg" && channels % 2 == 0;
    bytes rgba;
    for (auto p = pixels.begin(); p != pixels.end(); p += channels) {
        for (const int i : {0, 1, 2}) {
            rgba.push_back(p[channels >= 3 ? i : 0]);
        }
        rgba.push_back(has_alpha ? p[channels - 1] : 255);
    }
    return rgba;
}

TEST_F(ImagesTest, SavedFilesReadBackInAnotherReader) {
    struct saved {
        std::string path;
        bytes rgba;
    };
    std::vector<saved> files;
    for (const int channels : {1, 2, 3, 4}) {
        const Image image = load(path_of("rgba8.png"), channels);
        for (const std::string format : {"bmp", "png", "tga", "jpg"}) {
            bytes rgba = saved_pixels(pixels_of(image, channels), channels, format);
            for (const bool is_flipped : {false, true}) {
                const std::string path = in_folder(format + std::to_string(channels) +
                                                   (is_flipped ? "-flipped." : ".") + format);
                image_set_flip(is_flipped);
                EXPECT_EQ(image_save(image, slice(path), static_cast<i8>(channels)), 1);
                files.push_back({path, is_flipped ? upside_down(rgba, image.height) : rgba});
            }
            image_set_flip(0);
            // ImageMagick takes a TGA of grey and alpha for one of 5 bits a colour.
            if (format != "tga" || channels != 2) continue;
            EXPECT_EQ(pixels_of(load(files[files.size() - 2].path, 4), 4), rgba);
            files.resize(files.size() - 2);
        }
    }
    const std::string convert =
        "cd '" + folder.string() + "' && mogrify -auto-orient -format rgba -depth 8 *.*";
    ASSERT_EQ(std::system(convert.c_str()), 0);
    for (const saved& file : files) {
        SCOPED_TRACE(file.path);
        compare(read_file(fs::path(file.path).replace_extension("rgba")), file.rgba,
                file.path.ends_with(".jpg"));
    }
}

TEST_F(ImagesTest, ExtensionIsWhatFollowsTheLastDotOfTheWholePath) {
    u8 pixel[4] = {1, 2, 3, 4};
    fs::create_directory(folder / "d.png");
    const fs::path outside = fs::current_path();
    fs::current_path(folder);
    using namespace std::string_literals;
    const std::pair<std::string, std::string> names[] = {{"a.tar.png", "a.tar.png"},
                                                         {".jpg", ".jpg"},
                                                         {"é\xFF.bmp", "é\xFF.bmp"},
                                                         {"a\0b.tga"s, "a"},
                                                         {"a.png.txt", ""},
                                                         {"a.PNG", ""},
                                                         {"a.", ""},
                                                         {"d.png/png", ""},
                                                         {"d.png", ""},
                                                         {"png", ""},
                                                         {"a.pn", ""},
                                                         {"none/a.png", ""},
                                                         {"a.png\0"s, ""},
                                                         {"", ""}};
    for (const auto& [name, made] : names) {
        SCOPED_TRACE(name);
        guarded_text path(name);
        EXPECT_EQ(image_save({pixel, 1, 1}, path.slice(), 4), made.empty() ? 0 : 1);
        EXPECT_EQ(load(in_folder(made), 4).width, made.empty() ? 0 : 1);
        if (!made.empty()) fs::remove(in_folder(made));
        const auto left = std::distance(fs::directory_iterator(folder), fs::directory_iterator());
        EXPECT_EQ(left, 1) << "d.png alone";
    }
    fs::current_path(outside);
}

TEST_F(ImagesTest, WhatNoFileCanHoldIsRefusedAheadOfTheFile) {
    bytes row(65536 * 4);
    constexpr std::string_view all = "bmp png tga jpg";
    const struct {
        Image image;
        int channels;
        std::string_view refused_by;
    } cases[] = {
        {{nullptr, 1, 1}, 4, all},
        {{row.data(), 0, 1}, 4, all},
        {{row.data(), 1, 0}, 4, all},
        {{row.data(), 1, 1}, 0, all},
        {{row.data(), 1, 1}, 5, all},
        {{row.data(), 32768, 32768}, 4, all},
        {{row.data(), INT32_MAX, INT32_MAX}, 4, all},
        {{row.data(), 1'400'000'000, 1}, 1, all},
        {{row.data(), 65536, 1}, 4, "tga jpg"},
        {{row.data(), 1, 65536}, 1, "tga jpg"},
        {{row.data(), 65535, 1}, 4, ""},
    };
    for (const auto& c : cases) {
        for (const std::string format : {"bmp", "png", "tga", "jpg"}) {
            SCOPED_TRACE(testing::Message() << c.image.width << "x" << c.image.height << " "
                                            << c.channels << " " << format);
            const std::string path = in_folder("a." + format);
            const bool refused = c.refused_by.find(format) != std::string_view::npos;
            EXPECT_EQ(image_save(c.image, slice(path), static_cast<i8>(c.channels)),
                      refused ? 0 : 1);
            EXPECT_EQ(fs::remove(path), !refused);
        }
    }
}

// Only loads of the library's own end where a block is refused.
TEST_F(ImagesTest, AHostThatCallsTheDecoderItselfGetsItsNull) {
    const auto decode =
        by_name<void*(const u8*, int, int*, int*, int*, int)>("stbi_load_from_memory");
    const bytes file = read_file(path_of("24.bmp"));
    for (const i64 size : {i64{100}, ample}) {
        buffer.try_in(size, [&] { return load(file, 3).data != nullptr; });
        const attempt own = buffer.try_in(size, [&] {
            int sizes[3];
            return decode(file.data(), static_cast<int>(file.size()), sizes, sizes + 1, sizes + 2,
                          3) != nullptr;
        });
        EXPECT_EQ(own.succeeded, size == ample);
        EXPECT_EQ(own.printed.empty(), size == ample);
    }
}

} // namespace
