// SPDX-License-Identifier: Zlib
#include "support/image_samples.h"

#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <random>

using namespace image_samples;

// Loads that can't succeed: too little memory, damaged files. Files and blocks lie between pages
// that fault, so that a step outside ends the program.
namespace {

constexpr i64 ample = 1 << 20;

struct sample {
    std::string name;
    bytes content;
};

std::vector<sample> all_samples() {
    std::vector<sample> samples = {{"pic", pic_file()}};
    for (const auto& entry : std::filesystem::directory_iterator(IMAGE_SAMPLES)) {
        const std::string name = entry.path().filename();
        if (name.find(".rgba16") == std::string::npos)
            samples.push_back({name, read_file(entry.path())});
    }
    return samples;
}

struct outcome {
    bool loaded;
    i64 position;
    std::string printed;

    bool operator==(const outcome&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const outcome& o) {
    return stream << (o.loaded ? "loaded, " : "failed, ") << o.position << ", " << o.printed;
}

class ImagesExhaustionTest : public testing::Test {
protected:
    ~ImagesExhaustionTest() override {
        image_set_flip(0);
    }

    // Loads with that much memory and looks at all that a failure may leave behind.
    template <class Load> outcome load_in(i64 lent, const Load& load) {
        buffer.lend(lent);
        Image image = {nullptr, -1, -1};
        outcome result = {};
        result.printed = output.during([&] { load(&image); });
        result.loaded = image.data != nullptr;
        result.position = image_get_buffer_position();
        EXPECT_TRUE(buffer.is_intact());
        latest = image;
        if (result.loaded) {
            EXPECT_EQ(result.printed, "");
        } else {
            EXPECT_EQ(image.width, 0);
            EXPECT_EQ(image.height, 0);
        }
        return result;
    }
    outcome load_bytes(i64 lent, const bytes& file, size_t count, int channels) {
        void* const data = source.holding(file, count);
        return load_in(lent, [&](Image* image) {
            image_load_from_memory(image, static_cast<i32>(count), data, static_cast<i8>(channels));
        });
    }
    outcome load_bytes(i64 lent, const bytes& file, int channels) {
        return load_bytes(lent, file, file.size(), channels);
    }
    outcome load_file(i64 lent, const std::string& name, int channels) {
        const std::string path = path_of(name);
        return load_in(
            lent, [&](Image* image) { image_load(image, slice(path), static_cast<i8>(channels)); });
    }

    void check_every_refusal(const sample& s, int channels);
    void expect_same_in_used_memory(const bytes& file, size_t count, int channels);

    Image latest = {};
    guarded_block source{1 << 16};
    lent_buffer buffer{ample};
    output_capture output;
};

// One allocation fails at all the sizes between two of these, and with it position and line are
// the same; so each next one is found by halving. The whole sweep tries all sizes.
void ImagesExhaustionTest::check_every_refusal(const sample& s, int channels) {
    const outcome full = load_bytes(ample, s.content, channels);
    ASSERT_TRUE(full.loaded);
    const i64 enough = full.position + 1;
    ASSERT_TRUE(load_bytes(enough, s.content, channels).loaded);
    i64 size = 0;
    int refusals = 0;
    while (size < enough) {
        SCOPED_TRACE(testing::Message() << size << " bytes");
        const outcome first = load_bytes(size, s.content, channels);
        if (first.loaded) break;
        ++refusals;
        if (first.printed == allocation_failed) {
            EXPECT_LE(first.position, (size + 7) / 8 * 8);
        } else {
            EXPECT_EQ(first.printed, reallocation_failed);
            EXPECT_GE(first.position, size);
        }
        i64 same = size;
        i64 other = is_whole_sweep() ? size + 1 : enough;
        while (other - same > 1) {
            const i64 middle = same + (other - same) / 2;
            (load_bytes(middle, s.content, channels) == first ? same : other) = middle;
        }
        if (s.name != "pic") {
            EXPECT_EQ(load_file(size, s.name, channels), first);
            EXPECT_TRUE(same == size || load_file(same, s.name, channels) == first);
        }
        size = other;
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_GE(refusals, 1);
    EXPECT_TRUE(load_bytes(size, s.content, channels).loaded);
}

TEST_F(ImagesExhaustionTest, EverySizeAtWhichAnAllocationFailsEndsInNullAndOneLine) {
    const int before = open_descriptors();
    for (const sample& s : all_samples()) {
        for (const int channels : {0, 1, 2, 3, 4}) {
            for (const b8 flip : {b8{0}, b8{1}}) {
                SCOPED_TRACE(testing::Message()
                             << s.name << ", " << channels << " channels, flip " << +flip);
                image_set_flip(flip);
                check_every_refusal(s, channels);
                ASSERT_FALSE(HasFailure());
            }
        }
    }
    EXPECT_EQ(open_descriptors(), before);
}

// What a file doesn't hold isn't made up from what the memory held before, nor from the stack.
void ImagesExhaustionTest::expect_same_in_used_memory(const bytes& file, size_t count,
                                                      int channels) {
    bytes first;
    for (const int held : {0x00, 0xFF}) {
        // The samples fit in there, and take it from its front.
        constexpr i64 most_taken = 1 << 17;
        std::memset(buffer.memory(), held, most_taken);
        const outcome o = load_bytes(ample, file, count, channels);
        if (!o.loaded) return;
        const auto* const pixels = static_cast<const u8*>(latest.data);
        const bytes now(pixels, pixels + i64{latest.width} * latest.height * std::max(channels, 1));
        if (held == 0x00) first = now;
        ASSERT_EQ(now, first);
    }
}

TEST_F(ImagesExhaustionTest, FilesCutShortAnywhereFailOrGiveAnImage) {
    for (const sample& s : all_samples()) {
        SCOPED_TRACE(s.name);
        for (size_t count = 0; count < s.content.size(); ++count) {
            image_set_flip(count / 5 % 2 == 1);
            const outcome o = load_bytes(ample, s.content, count, static_cast<int>(count % 5));
            ASSERT_EQ(o.printed, "") << count;
            expect_same_in_used_memory(s.content, count, static_cast<int>(count % 5));
            ASSERT_FALSE(HasFailure()) << count;
        }
    }
    const bytes pic = pic_file();
    for (size_t count = 0; count < pic.size(); ++count) {
        for (const int channels : {0, 1, 2, 3, 4}) {
            image_set_flip(count % 2 == 1);
            EXPECT_FALSE(load_bytes(ample, pic, count, channels).loaded);
        }
    }
}

// All but the first three colours of a list taken out of a file whose pixels go on naming them.
bytes without_colours(bytes file, size_t list, size_t bytes_a_colour, size_t count) {
    const auto start = file.begin() + static_cast<i64>(list);
    file.erase(start + static_cast<i64>(3 * bytes_a_colour),
               start + static_cast<i64>(count * bytes_a_colour));
    return file;
}

TEST_F(ImagesExhaustionTest, ColoursThatAFileDoesntHaveAreBlack) {
    bytes png = read_file(path_of("palette8.png"));
    const std::string_view chunk = "PLTE";
    const size_t name = static_cast<size_t>(
        std::search(png.begin(), png.end(), chunk.begin(), chunk.end()) - png.begin());
    ASSERT_LT(name, png.size());
    const size_t count = static_cast<size_t>(png[name - 2] << 8 | png[name - 1]) / 3;
    png[name - 2] = 0;
    png[name - 1] = 9;
    bytes bmp = read_file(path_of("8.bmp"));
    const size_t header = 54;
    const size_t list = static_cast<size_t>(bmp[10] | bmp[11] << 8) - header;
    bmp[10] = header + 12;
    bmp[11] = 0;
    const bytes files[] = {without_colours(png, name + 4, 3, count),
                           without_colours(bmp, header, 4, list / 4)};
    for (const bytes& file : files) {
        // Where there is a list in use still, it is full of what the call before left there.
        ASSERT_TRUE(load_bytes(ample, read_file(path_of("palette8.png")), 3).loaded);
        ASSERT_TRUE(load_bytes(ample, file, 3).loaded);
        const auto* const pixels = static_cast<const u8*>(latest.data);
        const i64 all = i64{latest.width} * latest.height;
        i64 black = 0;
        for (i64 i = 0; i < all; ++i) {
            black += pixels[3 * i] == 0 && pixels[3 * i + 1] == 0 && pixels[3 * i + 2] == 0;
        }
        EXPECT_GE(black, all * 9 / 10);
    }
}

TEST_F(ImagesExhaustionTest, DamagedFilesFailOrGiveAnImage) {
    std::mt19937 random(20);
    for (const sample& s : all_samples()) {
        SCOPED_TRACE(s.name);
        for (int round = 0; round < 400; ++round) {
            bytes damaged = s.content;
            for (u32 left = random() % 4 + 1; left > 0; --left) {
                // Every other change goes where the sizes are.
                const size_t range =
                    left % 2 == 0 ? damaged.size() : std::min<size_t>(damaged.size(), 64);
                damaged[random() % range] = static_cast<u8>(random());
            }
            image_set_flip(round % 2 == 1);
            const outcome o = load_bytes(ample, damaged, round % 5);
            ASSERT_TRUE(o.printed == "" || o.printed == allocation_failed ||
                        o.printed == reallocation_failed)
                << o.printed;
        }
    }
}

bytes with_big_endian(bytes file, size_t at, u32 first, u32 second) {
    for (const u32 value : {first, second}) {
        for (const int shift : {24, 16, 8, 0}) {
            file[at++] = static_cast<u8>(value >> shift);
        }
    }
    return file;
}

// Sizes that leave the range of 32 bits on the way, or whose next block would.
TEST_F(ImagesExhaustionTest, HugePicturesAreRefusedWhateverTheirSizeBecomes) {
    const bytes grey16 = read_file(path_of("grey16.png"));
    const bytes rgba16 = read_file(path_of("rgba16.png"));
    const bytes psd = read_file(path_of("raw.psd"));
    const struct {
        bytes file;
        const char* printed;
    } cases[] = {
        {with_big_endian(grey16, 16, 32768, 32768), allocation_failed},
        {with_big_endian(grey16, 16, 1 << 24, 64), allocation_failed},
        {with_big_endian(rgba16, 16, 1 << 24, 16), allocation_failed},
        {with_big_endian(rgba16, 16, 16384, 16384), allocation_failed},
        {with_big_endian(grey16, 16, 1 << 24, 1 << 24), ""},
        {with_big_endian(psd, 14, 30000, 17000), allocation_failed},
        {with_big_endian(psd, 14, 0xFFFFFFFF, 0xFFFFFFFF), ""},
        {with_big_endian(psd, 14, 30000, 30000), ""},
    };
    for (const auto& c : cases) {
        for (const int channels : {1, 4}) {
            const outcome o = load_bytes(ample, c.file, channels);
            EXPECT_FALSE(o.loaded);
            EXPECT_EQ(o.printed, c.printed);
            EXPECT_GE(o.position, 0);
        }
    }
}

} // namespace
