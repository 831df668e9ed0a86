// SPDX-License-Identifier: Zlib
#include "support/heap_calls.h"
#include "support/sound_samples.h"

#include <cmath>
#include <gtest/gtest.h>
#include <random>

using namespace sound_samples;

namespace {

// A number as files have it.
std::string number(u64 value, size_t size) {
    return {reinterpret_cast<const char*>(&value), size};
}

// One channel of 1,000 frames a second, in any of the formats that a WAV file can have.
bytes wav_file(u16 tag, u16 bits, const bytes& data) {
    const u32 width = bits / 8u;
    const std::string head = "RIFF" + number(36 + data.size(), 4) + "WAVEfmt " + number(16, 4) +
                             number(tag, 2) + number(1, 2) + number(1000, 4) +
                             number(1000 * width, 4) + number(width, 2) + number(bits, 2) + "data" +
                             number(data.size(), 4);
    bytes file(head.begin(), head.end());
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
    if (name.starts_with("channels-")) return name[9] - '0';
    if (name.find("six") != name.npos) return 6;
    const bool one = name.find("mono") != name.npos || name.find("long") != name.npos;
    return one ? 1 : 2;
}

// A load from memory goes by the first bytes, which are others' in some of the files.
bool is_known_by_content(const std::string& name) {
    return name != "aiff.wav" && name != "w64.wav" && name != "s16-big.wav" &&
           name != "in-ogg.flac";
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
    template <class Load>
    void check_every_refusal(const std::string& name, sample_format format, const Load& load_wave);

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
            EXPECT_EQ(start == buffer.memory(), name.ends_with(".wav"));
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
        const auto samples_in = [&](sample_format format) {
            audio_set_buffer_position(0);
            return samples_of(load(path_of(name), format));
        };
        const auto s16 = values_of<i16>(samples_in(SAMPLE_FORMAT_S16));
        const auto s32 = values_of<i32>(samples_in(SAMPLE_FORMAT_S32));
        const auto f32 = values_of<float>(samples_in(SAMPLE_FORMAT_F32));
        ASSERT_EQ(s16.size(), reference.size());
        ASSERT_EQ(s32.size(), reference.size());
        ASSERT_EQ(f32.size(), reference.size());
        std::vector<i32> wide;
        for (size_t i = 0; i < reference.size(); ++i) {
            // Floats are cut to 16 bits in units of 32767.5, elsewhere rounded in units of 32768.
            ASSERT_NEAR(s16[i], reference[i], name[0] == 'f' ? 2 : 1) << i;
            ASSERT_NEAR(s32[i] >> 16, s16[i], 2) << i;
            // Samples of 8 bits without a sign are a little larger as floats.
            ASSERT_NEAR(std::round(f32[i] * 32767.0f), s16[i], name == "u8.wav" ? 256 : 2) << i;
            wide.push_back(s16[i] * 65536);
        }
        for (const sample_format narrow : {SAMPLE_FORMAT_U8, SAMPLE_FORMAT_S8, SAMPLE_FORMAT_U16}) {
            EXPECT_EQ(samples_in(narrow), in_format(wide, narrow)) << +narrow;
        }
        EXPECT_EQ(samples_in(SAMPLE_FORMAT_U32), in_format(s32, SAMPLE_FORMAT_U32));
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
template <class Load>
void AudioWavesTest::check_every_refusal(const std::string& name, sample_format format,
                                         const Load& load_wave) {
    const auto load_with = [&](i64 lent) { return load_in(lent, load_wave); };
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
        EXPECT_EQ(first.wave.format, name.ends_with(".ogg") ? 0 : format);
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
    const bool grows = name == "no-length.flac" || (name.ends_with(".ogg") && widths[format] < 4);
    EXPECT_EQ(size, full.position + (grows && refusals > 1 ? 1 : 0));
}

TEST_F(AudioWavesTest, EverySizeAtWhichAnAllocationFailsEndsInAFailedWaveAndOneLine) {
    const int descriptors = open_descriptors();
    for (const std::string& name : all_sounds()) {
        const std::string path = path_of(name);
        const bytes content = read_file(path);
        for (const sample_format format : all_formats) {
            if (!is_whole_sweep() && (format == SAMPLE_FORMAT_U16 || format == SAMPLE_FORMAT_S8 ||
                                      format == SAMPLE_FORMAT_S32)) {
                continue;
            }
            SCOPED_TRACE(testing::Message() << name << ", format " << +format);
            check_every_refusal(name, format, [&] { return load(path, format); });
            ASSERT_FALSE(HasFailure());
            if (!is_whole_sweep() || !is_known_by_content(name)) continue;
            const i64 size = static_cast<i64>(content.size());
            check_every_refusal(name, format,
                                [&] { return load_bytes(content.data(), size, format); });
            ASSERT_FALSE(HasFailure());
        }
    }
    EXPECT_EQ(open_descriptors(), descriptors);
}

TEST_F(AudioWavesTest, PositionsAreTheHosts) {
    const bytes file = wav_file(1, 16, bytes(200, 1));
    buffer.lend(1000);
    for (const i64 position : {5, 205}) {
        audio_set_buffer_position(position);
        const Wave wave = load_bytes(file.data(), i64(file.size()), SAMPLE_FORMAT_U8);
        EXPECT_EQ(wave.data, buffer.memory() + position + 3);
        EXPECT_EQ(samples_of(wave), bytes(100, 0x81));
        EXPECT_EQ(audio_get_buffer_position(), position + 203);
    }
    audio_set_buffer_position(-7);
    EXPECT_EQ(audio_get_buffer_position(), -7);
}

// A step outside of file or block ends the program.
TEST_F(AudioWavesTest, DamagedFilesFailOrGiveASound) {
    std::mt19937 random(1);
    for (const std::string& name : all_sounds()) {
        const bytes file = read_file(path_of(name));
        if (name == "long.wav" || name == "s32.wav") continue;
        SCOPED_TRACE(name);
        const auto check = [&](const bytes& content, size_t count) {
            const auto format = static_cast<sample_format>(random() % 7);
            const outcome o = load_from(content, count, ample, format);
            const bool failed = o.printed == allocation_failed || o.printed == reallocation_failed;
            EXPECT_TRUE(o.printed.empty() || (failed && o.wave.data == nullptr)) << o.printed;
            samples_of(o.wave);
        };
        for (size_t count = 0; count < file.size();
             count += count < 300 ? 1 : 1 + random() % 2000) {
            check(file, count);
        }
        for (int i = 0; i < 150; ++i) {
            check(damaged(file, random, i % 3 == 0), file.size());
        }
        ASSERT_FALSE(HasFailure());
    }
}

TEST_F(AudioWavesTest, HeadersThatLeadAReaderRoundInCirclesOrToGigabytesFail) {
    // A W64 file whose format chunk is shorter than its own header.
    const std::string guid = "\xF3\xAC\xD3\x11\x8C\xD1" + number(0x8ADB8E4FC000, 6);
    std::string w64 = "riff\x2E\x91\xCF\x11\xA5\xD6\x28\xDB" + number(0xC104, 4) + number(200, 8) +
                      "wave" + guid + "fmt " + guid + number(24, 8);
    w64.resize(200);
    write_file(scratch_path("short.wav"), bytes(w64.begin(), w64.end()));
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
            EXPECT_EQ(load_from(damaged, damaged.size(), ample, 4).wave.data, nullptr);
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
    const auto save = [&](i32 channels, i64 size, const std::string& to) {
        return audio_wave_save({SAMPLE_FORMAT_U16, channels, 8000, size, samples.data()},
                               slice(to));
    };
    EXPECT_EQ(save(2, 8, "/nowhere/a.wav"), 0);
    EXPECT_EQ(samples, (std::vector<u16>{0x8001, 0x8002, 0x8003, 0x8004}));
    for (const i32 channels : {0, -1, 65536, INT32_MIN}) {
        EXPECT_EQ(save(channels, 8, path), 0) << channels;
        EXPECT_EQ(samples[0], 0x8001) << "nothing done for " << channels;
    }
    EXPECT_EQ(save(2, -8, path), 0);
    EXPECT_EQ(samples[0], 0x8001);
    EXPECT_FALSE(std::filesystem::exists(path));

    EXPECT_EQ(save(2, 3, path), 0) << "not even a frame";
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
            if (name.ends_with(".ogg")) continue;
            EXPECT_EQ(from_file, bare);
            EXPECT_EQ(from_memory, 0);
        }
    }
}

} // namespace
