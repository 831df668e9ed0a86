// SPDX-License-Identifier: Zlib
#include "audio/flac_decoder.h"
#include "audio/formats.h"
#include "audio/vorbis_decoder.h"
#include "audio/wav_decoder.h"
#include "frame/boundary.h"
#include "frame/extension.h"
#include "frame/scratch.h"

#include "api/audio.h"

namespace {

using halvorin::sound_decoder;

struct file_kind {
    std::string_view extension;
    std::string_view first_bytes;
    const sound_decoder& decoder;
};

constexpr file_kind kinds[] = {
    {"wav", "RIFF", halvorin::wav_decoder},
    {"flac", "fLaC", halvorin::flac_decoder},
    {"ogg", "OggS", halvorin::vorbis_decoder},
};

const sound_decoder* decoder_for(std::string_view text, std::string_view file_kind::*name) {
    for (const file_kind& kind : kinds) {
        if (kind.*name == text) return &kind.decoder;
    }
    return nullptr;
}

// A wave that failed has the format asked for, but for Ogg Vorbis, where all of it is 0.
void load(Wave* result, const sound_decoder& decoder, sample_format format,
          const halvorin::sound_source& source) {
    const Wave wave = decoder.load(source, halvorin::output_for(decoder, format));
    *result = wave.data != nullptr ? wave : Wave{};
    if (wave.data == nullptr && &decoder == &halvorin::vorbis_decoder) return;
    audio_wave_convert(result, format);
}

} // namespace

void audio_wave_load(Wave* result, sample_format format, Slice path) {
    *result = {};
    format = halvorin::low_bits(format);
    const sound_decoder* const decoder =
        decoder_for(halvorin::extension_of(path), &file_kind::extension);
    if (decoder == nullptr || format > SAMPLE_FORMAT_F32) return;
    if (!halvorin::append_character(path)) return;
    load(result, *decoder, format, {halvorin::c_string(path), nullptr, 0});
}

void audio_wave_load_from_memory(Wave* result, sample_format format, i64 size, void* data) {
    *result = {};
    format = halvorin::low_bits(format);
    if (size < 4 || data == nullptr || format > SAMPLE_FORMAT_F32) return;
    const sound_decoder* const decoder =
        decoder_for({static_cast<const char*>(data), 4}, &file_kind::first_bytes);
    if (decoder != nullptr) load(result, *decoder, format, {nullptr, data, size});
}

b8 audio_wave_save(Wave wave, Slice path) {
    if (!halvorin::is_channel_count(wave.channels) || wave.size < 0) return false;
    if (wave.data == nullptr && wave.size > 0) return false;
    audio_wave_convert(&wave, halvorin::stored_format(wave.format));
    const i64 samples = wave.size / halvorin::bytes_a_sample(wave.format);
    const auto frames = static_cast<u64>(samples / wave.channels);
    drwav file;
    const AudioInfo content = {wave.format, wave.channels, wave.sample_rate, wave.size};
    if (!halvorin::append_character(path) ||
        !halvorin::create_wav(&file, halvorin::c_string(path), content, true)) {
        return false;
    }
    const u64 written = drwav_write_pcm_frames(&file, frames, wave.data);
    const bool finished = halvorin::finish_wav(&file);
    return written != 0 && (finished || written < frames);
}
