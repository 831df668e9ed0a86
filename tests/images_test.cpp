// SPDX-License-Identifier: Zlib
#include "support/guarded_text.h"
#include "support/heap_calls.h"
#include "support/image_samples.h"

#include <dlfcn.h>
#include <filesystem>
#include <gtest/gtest.h>

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

// The file's own channels, and how its pixels compare with what ImageMagick reads.
struct sample {
    const char* name;
    int own_channels;
    compared how = compared::exactly;
};

constexpr sample samples[] = {
    {"444.jpg", 3, compared::roughly},
    {"420.jpg", 3, compared::roughly},
    {"422.jpg", 3, compared::roughly},
    {"progressive.jpg", 3, compared::roughly},
    {"grey.jpg", 1, compared::roughly},
    {"grey1.png", 1},
    {"grey2.png", 1},
    {"grey4.png", 1},
    {"grey8.png", 1},
    {"grey16.png", 1, compared::in_16_bits},
    {"rgb8.png", 3},
    {"rgb16.png", 3, compared::in_16_bits},
    {"palette1.png", 3},
    {"palette2.png", 3},
    {"palette4.png", 3},
    {"palette8.png", 3},
    {"palette8-alpha.png", 4},
    {"grey-alpha8.png", 2},
    {"grey-alpha16.png", 2, compared::in_16_bits},
    {"rgba8.png", 4},
    {"rgba16.png", 4, compared::in_16_bits},
    {"rgba8-interlaced.png", 4},
    {"rgb16-interlaced.png", 3, compared::in_16_bits},
    {"grey4-interlaced.png", 1},
    {"rgb8-key.png", 4},
    {"large.png", 3},
    {"1.bmp", 3},
    {"4.bmp", 3},
    {"8.bmp", 3},
    {"555.bmp", 3},
    {"565.bmp", 3},
    {"24.bmp", 3},
    {"32.bmp", 4},
    {"plain.gif", 4},
    {"interlaced.gif", 4},
    {"clear.gif", 4, compared::where_opaque},
    {"animated.gif", 4},
    {"raw.psd", 4},
    {"packed.psd", 4},
    {"alpha.psd", 4},
    {"raw16.psd", 4},
    {"8.pgm", 1},
    {"16.pgm", 1, compared::in_16_bits},
    {"8.ppm", 3},
    {"16.ppm", 3, compared::in_16_bits},
    {"rgb.tga", 3},
    {"rgb-rle.tga", 3},
    {"rgba.tga", 4},
    {"rgba-rle.tga", 4},
    {"grey.tga", 1},
    {"grey-rle.tga", 1},
    {"palette.tga", 3},
    {"palette-rle.tga", 3},
};

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
        Image image = {nullptr, -1, -1};
        image_load(&image, slice(path), static_cast<i8>(channels));
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

TEST_F(ImagesTest, PositionMovesByTheProtocol) {
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
}

// The PNG's data in chunks of 3000 bytes. Its reader takes 4096 bytes for them and doubles that in
// place when the second chunk comes. It reads no checksums.
bytes in_small_chunks(const bytes& png) {
    const std::string_view text(reinterpret_cast<const char*>(png.data()), png.size());
    const size_t end = text.find("IEND") - 8;
    size_t at = text.find("IDAT") + 4;
    bytes chunks(png.begin(), png.begin() + 33);
    while (at < end) {
        const size_t size = std::min<size_t>(3000, end - at);
        append(chunks, {0, 0, static_cast<int>(size / 256), static_cast<int>(size % 256)});
        append(chunks, {'I', 'D', 'A', 'T'});
        std::copy_n(png.data() + at, size, std::back_inserter(chunks));
        append(chunks, {0, 0, 0, 0});
        at += size;
    }
    std::copy(png.data() + end + 4, png.data() + png.size(), std::back_inserter(chunks));
    return chunks;
}

TEST_F(ImagesTest, ExhaustedBufferIsUsableAgainFromAMark) {
    const bytes bmp = read_file(path_of("24.bmp"));
    const bytes png = in_small_chunks(read_file(path_of("large.png")));
    constexpr i64 size = 21 * 13 * 3;
    const struct {
        const bytes& file;
        i64 start, lent, position;
        const char* printed;
    } cases[] = {
        {bmp, 0, size, size, ""},
        {bmp, 5, size + 8, size + 8, ""},
        {bmp, 5, size + 7, 8, allocation_failed},
        {bmp, 0, 0, 0, allocation_failed},
        {bmp, size + 1, size, size + 5, allocation_failed},
        {bmp, INT64_MAX, size, INT64_MAX, allocation_failed},
        {bmp, INT64_MIN, size, INT64_MIN, allocation_failed},
        {png, 0, 4095, 0, allocation_failed},
        {png, 0, 4096, 8192, reallocation_failed},
        {png, 0, 8192, 8192, reallocation_failed},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.start << " of " << c.lent);
        buffer.lend(c.lent);
        image_set_buffer_position(c.start);
        Image image = {};
        EXPECT_EQ(output.during([&] { image = load(c.file, 3); }), c.printed);
        EXPECT_EQ(image.data == nullptr, *c.printed != 0);
        EXPECT_EQ(image_get_buffer_position(), c.position);
        image_set_buffer_position(0);
        output.during([&] { image = load(bmp, 3); });
        EXPECT_EQ(image.data != nullptr, c.lent >= size);
        EXPECT_TRUE(buffer.is_intact());
    }
}

TEST_F(ImagesTest, NothingLoadsWithoutABuffer) {
    image_set_buffer(ample, nullptr);
    for (const sample& s : samples) {
        SCOPED_TRACE(s.name);
        Image image = {};
        const auto printed = output.during([&] { image = load(path_of(s.name), 4); });
        EXPECT_EQ(printed, allocation_failed);
        EXPECT_EQ(image.data, nullptr);
        EXPECT_EQ(image_get_buffer_position(), 0);
    }
}

TEST_F(ImagesTest, WhatCannotBeAnImageGivesNull) {
    const bytes gif = {'G', 'I', 'F', '8', '9', 'a', 0, 0, 0, 0, 0x80, 0, 0, 0,    0, 0,
                       1,   1,   1,   ',', 0,   0,   0, 0, 0, 0, 0,    0, 0, 0x3B, 0};
    bytes empty_pgm = {'P', '5', ' ', '0', ' ', '7', ' ', '2', '5', '5', '\n'};
    bytes empty_psd = read_file(path_of("raw.psd"));
    std::fill_n(empty_psd.begin() + 14, 8, u8{0});
    for (const bytes& file : {gif, empty_pgm, empty_psd, bytes(1, 'P')}) {
        const Image image = load(file, 4);
        EXPECT_EQ(image.data, nullptr);
        EXPECT_EQ(image.width, 0);
        EXPECT_EQ(image.height, 0);
    }

    image_set_buffer_position(0);
    Image image = {};
    image_load_from_memory(&image, 0, buffer.memory(), 4);
    EXPECT_EQ(image.data, nullptr);
    image_load_from_memory(&image, -1, buffer.memory(), 4);
    EXPECT_EQ(image.data, nullptr);
    image_load_from_memory(&image, 100, nullptr, 4);
    EXPECT_EQ(image.data, nullptr);
    for (const int channels : {-128, -1, 5, 127}) {
        EXPECT_EQ(load(path_of("8.ppm"), channels).data, nullptr);
        EXPECT_EQ(load(read_file(path_of("8.ppm")), channels).data, nullptr);
    }
    EXPECT_EQ(image_get_buffer_position(), 0);
}

template <class Function> Function* exported(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_DEFAULT, name));
}

TEST_F(ImagesTest, OnlyTheLowByteOfNarrowArgumentsCounts) {
    const auto wide_load = exported<void(Image*, Slice, u64)>("image_load");
    const auto wide_save = exported<u8(Image, Slice, u64)>("image_save");
    const auto wide_flip = exported<void(u64)>("image_set_flip");
    const std::string path = path_of("8.ppm");
    Image image = {};
    wide_load(&image, slice(path), 0xFFFFFFFFABCDEF03);
    const bytes upright = pixels_of(image, 3);
    EXPECT_EQ(upright, pixels_of(load(path, 3), 3));
    EXPECT_EQ(wide_save(image, slice(in_folder("a.bmp")), 0xFFFFFFFFABCDEF03), 1);
    for (const u64 flip : {0x02u, 0x80u, 0x101u}) {
        wide_flip(flip);
        EXPECT_NE(pixels_of(load(path, 3), 3), upright);
        wide_flip(0xFFFFFF00);
        EXPECT_EQ(pixels_of(load(path, 3), 3), upright);
    }
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
        if (std::string_view(s.name) == "large.png") continue;
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
    for (const int channels : {1, 2, 3, 4}) {
        const Image image = load(path_of("rgba8.png"), channels);
        for (const std::string extension : {"bmp", "png", "tga", "jpg"}) {
            const std::string name = in_folder(extension + std::to_string(channels));
            EXPECT_EQ(image_save(image, slice(name + "." + extension), static_cast<i8>(channels)),
                      1);
            image_set_flip(1);
            const std::string turned = name + "-flipped." + extension;
            EXPECT_EQ(image_save(image, slice(turned), static_cast<i8>(channels)), 1);
            image_set_flip(0);
        }
    }
    const std::string convert =
        "cd '" + folder.string() + "' && mogrify -auto-orient -format rgba -depth 8 *.*";
    ASSERT_EQ(std::system(convert.c_str()), 0);
    for (const int channels : {1, 2, 3, 4}) {
        const bytes pixels = pixels_of(load(path_of("rgba8.png"), channels), channels);
        for (const std::string extension : {"bmp", "png", "tga", "jpg"}) {
            SCOPED_TRACE(extension + std::to_string(channels));
            const std::string name = in_folder(extension + std::to_string(channels));
            const bool has_alpha =
                extension == "bmp" ? channels == 4 : extension != "jpg" && channels % 2 == 0;
            const bytes rgba = saved_pixels(pixels, channels, has_alpha);
            const compared how = extension == "jpg" ? compared::roughly : compared::exactly;
            // ImageMagick takes a TGA of grey and alpha for one of 5 bits a colour.
            const bool is_misread = extension == "tga" && channels == 2;
            compare(is_misread ? pixels_of(load(name + ".tga", 4), 4) : read_file(name + ".rgba"),
                    rgba, 4, how);
            if (is_misread) continue;
            compare(read_file(name + "-flipped.rgba"), upside_down(rgba), 4, how);
        }
    }
}

TEST_F(ImagesTest, ExtensionIsWhatFollowsTheLastDotOfTheWholePath) {
    u8 pixel[4] = {1, 2, 3, 4};
    fs::create_directory(folder / "d.png");
    const fs::path outside = fs::current_path();
    fs::current_path(folder);
    using namespace std::string_literals;
    const struct {
        std::string name, made;
    } cases[] = {
        {"a.tar.png", "a.tar.png"},
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
        {"a.pngpng"s, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        guarded_text path(c.name);
        EXPECT_EQ(image_save({pixel, 1, 1}, path.slice(), 4), c.made.empty() ? 0 : 1);
        const bool created = fs::exists(in_folder(c.made)) && !c.made.empty();
        EXPECT_EQ(created, !c.made.empty());
        if (created) {
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
    const std::string formats[] = {"bmp", "png", "tga", "jpg"};
    const struct {
        Image image;
        int channels;
        std::string_view refused_by; // all but those not named
    } cases[] = {
        {{nullptr, 1, 1}, 4, "bmp png tga jpg"},
        {{row.data(), 0, 1}, 4, "bmp png tga jpg"},
        {{row.data(), 1, 0}, 4, "bmp png tga jpg"},
        {{row.data(), -1, 1}, 4, "bmp png tga jpg"},
        {{row.data(), 1, INT32_MIN}, 4, "bmp png tga jpg"},
        {{row.data(), 1, 1}, 0, "bmp png tga jpg"},
        {{row.data(), 1, 1}, 5, "bmp png tga jpg"},
        {{row.data(), 1, 1}, -1, "bmp png tga jpg"},
        {{row.data(), 32768, 32768}, 4, "bmp png tga jpg"},
        {{row.data(), INT32_MAX, INT32_MAX}, 4, "bmp png tga jpg"},
        {{row.data(), INT32_MAX, 1}, 1, "bmp png tga jpg"},
        {{row.data(), 1'400'000'000, 1}, 1, "bmp png tga jpg"},
        {{row.data(), 65536, 1}, 4, "tga jpg"},
        {{row.data(), 1, 65536}, 1, "tga jpg"},
        {{row.data(), 65535, 1}, 4, ""},
    };
    for (const auto& c : cases) {
        for (const std::string& format : formats) {
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

TEST_F(ImagesTest, PathsReachTheFileSystemAsTheyAre) {
    const bytes file = read_file(path_of("8.ppm"));
    for (const std::string name :
         {"größe 日本 🙂.ppm", "not UTF-8 \xC3\x28\xFF", "no extension"}) {
        SCOPED_TRACE(name);
        fs::copy_file(path_of("8.ppm"), folder / name);
        guarded_text path(in_folder(name));
        Image image = {};
        image_load(&image, path.slice(), 3);
        EXPECT_EQ(pixels_of(image, 3), pixels_of(load(file, 3), 3));
    }
    // A path of any length that names a file: over-long ones are refused, not cut.
    const std::string prefix = in_folder("8.ppm");
    fs::copy_file(path_of("8.ppm"), prefix);
    const std::string folded = "/" + std::string(16384, '/') + prefix;
    EXPECT_EQ(load(folded, 3).data, nullptr);
    EXPECT_EQ(image_save(load(prefix, 3), slice(prefix + std::string(16384, 0) + ".png"), 3), 0);
    EXPECT_EQ(read_file(prefix), file);
}

TEST_F(ImagesTest, FreeingPixelsDoesNothing) {
    const auto free_image = exported<void(void*)>("stbi_image_free");
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
        exported<void*(const u8*, int, int*, int*, int*, int)>("stbi_load_from_memory");
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

TEST_F(ImagesTest, LoadsLeaveNoDescriptorOpen) {
    bytes broken = read_file(path_of("444.jpg"));
    broken.resize(broken.size() / 2);
    std::ofstream(in_folder("broken.png"), std::ios::binary) << "\x89PNG\r\n\x1A\nbroken";
    const int before = open_descriptors();
    for (const sample& s : samples) {
        load(path_of(s.name), 4);
        buffer.lend(100);
        output.during([&] { load(path_of(s.name), 4); });
        buffer.lend(ample);
        load(in_folder("broken.png"), 4);
        load(in_folder(""), 4);
    }
    EXPECT_EQ(open_descriptors(), before);
}

TEST_F(ImagesTest, LoadsMakeNoHeapCall) {
    if (!HEAP_CALLS_COUNT) GTEST_SKIP() << "the sanitizer's heap stands in for the counting one";
    for (const sample& s : samples) {
        SCOPED_TRACE(s.name);
        const std::string path = path_of(s.name);
        bytes file = read_file(path);
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
        EXPECT_GT(streams_own, 0) << "the count sees the C library's calls";
        EXPECT_EQ(heap_calls::during([&] { image_load(&image, slice(path), 4); }), streams_own);
    }
}

TEST_F(ImagesTest, AThousandLoadsAndSavesLeaveTheHeapAsItWas) {
    if (!HEAP_CALLS_COUNT) GTEST_SKIP() << "the sanitizer's heap stands in for the counting one";
    const std::string target = in_folder("a.png");
    const auto round = [&](const sample& s) {
        image_set_buffer_position(0);
        const Image image = load(path_of(s.name), 4);
        image_save(image, slice(target), 4);
        buffer.lend(1000);
        output.during([&] { load(path_of(s.name), 4); });
        buffer.lend(ample);
    };
    const int before = heap_calls::blocks_in_use;
    for (size_t i = 0; i < 1000; ++i) {
        round(samples[i % std::size(samples)]);
    }
    EXPECT_EQ(heap_calls::blocks_in_use, before);
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
