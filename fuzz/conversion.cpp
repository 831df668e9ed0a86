// SPDX-License-Identifier: Zlib
#include "fuzzing.h"

#include "audio/conversion_kernels.h"
#include "support/sample_model.h"

// Samples between any two formats at any address, with the passes for every processor and with
// those for AVX2, against a model.

using namespace fuzzing;
using namespace sample_model;

namespace {

constexpr i64 most_samples = 1 << 14;
guarded_memory memory(most_samples * 4 + 64);

// The block of the host's goes to the end of the guarded memory; what lies ahead of it there is
// watched.
void convert(const bytes& samples, const bytes& expected, u8 from, u8 to, size_t offset,
             const halvorin::conversion_passes& passes) {
    const size_t room = std::max(samples.size(), expected.size());
    u8* const start = memory.ending(static_cast<i64>(offset + room));
    u8* const data = start + offset;
    std::memset(start, 0xA5, offset + room);
    std::copy(samples.begin(), samples.end(), data);
    Wave wave = {from, -1, -1, static_cast<i64>(samples.size()), data};
    halvorin::convert_wave(wave, to, passes);
    require(wave.format == to && wave.data == data, "the wave has the new format, at its place");
    require(std::equal(expected.begin(), expected.end(), data), "the samples are the model's");
    require(std::all_of(start, data, [](u8 byte) { return byte == 0xA5; }),
            "nothing changes ahead of the samples");
    const size_t used = samples.size() / width_of(from) * std::max(width_of(from), width_of(to));
    require(std::all_of(data + std::max(used, samples.size()), data + room,
                        [](u8 byte) { return byte == 0xA5; }),
            "nothing changes behind the samples");
    const i64 scaled = width_of(to) > width_of(from)
                           ? wave.size / static_cast<i64>(width_of(to) / width_of(from))
                           : wave.size * static_cast<i64>(width_of(from) / width_of(to));
    require(scaled <= static_cast<i64>(samples.size()) &&
                scaled > static_cast<i64>(samples.size()) - 4,
            "the size changes with the width");
}

bytes repeated(const bytes& piece, size_t times) {
    bytes all;
    for (size_t i = 0; i < times && all.size() + piece.size() <= most_samples; ++i) {
        all.insert(all.end(), piece.begin(), piece.end());
    }
    return all;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    input in(data, size);
    const u8 from = in.byte() % 9;
    const u8 to = in.byte() % 9;
    const size_t offset = in.byte() % 32;
    const size_t times = 1 + in.byte() % 64;
    const bytes samples = repeated(in.rest(), times);
    const bytes expected = from == to ? samples : model(samples, from, to);
    convert(samples, expected, from, to, offset, halvorin::sse2_passes);
    if (halvorin::has_avx2()) {
        convert(samples, expected, from, to, offset, halvorin::avx2_passes);
    }
    return 0;
}
