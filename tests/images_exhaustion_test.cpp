// SPDX-License-Identifier: Zlib
#include "support/image_samples.h"

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

    guarded_block source{1 << 16};
    lent_buffer buffer{ample};
    output_capture output;
};

// One allocation fails at all the sizes between two of these, and with it position and line are
// the same; so each next one is found by halving.
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
        i64 other = enough;
        while (other - same > 1) {
            const i64 middle = same + (other - same) / 2;
            (load_bytes(middle, s.content, channels) == first ? same : other) = middle;
        }
        if (s.name != "pic") {
            EXPECT_EQ(load_file(size, s.name, channels), first);
            EXPECT_EQ(load_file(same, s.name, channels), first);
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

TEST_F(ImagesExhaustionTest, FilesCutShortAnywhereFailOrGiveAnImage) {
    for (const sample& s : all_samples()) {
        SCOPED_TRACE(s.name);
        for (size_t count = 0; count < s.content.size(); ++count) {
            image_set_flip(count / 5 % 2 == 1);
            const outcome o = load_bytes(ample, s.content, count, static_cast<int>(count % 5));
            ASSERT_EQ(o.printed, "") << count;
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
