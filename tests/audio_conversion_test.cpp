// SPDX-License-Identifier: Zlib
// Every conversion against a model that works on values, one sample after the other. Each check is
// made with both sets of passes, so that a processor with AVX2 doesn't leave the other untried.
#include "audio/conversion_kernels.h"

#include "support/sample_model.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <vector>
#include <xmmintrin.h>

namespace halvorin {
namespace {

using namespace sample_model;

constexpr u8 formats[] = {0, 1, 2, 3, 4, 5, 6, 7, 255};
const char* const pass_names[] = {"SSE2", "AVX2"};

// Calls `check` with each set of passes that this processor can run.
template <class Check> void with_each_pass(const Check& check) {
    const conversion_passes* const all[] = {&sse2_passes, &avx2_passes};
    for (size_t i = 0; i < 2; ++i) {
        if (i == 1 && !has_avx2()) {
            std::puts("this processor has no AVX2: its passes aren't tried");
            return;
        }
        SCOPED_TRACE(pass_names[i]);
        check(*all[i]);
        if (testing::Test::HasFailure()) return;
    }
}

byte_block converted(const conversion_passes& passes, byte_block block, u8 from, u8 to) {
    Wave wave = {from, 2, 44100, static_cast<i64>(block.size()), nullptr};
    const size_t count = block.size() / width_of(from);
    block.resize(std::max(block.size(), count * width_of(to)));
    wave.data = block.data();
    convert_wave(wave, to, passes);
    block.resize(count * width_of(to));
    return block;
}

// A message of its own: two blocks of a million bytes are nothing to print.
void expect_same(const byte_block& got, const byte_block& expected, size_t width) {
    if (got == expected) return;
    ASSERT_EQ(got.size(), expected.size());
    const auto at = std::mismatch(got.begin(), got.end(), expected.begin()).first - got.begin();
    ADD_FAILURE() << "sample " << static_cast<size_t>(at) / width << " differs";
}

void check_conversion(const byte_block& block, u8 from, u8 to) {
    SCOPED_TRACE(testing::Message() << "format " << int{from} << " to " << int{to});
    const byte_block expected = model(block, from, to);
    with_each_pass([&](const conversion_passes& passes) {
        expect_same(converted(passes, block, from, to), expected, width_of(to));
    });
}

byte_block block_of(const std::vector<float>& samples) {
    byte_block block;
    for (const float sample : samples) {
        append_bytes(block, std::bit_cast<u32>(sample), 4);
    }
    return block;
}

// The ends of all ranges with their neighbours, and what isn't a number.
std::vector<float> edges() {
    std::vector<float> found = {0.0F, 0x1p-149F, 0x1p-127F, INFINITY, NAN};
    for (const double scale : {127.0, 32767.0, 2147483647.0}) {
        for (const double product :
             {0.5, 1.0, 2.0, 126.0, 127.0, 128.0, 129.0, 255.0, 256.0, 32766.0, 32767.0, 32768.0,
              32769.0, 65535.0, 65536.0, 2147483646.0, 2147483648.0, 2147483904.0, 4294967296.0}) {
            const float sample = static_cast<float>(product / scale);
            found.insert(found.end(),
                         {std::nextafterf(sample, 0), sample, std::nextafterf(sample, INFINITY)});
        }
    }
    for (size_t i = 0, count = found.size(); i < count; ++i) {
        found.push_back(-found[i]);
    }
    found.push_back(std::bit_cast<float>(0x7F800001)); // a signalling NaN
    return found;
}

// `count` samples of any kind. The wild ones leave the range now and then.
byte_block samples_of(u8 format, size_t count, bool wild) {
    u32 state = 12345;
    const std::vector<float> wild_ones = edges();
    byte_block block;
    for (size_t i = 0; i < count; ++i) {
        state = state * 1664525 + 1013904223;
        u32 bits = state;
        if (format == SAMPLE_FORMAT_F32) {
            float sample = static_cast<float>(static_cast<i32>(state)) / 2147483648.0F;
            if (wild && i % 3 == 0) sample = wild_ones[state % wild_ones.size()];
            bits = std::bit_cast<u32>(sample);
        }
        append_bytes(block, bits, width_of(format));
    }
    return block;
}

constexpr size_t guard = 64;
constexpr size_t longest = 70;

// All lengths at one address; nothing but the samples may change.
void check_lengths(const conversion_passes& passes, const byte_block& samples,
                   const byte_block& expected, u8 from, u8 to, size_t offset) {
    alignas(64) u8 memory[guard + 32 + longest * 4 + guard];
    alignas(64) u8 wanted[sizeof memory];
    for (size_t count = 0; count <= longest; ++count) {
        u8* const data = memory + guard + offset;
        std::memset(memory, 0xA5, sizeof memory);
        std::memcpy(data, samples.data(), count * width_of(from));
        std::memcpy(wanted, memory, sizeof memory);
        std::memcpy(wanted + guard + offset, expected.data(), count * width_of(to));
        Wave wave = {from, -1, -1, static_cast<i64>(count * width_of(from)), data};
        convert_wave(wave, to, passes);
        ASSERT_EQ(std::memcmp(memory, wanted, sizeof memory), 0)
            << count << " samples at offset " << offset;
        ASSERT_EQ(wave.size, static_cast<i64>(count * width_of(to)));
        ASSERT_EQ(wave.format, to);
    }
}

TEST(AudioConversionTest, EveryPairOfFormatsAtEveryLengthAndAddress) {
    for (const u8 from : formats) {
        for (const u8 to : formats) {
            for (const bool wild : {false, true}) {
                if (wild && from != SAMPLE_FORMAT_F32) continue;
                SCOPED_TRACE(testing::Message() << "format " << int{from} << " to " << int{to});
                const byte_block samples = samples_of(from, longest, wild);
                const byte_block expected = model(samples, from, to);
                with_each_pass([&](const conversion_passes& passes) {
                    for (size_t offset = 0; offset < 32; ++offset) {
                        check_lengths(passes, samples, expected, from, to, offset);
                        if (testing::Test::HasFatalFailure()) return;
                    }
                });
            }
        }
    }
}

TEST(AudioConversionTest, EverySampleOf8And16Bits) {
    for (const u8 from : formats) {
        if (width_of(from) > 2) continue;
        byte_block all;
        for (u32 bits = 0; bits < 1U << (8 * width_of(from)); ++bits) {
            append_bytes(all, bits, width_of(from));
        }
        for (const u8 to : formats) {
            check_conversion(all, from, to);
        }
    }
}

// Those around the powers of two, where quotients lie half-way between two floats, or all but; and
// every 4,099th of the bit patterns, or all of them where the environment asks for it.
TEST(AudioConversionTest, SamplesOf32BitsFromAllOverTheRange) {
    const u64 step = std::getenv("HALVORIN_ALL_SAMPLES") != nullptr ? 1 : 4099;
    constexpr u64 end = u64{1} << 32;
    byte_block around;
    for (u32 i = 0; i < 32 * 600; ++i) {
        const u32 bits = (1U << i / 600) + i % 600 - 300;
        append_bytes(around, bits | u64{~bits} << 32, 8);
    }
    check_conversion(around, SAMPLE_FORMAT_S32, SAMPLE_FORMAT_F32);
    check_conversion(around, SAMPLE_FORMAT_U32, SAMPLE_FORMAT_F32);
    for (u64 bits = 0; bits < end;) {
        byte_block block;
        for (; bits < end && block.size() < 1 << 20; bits += step) {
            append_bytes(block, bits, 4);
        }
        for (const u8 from : {SAMPLE_FORMAT_U32, SAMPLE_FORMAT_S32, SAMPLE_FORMAT_F32}) {
            for (u8 to = 0; to <= SAMPLE_FORMAT_F32; ++to) {
                check_conversion(block, from, to);
                ASSERT_FALSE(HasFailure()) << "in the block that ends ahead of " << bits;
            }
        }
    }
}

// In a block by itself each, too: its neighbours decide which way a sample takes.
TEST(AudioConversionTest, FloatsAtTheEdgesAloneAndTogether) {
    std::vector<std::vector<float>> blocks = {edges()};
    for (const float edge : edges()) {
        blocks.emplace_back(32, 0.25F)[7] = edge;
    }
    for (u8 to = 0; to < SAMPLE_FORMAT_F32; ++to) {
        for (const std::vector<float>& block : blocks) {
            SCOPED_TRACE(block[7]);
            check_conversion(block_of(block), SAMPLE_FORMAT_F32, to);
        }
    }
}

// The ends and what lies just within them, each by itself in a block: it decides which way its
// neighbours take.
TEST(AudioConversionTest, SamplesOf32BitsAtTheEndsAloneToFloats) {
    for (const u8 from : {SAMPLE_FORMAT_S32, SAMPLE_FORMAT_U32}) {
        for (const u32 end : {0x7FFFFFFFU, 0x7FFFFFBFU, 0x7FFFFF00U, 0x7FFFFEFFU, 0x80000000U,
                              0x80000041U, 0x80007FFFU, 0x80008000U, 0x80008041U}) {
            SCOPED_TRACE(end);
            byte_block block;
            for (u32 i = 0; i < 64; ++i) {
                const u32 sample = i == 7 ? end : i * 0x01234567;
                append_bytes(block, sample ^ (from == SAMPLE_FORMAT_U32 ? 0x80000000U : 0), 4);
            }
            check_conversion(block, from, SAMPLE_FORMAT_F32);
        }
    }
}

// What the model has to say, too.
TEST(AudioConversionTest, KnownSamples) {
    const struct {
        u8 from;
        u32 sample;
        u8 to;
        u32 expected;
    } cases[] = {
        {SAMPLE_FORMAT_U8, 128, SAMPLE_FORMAT_S16, 0},
        {SAMPLE_FORMAT_U8, 255, SAMPLE_FORMAT_S16, 32512},
        {SAMPLE_FORMAT_U16, 32768, SAMPLE_FORMAT_F32, 0},
        {SAMPLE_FORMAT_S16, 0x8000, SAMPLE_FORMAT_F32, 0xBF800100}, // -32768 of 32767
        {SAMPLE_FORMAT_F32, 0x3F800000, SAMPLE_FORMAT_S16, 32767},
        {SAMPLE_FORMAT_F32, 0x3F000000, SAMPLE_FORMAT_S16, 16383},
        {SAMPLE_FORMAT_F32, 0xBF7FF972, SAMPLE_FORMAT_U8, 2}, // -0.9999
        {SAMPLE_FORMAT_F32, 0x3FC00000, SAMPLE_FORMAT_S16, 0xBFFE},
        {SAMPLE_FORMAT_F32, 0x3FC00000, SAMPLE_FORMAT_U32, 0},
        {SAMPLE_FORMAT_F32, 0x7FC00000, SAMPLE_FORMAT_U8, 128},
        {SAMPLE_FORMAT_F32, 0x4E6E6B28, SAMPLE_FORMAT_U16, 32768}, // a billion
        {SAMPLE_FORMAT_S32, 0x12345678, SAMPLE_FORMAT_U8, 0x92},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.sample << " in " << int{c.from});
        byte_block block, expected;
        append_bytes(block, c.sample, width_of(c.from));
        append_bytes(expected, c.expected, width_of(c.to));
        EXPECT_EQ(model(block, c.from, c.to), expected);
    }
}

TEST(AudioConversionTest, SizesThatAreNoWholeNumberOfSamples) {
    const struct {
        u8 from, to;
        i64 size, expected;
        size_t samples;
    } cases[] = {
        {SAMPLE_FORMAT_S16, SAMPLE_FORMAT_S8, 5, 2, 2},
        {SAMPLE_FORMAT_S16, SAMPLE_FORMAT_S32, 5, 10, 2},
        {SAMPLE_FORMAT_S16, SAMPLE_FORMAT_U16, 5, 5, 2},
        {SAMPLE_FORMAT_S32, SAMPLE_FORMAT_U8, 7, 1, 1},
        {SAMPLE_FORMAT_S32, SAMPLE_FORMAT_U16, 7, 3, 1},
        {SAMPLE_FORMAT_F32, SAMPLE_FORMAT_U16, 3, 1, 0},
        {SAMPLE_FORMAT_U16, 9, 3, 3, 0},
        {9, SAMPLE_FORMAT_F32, 3, 6, 1},
        {SAMPLE_FORMAT_U8, SAMPLE_FORMAT_F32, -1, -4, 0},
        {SAMPLE_FORMAT_F32, SAMPLE_FORMAT_U8, -9, -2, 0},
        {SAMPLE_FORMAT_S16, SAMPLE_FORMAT_S8, INT64_MIN, INT64_MIN / 2, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.size << " bytes, " << int{c.from} << ">" << int{c.to});
        u8 memory[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
        byte_block expected(memory, memory + sizeof memory);
        const byte_block samples(memory, memory + c.samples * width_of(c.from));
        const byte_block changed = model(samples, c.from, c.to);
        std::copy(changed.begin(), changed.end(), expected.begin());
        Wave wave = {c.from, 3, 7, c.size, memory};
        audio_wave_convert(&wave, c.to);
        EXPECT_EQ(wave.size, c.expected);
        EXPECT_EQ(wave.format, c.to);
        EXPECT_EQ(wave.data, memory);
        EXPECT_EQ(byte_block(memory, memory + sizeof memory), expected);
        EXPECT_EQ(wave.channels, 3);
        EXPECT_EQ(wave.sample_rate, 7);
    }
}

TEST(AudioConversionTest, NoDataIsHarmlessWhereThereIsNoSampleAndTheLowByteOfTheFormatCounts) {
    const auto wide =
        reinterpret_cast<void (*)(Wave*, u64)>(reinterpret_cast<void*>(&audio_wave_convert));
    for (const u8 from : formats) {
        for (const u8 to : formats) {
            for (const i64 size : {i64{0}, INT64_MIN}) {
                Wave wave = {from, 0, 0, size, nullptr};
                wide(&wave, 0xFFFFFFFFFFFFFF00 | to);
                EXPECT_EQ(wave.format, to);
                EXPECT_TRUE(size != 0 || wave.size == 0);
                EXPECT_EQ(wave.data, nullptr);
            }
        }
    }
}

// A host may round as it likes, take subnormal numbers for 0 and have exceptions trap.
TEST(AudioConversionTest, TheFloatingPointModeOfTheHostNeitherMattersNorChanges) {
    constexpr u32 all_masked = 0x1F80;
    constexpr u32 changes[] = {0, 0x2000, 0x4000, 0x6000, 0x8040, 0xE040, 0x3F, 0x1F80, 0x7F80};
    const u32 usual = _mm_getcsr();
    for (const u8 from : formats) {
        for (const u8 to : formats) {
            SCOPED_TRACE(testing::Message() << "format " << int{from} << " to " << int{to});
            const byte_block samples = samples_of(from, 999, true);
            const byte_block expected = model(samples, from, to);
            with_each_pass([&](const conversion_passes& passes) {
                for (const u32 change : changes) {
                    const u32 mode = all_masked ^ change;
                    byte_block block = samples;
                    block.resize(999 * 4);
                    Wave wave = {from, 1, 1, static_cast<i64>(samples.size()), block.data()};
                    _mm_setcsr(mode);
                    convert_wave(wave, to, passes);
                    const u32 mode_after = _mm_getcsr();
                    _mm_setcsr(usual);
                    EXPECT_EQ(mode_after, mode);
                    block.resize(expected.size());
                    expect_same(block, expected, width_of(to));
                }
            });
        }
    }
}

} // namespace
} // namespace halvorin
