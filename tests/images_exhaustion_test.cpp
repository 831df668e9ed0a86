// SPDX-License-Identifier: Zlib
#include "support/image_samples.h"

#include <random>

using namespace image_samples;

// Loads that can't succeed: too little memory, damaged files. Files and blocks lie between pages
// that fault, so that a step outside ends the program.
namespace {

class ImagesExhaustionTest : public testing::Test {
protected:
    ~ImagesExhaustionTest() override {
        image_set_flip(0);
    }
    lent_buffer buffer{image_buffer};
};

// What the page in the header says is enough for any file.
i64 rule_of_thumb(const std::string& name, const Image& image, const bytes& file) {
    const i64 area = i64{image.width + 15} / 16 * ((image.height + 15) / 16) * 256;
    return area * (has_16_bits(name) ? 44 : 20) + 2 * static_cast<i64>(file.size()) + 65536;
}

TEST_F(ImagesExhaustionTest, EverySizeAtWhichAnAllocationFailsEndsInNullAndOneLine) {
    const int descriptors = open_descriptors();
    for (const std::string& name : all_images()) {
        const bytes file = read_file(path_of(name));
        for (const int channels : {0, 1, 2, 3, 4, 10, 11, 12, 13, 14}) {
            SCOPED_TRACE(testing::Message() << name << ", " << channels);
            image_set_flip(channels >= 10);
            Image image = {};
            const auto loads = [&] {
                const bool from_file = channels >= 10;
                image = from_file ? load(path_of(name), channels % 10) : load(file, channels);
                EXPECT_TRUE(image.data != nullptr || (image.width | image.height) == 0);
                return image.data != nullptr;
            };
            const i64 least = buffer.try_every_refusal(loads, is_whole_sweep());
            EXPECT_LE(least, rule_of_thumb(name, image, file));
            ASSERT_FALSE(HasFailure());
        }
    }
    EXPECT_EQ(open_descriptors(), descriptors);
}

TEST_F(ImagesExhaustionTest, FilesCutShortAnywhereOrDamagedFailOrGiveAnImage) {
    std::mt19937 random(20);
    const auto try_load = [&](const bytes& file, size_t count, int channels) {
        return buffer.try_in(ample, [&] { return load(file, count, channels).data != nullptr; });
    };
    for (const std::string& name : all_images()) {
        SCOPED_TRACE(name);
        const bytes file = read_file(path_of(name));
        for (size_t count = 0; count < file.size(); ++count) {
            image_set_flip(count / 5 % 2 == 1);
            const attempt cut = try_load(file, count, static_cast<int>(count % 5));
            ASSERT_EQ(cut.printed, "") << count;
        }
        for (int round = 0; round < 400; ++round) {
            bytes damaged = file;
            for (u32 left = random() % 4 + 1; left > 0; --left) {
                // Every other change goes where the sizes are.
                const size_t range =
                    left % 2 == 0 ? file.size() : std::min<size_t>(file.size(), 64);
                damaged[random() % range] = static_cast<u8>(random());
            }
            try_load(damaged, damaged.size(), round % 5);
            ASSERT_FALSE(HasFailure());
        }
    }
}

} // namespace
