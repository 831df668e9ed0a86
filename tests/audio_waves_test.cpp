// SPDX-License-Identifier: Zlib
#include "support/heap_calls.h"
#include "support/sound_samples.h"

#include <cmath>
#include <ctime>
#include <gtest/gtest.h>
#include <random>

using namespace sound_samples;

namespace {

// One channel of 1,000 frames a second, in any of the formats that a WAV file can have.
bytes wav_file(u16 tag, u16 bits, const bytes& data) {
    const auto word = [](bytes& to, u32 value, int size) {
        for (int i = 0; i < size; ++i) {
            to.push_back(static_cast<u8>(value >> 8 * i));
        }
    };
    bytes file = {'R', 'I', 'F', 'F'};
    word(file, static_cast<u32>(36 + data.size()), 4);
    for (const char c : std::string_view("WAVEfmt ")) {
        file.push_back(static_cast<u8>(c));
    }
    word(file, 16, 4);
    word(file, tag, 2);
    word(file, 1, 2);
    word(file, 1000, 4);
    word(file, 1000u * bits / 8, 4);
    word(file, bits / 8u, 2);
    word(file, bits, 2);
    for (const char c : std::string_view("data")) {
        file.push_back(static_cast<u8>(c));
    }
    word(file, static_cast<u32>(data.size()), 4);
    file.insert(file.end(), data.begin(), data.end());
    return file;
}

template <class T> bytes bytes_of(const std::vector<T>& values) {
    bytes result(values.size() * sizeof(T));
    std::memcpy(result.data(), values.data(), result.size());
    return result;
}

template <class T> std::vector<T> values_of(const bytes& content) {
    std::vector<T> values(content.size() / sizeof(T));
    if (!values.empty()) std::memcpy(values.data(), content.data(), values.size() * sizeof(T));
    return values;
}

// What samples of 32 bits come to in another format.
bytes in_format(const std::vector<i32>& samples, sample_format format) {
    bytes result;
    for (const i32 sample : samples) {
        const auto real = static_cast<float>(sample / 2147483648.0);
        const bool flip = format <= SAMPLE_FORMAT_U32;
        u32 bits = static_cast<u32>(sample) ^ (flip ? 0x80000000 : 0);
        if (format == SAMPLE_FORMAT_F32) std::memcpy(&bits, &real, 4);
        for (int i = 4 - widths[format]; i < 4; ++i) {
            result.push_back(static_cast<u8>(bits >> 8 * i));
        }
    }
    return result;
}

struct outcome {
    Wave wave;
    i64 position;
    std::string printed;

    bool operator==(const outcome& o) const {
        return wave.data == o.wave.data && wave.size == o.wave.size && position == o.position &&
               printed == o.printed;
    }
};

// What the sample's name says.
i32 channels_in(const std::string& name) {
    const std::string counted = "channels-";
    if (name.compare(0, counted.size(), counted) == 0) return name[counted.size()] - '0';
    if (name.find("six") != name.npos) return 6;
    const bool one = name.find("mono") != name.npos || name.find("long") != name.npos;
    return one ? 1 : 2;
}

class AudioWavesTest : public testing::Test {
protected:
    template <class Load> outcome load_in(i64 lent, const Load& load) {
        buffer.lend(lent);
        outcome result = {};
        result.printed = output.during([&] { result.wave = load(); });
        result.position = audio_get_buffer_position();
        return result;
    }
    outcome load_from(const bytes& file, size_t count, i64 lent, sample_format format) {
        void* const data = source.holding(file, count);
        return load_in(lent, [&] {
            const int in_use = heap_calls::blocks_in_use;
            const Wave wave = load_bytes(data, static_cast<i64>(count), format);
            EXPECT_EQ(heap_calls::blocks_in_use, in_use);
            return wave;
        });
    }
    void check_every_refusal(const std::string& name, sample_format format);

    guarded_block source{ample};
    lent_buffer buffer;
    output_capture output;
};

TEST_F(AudioWavesTest, LosslessSoundsAreWhatSoxReadsInEveryFormat) {
    for (const std::string& name : all_sounds()) {
        const bytes reference = read_file(path_of(name + ".s32"));
        for (const sample_format format : all_formats) {
            if (reference.empty()) break;
            SCOPED_TRACE(testing::Message() << name << ", format " << +format);
            audio_set_buffer_position(0);
            const Wave wave = load(path_of(name), format);
            ASSERT_EQ(samples_of(wave), in_format(values_of<i32>(reference), format));
            EXPECT_EQ(wave.format, format);
            EXPECT_EQ(wave.channels, channels_in(name));
            EXPECT_EQ(wave.sample_rate, name.find("mono") != name.npos   ? 8000
                                        : name.find("long") != name.npos ? 22050
                                                                         : 44100);
            // The block holds the decoder's output, of 16 bits at least, and is the last one.
            const auto* const start = static_cast<const u8*>(wave.data);
            const i64 taken = wave.size / widths[format] * std::max(widths[format], 2);
            if (name != "no-length.flac") {
                EXPECT_EQ(start - buffer.memory() + taken, audio_get_buffer_position());
            }
            EXPECT_EQ(start == buffer.memory(), ends_with(name, ".wav"));
            const bytes file = read_file(path_of(name));
            if (name == "in-ogg.flac" || name == "aiff.wav" || name == "s16-big.wav") continue;
            if (name == "w64.wav") continue; // it begins otherwise than a sound in memory has to
            EXPECT_EQ(samples_of(load_bytes(file.data(), static_cast<i64>(file.size()), format)),
                      samples_of(wave));
        }
    }
}

TEST_F(AudioWavesTest, OtherSoundsAreWithinOneOfSixteenBitsOfOtherDecoders) {
    for (const std::string& name : all_sounds()) {
        const auto reference = values_of<i16>(read_file(path_of(name + ".s16")));
        if (reference.empty()) continue;
        SCOPED_TRACE(name);
        audio_set_buffer_position(0);
        EXPECT_EQ(load(path_of(name), SAMPLE_FORMAT_S16).channels, channels_in(name));
        std::vector<i32> own[7];
        for (const sample_format format : all_formats) {
            audio_set_buffer_position(0);
            const bytes samples = samples_of(load(path_of(name), format));
            for (size_t i = 0; i + static_cast<size_t>(widths[format]) <= samples.size();
                 i += static_cast<size_t>(widths[format])) {
                u32 bits = 0;
                std::memcpy(&bits, &samples[i], static_cast<size_t>(widths[format]));
                bits <<= 32 - 8 * widths[format];
                if (format <= SAMPLE_FORMAT_U32) bits ^= 0x80000000;
                float real = 0;
                std::memcpy(&real, &bits, 4);
                own[format].push_back(format == SAMPLE_FORMAT_F32
                                          ? static_cast<i32>(std::lround(real * 32767.0f))
                                          : static_cast<i32>(bits) >> 16);
            }
            ASSERT_EQ(own[format].size(), reference.size()) << +format;
        }
        for (size_t i = 0; i < reference.size(); ++i) {
            const i32 s16 = own[SAMPLE_FORMAT_S16][i];
            // Floats are cut to 16 bits in units of 32767.5, elsewhere rounded in units of 32768.
            ASSERT_NEAR(s16, reference[i], name[0] == 'f' ? 2 : 1) << i;
            ASSERT_EQ(own[SAMPLE_FORMAT_U16][i], s16) << i;
            ASSERT_EQ(own[SAMPLE_FORMAT_U8][i], s16 & ~0xFF) << i;
            ASSERT_EQ(own[SAMPLE_FORMAT_S8][i], s16 & ~0xFF) << i;
            ASSERT_EQ(own[SAMPLE_FORMAT_U32][i], own[SAMPLE_FORMAT_S32][i]) << i;
            // Samples of 8 bits without a sign are a little larger as floats.
            const int near = name == "u8.wav" ? 256 : 2;
            ASSERT_NEAR(own[SAMPLE_FORMAT_F32][i], s16, near) << i;
            ASSERT_NEAR(own[SAMPLE_FORMAT_S32][i], s16, 2) << i;
        }
    }
}

TEST_F(AudioWavesTest, FloatsBeyondFullScaleStopThereInThirtyTwoBits) {
    const std::vector<float> floats = {1.0f, -1.0f, 1.5f, -3e9f, NAN, 0.5f, -0.25f};
    const std::vector<double> doubles(floats.begin(), floats.end());
    const std::vector<i32> expected = {INT32_MAX, INT32_MIN, INT32_MAX, INT32_MIN,
                                       INT32_MIN, 1 << 30,   -(1 << 29)};
    const bytes single = wav_file(3, 32, bytes_of(floats));
    const bytes twice = wav_file(3, 64, bytes_of(doubles));
    for (const bytes& file : {single, twice}) {
        const outcome o = load_from(file, file.size(), ample, SAMPLE_FORMAT_S32);
        EXPECT_EQ(samples_of(o.wave), bytes_of(expected));
    }
    const outcome o = load_from(single, single.size(), ample, SAMPLE_FORMAT_F32);
    EXPECT_EQ(samples_of(o.wave), bytes_of(floats));
}

TEST_F(AudioWavesTest, NamesAndFirstBytesChooseTheDecoderAndFailuresHaveTheirRecords) {
    const bytes wav = read_file(path_of("s16.wav"));
    const bytes flac = read_file(path_of("s16.flac"));
    const bytes ogg = read_file(path_of("mono.ogg"));
    write_file(scratch_path("a.b.wav"), wav);
    const struct {
        const char* name;
        const bytes& content;
        sample_format format;
        bool loads;
        sample_format format_after;
    } files[] = {
        {"a.WAV", wav, 4, false, 0},  {"wav", wav, 4, false, 0},    {"a.wave", wav, 4, false, 0},
        {"a.", wav, 4, false, 0},     {"d.b.wav", wav, 4, true, 4}, {"b.wav", wav, 7, false, 0},
        {"c.ogg", wav, 4, false, 0},  {"c2.ogg", wav, 6, false, 0}, {"d.flac", wav, 3, false, 3},
        {"e.wav", flac, 6, false, 6}, {"f.wav", ogg, 5, false, 5},  {"g.ogg", ogg, 6, true, 6},
        {"h.wav", {}, 4, false, 4},
    };
    const int descriptors = open_descriptors();
    for (const auto& f : files) {
        SCOPED_TRACE(f.name);
        write_file(scratch_path(f.name), f.content);
        const outcome o = load_in(ample, [&] { return load(scratch_path(f.name), f.format); });
        EXPECT_EQ(o.wave.data != nullptr, f.loads);
        EXPECT_EQ(o.wave.format, f.format_after);
        EXPECT_EQ((o.wave.channels | o.wave.sample_rate | o.wave.size) != 0, f.loads);
        EXPECT_EQ(o.printed, "");
    }
    for (const char* missing : {"/nowhere/a.wav", "/nowhere/a.flac", "/nowhere/a.ogg"}) {
        EXPECT_EQ(load(missing, 4).data, nullptr);
    }
    // Directories open, but can't be read.
    for (const char* folder : {"folder.wav", "folder.flac", "folder.ogg"}) {
        std::filesystem::create_directory(scratch_path(folder));
        EXPECT_EQ(load(scratch_path(folder), 4).data, nullptr) << folder;
    }
    EXPECT_EQ(load(std::string(16380, 'x') + ".wav", 4).data, nullptr);
    EXPECT_EQ(open_descriptors(), descriptors);

    const struct {
        std::string_view content;
        sample_format format_after;
    } memories[] = {{"RIFF", 6}, {"RIF", 0}, {"fLaC", 6}, {"OggS", 0}, {"riff", 0}, {"", 0}};
    for (const auto& m : memories) {
        const bytes content(m.content.begin(), m.content.end());
        const outcome o = load_from(content, content.size(), ample, 6);
        EXPECT_EQ(o.wave.data, nullptr);
        EXPECT_EQ(o.wave.format, m.format_after) << m.content;
        EXPECT_EQ(o.position, 0);
    }
    EXPECT_EQ(load_bytes(ogg.data(), i64{INT32_MAX} + 1, 6).data, nullptr);
}

// One allocation fails at all the sizes between two of these, and with it position and line are
// the same; so each next one is found by halving.
void AudioWavesTest::check_every_refusal(const std::string& name, sample_format format) {
    const std::string path = path_of(name);
    const auto load_with = [&](i64 lent) {
        return load_in(lent, [&] { return load(path, format); });
    };
    const outcome full = load_with(ample);
    ASSERT_NE(full.wave.data, nullptr);
    i64 size = 0;
    int refusals = 0;
    while (true) {
        SCOPED_TRACE(testing::Message() << size << " bytes");
        const outcome first = load_with(size);
        if (first.wave.data != nullptr) break;
        ++refusals;
        EXPECT_EQ(first.wave.channels | first.wave.sample_rate | first.wave.size, 0);
        EXPECT_EQ(first.wave.format, ends_with(name, ".ogg") ? 0 : format);
        if (first.printed == reallocation_failed) {
            EXPECT_GE(first.position, size);
        } else {
            EXPECT_EQ(first.printed, allocation_failed);
        }
        i64 same = size;
        i64 other = full.position + 1;
        while (other - same > 1) {
            const i64 middle = same + (other - same) / 2;
            (load_with(middle) == first ? same : other) = middle;
        }
        size = other;
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_GE(refusals, 1);
    // One block that is taken may end exactly at the end; one that has grown may not.
    const bool grows = name == "no-length.flac" || (ends_with(name, ".ogg") && widths[format] < 4);
    EXPECT_EQ(size, full.position + (grows && refusals > 1 ? 1 : 0));
}

TEST_F(AudioWavesTest, EverySizeAtWhichAnAllocationFailsEndsInAFailedWaveAndOneLine) {
    const int descriptors = open_descriptors();
    for (const std::string& name : all_sounds()) {
        for (const sample_format format :
             {SAMPLE_FORMAT_U8, SAMPLE_FORMAT_S16, SAMPLE_FORMAT_U32, SAMPLE_FORMAT_F32}) {
            SCOPED_TRACE(testing::Message() << name << ", format " << +format);
            check_every_refusal(name, static_cast<sample_format>(format));
            ASSERT_FALSE(HasFailure());
        }
    }
    EXPECT_EQ(open_descriptors(), descriptors);
}

TEST_F(AudioWavesTest, PositionsAreTheHosts) {
    const bytes file = wav_file(1, 16, bytes(200, 1));
    buffer.lend(1000);
    audio_set_buffer_position(5);
    const Wave first = load_bytes(file.data(), i64(file.size()), SAMPLE_FORMAT_S16);
    EXPECT_EQ(first.data, buffer.memory() + 8);
    const Wave second = load_bytes(file.data(), i64(file.size()), SAMPLE_FORMAT_U8);
    EXPECT_EQ(second.data, buffer.memory() + 208);
    EXPECT_EQ(second.size, 100);
    EXPECT_EQ(samples_of(first), bytes(200, 1));
    EXPECT_EQ(samples_of(second), bytes(100, 0x81));
    audio_set_buffer_position(805);
    output.during([&] {
        EXPECT_EQ(load_bytes(file.data(), i64(file.size()), SAMPLE_FORMAT_S16).data, nullptr);
    });
    EXPECT_EQ(audio_get_buffer_position(), 808);
    audio_set_buffer_position(-7);
    EXPECT_EQ(audio_get_buffer_position(), -7);
}

// A step outside of file or block ends the program; a second is far more than any of them takes.
TEST_F(AudioWavesTest, DamagedFilesFailOrGiveASound) {
    std::mt19937 random(1);
    for (const std::string& name : all_sounds()) {
        const bytes file = read_file(path_of(name));
        if (name == "long.wav" || name == "s32.wav") continue;
        SCOPED_TRACE(name);
        const auto check = [&](const bytes& damaged, size_t count) {
            const std::clock_t start = std::clock();
            const auto format = static_cast<sample_format>(random() % 7);
            const outcome o = load_from(damaged, count, ample, format);
            EXPECT_LT(std::clock() - start, CLOCKS_PER_SEC);
            const bool failed = o.printed == allocation_failed || o.printed == reallocation_failed;
            EXPECT_TRUE(o.printed.empty() || (failed && o.wave.data == nullptr)) << o.printed;
            if (o.wave.data != nullptr) samples_of(o.wave);
        };
        for (size_t count = 0; count < file.size();
             count += count < 300 ? 1 : 1 + random() % 2000) {
            check(file, count);
        }
        for (int i = 0; i < 150; ++i) {
            bytes damaged = file;
            const size_t reach =
                i % 3 == 0 ? damaged.size() : std::min<size_t>(damaged.size(), 300);
            for (u32 changes = 1 + random() % 8; changes > 0; --changes) {
                damaged[random() % reach] = static_cast<u8>(random());
            }
            check(damaged, damaged.size());
        }
        ASSERT_FALSE(HasFailure());
    }
}

TEST_F(AudioWavesTest, HeadersThatLeadAReaderRoundInCirclesOrToGigabytesFail) {
    // A W64 file whose format chunk is shorter than its own header.
    bytes w64;
    const auto append = [&](std::string_view id, std::initializer_list<int> guid, u64 size) {
        w64.insert(w64.end(), id.begin(), id.end());
        for (const int byte : guid) {
            w64.push_back(static_cast<u8>(byte));
        }
        for (int i = 0; i < 8; ++i) {
            w64.push_back(static_cast<u8>(size >> 8 * i));
        }
    };
    append("riff", {0x2E, 0x91, 0xCF, 0x11, 0xA5, 0xD6, 0x28, 0xDB, 4, 0xC1, 0, 0}, 200);
    w64.resize(24);
    append("wave", {0xF3, 0xAC, 0xD3, 0x11, 0x8C, 0xD1, 0, 0xC0, 0x4F, 0x8E, 0xDB, 0x8A}, 0);
    w64.resize(40);
    append("fmt ", {0xF3, 0xAC, 0xD3, 0x11, 0x8C, 0xD1, 0, 0xC0, 0x4F, 0x8E, 0xDB, 0x8A}, 24);
    w64.resize(200);
    write_file(scratch_path("short.wav"), w64);
    EXPECT_EQ(load(scratch_path("short.wav"), 4).data, nullptr);

    // Lengths of comments, and how many there are: each as large as it can be said to be.
    const bytes ogg = read_file(path_of("mono.ogg"));
    const std::string_view text(reinterpret_cast<const char*>(ogg.data()), ogg.size());
    const size_t vendor = text.find("\3vorbis") + 7;
    const size_t count = vendor + 4 + ogg[vendor];
    for (const size_t at : {vendor, count, count + 4}) {
        for (const u32 value : {0xFFFFFFFFu, 0x7FFFFFFFu, 0x40000000u, 0x3FFFFFFFu, 0x10000000u}) {
            bytes damaged = ogg;
            std::memcpy(&damaged[at], &value, 4);
            const std::clock_t start = std::clock();
            EXPECT_EQ(load_from(damaged, damaged.size(), ample, 4).wave.data, nullptr);
            EXPECT_LT(std::clock() - start, CLOCKS_PER_SEC / 10);
        }
    }
}

TEST_F(AudioWavesTest, SavedFilesAreWhatSoxReadsAndChangeTheHostsSamples) {
    const std::string path = scratch_path("saved.anything");
    for (const sample_format format : all_formats) {
        SCOPED_TRACE(+format);
        audio_set_buffer_position(0);
        const Wave wave = load(path_of("s16.wav"), format);
        const bytes before = samples_of(wave);
        const i64 position = audio_get_buffer_position();
        EXPECT_EQ(audio_wave_save(wave, slice(path)), 1);
        EXPECT_EQ(audio_get_buffer_position(), position);
        const bytes stored = samples_of(wave);
        const bool same = format == SAMPLE_FORMAT_U8 || format == 4 || format == 5;
        EXPECT_EQ(stored == before, same);
        std::filesystem::rename(path, scratch_path("saved.wav"));
        auto held = values_of<i32>(read_by_sox(scratch_path("saved.wav")));
        const sample_format file_format = widths[format] == 1 ? 0 : widths[format] == 2 ? 4 : 5;
        EXPECT_EQ(in_format(held, file_format), stored);
        // Floats come back a little different: their full scale isn't that of whole numbers.
        const bytes again = samples_of(load(scratch_path("saved.wav"), format));
        EXPECT_EQ(again.size(), before.size());
        EXPECT_EQ(again == before, format != SAMPLE_FORMAT_F32);
    }
}

TEST_F(AudioWavesTest, SavesThatFailSayHowFarTheyCame) {
    const std::string path = scratch_path("fails.wav");
    std::vector<u16> samples = {1, 2, 3, 4};
    const Wave wave = {SAMPLE_FORMAT_U16, 2, 8000, 8, samples.data()};
    EXPECT_EQ(audio_wave_save(wave, slice("/nowhere/a.wav")), 0);
    EXPECT_EQ(samples, (std::vector<u16>{0x8001, 0x8002, 0x8003, 0x8004}));

    std::filesystem::remove(path);
    for (const i32 channels : {0, -1, 65536, INT32_MIN}) {
        Wave odd = wave;
        odd.channels = channels;
        EXPECT_EQ(audio_wave_save(odd, slice(path)), 0) << channels;
    }
    Wave none = wave;
    none.size = -8;
    EXPECT_EQ(audio_wave_save(none, slice(path)), 0);
    EXPECT_EQ(samples[0], 0x8001);
    EXPECT_FALSE(std::filesystem::exists(path));

    none.size = 3; // not even a frame
    EXPECT_EQ(audio_wave_save(none, slice(path)), 0);
    const Wave empty = load(path, SAMPLE_FORMAT_S16);
    EXPECT_EQ(empty.size, 0);
    EXPECT_EQ(empty.channels, 2);
}

TEST_F(AudioWavesTest, LoadsTakeNothingFromTheHeapButTheOggDecodersState) {
    if (!HEAP_CALLS_COUNT) GTEST_SKIP() << "the sanitizer's heap stands in for the counting one";
    for (const std::string& name : all_sounds()) {
        SCOPED_TRACE(name);
        const std::string path = path_of(name);
        const bytes file = read_file(path);
        const int bare = heap_calls::during([&] {
            std::FILE* const opened = std::fopen(path.c_str(), "rb");
            std::fgetc(opened);
            std::fclose(opened);
        });
        EXPECT_GT(bare, 0);
        for (const sample_format format : all_formats) {
            audio_set_buffer_position(0);
            Wave wave = {};
            const int in_use = heap_calls::blocks_in_use;
            const int from_file = heap_calls::during([&] { wave = load(path, format); });
            ASSERT_NE(wave.data, nullptr);
            EXPECT_EQ(heap_calls::blocks_in_use, in_use);
            const int from_memory = heap_calls::during(
                [&] { load_bytes(file.data(), static_cast<i64>(file.size()), format); });
            if (ends_with(name, ".ogg")) continue;
            EXPECT_EQ(from_file, bare);
            EXPECT_EQ(from_memory, 0);
        }
    }
}

} // namespace
