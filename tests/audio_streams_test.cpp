// SPDX-License-Identifier: Zlib
#include "support/sample_model.h"
#include "support/sound_samples.h"

#include <random>
#include <tuple>

using namespace sound_samples;

static bool operator==(const AudioInfo& a, const AudioInfo& b) {
    return a.format == b.format && a.channels == b.channels && a.sample_rate == b.sample_rate &&
           a.size == b.size;
}

namespace {

constexpr sample_format stream_formats[] = {SAMPLE_FORMAT_U16, SAMPLE_FORMAT_U32, SAMPLE_FORMAT_S16,
                                            SAMPLE_FORMAT_S32, SAMPLE_FORMAT_F32};

AudioInfo info_of(i32 stream) {
    AudioInfo info = {9, -1, -1, -1};
    audio_stream_read_info(&info, stream);
    return info;
}

i32 open_file(const std::string& path, sample_format format) {
    const i32 stream = audio_stream_open(format, slice(path), 0);
    info_of(stream); // the path need not live longer
    return stream;
}

i32 open_bytes(const bytes& file, sample_format format) {
    return audio_stream_open_from_memory(format, static_cast<i64>(file.size()),
                                         const_cast<u8*>(file.data()));
}

i32 create_file(const std::string& path, sample_format format, const AudioInfo& info) {
    const i32 stream = audio_stream_open(format, slice(path), 1);
    audio_stream_write_info(stream, info);
    return stream;
}

size_t frame_size(i32 stream) {
    const AudioStream& s = audio_streams[stream];
    return static_cast<size_t>(s.info.channels * widths[s.format]);
}

bytes read_frames(i32 stream, u64 frames) {
    bytes block(frame_size(stream) * frames);
    const i64 count = audio_stream_read(stream, frames, block.data());
    block.resize(frame_size(stream) * static_cast<size_t>(count));
    return block;
}

bytes read_to_end(i32 stream, u64 frames_a_block) {
    bytes sound;
    while (true) {
        const bytes block = read_frames(stream, frames_a_block);
        sound.insert(sound.end(), block.begin(), block.end());
        if (block.size() < frames_a_block * frame_size(stream)) return sound;
    }
}

bytes part(const bytes& whole, size_t from, size_t count) {
    const auto start = whole.begin() + static_cast<i64>(std::min(from, whole.size()));
    return {start, start + std::min(static_cast<i64>(count), whole.end() - start)};
}

class AudioStreamsTest : public testing::Test {
protected:
    ~AudioStreamsTest() override {
        for (i32 stream = 0; stream < 64; ++stream) {
            audio_stream_close(stream);
        }
    }
    lent_buffer buffer{audio_buffer};
};

TEST_F(AudioStreamsTest, SlotsAreTakenFromTheFrontAndEndAtSixtyFour) {
    for (i32 i = 0; i < 64; ++i) {
        ASSERT_EQ(audio_stream_open(SAMPLE_FORMAT_S16, slice("missing.ogg"), 0), i);
    }
    EXPECT_EQ(audio_stream_open(SAMPLE_FORMAT_S16, slice("a.wav"), 0), -1);
    EXPECT_EQ(open_bytes({0}, SAMPLE_FORMAT_S16), -1);
    audio_stream_close(40);
    audio_stream_close(5);
    for (const u8 format : {SAMPLE_FORMAT_U8, SAMPLE_FORMAT_S8}) {
        EXPECT_EQ(audio_stream_open(format, slice("a.wav"), 0), -1);
        EXPECT_EQ(open_bytes({0}, format), -1);
    }
    EXPECT_EQ(audio_streams[5].in_use, 0);
    EXPECT_EQ(open_bytes({0}, 7), 5);
    EXPECT_EQ(audio_stream_open(255, slice("a.wav"), 1), 40);
    EXPECT_EQ(num_audio_streams, 64);
}

TEST_F(AudioStreamsTest, TheOpenNotesTheSourceAndNothingElse) {
    const struct {
        std::string_view source;
        b8 from_file, writing;
        audio_file_type type;
    } cases[] = {{"a.ogg", 1, 0, 2}, {"a.flac", 1, 0, 1}, {"a.mp3", 1, 0, 0},
                 {"a.OGG", 1, 0, 0}, {"a.ogg", 1, 2, 0},  {"OggS", 0, 0, 2},
                 {"fLaC", 0, 0, 1},  {"RIFF", 0, 0, 0},   {"Ogg", 0, 0, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.source);
        const guarded_text guarded(c.source);
        const Slice source = guarded.slice();
        const i32 stream = c.from_file ? audio_stream_open(SAMPLE_FORMAT_U32, source, c.writing)
                                       : audio_stream_open_from_memory(SAMPLE_FORMAT_U32,
                                                                       source.count, source.data);
        const AudioStream& s = audio_streams[stream];
        EXPECT_EQ(std::tuple(s.in_use, s.file_type, s.writing, s.from_file, s.format, s.info_known),
                  std::tuple(1, c.type, c.writing != 0, c.from_file, SAMPLE_FORMAT_U32, 0));
        EXPECT_EQ(std::tuple(s.source.data, s.source.count, s.decoder),
                  std::tuple(source.data, source.count, nullptr));
        audio_stream_close(stream);
    }
}

TEST_F(AudioStreamsTest, AStreamThatFailedStaysFailedUntilItsClose) {
    const std::string path = scratch_path("late.wav");
    const i32 stream = audio_stream_open(SAMPLE_FORMAT_F32, slice(path), 0);
    for (const bool is_there : {false, true}) {
        if (is_there) std::filesystem::copy(path_of("s16.wav"), path);
        EXPECT_EQ(info_of(stream), (AudioInfo{SAMPLE_FORMAT_F32, 0, 0, 0}));
        EXPECT_EQ(audio_get_buffer_position(), 0);
        float block[4] = {7, 7, 7, 7};
        EXPECT_EQ(audio_stream_read(stream, 2, block), 0);
        EXPECT_EQ(block[0], 7);
        EXPECT_EQ(audio_stream_seek(stream, 0), 0);
    }
    audio_stream_close(stream);
    EXPECT_EQ(info_of(open_file(path, SAMPLE_FORMAT_F32)).channels, 2);
}

TEST_F(AudioStreamsTest, EverySizeAtWhichAnAllocationFailsEndsInAFailedStreamAndOneLine) {
    const int descriptors = open_descriptors();
    const std::vector<std::string> some = {"s16.wav", "in-ogg.flac", "s16-six.flac"};
    for (const std::string& name : is_whole_sweep() ? all_sounds() : some) {
        const bytes file = read_file(path_of(name));
        for (const sample_format format : stream_formats) {
            SCOPED_TRACE(testing::Message() << name << ", format " << +format);
            const auto opens = [&](i32 stream) {
                const AudioInfo info = info_of(stream);
                const bool opened = info.channels != 0;
                bytes block(frame_size(stream) * 700);
                EXPECT_EQ(audio_stream_read(stream, 700, block.data()), opened ? 700 : 0);
                EXPECT_EQ(audio_stream_seek(stream, 300), opened ? 1 : 0);
                EXPECT_EQ(audio_stream_read(stream, 10, block.data()), opened ? 10 : 0);
                EXPECT_EQ(info_of(stream), info);
                audio_stream_close(stream);
                return opened;
            };
            const bool takes_memory = !name.ends_with(".ogg");
            if (takes_memory) {
                buffer.try_every_refusal([&] { return opens(open_file(path_of(name), format)); });
            }
            if (takes_memory && is_known_by_content(name)) {
                buffer.try_every_refusal([&] { return opens(open_bytes(file, format)); });
            }
            ASSERT_FALSE(HasFailure());
        }
    }
    EXPECT_EQ(open_descriptors(), descriptors);
}

TEST_F(AudioStreamsTest, BlocksOfAnySizeMakeTheWholeSound) {
    for (const std::string& name : all_sounds()) {
        const bytes file = read_file(path_of(name));
        for (const sample_format format : stream_formats) {
            SCOPED_TRACE(testing::Message() << name << ", format " << +format);
            const bytes whole = samples_in(name, format);
            const i64 known_size = name == "no-length.flac" ? 0 : static_cast<i64>(whole.size());
            for (const u64 frames : {1u, 7u, 1000u, 200000u}) {
                if (frames == 1 && format != SAMPLE_FORMAT_S16) continue;
                audio_set_buffer_position(0);
                const bool from_memory = frames == 1000 && is_known_by_content(name);
                const i32 stream =
                    from_memory ? open_bytes(file, format) : open_file(path_of(name), format);
                const AudioInfo info = info_of(stream);
                EXPECT_EQ(info.format, format);
                EXPECT_EQ(info.channels, channels_in(name));
                EXPECT_EQ(info.size, known_size);
                ASSERT_TRUE(read_to_end(stream, frames) == whole) << frames;
                EXPECT_TRUE(read_frames(stream, 5).empty());
                audio_stream_close(stream);
            }
        }
    }
}

TEST_F(AudioStreamsTest, SeeksGoToTheSameFrameInAllKindsOfFiles) {
    std::mt19937 random(2);
    for (const std::string& name : all_sounds()) {
        SCOPED_TRACE(name);
        const bytes whole = samples_in(name, SAMPLE_FORMAT_S16);
        audio_set_buffer_position(0);
        const i32 stream = open_file(path_of(name), SAMPLE_FORMAT_S16);
        const size_t size = frame_size(stream);
        const size_t total = whole.size() / size;
        const size_t near = total / 3;
        std::vector<size_t> targets = {0,         total - 1, 1,    near, near + 3,
                                       near - 40, near + 10, near, 0,    0};
        for (int i = 0; i < 50; ++i) {
            targets.push_back(random() % total);
        }
        for (const size_t target : targets) {
            ASSERT_NE(audio_stream_seek(stream, target), 0) << target;
            const size_t count = random() % 3 == 0 ? 5000 : 30;
            ASSERT_TRUE(read_frames(stream, count) == part(whole, target * size, count * size))
                << target;
        }
        const bool is_ogg = name.ends_with(".ogg");
        EXPECT_EQ(audio_stream_seek(stream, total + 1000), !is_ogg);
        EXPECT_TRUE(is_ogg || read_frames(stream, 10).empty());
        ASSERT_NE(audio_stream_seek(stream, 0), 0);
        EXPECT_TRUE(read_frames(stream, 10) == part(whole, 0, 10 * size));
        audio_stream_close(stream);
    }
}

TEST_F(AudioStreamsTest, WrittenFilesAreWhatSoxReads) {
    for (const sample_format format : stream_formats) {
        for (const bool announced : {false, true}) {
            SCOPED_TRACE(testing::Message() << "format " << +format << ", announced " << announced);
            audio_set_buffer_position(0);
            const Wave wave = load(path_of("s24.wav"), format);
            const sample_format stored =
                widths[format] == 2 ? SAMPLE_FORMAT_S16 : SAMPLE_FORMAT_S32;
            const bytes expected = sample_model::model(samples_of(wave), format, stored);
            const std::string path = scratch_path("written.wav");
            const AudioInfo info = {stored, 2, 44100, announced ? wave.size : 0};
            const i32 stream = create_file(path, format, {format, 2, 44100, info.size});
            audio_stream_write_info(stream, {0, 9, 9, 9});
            EXPECT_EQ(audio_streams[stream].info, info);
            EXPECT_EQ(info_of(stream), info);
            const u64 frame = static_cast<u64>(2 * widths[format]);
            const u64 all = static_cast<u64>(wave.size) / frame;
            u64 done = 0;
            for (u64 step = 1; done < all; step = step * 2 + 1) {
                const u64 frames = std::min(step, all - done);
                u8* const from = static_cast<u8*>(wave.data) + done * frame;
                ASSERT_EQ(audio_stream_write(stream, frames, from), frames);
                done += frames;
            }
            audio_stream_close(stream);
            EXPECT_EQ(samples_of(wave), expected) << "what the host's samples have become";
            EXPECT_EQ(samples_of(load(path, stored)), expected);
            EXPECT_EQ(read_by_sox(path), sample_model::model(expected, stored, SAMPLE_FORMAT_S32));
        }
    }
}

TEST_F(AudioStreamsTest, FilesThatCantBeWrittenAndLengthsThatWereNotKept) {
    std::vector<i16> block(200, 0x0101);
    const auto write = [&](i32 stream, u64 frames) {
        return audio_stream_write(stream, frames, block.data());
    };
    const std::string path = scratch_path("kept.wav");
    write_file(path, {1, 2, 3});
    EXPECT_EQ(write(create_file("/nowhere/a.wav", 4, {4, 1, 8000, 0}), 10), 0u);
    for (const i32 channels : {0, -2, 65536}) {
        EXPECT_EQ(write(create_file(path, 4, {4, channels, 8000, 0}), 10), 0u) << channels;
    }
    const attempt refused = buffer.try_in(8, [&] {
        return write(create_file(path, 4, {4, 1, 8000, 0}), 10) != 0;
    });
    EXPECT_NE(refused.printed, "");
    EXPECT_EQ(read_file(path), (bytes{1, 2, 3}));

    buffer.lend(ample);
    const std::pair<u64, i64> lengths[] = {{50, 200}, {100, 200}, {150, 200}, {50, 0xFFFFFFF0}};
    for (const auto& [frames, announced] : lengths) {
        const i32 stream = create_file(path, 4, {4, 1, 8000, announced});
        EXPECT_EQ(write(stream, frames), frames);
        audio_stream_close(stream);
        EXPECT_EQ(read_file(path).size(), 44 + 2 * frames);
    }
    const i32 large = create_file(path, 4, {SAMPLE_FORMAT_F32, 1, 8000, i64{1} << 33});
    EXPECT_EQ(write(large, 10), 0u) << "wider than what the host has";
    EXPECT_EQ(block, std::vector<i16>(200, 0x0101));
    audio_stream_close(large);
    EXPECT_EQ(read_file(path)[0], 'r') << "of a W64 file";
    const i32 odd = create_file(path, 7, {9, 1, 8000, 0});
    EXPECT_EQ(audio_streams[odd].info.format, 9);
    EXPECT_EQ(write(odd, 10), 10u);
    audio_stream_close(odd);
    EXPECT_EQ(samples_of(load(path, 4)), bytes(20, 1));
}

TEST_F(AudioStreamsTest, WrongCallsGiveTheFailureValueAndDoNothing) {
    const std::string path = scratch_path("reader.wav");
    std::filesystem::copy(path_of("s16.wav"), path);
    const bytes before = read_file(path);
    const i32 reader = open_file(path, SAMPLE_FORMAT_S16);
    const i32 writer = audio_stream_open(SAMPLE_FORMAT_S16, slice(path), 1);
    const i32 closed = open_file(path, SAMPLE_FORMAT_S16);
    audio_stream_close(closed);
    i16 block[4] = {7, 7, 7, 7};
    for (const i32 stream : {-1, 64, closed, INT32_MIN, INT32_MAX, reader, writer}) {
        SCOPED_TRACE(stream);
        if (stream != reader) {
            EXPECT_EQ(info_of(stream), (AudioInfo{stream == writer ? u8{4} : u8{0}, 0, 0, 0}));
            EXPECT_EQ(audio_stream_read(stream, 2, block), 0);
            EXPECT_EQ(audio_stream_seek(stream, 0), 0);
        }
        if (stream != writer) audio_stream_write_info(stream, {4, 1, 8000, 0});
        EXPECT_EQ(audio_stream_write(stream, 2, block), 0u);
        EXPECT_EQ(block[0], 7);
        if (stream != reader && stream != writer) audio_stream_close(stream);
    }
    EXPECT_EQ(read_file(path), before);
    EXPECT_EQ(audio_stream_read(reader, 2, block), 2);
    EXPECT_EQ(audio_stream_read(reader, ~0ull, block), 0) << "no memory has that much room";

    const i32 nothing = audio_stream_open_from_memory(SAMPLE_FORMAT_S16, 100, nullptr);
    EXPECT_EQ(info_of(nothing).channels, 0);
    const i32 odd = open_file(path, 7);
    EXPECT_EQ(info_of(odd).size, static_cast<i64>(before.size()) - 44);
    const auto read_odd = [&] { EXPECT_EQ(audio_stream_read(odd, 2, block), 0); };
    EXPECT_EQ(buffer.output.during(read_odd), "invalid audio format\n");
    EXPECT_EQ(audio_stream_seek(odd, 5), 1);
}

TEST_F(AudioStreamsTest, AllStreamsAtOnceKeepApart) {
    const std::string names[] = {"long.wav", "long.flac", "long.ogg", "s24.flac"};
    bytes whole[4];
    for (int i = 0; i < 4; ++i) {
        whole[i] = samples_in(names[i], SAMPLE_FORMAT_S16);
    }
    static u8 roomy[8 << 20];
    audio_set_buffer(sizeof roomy, roomy);
    for (int i = 0; i < 64; ++i) {
        ASSERT_EQ(open_file(path_of(names[i % 4]), SAMPLE_FORMAT_S16), i);
    }
    for (size_t at = 0; at < 130; ++at) {
        for (int i = 0; i < 64; ++i) {
            const size_t size = 1000 * frame_size(i);
            ASSERT_TRUE(read_frames(i, 1000) == part(whole[i % 4], at * size, size)) << i;
        }
    }
}

} // namespace
