// SPDX-License-Identifier: Zlib
#include "api/frame.h"
#include "support/sound_samples.h"

#include <SDL_audio.h>

#include <atomic>
#include <cstdlib>
#include <gtest/gtest.h>
#include <mutex>
#include <random>
#include <thread>

using namespace sound_samples;

namespace {

// What the two callbacks do: the player's makes noise and keeps a copy, the recorder's keeps what
// comes.
struct tape {
    std::mutex mutex;
    bytes content;
    std::atomic<int> calls = 0;
    std::atomic<bool> inside = false;
    std::mt19937 random{4};
    bool plays = true;

    bytes copy() {
        const std::lock_guard guard(mutex);
        return content;
    }
};

void turn(void* userdata, u8* stream, i32 length) {
    auto* const t = static_cast<tape*>(userdata);
    t->inside = true;
    if (t->plays) {
        for (i32 i = 0; i < length; ++i) {
            stream[i] = static_cast<u8>(t->random() | 1); // never silence, in any format
        }
    }
    {
        const std::lock_guard guard(t->mutex);
        t->content.insert(t->content.end(), stream, stream + length);
    }
    ++t->calls;
    t->inside = false;
}

void pause_for(int milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

bool reaches(const std::atomic<int>& calls, int count) {
    for (int i = 0; i < 500 && calls < count; ++i) {
        pause_for(10);
    }
    return calls >= count;
}

class AudioDevicesTest : public testing::Test {
protected:
    AudioDevicesTest() {
        setenv("SDL_AUDIODRIVER", "disk", 1);
        setenv("SDL_DISKAUDIOFILE", played.c_str(), 1);
        std::generate(heard.begin(), heard.end(), [&] { return static_cast<u8>(t.random()); });
        write_file(scratch_path("heard.raw"), heard);
        setenv("SDL_DISKAUDIOFILEIN", scratch_path("heard.raw").c_str(), 1);
        setenv("SDL_DISKAUDIODELAY", "2", 1);
        system_init(SYSTEM_INIT_AUDIO);
    }
    ~AudioDevicesTest() override {
        system_release();
    }

    const std::string played = scratch_path("played.raw");
    tape t;
    bytes heard = bytes(4 << 20); // seconds of it
};

// The driver writes every block to its file; while the player pauses, blocks of silence.
TEST_F(AudioDevicesTest, WhatTheCallbackGivesIsPlayedByteForByteInEveryFormat) {
    const struct {
        sample_format format;
        u8 channels;
    } rows[] = {{SAMPLE_FORMAT_U8, 1},  {SAMPLE_FORMAT_U16, 2}, {SAMPLE_FORMAT_S8, 2},
                {SAMPLE_FORMAT_S16, 1}, {SAMPLE_FORMAT_S32, 2}, {SAMPLE_FORMAT_F32, 6}};
    for (const auto& row : rows) {
        SCOPED_TRACE(+row.format);
        tape tape;
        ASSERT_EQ(audio_open(row.format, row.channels, 22050, 512, turn, &tape), 1);
        EXPECT_NE(audio_player_id, 0u);
        pause_for(20);
        EXPECT_EQ(tape.calls, 0);
        audio_play();
        ASSERT_TRUE(reaches(tape.calls, 3));
        audio_pause();
        const int calls = tape.calls;
        pause_for(30);
        EXPECT_EQ(tape.calls, calls);
        audio_play();
        ASSERT_TRUE(reaches(tape.calls, calls + 3));
        const u32 id = audio_player_id;
        audio_close();
        EXPECT_EQ(audio_player_id, id);

        const size_t block = 512u * row.channels * static_cast<size_t>(widths[row.format]);
        const bytes file = read_file(played);
        ASSERT_EQ(file.size() % block, 0u);
        const auto period = static_cast<ptrdiff_t>(widths[row.format]);
        bytes sound;
        for (auto at = file.begin(); at != file.end(); at += static_cast<ptrdiff_t>(block)) {
            const auto end = at + static_cast<ptrdiff_t>(block);
            const bool silent = std::equal(at, end - period, at + period);
            if (!silent) sound.insert(sound.end(), at, end);
        }
        EXPECT_EQ(sound.size(), block * static_cast<size_t>(tape.calls));
        EXPECT_TRUE(sound == tape.copy());
    }
}

TEST_F(AudioDevicesTest, TheLockKeepsTheCallbackOut) {
    ASSERT_EQ(audio_open(SAMPLE_FORMAT_S16, 2, 22050, 64, turn, &t), 1);
    tape recorded;
    recorded.plays = false;
    ASSERT_EQ(audio_recorder_open(SAMPLE_FORMAT_S16, 2, 22050, 64, turn, &recorded), 1);
    EXPECT_NE(audio_recorder_id, audio_player_id);
    audio_play();
    audio_recorder_record();
    const auto check = [](void (*lock)(), void (*unlock)(), tape& kept_out, tape& other) {
        for (int round = 0; round < 3; ++round) {
            ASSERT_TRUE(reaches(kept_out.calls, kept_out.calls + 2));
            lock();
            const int calls = kept_out.calls;
            const int others = other.calls;
            EXPECT_FALSE(kept_out.inside);
            pause_for(30);
            EXPECT_EQ(kept_out.calls, calls);
            EXPECT_TRUE(reaches(other.calls, others + 1));
            unlock();
        }
    };
    check(audio_lock, audio_unlock, t, recorded);
    check(audio_recorder_lock, audio_recorder_unlock, recorded, t);
    audio_recorder_close();
    audio_close();
}

// Nothing here is atomic: the lock, the pause and the close alone stand between the two threads.
TEST_F(AudioDevicesTest, ACallbackReadsAStreamWhileTheHostSteersItUnderTheLock) {
    struct player {
        i32 stream;
        i64 frames = 0;
        u64 wanted = 0; // the frame that the callback is to go to
        int jumps = 0;
    };
    const auto play_stream = [](void* userdata, u8* block, i32 length) {
        auto* const p = static_cast<player*>(userdata);
        if (p->wanted != 0 && audio_stream_seek(p->stream, p->wanted) != 0) ++p->jumps;
        p->wanted = 0;
        p->frames += audio_stream_read(p->stream, static_cast<u64>(length) / 2, block);
    };
    const std::string path = path_of("long.ogg");
    player p{audio_stream_open(SAMPLE_FORMAT_S16, slice(path), false)};
    AudioInfo info;
    audio_stream_read_info(&info, p.stream);
    ASSERT_EQ(info.channels, 1);
    ASSERT_EQ(audio_open(SAMPLE_FORMAT_S16, 1, info.sample_rate, 512, play_stream, &p), 1);
    audio_play();
    for (int round = 1; round <= 5; ++round) {
        audio_lock();
        p.wanted = static_cast<u64>(round) * 10000;
        audio_unlock();
        for (int jumps = 0; jumps < round;) {
            pause_for(5);
            audio_lock();
            jumps = p.jumps;
            audio_unlock();
        }
    }
    audio_pause();
    EXPECT_GE(p.frames, 5 * 512);
    // The stream is the host's again: from where the callback left it to its end.
    ASSERT_EQ(audio_stream_seek(p.stream, 88000), 1);
    EXPECT_EQ(audio_stream_read(p.stream, 512, heard.data()), 200);
    audio_play();
    audio_close();
    EXPECT_EQ(p.jumps, 5);
    audio_stream_close(p.stream);
}

TEST_F(AudioDevicesTest, TheRecorderHandsOverWhatTheDeviceHears) {
    t.plays = false;
    ASSERT_EQ(audio_recorder_open(SAMPLE_FORMAT_S32, 1, 22050, 512, turn, &t), 1);
    pause_for(20);
    EXPECT_EQ(t.calls, 0);
    audio_recorder_record();
    ASSERT_TRUE(reaches(t.calls, 5));
    audio_recorder_pause();
    pause_for(20);
    const int calls = t.calls;
    pause_for(30);
    EXPECT_EQ(t.calls, calls);
    audio_recorder_close();
    // What comes in while it pauses is dropped, here too.
    const bytes got = t.copy();
    const auto start = std::search(heard.begin(), heard.end(), got.begin(), got.end());
    ASSERT_NE(start, heard.end());
    EXPECT_EQ((start - heard.begin()) % 2048, 0);
    EXPECT_GE(got.size(), 5u * 2048);
}

TEST_F(AudioDevicesTest, FormatsThatSdlLacksAreRefusedByThePlayerAlone) {
    const u32 id = audio_player_id;
    for (const sample_format format : std::initializer_list<u8>{SAMPLE_FORMAT_U32, 7, 255}) {
        EXPECT_EQ(audio_open(format, 2, 22050, 64, turn, &t), 0) << +format;
        EXPECT_EQ(audio_player_id, id);
    }
    t.plays = false;
    const struct {
        sample_format format;
        size_t width;
    } rows[] = {{SAMPLE_FORMAT_U32, 4}, {7, 2}, {SAMPLE_FORMAT_S8, 1}};
    for (const auto& row : rows) {
        SCOPED_TRACE(+row.format);
        tape tape;
        tape.plays = false;
        ASSERT_EQ(audio_recorder_open(row.format, 2, 22050, 64, turn, &tape), 1);
        audio_recorder_record();
        ASSERT_TRUE(reaches(tape.calls, 2));
        audio_recorder_close();
        EXPECT_EQ(tape.copy().size(), static_cast<size_t>(tape.calls) * 64 * 2 * row.width);
    }
}

TEST_F(AudioDevicesTest, ADeviceThatCantBeOpenedLeavesTheIdOfNone) {
    system_release();
    EXPECT_EQ(audio_open(SAMPLE_FORMAT_S16, 2, 22050, 64, turn, &t), 0);
    EXPECT_EQ(audio_player_id, 0u);
    EXPECT_EQ(audio_recorder_open(SAMPLE_FORMAT_S16, 2, 22050, 64, turn, &t), 0);
    EXPECT_EQ(audio_recorder_id, 0u);
    void (*const calls[])() = {audio_play,           audio_pause,         audio_lock,
                               audio_unlock,         audio_close,         audio_recorder_record,
                               audio_recorder_pause, audio_recorder_lock, audio_recorder_unlock,
                               audio_recorder_close};
    for (const auto call : calls) {
        call();
    }
    EXPECT_EQ(t.calls, 0);
}

TEST_F(AudioDevicesTest, WithoutACallbackThePlayerTakesFromAQueue) {
    ASSERT_EQ(audio_open(SAMPLE_FORMAT_S16, 1, 22050, 512, nullptr, nullptr), 1);
    ASSERT_EQ(SDL_QueueAudio(audio_player_id, heard.data(), 10240), 0);
    audio_play();
    for (int i = 0; i < 500 && SDL_GetQueuedAudioSize(audio_player_id) > 0; ++i) {
        pause_for(10);
    }
    pause_for(20);
    audio_close();
    const bytes file = read_file(played);
    EXPECT_NE(std::search(file.begin(), file.end(), heard.begin(), heard.begin() + 10240),
              file.end());
}

} // namespace
