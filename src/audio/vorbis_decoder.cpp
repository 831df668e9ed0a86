// SPDX-License-Identifier: Zlib
#include "audio/vorbis_decoder.h"

#include "audio/decoder_builds.h"
#include "audio/formats.h"
#include "audio/memory.h"

#define STB_VORBIS_HEADER_ONLY
#define STB_VORBIS_NO_PUSHDATA_API
#include <stb_vorbis.c>

#include <algorithm>
#include <climits>
#include <cstring>

namespace halvorin {
namespace {

// A frame has at most so many samples of each channel.
constexpr i64 longest_frame = 4096;

void* open(const sound_source& source) {
    int error = 0;
    if (source.path != nullptr) return stb_vorbis_open_filename(source.path, &error, nullptr);
    if (source.size > INT_MAX) return nullptr;
    return stb_vorbis_open_memory(static_cast<const u8*>(source.bytes),
                                  static_cast<int>(source.size), &error, nullptr);
}

stb_vorbis* vorbis_of(const void* decoder) {
    return static_cast<stb_vorbis*>(const_cast<void*>(decoder));
}

sound_shape shape(const void* decoder) {
    const stb_vorbis_info info = stb_vorbis_get_info(vorbis_of(decoder));
    return {info.channels, static_cast<i32>(info.sample_rate),
            stb_vorbis_stream_length_in_samples(vorbis_of(decoder))};
}

// The decoder counts samples in an int: more are read in several steps.
u64 read(void* decoder, sample_format output, u64 frames, void* destination) {
    stb_vorbis* const vorbis = vorbis_of(decoder);
    const int channels = stb_vorbis_get_info(vorbis).channels;
    auto* at = static_cast<u8*>(destination);
    u64 count = 0;
    while (count < frames) {
        const u64 step = std::min<u64>(frames - count, static_cast<u64>(INT_MAX / channels));
        const int samples = static_cast<int>(step) * channels;
        const int got = output == SAMPLE_FORMAT_S16
                            ? stb_vorbis_get_samples_short_interleaved(
                                  vorbis, channels, reinterpret_cast<short*>(at), samples)
                            : stb_vorbis_get_samples_float_interleaved(
                                  vorbis, channels, reinterpret_cast<float*>(at), samples);
        count += static_cast<u64>(got);
        at += i64{got} * channels * bytes_a_sample(output);
        if (static_cast<u64>(got) < step) break;
    }
    return count;
}

void close(void* decoder) {
    stb_vorbis_close(vorbis_of(decoder));
}

// Frame by frame, as the file doesn't say for sure how many there are. The block has room for one
// more at all times; nobody else takes memory meanwhile, so it grows where it stands.
void read_shorts(stb_vorbis* vorbis, Wave* wave) {
    const i64 limit = wave->channels * longest_frame;
    i64 total = limit;
    i64 offset = 0;
    wave->data = audio_memory_allocate(total * 2);
    while (wave->data != nullptr) {
        const i64 room = std::min<i64>(total - offset, INT_MAX);
        const int frames = stb_vorbis_get_frame_short_interleaved(
            vorbis, wave->channels, static_cast<short*>(wave->data) + offset,
            static_cast<int>(room));
        if (frames == 0) break;
        offset += i64{frames} * wave->channels;
        if (offset + limit > total) {
            wave->data = audio_memory_reallocate(wave->data, total * 2, total * 4);
            total *= 2;
        }
    }
    wave->size = offset * 2;
}

// All at once, as the file says how many there are; what it then doesn't hold is silence.
void read_floats(stb_vorbis* vorbis, Wave* wave) {
    const u64 frames = stb_vorbis_stream_length_in_samples(vorbis);
    const u64 samples = frames * static_cast<u64>(wave->channels);
    if (samples == 0 || samples > INT_MAX) return;
    wave->size = static_cast<i64>(samples) * 4;
    wave->data = audio_memory_allocate(wave->size);
    if (wave->data == nullptr) return;
    const u64 count = read(vorbis, SAMPLE_FORMAT_F32, frames, wave->data);
    const i64 held = static_cast<i64>(count) * wave->channels * 4;
    std::memset(static_cast<u8*>(wave->data) + held, 0, static_cast<size_t>(wave->size - held));
}

Wave load(const sound_source& source, sample_format output) {
    stb_vorbis* const vorbis = vorbis_of(open(source));
    if (vorbis == nullptr) return {};
    const stb_vorbis_info info = stb_vorbis_get_info(vorbis);
    Wave wave = {output, info.channels, static_cast<i32>(info.sample_rate), 0, nullptr};
    output == SAMPLE_FORMAT_S16 ? read_shorts(vorbis, &wave) : read_floats(vorbis, &wave);
    if (reading_has_failed(vorbis_decoder, vorbis)) wave = {};
    close(vorbis);
    return wave;
}

bool seek(void* decoder, u64 frame) {
    return stb_vorbis_seek(vorbis_of(decoder), static_cast<u32>(frame)) != 0;
}

} // namespace

constexpr sound_decoder vorbis_decoder = {
    .wide_output = SAMPLE_FORMAT_F32,
    .load = load,
    .open = open,
    .shape = shape,
    .read = read,
    .seek = seek,
    .close = close,
    .file = vorbis_file,
};

} // namespace halvorin
