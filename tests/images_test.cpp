// SPDX-License-Identifier: Zlib
#include "support/heap_calls.h"
#include "support/image_samples.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sstream>

using namespace image_samples;
namespace fs = std::filesystem;

namespace {

constexpr i64 ample = 1 << 20;

enum class compared {
    exactly,
    in_16_bits,
    where_opaque,
    roughly
};

struct sample {
    std::string name;
    int own_channels; // those that a file has by itself
    compared how;     // with what ImageMagick reads
};

std::vector<sample> all_samples() {
    using enum compared;
    const struct {
        const char* names;
        int channels;
        compared how;
    } groups[] = {
        {"444.jpg 420.jpg 422.jpg progressive.jpg", 3, roughly},
        {"grey.jpg", 1, roughly},
        {"grey1.png grey2.png grey4.png grey8.png grey4-interlaced.png", 1, exactly},
        {"8.pgm grey.tga grey-rle.tga", 1, exactly},
        {"grey16.png 16.pgm", 1, in_16_bits},
        {"grey-alpha8.png", 2, exactly},
        {"grey-alpha16.png", 2, in_16_bits},
        {"rgb8.png palette1.png palette2.png palette4.png palette8.png large.png", 3, exactly},
        {"1.bmp 4.bmp 8.bmp 555.bmp 565.bmp 24.bmp 8.ppm", 3, exactly},
        {"rgb.tga rgb-rle.tga palette.tga palette-rle.tga", 3, exactly},
        {"rgb16.png rgb16-interlaced.png 16.ppm", 3, in_16_bits},
        {"palette8-alpha.png rgba8.png rgba8-interlaced.png rgb8-key.png", 4, exactly},
        {"32.bmp plain.gif interlaced.gif animated.gif rgba.tga rgba-rle.tga", 4, exactly},
        {"raw.psd packed.psd alpha.psd raw16.psd", 4, exactly},
        {"rgba16.png", 4, in_16_bits},
        {"clear.gif", 4, where_opaque},
    };
    std::vector<sample> all;
    for (const auto& group : groups) {
        std::istringstream names(group.names);
        for (std::string name; names >> name;) {
            all.push_back({name, group.channels, group.how});
        }
    }
    return all;
}

const std::vector<sample> samples = all_samples();

int luma(const int* rgb) {
    return (77 * rgb[0] + 150 * rgb[1] + 29 * rgb[2]) >> 8;
}

// One pixel of 16-bit RGBA as a load gives it. Files of 16 bits are weighed to grey before they
// are cut to 8, all others after.
void append_pixel(bytes& pixels, const u8* rgba16, int channels, compared how) {
    int wide[4];
    int narrow[4];
    for (int i = 0; i < 4; ++i) {
        wide[i] = rgba16[2 * i] | rgba16[2 * i + 1] << 8;
        narrow[i] = wide[i] >> 8;
    }
    const int grey = how == compared::in_16_bits ? luma(wide) >> 8 : luma(narrow);
    if (channels <= 2) append(pixels, {grey});
    if (channels >= 3) append(pixels, {narrow[0], narrow[1], narrow[2]});
    if (channels % 2 == 0) append(pixels, {narrow[3]});
}

bytes expected_pixels(const bytes& rgba16, int channels, compared how) {
    bytes pixels;
    for (size_t at = 0; at < rgba16.size(); at += 8) {
        append_pixel(pixels, rgba16.data() + at, channels, how);
    }
    return pixels;
}

bytes pixels_of(const Image& image, int channels) {
    if (image.data == nullptr) return {};
    const u8* const data = static_cast<u8*>(image.data);
    return {data, data + i64{image.width} * image.height * channels};
}

// Decoders of JPEG may round differently at each of their steps: the inverse transform, the
// scaling up of the colours and the way back to RGB add up to a few levels.
constexpr int jpeg_levels = 3;

void compare(const bytes& pixels, const bytes& expected, int channels, compared how) {
    ASSERT_EQ(pixels.size(), expected.size());
    const auto step = static_cast<size_t>(channels);
    for (size_t i = 0; i < pixels.size(); ++i) {
        const size_t alpha = i / step * step + step - 1;
        if (how == compared::where_opaque && channels != 4) continue;
        if (how == compared::where_opaque && expected[alpha] == 0 && i != alpha) continue;
        const int difference = std::abs(pixels[i] - expected[i]);
        ASSERT_LE(difference, how == compared::roughly ? jpeg_levels : 0) << "byte " << i;
    }
}

class ImagesTest : public testing::Test {
protected:
    ImagesTest() {
        fs::create_directories(folder);
        buffer.lend(ample);
    }
    ~ImagesTest() override {
        image_set_flip(0);
        fs::remove_all(folder);
    }

    static Image load(const std::string& path, int channels) {
        const guarded_text guarded(path);
        Image image = {nullptr, -1, -1};
        image_load(&image, guarded.slice(), static_cast<i8>(channels));
        return image;
    }
    static Image load(bytes file, int channels) {
        Image image = {nullptr, -1, -1};
        image_load_from_memory(&image, static_cast<i32>(file.size()), file.data(),
                               static_cast<i8>(channels));
        return image;
    }
    std::string in_folder(const std::string& name) const {
        return folder / name;
    }

    const fs::path folder = fs::temp_directory_path() / ("images_test." + std::to_string(getpid()));
    lent_buffer buffer{ample};
    output_capture output;
};

TEST_F(ImagesTest, PixelsAreThoseOfAnotherReader) {
    for (const sample& s : samples) {
        SCOPED_TRACE(s.name);
        const bytes rgba16 = read_file(path_of(s.name) + ".rgba16");
        ASSERT_FALSE(rgba16.empty());
        for (const int channels : {0, 1, 2, 3, 4}) {
            SCOPED_TRACE(channels);
            const int given = channels == 0 ? s.own_channels : channels;
            image_set_buffer_position(0);
            const Image image = load(path_of(s.name), channels);
            const Image same = load(read_file(path_of(s.name)), channels);
            ASSERT_NE(image.data, nullptr);
            ASSERT_EQ(rgba16.size(), static_cast<size_t>(image.width * image.height * 8));
            EXPECT_EQ(image.width, same.width);
            EXPECT_EQ(pixels_of(image, given), pixels_of(same, given));
            compare(pixels_of(image, given), expected_pixels(rgba16, given, s.how), given, s.how);
        }
    }
}

TEST_F(ImagesTest, PicGivesWhatItsPacketsHold) {
    bytes rgba16;
    for (const u8 value : pic_pixels()) {
        append(rgba16, {0, value});
    }
    for (const int channels : {0, 1, 2, 3, 4}) {
        SCOPED_TRACE(channels);
        const Image image = load(pic_file(), channels);
        ASSERT_EQ(image.width, 5);
        ASSERT_EQ(image.height, 2);
        const int given = channels == 0 ? 4 : channels;
        EXPECT_EQ(pixels_of(image, given), expected_pixels(rgba16, given, compared::exactly));
    }
}

// Colours of a half-transparent pixel stand in the file mixed with white.
TEST_F(ImagesTest, PsdWith16BitsAndAlphaGivesItsColoursUnmixed) {
    bytes file;
    append(file, {'8', 'B', 'P', 'S', 0, 1, 0, 0, 0, 0, 0, 0, 0, 4, 0, 0, 0, 1, 0, 0, 0, 2});
    append(file, {0, 16, 0, 3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    for (const int value : {200, 206, 150, 224, 100, 244, 255, 51}) {
        append(file, {value, 9});
    }
    EXPECT_EQ(pixels_of(load(file, 4), 4), (bytes{200, 150, 100, 255, 10, 100, 200, 51}));
}

TEST_F(ImagesTest, PositionMovesByTheProtocolAndAFullBufferIsUsableAgainFromAMark) {
    const bytes file = read_file(path_of("24.bmp"));
    constexpr i64 size = 21 * 13 * 3;
    image_set_buffer_position(5);
    const Image first = load(file, 3);
    EXPECT_EQ(first.data, buffer.memory() + 8);
    EXPECT_EQ(image_get_buffer_position(), 8 + size);
    const bytes kept = pixels_of(first, 3);
    EXPECT_EQ(load(file, 3).data, buffer.memory() + (8 + size + 7) / 8 * 8);
    EXPECT_EQ(pixels_of(first, 3), kept);

    image_set_buffer_position(-3);
    EXPECT_EQ(image_get_buffer_position(), -3);
    image_set_buffer_position(0);
    EXPECT_EQ(image_save(first, slice(in_folder("a.png")), 3), 1);
    EXPECT_EQ(load(in_folder("none.png"), 3).data, nullptr);
    EXPECT_EQ(load(in_folder(""), 3).data, nullptr) << "a directory";
    EXPECT_EQ(image_get_buffer_position(), 0);
    EXPECT_EQ(load(bytes(100, 'x'), 3).data, nullptr);
    EXPECT_GT(image_get_buffer_position(), 0) << "what a failed load took stays taken";

    buffer.lend(size);
    image_set_buffer_position(1);
    EXPECT_EQ(output.during([&] { EXPECT_EQ(load(file, 3).data, nullptr); }), allocation_failed);
    EXPECT_EQ(image_get_buffer_position(), 8);
    image_set_buffer_position(0);
    EXPECT_NE(load(file, 3).data, nullptr);
    EXPECT_TRUE(buffer.is_intact());
}

TEST_F(ImagesTest, WhatCannotBeAnImageGivesNull) {
    const bytes gif = {'G', 'I', 'F', '8', '9', 'a', 0, 0, 0, 0, 0x80, 0, 0, 0,    0, 0,
                       1,   1,   1,   ',', 0,   0,   0, 0, 0, 0, 0,    0, 0, 0x3B, 0};
    const bytes empty_pgm = {'P', '5', ' ', '0', ' ', '7', ' ', '2', '5', '5', '\n'};
    bytes empty_psd = read_file(path_of("raw.psd"));
    std::fill_n(empty_psd.begin() + 14, 8, u8{0});
    for (const bytes& file : {gif, empty_pgm, empty_psd, bytes(1, 'P')}) {
        const Image image = load(file, 4);
        EXPECT_EQ(image.data, nullptr);
        EXPECT_EQ(image.width, 0);
        EXPECT_EQ(image.height, 0);
    }

    image_set_buffer_position(0);
    const std::pair<i32, void*> no_files[] = {
        {0, buffer.memory()}, {-1, buffer.memory()}, {100, nullptr}};
    for (const auto& [size, data] : no_files) {
        Image image = {data, 1, 1};
        image_load_from_memory(&image, size, data, 4);
        EXPECT_EQ(image.data, nullptr);
    }
    for (const int channels : {-128, -1, 5, 127}) {
        EXPECT_EQ(load(path_of("8.ppm"), channels).data, nullptr);
        EXPECT_EQ(load(read_file(path_of("8.ppm")), channels).data, nullptr);
    }
    EXPECT_EQ(image_get_buffer_position(), 0);
}

// Rows of 21 by 13 pixels from last to first.
bytes upside_down(const bytes& pixels) {
    const size_t row = pixels.size() / 13;
    bytes turned;
    for (size_t at = pixels.size(); at > 0; at -= row) {
        turned.insert(turned.end(), pixels.begin() + static_cast<i64>(at - row),
                      pixels.begin() + static_cast<i64>(at));
    }
    return turned;
}

TEST_F(ImagesTest, FlipTurnsLoadsOfAllFormatsAndSavesBack) {
    for (const sample& s : samples) {
        if (s.name == "large.png") continue;
        SCOPED_TRACE(s.name);
        image_set_buffer_position(0);
        image_set_flip(0);
        const bytes upright = pixels_of(load(path_of(s.name), 3), 3);
        image_set_flip(1);
        const Image turned = load(path_of(s.name), 3);
        EXPECT_EQ(pixels_of(turned, 3), upside_down(upright));
        for (const char* name : {"a.png", "a.bmp", "a.tga"}) {
            image_set_flip(1);
            EXPECT_EQ(image_save(turned, slice(in_folder(name)), 3), 1);
            image_set_flip(0);
            EXPECT_EQ(pixels_of(load(in_folder(name), 3), 3), upright);
        }
    }
}

// What a file should hold: grey formats keep grey, and alpha stays where the format has it.
bytes saved_pixels(const bytes& pixels, int channels, bool keeps_alpha) {
    bytes rgba;
    for (auto p = pixels.begin(); p != pixels.end(); p += channels) {
        const bool is_colour = channels >= 3;
        append(rgba, {p[0], p[is_colour ? 1 : 0], p[is_colour ? 2 : 0]});
        append(rgba, {keeps_alpha ? p[channels - 1] : 255});
    }
    return rgba;
}

TEST_F(ImagesTest, SavedFilesReadBackInAnotherReader) {
    const auto for_each_file = [&](const auto& act) {
        for (const int channels : {1, 2, 3, 4}) {
            const Image image = load(path_of("rgba8.png"), channels);
            for (const std::string format : {"bmp", "png", "tga", "jpg"}) {
                SCOPED_TRACE(format + std::to_string(channels));
                act(image, channels, format, in_folder(format + std::to_string(channels)));
            }
        }
    };
    for_each_file(
        [](const Image& image, int channels, const std::string& format, const std::string& name) {
            for (const bool turned : {true, false}) {
                image_set_flip(turned);
                const std::string path = name + (turned ? "-flipped." : ".") + format;
                EXPECT_EQ(image_save(image, slice(path), static_cast<i8>(channels)), 1);
            }
        });
    const std::string convert =
        "cd '" + folder.string() + "' && mogrify -auto-orient -format rgba -depth 8 *.*";
    ASSERT_EQ(std::system(convert.c_str()), 0);
    for_each_file(
        [](const Image& image, int channels, const std::string& format, const std::string& name) {
            const bool has_alpha =
                format == "bmp" ? channels == 4 : format != "jpg" && channels % 2 == 0;
            const bytes rgba = saved_pixels(pixels_of(image, channels), channels, has_alpha);
            const compared how = format == "jpg" ? compared::roughly : compared::exactly;
            // ImageMagick takes a TGA of grey and alpha for one of 5 bits a colour.
            const bool is_misread = format == "tga" && channels == 2;
            compare(is_misread ? pixels_of(load(name + ".tga", 4), 4) : read_file(name + ".rgba"),
                    rgba, 4, how);
            if (is_misread) return;
            compare(read_file(name + "-flipped.rgba"), upside_down(rgba), 4, how);
        });
}

TEST_F(ImagesTest, ExtensionIsWhatFollowsTheLastDotOfTheWholePath) {
    u8 pixel[4] = {1, 2, 3, 4};
    fs::create_directory(folder / "d.png");
    const fs::path outside = fs::current_path();
    fs::current_path(folder);
    using namespace std::string_literals;
    const struct {
        std::string name, made;
    } cases[] = {{"a.tar.png", "a.tar.png"},
                 {".jpg", ".jpg"},
                 {"é\xFF.bmp", "é\xFF.bmp"},
                 {"a\0b.tga"s, "a"},
                 {"a.png.txt", ""},
                 {"a.PNG", ""},
                 {"a.jpeg", ""},
                 {"a.", ""},
                 {"a", ""},
                 {"d.png/a", ""},
                 {"d.png", ""},
                 {"png", ""},
                 {"a.pn", ""},
                 {"a.png ", ""},
                 {"none/a.png", ""},
                 {"a.png\0"s, ""},
                 {"a.pngpng"s, ""}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        guarded_text path(c.name);
        EXPECT_EQ(image_save({pixel, 1, 1}, path.slice(), 4), c.made.empty() ? 0 : 1);
        if (!c.made.empty()) {
            EXPECT_EQ(load(in_folder(c.made), 4).width, 1);
            fs::remove(in_folder(c.made));
        }
        const auto left = std::distance(fs::directory_iterator(folder), fs::directory_iterator());
        EXPECT_EQ(left, 1) << "d.png alone";
    }
    fs::current_path(outside);
    EXPECT_EQ(image_save({pixel, 1, 1}, {nullptr, 0}, 4), 0);
    EXPECT_EQ(image_save({pixel, 1, 1}, {reinterpret_cast<void*>(8), -5}, 4), 0);
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
        {{row.data(), -1, 1}, 4, all},
        {{row.data(), 1, INT32_MIN}, 4, all},
        {{row.data(), 1, 1}, 0, all},
        {{row.data(), 1, 1}, 5, all},
        {{row.data(), 1, 1}, -1, all},
        {{row.data(), 32768, 32768}, 4, all},
        {{row.data(), INT32_MAX, INT32_MAX}, 4, all},
        {{row.data(), INT32_MAX, 1}, 1, all},
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

TEST_F(ImagesTest, PathsReachTheFileSystemAsTheyAreOrNotAtAll) {
    const bytes file = read_file(path_of("8.ppm"));
    for (const std::string name : {"größe 🙂.ppm", "not UTF-8 \xC3\x28\xFF", "no extension"}) {
        SCOPED_TRACE(name);
        fs::copy_file(path_of("8.ppm"), folder / name);
        EXPECT_EQ(pixels_of(load(in_folder(name), 3), 3), pixels_of(load(file, 3), 3));
    }
    // Over-long ones would name a file if they were cut, or if slashes were no matter.
    const std::string path = in_folder("no extension");
    EXPECT_EQ(load("/" + std::string(16384, '/') + path, 3).data, nullptr);
    EXPECT_EQ(image_save(load(path, 3), slice(path + std::string(16384, 0) + ".png"), 3), 0);
    EXPECT_EQ(read_file(path), file);
}

TEST_F(ImagesTest, FreeingPixelsDoesNothing) {
    const auto free_image = by_name<void(void*)>("stbi_image_free");
    const Image image = load(path_of("8.ppm"), 3);
    const bytes pixels = pixels_of(image, 3);
    const i64 position = image_get_buffer_position();
    free_image(image.data);
    free_image(nullptr);
    EXPECT_EQ(pixels_of(image, 3), pixels);
    EXPECT_EQ(image_get_buffer_position(), position);
}

// Only loads of the library's own end where a block is refused.
TEST_F(ImagesTest, AHostThatCallsTheDecoderItselfGetsItsNull) {
    const auto decode =
        by_name<void*(const u8*, int, int*, int*, int*, int)>("stbi_load_from_memory");
    const bytes file = read_file(path_of("24.bmp"));
    int sizes[3];
    const auto call = [&] {
        return decode(file.data(), static_cast<int>(file.size()), sizes, sizes + 1, sizes + 2, 3);
    };
    EXPECT_NE(load(file, 3).data, nullptr);
    EXPECT_NE(call(), nullptr);
    buffer.lend(100);
    for (const bool after_failure : {false, true}) {
        if (after_failure) output.during([&] { load(file, 3); });
        void* data = sizes;
        EXPECT_EQ(output.during([&] { data = call(); }), allocation_failed);
        EXPECT_EQ(data, nullptr);
    }
}

TEST_F(ImagesTest, LoadsMakeNoHeapCallAndNoCallKeepsADescriptorOrMemoryOfTheHeap) {
    std::ofstream(in_folder("broken.png"), std::ios::binary) << "\x89PNG\r\n\x1A\nbroken";
    const int descriptors = open_descriptors();
    for (const sample& s : samples) {
        SCOPED_TRACE(s.name);
        const std::string path = path_of(s.name), target = in_folder("a.png");
        bytes file = read_file(path);
        const int in_use = heap_calls::blocks_in_use;
        image_set_buffer_position(0);
        Image image = {};
        const int in_memory = heap_calls::during(
            [&] { image_load_from_memory(&image, static_cast<i32>(file.size()), file.data(), 4); });
        EXPECT_EQ(in_memory, 0);
        // A stream takes its own state and its buffer, whoever reads from it.
        const int streams_own = heap_calls::during([&] {
            FILE* const stream = std::fopen(path.c_str(), "rb");
            std::fgetc(stream);
            std::fclose(stream);
        });
        EXPECT_TRUE(streams_own > 0 || !HEAP_CALLS_COUNT);
        EXPECT_EQ(heap_calls::during([&] { image_load(&image, slice(path), 4); }), streams_own);
        EXPECT_EQ(image_save(image, slice(target), 4), 1);
        load(in_folder("broken.png"), 4);
        load(in_folder(""), 4);
        buffer.lend(100);
        output.during([&] { load(path, 4); });
        buffer.lend(ample);
        EXPECT_EQ(heap_calls::blocks_in_use, in_use);
    }
    EXPECT_EQ(open_descriptors(), descriptors);
}

// The page in the header promises this for any file.
TEST_F(ImagesTest, RuleOfThumbForTheBufferHolds) {
    for (const sample& s : samples) {
        for (const int channels : {1, 2, 3, 4}) {
            SCOPED_TRACE(testing::Message() << s.name << " " << channels);
            const bytes file = read_file(path_of(s.name));
            buffer.lend(ample);
            const Image image = load(file, channels);
            const i64 area = i64{image.width + 15} / 16 * ((image.height + 15) / 16) * 256;
            const bool is_wide = s.how == compared::in_16_bits;
            buffer.lend(area * (is_wide ? 44 : 20) + 2 * static_cast<i64>(file.size()) + 65536);
            EXPECT_NE(load(file, channels).data, nullptr);
        }
    }
}

} // namespace
