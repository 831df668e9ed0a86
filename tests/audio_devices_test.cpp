// SPDX-License-Identifier: Zlib
#include "api/frame.h"
#include "support/sound_samples.h"

#include <atomic>
#include <mutex>
#include <random>
#include <thread>

using namespace sound_samples;

namespace {

// What the two callbacks do: the player's makes noise and keeps a copy, the recorder's keeps what
// comes.
struct tape {
    bool plays = true;
    bytes content = {};
    std::mutex mutex = {};
    std::atomic<int> calls = 0;
    std::atomic<bool> inside = false;
    std::mt19937 random{4};

    bytes copy() {
        const std::lock_guard guard(mutex);
        return content;
    }
    bool reaches(int count) const {
        for (int i = 0; i < 500 && calls < count; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return calls >= count;
    }
    // Gives the device some time for calls that shouldn't come.
    void expect_rest() const {
        const int before = calls;
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        EXPECT_EQ(calls, before);
    }
};

void turn(void* userdata, u8* stream, i32 length) {
    auto* const t = static_cast<tape*>(userdata);
    t->inside = true;
    for (i32 i = 0; t->plays && i < length; ++i) {
        stream[i] = static_cast<u8>(t->random() | 1); // never silence, in any format
    }
    {
        const std::lock_guard guard(t->mutex);
        t->content.insert(t->content.end(), stream, stream + length);
    }
    ++t->calls;
    t->inside = false;
}

class AudioDevicesTest : public testing::Test {
protected:
    AudioDevicesTest() {
        setenv("SDL_AUDIODRIVER", "disk", 1);
        setenv("SDL_DISKAUDIOFILE", played.c_str(), 1);
        std::mt19937 random{4};
        std::generate(heard.begin(), heard.end(), [&] { return static_cast<u8>(random()); });
        write_file(scratch_path("heard.raw"), heard);
        setenv("SDL_DISKAUDIOFILEIN", scratch_path("heard.raw").c_str(), 1);
        setenv("SDL_DISKAUDIODELAY", "2", 1);
        system_init(SYSTEM_INIT_AUDIO);
    }
    ~AudioDevicesTest() override {
        system_release();
    }

    const std::string played = scratch_path("played.raw");
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
        tape t;
        ASSERT_EQ(audio_open(row.format, row.channels, 22050, 512, turn, &t), 1);
        const u32 id = audio_player_id;
        EXPECT_NE(id, 0u);
        t.expect_rest();
        audio_play();
        ASSERT_TRUE(t.reaches(3));
        audio_pause();
        t.expect_rest();
        audio_play();
        ASSERT_TRUE(t.reaches(t.calls + 3));
        audio_close();
        EXPECT_EQ(audio_player_id, id);

        const auto block = static_cast<i64>(512 * row.channels * widths[row.format]);
        const bytes file = read_file(played);
        ASSERT_EQ(static_cast<i64>(file.size()) % block, 0);
        bytes sound;
        for (auto at = file.begin(); at != file.end(); at += block) {
            const i64 period = widths[row.format];
            const bool silent = std::equal(at, at + block - period, at + period);
            if (!silent) sound.insert(sound.end(), at, at + block);
        }
        EXPECT_EQ(static_cast<i64>(sound.size()), block * t.calls);
        EXPECT_TRUE(sound == t.copy());
    }
}

TEST_F(AudioDevicesTest, TheLockKeepsTheCallbackOut) {
    tape player;
    tape recorder = {.plays = false};
    ASSERT_EQ(audio_open(SAMPLE_FORMAT_S16, 2, 22050, 64, turn, &player), 1);
    ASSERT_EQ(audio_recorder_open(SAMPLE_FORMAT_S16, 2, 22050, 64, turn, &recorder), 1);
    EXPECT_NE(audio_recorder_id, audio_player_id);
    audio_play();
    audio_recorder_record();
    const auto check = [](void (*lock)(), void (*unlock)(), tape& kept_out, tape& other) {
        for (int round = 0; round < 3; ++round) {
            ASSERT_TRUE(kept_out.reaches(kept_out.calls + 2));
            lock();
            EXPECT_FALSE(kept_out.inside);
            kept_out.expect_rest();
            EXPECT_TRUE(other.reaches(other.calls + 1));
            unlock();
        }
    };
    check(audio_lock, audio_unlock, player, recorder);
    check(audio_recorder_lock, audio_recorder_unlock, recorder, player);
    audio_recorder_close();
    recorder.expect_rest();
    audio_close();
    player.expect_rest();
}

TEST_F(AudioDevicesTest, TheRecorderHandsOverWhatTheDeviceHears) {
    const std::pair<sample_format, i64> rows[] = {
        {SAMPLE_FORMAT_S32, 4}, {SAMPLE_FORMAT_U32, 4}, {SAMPLE_FORMAT_S8, 1}, {7, 2}};
    for (const auto& [format, width] : rows) {
        SCOPED_TRACE(+format);
        tape t = {.plays = false};
        ASSERT_EQ(audio_recorder_open(format, 1, 22050, 512, turn, &t), 1);
        t.expect_rest();
        audio_recorder_record();
        ASSERT_TRUE(t.reaches(5));
        audio_recorder_pause();
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        t.expect_rest();
        audio_recorder_close();
        // What comes in while it pauses is dropped, here too.
        const bytes got = t.copy();
        const auto start = std::search(heard.begin(), heard.end(), got.begin(), got.end());
        ASSERT_NE(start, heard.end());
        EXPECT_EQ((start - heard.begin()) % (512 * width), 0);
        EXPECT_EQ(static_cast<i64>(got.size()), 512 * width * t.calls);
    }
}

TEST_F(AudioDevicesTest, WhatCantBeOpenedGivesFalse) {
    tape t;
    ASSERT_EQ(audio_open(SAMPLE_FORMAT_S16, 2, 22050, 64, turn, &t), 1);
    const u32 id = audio_player_id;
    audio_close();
    for (const sample_format format : std::initializer_list<u8>{SAMPLE_FORMAT_U32, 7, 255}) {
        EXPECT_EQ(audio_open(format, 2, 22050, 64, turn, &t), 0) << +format;
        EXPECT_EQ(audio_player_id, id);
    }
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

} // namespace
