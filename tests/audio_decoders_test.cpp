// SPDX-License-Identifier: Zlib
#include "audio/conversion_kernels.h"
#include "audio/decoder_builds.h"
#include "support/sound_samples.h"

using namespace sound_samples;

namespace {

// All of a sound in the three outputs of a decoder, and again from the middle.
template <class Calls, class Decoder, class Seek>
bytes decode(const Calls& calls, Decoder* decoder, u64 channels, u64 frames, const Seek& seek) {
    bytes sound;
    const auto read = [&](auto call, auto sample) {
        std::vector<decltype(sample)> samples(frames * channels);
        samples.resize(call(decoder, frames, samples.data()) * channels);
        const auto* const first = reinterpret_cast<const u8*>(samples.data());
        sound.insert(sound.end(), first, first + samples.size() * sizeof sample);
    };
    for (const u64 from : {u64{0}, frames / 2}) {
        seek(decoder, from);
        read(calls.read_s16, drwav_int16{});
        seek(decoder, from);
        read(calls.read_s32, drwav_int32{});
        seek(decoder, from);
        read(calls.read_f32, float{});
    }
    return sound;
}

bytes decode(const wav_calls& calls, const bytes& file) {
    drwav wav;
    if (!drwav_init_memory(&wav, file.data(), file.size(), nullptr)) return {};
    const bytes sound =
        decode(calls, &wav, wav.channels, wav.totalPCMFrameCount, drwav_seek_to_pcm_frame);
    drwav_uninit(&wav);
    return sound;
}

bytes decode(const flac_calls& calls, const bytes& file) {
    drflac* const flac = calls.open_memory(file.data(), file.size(), nullptr);
    if (flac == nullptr) return {};
    const u64 frames = std::max<u64>(flac->totalPCMFrameCount, 12345);
    const bytes sound = decode(calls, flac, flac->channels, frames, calls.seek);
    calls.close(flac);
    return sound;
}

// The processor decides which of the two a host gets.
TEST(AudioDecodersTest, BothBuildsGiveTheSameSamples) {
    if (!halvorin::has_avx2()) GTEST_SKIP() << "this processor has no AVX2";
    const lent_buffer buffer(audio_buffer);
    for (const std::string& name : all_sounds()) {
        SCOPED_TRACE(name);
        audio_set_buffer_position(0);
        const bytes file = read_file(path_of(name));
        if (name.ends_with(".ogg")) continue;
        const bool is_wav = name.ends_with(".wav");
        const bytes plain = is_wav ? decode(wav_calls_any, file) : decode(flac_calls_any, file);
        EXPECT_GT(plain.size(), 0u);
        EXPECT_TRUE((is_wav ? decode(wav_calls_avx2, file) : decode(flac_calls_avx2, file)) ==
                    plain);
    }
}

} // namespace
