// SPDX-License-Identifier: Zlib
#include "support/heap_calls.h"
#include "support/sample_model.h"
#include "support/sound_samples.h"

#include <cmath>
#include <random>

using namespace sound_samples;
using sample_model::append_bytes;

namespace {

void append(bytes& to, std::string_view text) {
    to.insert(to.end(), text.begin(), text.end());
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

// What samples of 32 bits come to. Floats are the decoder's, whose full scale is another.
bytes in_format(const bytes& samples, sample_format format) {
    if (format != SAMPLE_FORMAT_F32) {
        return sample_model::model(samples, SAMPLE_FORMAT_S32, format);
    }
    std::vector<float> floats;
    for (const i32 sample : values_of<i32>(samples)) {
        floats.push_back(static_cast<float>(sample / 2147483648.0));
    }
    return bytes_of(floats);
}

class AudioWavesTest : public testing::Test {
protected:
    lent_buffer buffer{audio_buffer};
};

TEST_F(AudioWavesTest, LosslessSoundsAreWhatSoxReadsInEveryFormat) {
    for (const std::string& name : all_sounds()) {
        const bytes reference = read_file(path_of(name + ".s32"));
        for (const sample_format format : all_formats) {
            if (reference.empty()) break;
            SCOPED_TRACE(testing::Message() << name << ", format " << +format);
            audio_set_buffer_position(5);
            const Wave wave = load(path_of(name), format);
            const i64 position = audio_get_buffer_position();
            ASSERT_EQ(samples_of(wave), in_format(reference, format));
            EXPECT_EQ(wave.format, format);
            EXPECT_EQ(wave.channels, channels_in(name));
            EXPECT_EQ(wave.sample_rate, name.find("mono") != name.npos   ? 8000
                                        : name.find("long") != name.npos ? 22050
                                                                         : 44100);
            // The block holds the decoder's output, of 16 bits at least, and is the last one.
            const i64 start = static_cast<const u8*>(wave.data) - buffer.memory();
            const i64 taken = wave.size / widths[format] * std::max(widths[format], 2);
            EXPECT_TRUE(start + taken == position || name == "no-length.flac");
            EXPECT_EQ(start == 8, name.ends_with(".wav"));
            if (is_known_by_content(name)) {
                EXPECT_EQ(samples_of(load(read_file(path_of(name)), format)), samples_of(wave));
            }
        }
    }
}

TEST_F(AudioWavesTest, OtherSoundsAreWithinOneOfSixteenBitsOfOtherDecoders) {
    for (const std::string& name : all_sounds()) {
        const auto reference = values_of<i16>(read_file(path_of(name + ".s16")));
        if (reference.empty()) continue;
        SCOPED_TRACE(name);
        const bytes s32 = samples_in(name, SAMPLE_FORMAT_S32);
        const auto narrow = values_of<i16>(samples_in(name, SAMPLE_FORMAT_S16));
        const auto wide = values_of<i32>(s32);
        const auto floats = values_of<float>(samples_in(name, SAMPLE_FORMAT_F32));
        ASSERT_EQ(narrow.size(), reference.size());
        ASSERT_EQ(wide.size(), reference.size());
        ASSERT_EQ(floats.size(), reference.size());
        std::vector<i32> widened;
        for (size_t i = 0; i < reference.size(); ++i) {
            // Floats are cut to 16 bits in units of 32767.5, elsewhere rounded in units of 32768.
            ASSERT_NEAR(narrow[i], reference[i], name[0] == 'f' ? 2 : 1) << i;
            ASSERT_NEAR(wide[i] >> 16, narrow[i], 2) << i;
            // Samples of 8 bits without a sign are a little larger as floats.
            ASSERT_NEAR(std::round(floats[i] * 32767.0f), narrow[i], name == "u8.wav" ? 256 : 2);
            widened.push_back(narrow[i] * 65536);
        }
        for (const sample_format format : {SAMPLE_FORMAT_U8, SAMPLE_FORMAT_S8, SAMPLE_FORMAT_U16}) {
            EXPECT_EQ(samples_in(name, format), in_format(bytes_of(widened), format)) << +format;
        }
        EXPECT_EQ(samples_in(name, SAMPLE_FORMAT_U32), in_format(s32, SAMPLE_FORMAT_U32));
    }
}

// The first samples of a WAV file become others.
template <class T> bytes starting_with(bytes file, const std::vector<T>& samples) {
    const std::string_view text(reinterpret_cast<const char*>(file.data()), file.size());
    std::memcpy(&file[text.find("data") + 8], samples.data(), samples.size() * sizeof(T));
    return file;
}

TEST_F(AudioWavesTest, FloatsBeyondFullScaleStopThereInThirtyTwoBits) {
    const std::vector<float> floats = {1.0f, -1.0f, 1.5f, -3e9f, NAN, 0.5f, -0.25f};
    const std::vector<double> doubles(floats.begin(), floats.end());
    const std::vector<i32> expected = {INT32_MAX, INT32_MIN, INT32_MAX, INT32_MIN,
                                       INT32_MIN, 1 << 30,   -(1 << 29)};
    for (const bytes& file : {starting_with(read_file(path_of("f32.wav")), floats),
                              starting_with(read_file(path_of("f64.wav")), doubles)}) {
        auto samples = values_of<i32>(samples_of(load(file, SAMPLE_FORMAT_S32)));
        samples.resize(expected.size());
        EXPECT_EQ(samples, expected);
    }
}

TEST_F(AudioWavesTest, NamesAndFirstBytesChooseTheDecoderAndFailuresHaveTheirRecords) {
    const bytes wav = read_file(path_of("s16.wav"));
    const bytes flac = read_file(path_of("s16.flac"));
    const bytes ogg = read_file(path_of("mono.ogg"));
    const struct {
        const char* name;
        const bytes& content;
        sample_format format;
        bool loads;
        sample_format format_after;
    } files[] = {
        {"a.WAV", wav, 4, false, 0},    {"wav", wav, 4, false, 0},
        {"d.b.wav", wav, 4, true, 4},   {"b.wav", wav, 7, false, 0},
        {"c2.ogg", wav, 6, false, 0},   {"d.flac", wav, 3, false, 3},
        {"e.wav", flac, 6, false, 6},   {"f.wav", ogg, 5, false, 5},
        {"g.ogg", ogg, 6, true, 6},     {"folder.wav", {}, 4, false, 4},
        {"empty.wav", {}, 4, false, 4},
    };
    const auto check = [](const Wave& wave, bool loads, sample_format format) {
        EXPECT_EQ(wave.data != nullptr, loads);
        EXPECT_EQ(wave.format, format);
        EXPECT_EQ((wave.channels | wave.sample_rate | wave.size) != 0, loads);
    };
    const int descriptors = open_descriptors();
    std::filesystem::create_directory(scratch_path("folder.wav")); // opens, but can't be read
    for (const auto& f : files) {
        SCOPED_TRACE(f.name);
        write_file(scratch_path(f.name), f.content);
        check(load(scratch_path(f.name), f.format), f.loads, f.format_after);
    }
    EXPECT_EQ(open_descriptors(), descriptors);
    const i64 position = audio_get_buffer_position();
    for (const char* missing : {"/nowhere/a.wav", "/nowhere/a.flac", "/nowhere/a.ogg"}) {
        check(load(missing, 0), false, 0);
    }

    const std::pair<std::string_view, sample_format> memories[] = {
        {"RIFF", 6}, {"RIF", 0}, {"fLaC", 6}, {"OggS", 0}, {"riff", 0}, {"", 0}};
    for (const auto& [content, format_after] : memories) {
        SCOPED_TRACE(content);
        check(load(bytes(content.begin(), content.end()), 6), false, format_after);
    }
    check(load(wav, 7), false, 0);
    EXPECT_EQ(audio_get_buffer_position(), position);
    Wave wave = {9, -1, -1, -1, &wave};
    audio_wave_load_from_memory(&wave, 6, i64{INT32_MAX} + 1, const_cast<u8*>(ogg.data()));
    check(wave, false, 0);
}

TEST_F(AudioWavesTest, FilesCutShortGiveTheFramesThatTheyHold) {
    for (const std::string name : {"s16.wav", "u8.wav", "ima.wav", "ms.wav", "s24.flac"}) {
        SCOPED_TRACE(name);
        const bytes whole = samples_in(name, SAMPLE_FORMAT_S16);
        bytes file = read_file(path_of(name));
        file.resize(file.size() * 2 / 3);
        const bytes held = samples_of(load(file, SAMPLE_FORMAT_S16));
        EXPECT_GT(held.size(), whole.size() / 4);
        EXPECT_LT(held.size(), whole.size() * 3 / 4);
        EXPECT_TRUE(std::equal(held.begin(), held.end(), whole.begin()));
    }
}

TEST_F(AudioWavesTest, EverySizeAtWhichAnAllocationFailsEndsInAFailedWaveAndOneLine) {
    const int descriptors = open_descriptors();
    for (const std::string& name : all_sounds()) {
        const bytes file = read_file(path_of(name));
        for (const sample_format format : all_formats) {
            const bool is_twin = format == 1 || format == 3 || format == 5; // only the sign differs
            if (is_twin && !is_whole_sweep()) continue;
            SCOPED_TRACE(testing::Message() << name << ", format " << +format);
            const auto loads = [&](const auto& source) {
                const Wave wave = load(source, format);
                if (wave.data != nullptr) return true;
                EXPECT_EQ(wave.channels | wave.sample_rate | wave.size, 0);
                EXPECT_EQ(wave.format, name.ends_with(".ogg") ? 0 : format);
                return false;
            };
            buffer.try_every_refusal([&] { return loads(path_of(name)); });
            if (is_whole_sweep() && is_known_by_content(name)) {
                buffer.try_every_refusal([&] { return loads(file); });
            }
            ASSERT_FALSE(HasFailure());
        }
    }
    EXPECT_EQ(open_descriptors(), descriptors);
}

TEST_F(AudioWavesTest, HeadersThatLeadAReaderRoundInCirclesOrToGigabytesFail) {
    // A W64 file whose format chunk is shorter than its own header.
    const std::string_view guid("\xF3\xAC\xD3\x11\x8C\xD1\x00\xC0\x4F\x8E\xDB\x8A", 12);
    bytes w64;
    append(w64, "riff\x2E\x91\xCF\x11\xA5\xD6\x28\xDB");
    append_bytes(w64, 0xC104, 4);
    append_bytes(w64, 200, 8);
    for (const std::string_view text : {"wave", "fmt "}) {
        append(w64, text);
        append(w64, guid);
    }
    append_bytes(w64, 0, 8);
    w64.resize(200);
    write_file(scratch_path("short.wav"), w64);
    EXPECT_EQ(load(scratch_path("short.wav"), 4).data, nullptr);

    // Lengths of comments, and how many there are: each as large as it can be said to be.
    const bytes ogg = read_file(path_of("mono.ogg"));
    const std::string_view text(reinterpret_cast<const char*>(ogg.data()), ogg.size());
    const size_t vendor = text.find("\3vorbis") + 7;
    const size_t count = vendor + 4 + ogg[vendor];
    for (const size_t at : {vendor, count, count + 4}) {
        for (const u32 value : {0xFFFFFFFFu, 0x7FFFFFFFu, 0x40000000u, 0x10000000u}) {
            bytes damaged = ogg;
            sample_model::put_bytes(&damaged[at], value, 4);
            EXPECT_EQ(load(damaged, 4).data, nullptr);
        }
    }
}

TEST_F(AudioWavesTest, ADamagedSetupHeaderLeavesNothingOnTheHeap) {
    const bytes ogg = read_file(path_of("stereo.ogg"));
    std::mt19937 random(1);
    const int in_use = heap_calls::blocks_in_use;
    for (int round = 0; round < 200; ++round) {
        bytes damaged = ogg;
        damaged[100 + random() % 3000] ^= static_cast<u8>(1 + random() % 255);
        buffer.try_in(ample, [&] { return load(damaged, 4).data != nullptr; });
    }
    EXPECT_EQ(heap_calls::blocks_in_use, in_use);
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
        const sample_format stored = widths[format] == 1 ? 0 : widths[format] == 2 ? 4 : 5;
        EXPECT_EQ(samples_of(wave), sample_model::model(before, format, stored));
        std::filesystem::rename(path, scratch_path("saved.wav"));
        EXPECT_EQ(in_format(read_by_sox(scratch_path("saved.wav")), stored), samples_of(wave));
    }
}

TEST_F(AudioWavesTest, SavesThatFailSayHowFarTheyCame) {
    const std::string path = scratch_path("fails.wav");
    std::vector<u16> samples = {1, 2, 3, 4};
    const auto save = [&](i32 channels, i64 size, const std::string& to) {
        return audio_wave_save({SAMPLE_FORMAT_U16, channels, 8000, size, samples.data()},
                               slice(to));
    };
    const std::pair<i32, i64> refused[] = {{0, 8}, {-1, 8}, {65536, 8}, {INT32_MIN, 8}, {2, -8}};
    for (const auto& [channels, size] : refused) {
        EXPECT_EQ(save(channels, size, path), 0) << channels;
    }
    EXPECT_EQ(audio_wave_save({SAMPLE_FORMAT_U16, 2, 8000, 8, nullptr}, slice(path)), 0);
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(samples[0], 1);

    EXPECT_EQ(save(2, 8, "/nowhere/a.wav"), 0);
    EXPECT_EQ(samples, (std::vector<u16>{0x8001, 0x8002, 0x8003, 0x8004}));
    EXPECT_EQ(save(2, 3, path), 0) << "not even a frame";
    const Wave empty = load(path, SAMPLE_FORMAT_S16);
    EXPECT_EQ(empty.size, 0);
    EXPECT_EQ(empty.channels, 2);
}

} // namespace
