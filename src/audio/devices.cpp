// SPDX-License-Identifier: Zlib
#include "api/audio.h"
#include "frame/boundary.h"

#include <SDL_audio.h>

constinit u32 audio_player_id = 0;
constinit u32 audio_recorder_id = 0;

namespace {

SDL_AudioFormat to_sdl_format(sample_format format) {
    switch (format) {
    case SAMPLE_FORMAT_U8: return AUDIO_U8;
    case SAMPLE_FORMAT_U16: return AUDIO_U16LSB;
    case SAMPLE_FORMAT_S8: return AUDIO_S8;
    case SAMPLE_FORMAT_U32: // SDL2 has none without a sign
    case SAMPLE_FORMAT_S32: return AUDIO_S32LSB;
    case SAMPLE_FORMAT_F32: return AUDIO_F32LSB;
    default: return AUDIO_S16LSB;
    }
}

SDL_AudioSpec wanted(sample_format format, u8 channels, i32 frequency, u16 samples,
                     audio_callback callback, void* userdata) {
    SDL_AudioSpec spec = {};
    spec.format = to_sdl_format(format);
    spec.channels = halvorin::low_bits(channels);
    spec.freq = frequency;
    spec.samples = halvorin::low_bits(samples);
    spec.callback = callback;
    spec.userdata = userdata;
    return spec;
}

// Without room for what SDL2 could get instead, the callback sees what was asked for.
u32 open_device(bool records, const SDL_AudioSpec& spec) {
    return SDL_OpenAudioDevice(nullptr, records, &spec, nullptr, 0);
}

} // namespace

b8 audio_open(sample_format format, u8 channels, i32 frequency, u16 samples,
              audio_callback callback, void* userdata) {
    format = halvorin::low_bits(format);
    if (format == SAMPLE_FORMAT_U32 || format > SAMPLE_FORMAT_F32) return false;
    audio_player_id =
        open_device(false, wanted(format, channels, frequency, samples, callback, userdata));
    return audio_player_id != 0;
}

void audio_play(void) {
    SDL_PauseAudioDevice(audio_player_id, 0);
}

void audio_pause(void) {
    SDL_PauseAudioDevice(audio_player_id, 1);
}

void audio_close(void) {
    SDL_CloseAudioDevice(audio_player_id);
}

void audio_lock(void) {
    SDL_LockAudioDevice(audio_player_id);
}

void audio_unlock(void) {
    SDL_UnlockAudioDevice(audio_player_id);
}

b8 audio_recorder_open(sample_format format, u8 channels, i32 frequency, u16 samples,
                       audio_callback callback, void* userdata) {
    audio_recorder_id = open_device(
        true, wanted(halvorin::low_bits(format), channels, frequency, samples, callback, userdata));
    return audio_recorder_id != 0;
}

void audio_recorder_record(void) {
    SDL_PauseAudioDevice(audio_recorder_id, 0);
}

void audio_recorder_pause(void) {
    SDL_PauseAudioDevice(audio_recorder_id, 1);
}

void audio_recorder_close(void) {
    SDL_CloseAudioDevice(audio_recorder_id);
}

void audio_recorder_lock(void) {
    SDL_LockAudioDevice(audio_recorder_id);
}

void audio_recorder_unlock(void) {
    SDL_UnlockAudioDevice(audio_recorder_id);
}
