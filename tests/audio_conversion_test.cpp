// SPDX-License-Identifier: Zlib
// Every conversion against a model that works on values, one sample after the other. Each check is
// made with both sets of passes, so that a processor with AVX2 doesn't leave the other untried.
#include "audio/conversion_kernels.h"

#include "support/sample_model.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <xmmintrin.h>

namespace halvorin {
namespace {

using namespace sample_model;

constexpr u8 formats[] = {0, 1, 2, 3, 4, 5, 6, 7, 255};

// The sets of passes that this processor can run.
const std::vector<const conversion_passes*>& all_passes() {
    static const auto found = [] {
        std::vector<const conversion_passes*> passes = {&sse2_passes};
        if (has_avx2())
            passes.push_back(&avx2_passes);
        else
            std::puts("this processor has no AVX2: its passes aren't tried");
        return passes;
    }();
    return found;
}

void check_conversion(const byte_block& samples, u8 from, u8 to) {
    const byte_block expected = model(samples, from, to);
    for (const conversion_passes* passes : all_passes()) {
        byte_block block = samples;
        block.resize(std::max(samples.size(), expected.size()));
        Wave wave = {from, 2, 44100, static_cast<i64>(samples.size()), block.data()};
        convert_wave(wave, to, *passes);
        block.resize(expected.size());
        if (block == expected) continue;
        const auto first = std::mismatch(block.begin(), block.end(), expected.begin()).first;
        ADD_FAILURE() << "format " << +from << " to " << +to << ": sample "
                      << (first - block.begin()) / static_cast<i64>(width_of(to)) << " differs"
                      << (passes == &avx2_passes ? " with AVX2" : "");
    }
}

// The ends of all ranges with their neighbours, and what isn't a number.
std::vector<u32> float_edges() {
    std::vector<float> found = {0, 0x1p-149F, 0x1p-127F, INFINITY, NAN};
    for (const double scale : {127.0, 32767.0, 2147483647.0}) {
        for (const double product :
             {0.5, 1.0, 2.0, 126.0, 127.0, 128.0, 129.0, 255.0, 256.0, 32766.0, 32767.0, 32768.0,
              32769.0, 65535.0, 65536.0, 2147483646.0, 2147483648.0, 2147483904.0, 4294967296.0}) {
            const float sample = static_cast<float>(product / scale);
            found.insert(found.end(),
                         {std::nextafterf(sample, 0), sample, std::nextafterf(sample, INFINITY)});
        }
    }
    std::vector<u32> edges = {0x7F800001}; // a signalling NaN
    for (const float sample : found) {
        edges.insert(edges.end(), {std::bit_cast<u32>(sample), std::bit_cast<u32>(-sample)});
    }
    return edges;
}

// Those around the powers of two, where quotients lie half-way between two floats, or all but.
std::vector<u32> integer_edges() {
    std::vector<u32> edges;
    for (u32 i = 0; i < 32 * 600; ++i) {
        const u32 bits = (1U << i / 600) + i % 600 - 300;
        edges.insert(edges.end(), {bits, ~bits});
    }
    return edges;
}

byte_block block_of(const std::vector<u32>& samples) {
    byte_block block;
    for (const u32 sample : samples) {
        append_bytes(block, sample, 4);
    }
    return block;
}

byte_block random_samples(u8 format, size_t count) {
    static const std::vector<u32> edges = float_edges();
    u32 state = 12345;
    byte_block block;
    for (size_t i = 0; i < count; ++i) {
        state = state * 1664525 + 1013904223;
        const float sample = static_cast<float>(static_cast<i32>(state)) / 2147483648.0F;
        u32 bits = format == SAMPLE_FORMAT_F32 ? std::bit_cast<u32>(sample) : state;
        // Of floats, those in the second half leave the range now and then.
        if (format == SAMPLE_FORMAT_F32 && i > count / 2 && i % 3 == 0) {
            bits = edges[state % edges.size()];
        }
        append_bytes(block, bits, width_of(format));
    }
    return block;
}

constexpr size_t guard = 64;
constexpr size_t longest = 70;

// All lengths at one address, in any floating-point mode of a host's: it may round as it likes,
// take subnormal numbers for 0 and have exceptions trap. Nothing but the samples may change.
void check_lengths(const conversion_passes& passes, const byte_block& samples,
                   const byte_block& expected, u8 from, u8 to, size_t offset) {
    constexpr u32 modes[] = {0x1F80, 0x3F80, 0x5F80, 0x7F80, 0x9FC0, 0xFFC0, 0x1FBF, 0, 0x6000};
    const u32 usual = _mm_getcsr();
    alignas(64) u8 memory[guard + 32 + longest * 4 + guard];
    alignas(64) u8 wanted[sizeof memory];
    for (size_t count = 0; count <= longest; ++count) {
        u8* const data = memory + guard + offset;
        std::memset(memory, 0xA5, sizeof memory);
        std::memcpy(data, samples.data(), count * width_of(from));
        std::memcpy(wanted, memory, sizeof memory);
        std::memcpy(wanted + guard + offset, expected.data(), count * width_of(to));
        Wave wave = {from, -1, -1, static_cast<i64>(count * width_of(from)), data};
        const u32 mode = modes[(count + offset) % std::size(modes)];
        _mm_setcsr(mode);
        convert_wave(wave, to, passes);
        const u32 mode_after = _mm_getcsr();
        _mm_setcsr(usual);
        ASSERT_EQ(mode_after, mode);
        ASSERT_EQ(std::memcmp(memory, wanted, sizeof memory), 0)
            << count << " samples at offset " << offset << " in mode " << mode;
        ASSERT_EQ(wave.size, static_cast<i64>(count * width_of(to)));
        ASSERT_EQ(wave.format, to);
    }
}

TEST(AudioConversionTest, EveryPairOfFormatsAtEveryLengthAndAddressInEveryMode) {
    for (const u8 from : formats) {
        for (const u8 to : formats) {
            SCOPED_TRACE(testing::Message() << "format " << +from << " to " << +to);
            const byte_block samples = random_samples(from, longest);
            const byte_block expected = model(samples, from, to);
            for (const conversion_passes* passes : all_passes()) {
                for (size_t offset = 0; offset < 32; ++offset) {
                    check_lengths(*passes, samples, expected, from, to, offset);
                    ASSERT_FALSE(testing::Test::HasFailure());
                }
            }
        }
    }
}

// Every one of 8 and 16 bits, and of 32 bits every 4,099th bit pattern, or all of them where the
// environment asks for it.
TEST(AudioConversionTest, SamplesFromAllOverTheRange) {
    const u64 step_of_32_bits = std::getenv("HALVORIN_ALL_SAMPLES") != nullptr ? 1 : 4099;
    for (const u8 from : formats) {
        const u64 step = width_of(from) == 4 ? step_of_32_bits : 1;
        const u64 end = u64{1} << (8 * width_of(from));
        for (u64 bits = 0; bits < end;) {
            byte_block block;
            for (; bits < end && block.size() < 1 << 20; bits += step) {
                append_bytes(block, bits, width_of(from));
            }
            for (const u8 to : formats) {
                check_conversion(block, from, to);
            }
            ASSERT_FALSE(HasFailure()) << "in the block that ends ahead of " << bits;
        }
    }
}

// All together, and some in a block by itself each: its neighbours decide which way a sample takes.
TEST(AudioConversionTest, SamplesAtTheEdgesAloneAndTogether) {
    const struct {
        u8 from;
        std::vector<u32> together, alone;
        u32 neighbour; // times the place
    } cases[] = {
        {SAMPLE_FORMAT_F32, float_edges(), float_edges(), 0x01000000},
        {SAMPLE_FORMAT_S32,
         integer_edges(),
         {0x7FFFFFFF, 0x7FFFFFBF, 0x7FFFFF00, 0x7FFFFEFF, 0x80000000, 0x80000041, 0x80007FFF,
          0x80008000, 0x80008041},
         0x01234567},
        {SAMPLE_FORMAT_U32,
         integer_edges(),
         {0xFFFFFFFF, 0xFFFFFFBF, 0xFFFFFF00, 0xFFFFFEFF, 0, 0x41, 0x7FFF, 0x8000, 0x8041},
         0x02345678},
    };
    for (const auto& c : cases) {
        std::vector<byte_block> blocks = {block_of(c.together)};
        for (const u32 edge : c.alone) {
            std::vector<u32> block;
            for (u32 i = 0; i < 32; ++i) {
                block.push_back(i == 7 ? edge : (i + 20) * c.neighbour);
            }
            blocks.push_back(block_of(block));
        }
        for (const byte_block& block : blocks) {
            for (u8 to = 0; to <= SAMPLE_FORMAT_F32; ++to) {
                check_conversion(block, c.from, to);
            }
        }
    }
}

// The low byte of the format counts, and data isn't looked at where there is no sample.
TEST(AudioConversionTest, SizesThatAreNoWholeNumberOfSamples) {
    const auto convert =
        reinterpret_cast<void (*)(Wave*, u64)>(reinterpret_cast<void*>(&audio_wave_convert));
    const struct {
        u8 from, to;
        i64 size, expected;
        size_t samples;
    } cases[] = {
        {SAMPLE_FORMAT_S16, SAMPLE_FORMAT_S8, 5, 2, 2},
        {SAMPLE_FORMAT_S16, SAMPLE_FORMAT_S32, 5, 10, 2},
        {SAMPLE_FORMAT_S16, SAMPLE_FORMAT_U16, 5, 5, 2},
        {SAMPLE_FORMAT_S32, SAMPLE_FORMAT_U16, 7, 3, 1},
        {SAMPLE_FORMAT_F32, SAMPLE_FORMAT_U16, 3, 1, 0},
        {SAMPLE_FORMAT_U16, 9, 3, 3, 0},
        {9, SAMPLE_FORMAT_F32, 3, 6, 1},
        {SAMPLE_FORMAT_U8, SAMPLE_FORMAT_F32, -1, -4, 0},
        {SAMPLE_FORMAT_S16, SAMPLE_FORMAT_S8, INT64_MIN, INT64_MIN / 2, 0},
        {SAMPLE_FORMAT_U8, SAMPLE_FORMAT_S8, INT64_MIN, INT64_MIN, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.size << " bytes, " << +c.from << ">" << +c.to);
        byte_block memory = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
        byte_block expected = memory;
        const auto end = memory.begin() + static_cast<i64>(c.samples * width_of(c.from));
        const byte_block changed = model({memory.begin(), end}, c.from, c.to);
        std::copy(changed.begin(), changed.end(), expected.begin());
        void* const data = c.samples > 0 ? memory.data() : nullptr;
        Wave wave = {c.from, 3, 7, c.size, data};
        convert(&wave, 0xFFFFFFFFFFFFFF00 | c.to);
        EXPECT_EQ(wave.size, c.expected);
        EXPECT_EQ(wave.format, c.to);
        EXPECT_EQ(wave.data, data);
        EXPECT_EQ(memory, expected);
        EXPECT_EQ(wave.channels, 3);
        EXPECT_EQ(wave.sample_rate, 7);
    }
}

} // namespace
} // namespace halvorin
