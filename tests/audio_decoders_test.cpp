// SPDX-License-Identifier: Zlib
#include "audio/conversion_kernels.h"
#include "audio/decoder_builds.h"
#include "support/sound_samples.h"

#include <gtest/gtest.h>

using namespace sound_samples;

namespace {

// All of a sound in the three outputs of its decoder, and again from the middle.
bytes decode(const wav_calls& calls, const bytes& file) {
    bytes sound(6 * ample);
    drwav wav;
    if (!drwav_init_memory(&wav, file.data(), file.size(), nullptr)) return {};
    u64 at = 0;
    const auto read = [&](auto call, auto type) {
        drwav_seek_to_pcm_frame(&wav, 0);
        at = (at + 3) / 4 * 4;
        at += sizeof type * call(&wav, ~0u, reinterpret_cast<decltype(type)*>(&sound[at])) *
              wav.channels;
    };
    read(calls.read_s16, drwav_int16{});
    read(calls.read_s32, drwav_int32{});
    read(calls.read_f32, float{});
    drwav_uninit(&wav);
    sound.resize(at);
    return sound;
}

bytes decode(const flac_calls& calls, const bytes& file) {
    bytes sound(6 * ample);
    drflac* const flac = calls.open_memory(file.data(), file.size(), nullptr);
    if (flac == nullptr) return {};
    u64 at = 0;
    const auto read = [&](auto call, auto type, u64 from) {
        calls.seek(flac, from);
        at = (at + 3) / 4 * 4;
        at += sizeof type * call(flac, ~0u, reinterpret_cast<decltype(type)*>(&sound[at])) *
              flac->channels;
    };
    for (const u64 from : {u64{0}, u64{flac->totalPCMFrameCount} / 2}) {
        read(calls.read_s16, drflac_int16{}, from);
        read(calls.read_s32, drflac_int32{}, from);
        read(calls.read_f32, float{}, from);
    }
    calls.close(flac);
    sound.resize(at);
    return sound;
}

// The processor decides which of the two a host gets.
TEST(AudioDecodersTest, BothBuildsGiveTheSameSamples) {
    if (!halvorin::has_avx2()) GTEST_SKIP() << "this processor has no AVX2";
    lent_buffer buffer;
    for (const std::string& name : all_sounds()) {
        SCOPED_TRACE(name);
        audio_set_buffer_position(0);
        const bytes file = read_file(path_of(name));
        if (name.ends_with(".wav")) {
            const bytes plain = decode(wav_calls_any, file);
            EXPECT_GT(plain.size(), 0u);
            EXPECT_TRUE(decode(wav_calls_avx2, file) == plain);
        } else if (name.ends_with(".flac")) {
            const bytes plain = decode(flac_calls_any, file);
            EXPECT_GT(plain.size(), 0u);
            EXPECT_TRUE(decode(flac_calls_avx2, file) == plain);
        }
    }
}

} // namespace
