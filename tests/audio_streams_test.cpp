// SPDX-License-Identifier: Zlib
#include "support/heap_calls.h"
#include "support/sound_samples.h"

#include <gtest/gtest.h>
#include <random>

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

i64 frame_size(i32 stream) {
    const AudioStream& s = audio_streams[stream];
    return s.info.channels * (s.format <= 6 ? widths[s.format] : 2);
}

bytes read_frames(i32 stream, u64 frames) {
    bytes block(static_cast<size_t>(frame_size(stream)) * frames);
    const i64 count = audio_stream_read(stream, frames, block.data());
    block.resize(static_cast<size_t>(count * frame_size(stream)));
    return block;
}

bytes read_to_end(i32 stream, u64 frames_a_block) {
    bytes sound;
    while (true) {
        const bytes block = read_frames(stream, frames_a_block);
        sound.insert(sound.end(), block.begin(), block.end());
        if (block.size() < frames_a_block * static_cast<u64>(frame_size(stream))) return sound;
    }
}

struct attempt;

class AudioStreamsTest : public testing::Test {
protected:
    ~AudioStreamsTest() override {
        for (i32 stream = 0; stream < 64; ++stream) {
            audio_stream_close(stream);
        }
    }
    template <class Open> attempt try_stream(i64 lent, const Open& open);
    template <class Open> void check_every_refusal(const Open& open);

    guarded_block source{ample};
    lent_buffer buffer;
    output_capture output;
};

TEST_F(AudioStreamsTest, SlotsAreTakenFromTheFrontAndEndAtSixtyFour) {
    for (i32 i = 0; i < 64; ++i) {
        ASSERT_EQ(audio_stream_open(SAMPLE_FORMAT_S16, slice("missing.ogg"), 0), i);
    }
    EXPECT_EQ(num_audio_streams, 64);
    u8 none = 0;
    EXPECT_EQ(audio_stream_open(SAMPLE_FORMAT_S16, slice("a.wav"), 0), -1);
    EXPECT_EQ(audio_stream_open_from_memory(SAMPLE_FORMAT_S16, 1, &none), -1);
    audio_stream_close(40);
    audio_stream_close(5);
    for (const sample_format format : {SAMPLE_FORMAT_U8, SAMPLE_FORMAT_S8}) {
        EXPECT_EQ(audio_stream_open(static_cast<sample_format>(format), slice("a.wav"), 0), -1);
        EXPECT_EQ(audio_stream_open_from_memory(static_cast<sample_format>(format), 1, &none), -1);
    }
    EXPECT_EQ(audio_streams[5].in_use, 0);
    EXPECT_EQ(audio_stream_open_from_memory(7, 1, &none), 5);
    EXPECT_EQ(audio_stream_open(255, slice("a.wav"), 1), 40);
    for (i32 i = 0; i < 64; ++i) {
        audio_stream_close(i);
    }
    EXPECT_EQ(num_audio_streams, 64);
    EXPECT_EQ(audio_stream_open(SAMPLE_FORMAT_F32, slice("a.wav"), 0), 0);
}

TEST_F(AudioStreamsTest, TheOpenNotesTheSourceAndNothingElse) {
    const struct {
        std::string_view path;
        b8 writing;
        audio_file_type type;
    } paths[] = {
        {"a.ogg", 0, AUDIO_FILE_OGG}, {"a.flac", 0, AUDIO_FILE_FLAC}, {"a.wav", 0, AUDIO_FILE_WAV},
        {"a.mp3", 0, AUDIO_FILE_WAV}, {"a", 0, AUDIO_FILE_WAV},       {"", 0, AUDIO_FILE_WAV},
        {"a.OGG", 0, AUDIO_FILE_WAV}, {"d.ogg/a", 0, AUDIO_FILE_WAV}, {"a.flac", 1, AUDIO_FILE_WAV},
        {"a.ogg", 2, AUDIO_FILE_WAV},
    };
    for (const auto& p : paths) {
        SCOPED_TRACE(p.path);
        const i32 stream = audio_stream_open(SAMPLE_FORMAT_U32, slice(p.path), p.writing);
        const AudioStream& s = audio_streams[stream];
        EXPECT_EQ(s.file_type, p.type);
        EXPECT_EQ(s.in_use, 1);
        EXPECT_EQ(s.writing, p.writing != 0);
        EXPECT_EQ(s.from_file, 1);
        EXPECT_EQ(s.format, SAMPLE_FORMAT_U32);
        EXPECT_EQ(s.info_known, 0);
        EXPECT_EQ(s.decoder, nullptr);
        EXPECT_EQ(s.source.data, p.path.data());
        EXPECT_EQ(s.source.count, static_cast<i64>(p.path.size()));
        audio_stream_close(stream);
    }
    const struct {
        std::string_view content;
        audio_file_type type;
    } memories[] = {{"OggS", 2}, {"fLaC", 1}, {"RIFF", 0}, {"Ogg", 0}, {"mp3 ", 0}};
    for (const auto& m : memories) {
        bytes content(m.content.begin(), m.content.end());
        const i32 stream = audio_stream_open_from_memory(6, static_cast<i64>(content.size()),
                                                         source.holding(content, content.size()));
        EXPECT_EQ(audio_streams[stream].file_type, m.type) << m.content;
        EXPECT_EQ(audio_streams[stream].from_file, 0);
        EXPECT_EQ(info_of(stream), (AudioInfo{6, 0, 0, 0}));
        audio_stream_close(stream);
    }
}

TEST_F(AudioStreamsTest, AStreamThatFailedStaysFailedUntilItsClose) {
    const bytes wav = read_file(path_of("s16.wav"));
    const bytes flac = read_file(path_of("s16.flac"));
    for (const std::string end : {"late.wav", "late.flac", "late.ogg"}) {
        SCOPED_TRACE(end);
        const std::string path = scratch_path(end);
        std::filesystem::remove(path);
        const i32 stream = audio_stream_open(SAMPLE_FORMAT_F32, slice(path), 0);
        EXPECT_EQ(info_of(stream), (AudioInfo{6, 0, 0, 0}));
        EXPECT_EQ(audio_get_buffer_position(), 0);
        write_file(path, end.ends_with("wav") ? wav : flac);
        EXPECT_EQ(info_of(stream), (AudioInfo{6, 0, 0, 0}));
        float block[4] = {7, 7, 7, 7};
        EXPECT_EQ(audio_stream_read(stream, 2, block), 0);
        EXPECT_EQ(block[0], 7);
        EXPECT_EQ(audio_stream_seek(stream, 0), 0);
        audio_stream_close(stream);
        EXPECT_EQ(info_of(open_file(path, 6)).channels, end.ends_with("ogg") ? 0 : 2);
        audio_set_buffer_position(0);
    }
}

struct attempt {
    bool opened;
    i64 position;
    std::string printed;

    bool operator==(const attempt&) const = default;
};

// Opens a stream in that much memory, and reads and seeks in it whether that went well or not.
template <class Open> attempt AudioStreamsTest::try_stream(i64 lent, const Open& open) {
    buffer.lend(lent);
    attempt result = {};
    result.printed = output.during([&] {
        const i32 stream = open();
        const AudioInfo info = info_of(stream);
        result.opened = info.channels != 0;
        result.position = audio_get_buffer_position();
        bytes block(static_cast<size_t>(frame_size(stream)) * 700);
        EXPECT_EQ(audio_stream_read(stream, 700, block.data()), result.opened ? 700 : 0);
        EXPECT_EQ(audio_stream_seek(stream, 300), result.opened ? 1 : 0);
        EXPECT_EQ(audio_stream_read(stream, 10, block.data()), result.opened ? 10 : 0);
        EXPECT_EQ(info_of(stream), info);
        audio_stream_close(stream);
    });
    EXPECT_EQ(result.printed, result.opened ? "" : allocation_failed);
    return result;
}

// The next size with another outcome is found by halving.
template <class Open> void AudioStreamsTest::check_every_refusal(const Open& open) {
    const i64 enough = try_stream(ample, open).position;
    i64 size = 0;
    while (size < enough) {
        const attempt first = try_stream(size, open);
        ASSERT_FALSE(first.opened) << size;
        EXPECT_LE(first.position, (size + 7) / 8 * 8);
        i64 other = enough;
        for (i64 same = size; other - same > 1;) {
            const i64 middle = same + (other - same) / 2;
            (try_stream(middle, open) == first ? same : other) = middle;
        }
        size = other;
        ASSERT_FALSE(HasFailure()) << size;
    }
    EXPECT_TRUE(try_stream(enough, open).opened);
}

TEST_F(AudioStreamsTest, EverySizeAtWhichAnAllocationFailsEndsInAFailedStreamAndOneLine) {
    const int descriptors = open_descriptors();
    const std::vector<std::string> some = {"s16.wav", "in-ogg.flac", "s16-six.flac"};
    for (const std::string& name : is_whole_sweep() ? all_sounds() : some) {
        for (const sample_format format : stream_formats) {
            SCOPED_TRACE(testing::Message() << name << ", format " << +format);
            check_every_refusal([&] { return open_file(path_of(name), format); });
            bytes content = read_file(path_of(name));
            if (name == "in-ogg.flac") continue; // Vorbis by its first bytes
            check_every_refusal([&] {
                const i64 size = static_cast<i64>(content.size());
                return audio_stream_open_from_memory(format, size, content.data());
            });
            ASSERT_FALSE(HasFailure());
        }
    }
    EXPECT_EQ(open_descriptors(), descriptors);
}

TEST_F(AudioStreamsTest, BlocksOfAnySizeMakeTheWholeSound) {
    buffer.lend(ample);
    for (const std::string& name : all_sounds()) {
        const bytes file = read_file(path_of(name));
        for (const sample_format format : stream_formats) {
            SCOPED_TRACE(testing::Message() << name << ", format " << +format);
            audio_set_buffer_position(0);
            const bytes whole = samples_of(load(path_of(name), format));
            const u64 blocks[] = {1, 7, 1000, 1024, 200000};
            for (const u64 frames : blocks) {
                if (frames == 1 && format != SAMPLE_FORMAT_S16) continue;
                audio_set_buffer_position(0);
                const i32 stream = open_file(path_of(name), format);
                const AudioInfo info = info_of(stream);
                EXPECT_EQ(info.format, format);
                EXPECT_EQ(info.size, name == "no-length.flac" ? 0 : static_cast<i64>(whole.size()));
                ASSERT_TRUE(read_to_end(stream, frames) == whole) << frames;
                EXPECT_TRUE(read_frames(stream, 5).empty());
                audio_stream_close(stream);
            }
            audio_set_buffer_position(0);
            if (name == "in-ogg.flac") continue; // its first bytes are those of Ogg
            const i32 stream = audio_stream_open_from_memory(format, static_cast<i64>(file.size()),
                                                             source.holding(file, file.size()));
            info_of(stream);
            ASSERT_TRUE(read_to_end(stream, 1024) == whole);
            audio_stream_close(stream);
        }
    }
}

TEST_F(AudioStreamsTest, SeeksGoToTheSameFrameInAllKindsOfFiles) {
    std::mt19937 random(2);
    for (const std::string& name : all_sounds()) {
        SCOPED_TRACE(name);
        audio_set_buffer_position(0);
        const bytes whole = samples_of(load(path_of(name), SAMPLE_FORMAT_S16));
        const i32 stream = open_file(path_of(name), SAMPLE_FORMAT_S16);
        const auto size = static_cast<size_t>(frame_size(stream));
        const size_t total = whole.size() / size;
        const size_t near = total / 3;
        size_t targets[60] = {0, total - 1, 1, near, near + 3, near - 40, near + 10, near, 0, 0};
        for (int i = 10; i < 60; ++i) {
            targets[i] = random() % total;
        }
        for (const size_t target : targets) {
            ASSERT_NE(audio_stream_seek(stream, target), 0) << target;
            const size_t count = std::min<size_t>(random() % 3 == 0 ? 5000 : 30, total - target);
            const auto expected = whole.begin() + static_cast<ptrdiff_t>(target * size);
            const bytes got = read_frames(stream, count);
            ASSERT_EQ(got, bytes(expected, expected + static_cast<ptrdiff_t>(count * size)))
                << target;
        }
        const bool is_ogg = name.ends_with(".ogg");
        EXPECT_EQ(audio_stream_seek(stream, total + 1000), !is_ogg);
        EXPECT_TRUE(is_ogg || read_frames(stream, 10).empty());
        ASSERT_NE(audio_stream_seek(stream, 0), 0);
        EXPECT_TRUE(read_frames(stream, 10) ==
                    bytes(whole.begin(), whole.begin() + 10 * i64(size)));
        audio_stream_close(stream);
    }
}

// A step outside of file or block ends the program.
TEST_F(AudioStreamsTest, DamagedFilesCanBeReadAndSoughtInToo) {
    std::mt19937 random(3);
    for (const std::string& name : all_sounds()) {
        const bytes file = read_file(path_of(name));
        SCOPED_TRACE(name);
        for (int i = 0; i < 60; ++i) {
            const bytes content = damaged(file, random, i % 2 == 0);
            const size_t count = i % 4 == 0 ? random() % file.size() : file.size();
            audio_set_buffer_position(0);
            const int in_use = heap_calls::blocks_in_use;
            const i32 stream =
                audio_stream_open_from_memory(stream_formats[random() % 5], static_cast<i64>(count),
                                              source.holding(content, count));
            output.during([&] { info_of(stream); });
            const auto size = static_cast<size_t>(frame_size(stream));
            guarded_block destination(static_cast<i64>(3000 * size));
            for (int step = 0; step < 8; ++step) {
                const u64 frames = random() % 3000;
                audio_stream_read(stream, frames,
                                  destination.ending_block(static_cast<i64>(frames * size)));
                audio_stream_seek(stream, random() % (step % 4 == 0 ? ~0u : 20000u));
            }
            audio_stream_close(stream);
            EXPECT_EQ(heap_calls::blocks_in_use, in_use);
        }
    }
}

TEST_F(AudioStreamsTest, WrittenFilesAreWhatSoxReads) {
    const bytes whole = samples_of(load(path_of("s24.wav"), SAMPLE_FORMAT_S32));
    audio_set_buffer_position(0);
    const bytes narrow = samples_of(load(path_of("s24.wav"), SAMPLE_FORMAT_S16));
    for (const sample_format format : stream_formats) {
        for (const bool announced : {false, true}) {
            SCOPED_TRACE(testing::Message() << "format " << +format << ", announced " << announced);
            audio_set_buffer_position(0);
            Wave wave = load(path_of("s24.wav"), format);
            const AudioInfo info = {format, 2, 44100, announced ? wave.size : 0};
            const std::string path = scratch_path("written.ogg");
            std::string source_path = path;
            const i32 stream = audio_stream_open(format, slice(source_path), 1);
            audio_stream_write_info(stream, info);
            source_path.assign(source_path.size(), 'x'); // was copied
            audio_stream_write_info(stream, {0, 9, 9, 9});
            const sample_format stored = widths[format] == 2 ? 4 : 5;
            EXPECT_EQ(audio_streams[stream].info, (AudioInfo{stored, 2, 44100, info.size}));
            EXPECT_EQ(info_of(stream), audio_streams[stream].info);
            i64 done = 0;
            const i64 frame = 2 * widths[format];
            const int calls = heap_calls::during([&] {
                for (u64 frames = 1; done < wave.size; frames = frames * 2 + 1) {
                    frames = std::min(frames, static_cast<u64>((wave.size - done) / frame));
                    const u64 count =
                        audio_stream_write(stream, frames, static_cast<u8*>(wave.data) + done);
                    done += static_cast<i64>(count) * frame;
                }
            });
            EXPECT_LE(calls, 1); // the file's own buffer
            EXPECT_EQ(done, wave.size);
            audio_stream_close(stream);
            std::filesystem::rename(path, scratch_path("written.wav"));
            const bytes read = read_by_sox(scratch_path("written.wav"));
            wave.format = stored; // what the samples have become
            EXPECT_EQ(samples_of(load(scratch_path("written.wav"), stored)), samples_of(wave));
            if (format == SAMPLE_FORMAT_S32 || format == SAMPLE_FORMAT_U32) {
                EXPECT_EQ(read, whole);
            } else if (widths[format] == 2) {
                EXPECT_EQ(samples_of(wave), narrow);
            }
            EXPECT_EQ(read.size(), whole.size());
        }
    }
}

TEST_F(AudioStreamsTest, FilesThatCantBeWrittenAndLengthsThatWereNotKept) {
    const auto create = [&](const std::string& path, sample_format format, AudioInfo info) {
        const i32 stream = audio_stream_open(format, slice(path), 1);
        audio_stream_write_info(stream, info);
        return stream;
    };
    std::vector<i16> block(200, 0x0101);
    const auto write = [&](i32 stream, u64 frames) {
        return audio_stream_write(stream, frames, block.data());
    };
    EXPECT_EQ(write(create("/nowhere/a.wav", 4, {4, 1, 8000, 0}), 10), 0u);
    const std::string path = scratch_path("kept.wav");
    write_file(path, {1, 2, 3});
    for (const i32 channels : {0, -2, 65536}) {
        EXPECT_EQ(write(create(path, 4, {4, channels, 8000, 0}), 10), 0u) << channels;
    }
    buffer.lend(8);
    const std::string line = output.during([&] { create(path, 4, {4, 1, 8000, 0}); });
    EXPECT_EQ(line, allocation_failed);
    EXPECT_EQ(read_file(path), (bytes{1, 2, 3}));

    buffer.lend(ample);
    for (const u64 frames : {50u, 100u, 150u}) {
        const i32 stream = create(path, 4, {4, 1, 8000, 200});
        EXPECT_EQ(write(stream, frames), frames);
        audio_stream_close(stream);
        EXPECT_EQ(read_file(path).size(), 44 + 2 * frames);
    }
    const i32 large = create(path, 4, {SAMPLE_FORMAT_F32, 1, 8000, i64{1} << 33});
    EXPECT_EQ(write(large, 10), 0u); // wider than what the host has
    EXPECT_EQ(block, std::vector<i16>(200, 0x0101));
    audio_stream_close(large);
    EXPECT_EQ(read_file(path)[0], 'r'); // W64
    const i32 odd = create(path, 7, {9, 1, 8000, 0});
    EXPECT_EQ(audio_streams[odd].info.format, 9);
    EXPECT_EQ(write(odd, 10), 10u);
    audio_stream_close(odd);
    EXPECT_EQ(samples_of(load(path, 4)), bytes(20, 1));
}

TEST_F(AudioStreamsTest, WrongCallsGiveTheFailureValueAndDoNothing) {
    const std::string path = scratch_path("reader.wav");
    std::filesystem::copy(path_of("s16.wav"), path,
                          std::filesystem::copy_options::overwrite_existing);
    const bytes before = read_file(path);
    const i32 reader = open_file(path, SAMPLE_FORMAT_S16);
    const i32 written = audio_stream_open(SAMPLE_FORMAT_S16, slice(path), 1);
    const i32 closed = open_file(path, SAMPLE_FORMAT_S16);
    audio_stream_close(closed);
    i16 block[8] = {7, 7, 7, 7, 7, 7, 7, 7};
    for (const i32 stream : {-1, 64, closed, INT32_MIN, INT32_MAX, reader, written}) {
        SCOPED_TRACE(stream);
        if (stream != reader) {
            EXPECT_EQ(info_of(stream), (AudioInfo{stream == written ? u8{4} : u8{0}, 0, 0, 0}));
            EXPECT_EQ(audio_stream_read(stream, 2, block), 0);
            EXPECT_EQ(audio_stream_seek(stream, 0), 0);
        }
        if (stream != written) audio_stream_write_info(stream, {4, 1, 8000, 0});
        EXPECT_EQ(audio_stream_write(stream, 2, block), 0u);
        EXPECT_EQ(block[0], 7);
        if (stream != reader && stream != written) audio_stream_close(stream);
    }
    EXPECT_EQ(read_file(path), before);
    EXPECT_EQ(audio_stream_read(reader, 2, block), 2);
    EXPECT_EQ(audio_stream_read(reader, ~0ull, block), 0); // no memory has that much room

    const i32 odd = open_file(path, 7);
    EXPECT_EQ(info_of(odd).size, static_cast<i64>(before.size()) - 44);
    EXPECT_EQ(output.during([&] { EXPECT_EQ(audio_stream_read(odd, 2, block), 0); }),
              "invalid audio format\n");
    EXPECT_EQ(audio_stream_seek(odd, 5), 1);
}

TEST_F(AudioStreamsTest, AllStreamsAtOnceKeepApartAndLeaveNothing) {
    const char* const names[] = {"long.wav", "long.flac", "long.ogg", "s24.flac"};
    bytes whole[4];
    for (int i = 0; i < 4; ++i) {
        audio_set_buffer_position(0);
        whole[i] = samples_of(load(path_of(names[i]), SAMPLE_FORMAT_S16));
    }
    std::vector<u8> roomy(8 << 20);
    audio_set_buffer(static_cast<i64>(roomy.size()), roomy.data());
    const int descriptors = open_descriptors();
    const int in_use = heap_calls::blocks_in_use;
    for (int i = 0; i < 64; ++i) {
        ASSERT_EQ(open_file(path_of(names[i % 4]), SAMPLE_FORMAT_S16), i);
    }
    int calls_in_others = 0;
    for (size_t at = 0; at < 130; ++at) {
        for (int i = 0; i < 64; ++i) {
            bytes block(1000u * static_cast<u64>(frame_size(i)));
            i64 count = 0;
            const int calls =
                heap_calls::during([&] { count = audio_stream_read(i, 1000, block.data()); });
            calls_in_others += i % 4 == 2 ? 0 : calls;
            const size_t start = std::min(at * block.size(), whole[i % 4].size());
            const size_t size = static_cast<size_t>(count * frame_size(i));
            EXPECT_EQ(size, std::min(block.size(), whole[i % 4].size() - start));
            ASSERT_EQ(std::memcmp(block.data(), whole[i % 4].data() + start, size), 0) << i;
        }
    }
    EXPECT_EQ(calls_in_others, 0) << "only Ogg's decoder needs the heap";
    for (int i = 0; i < 64; ++i) {
        audio_stream_close(i);
    }
    EXPECT_EQ(open_descriptors(), descriptors);
    EXPECT_EQ(heap_calls::blocks_in_use, in_use);
}

} // namespace
