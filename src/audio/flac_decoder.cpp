// SPDX-License-Identifier: Zlib
#include "audio/flac_decoder.h"

#include "audio/conversion_kernels.h"
#include "audio/decoder_builds.h"
#include "audio/formats.h"
#include "audio/memory.h"

namespace halvorin {
namespace {

// Asking the processor takes longer than many a block, so it is done once.
const flac_calls& best_calls() {
    constinit static const flac_calls* best = nullptr;
    if (best == nullptr) best = has_avx2() ? &flac_calls_avx2 : &flac_calls_any;
    return *best;
}

void* open(const sound_source& source) {
    if (source.path != nullptr) return best_calls().open_file(source.path, nullptr);
    if (source.bytes == nullptr || source.size <= 0) return nullptr;
    return best_calls().open_memory(source.bytes, static_cast<size_t>(source.size), nullptr);
}

sound_shape shape(const void* decoder) {
    const auto* const flac = static_cast<const drflac*>(decoder);
    return {flac->channels, static_cast<i32>(flac->sampleRate), flac->totalPCMFrameCount};
}

u64 read(void* decoder, sample_format output, u64 frames, void* destination) {
    auto* const flac = static_cast<drflac*>(decoder);
    switch (output) {
    case SAMPLE_FORMAT_S16:
        return best_calls().read_s16(flac, frames, static_cast<drflac_int16*>(destination));
    case SAMPLE_FORMAT_S32:
        return best_calls().read_s32(flac, frames, static_cast<drflac_int32*>(destination));
    default: return best_calls().read_f32(flac, frames, static_cast<float*>(destination));
    }
}

void close(void* decoder) {
    best_calls().close(static_cast<drflac*>(decoder));
}

// The decoder takes no memory while it reads, so that the block stays the last one and grows where
// it stands.
void read_growing(drflac* flac, Wave* wave) {
    i64 capacity = 4096 * bytes_a_frame(*wave);
    wave->data = audio_memory_allocate(capacity);
    while (wave->data != nullptr) {
        const i64 room = (capacity - wave->size) / bytes_a_frame(*wave);
        auto* const end = static_cast<u8*>(wave->data) + wave->size;
        const u64 count = read(flac, wave->format, static_cast<u64>(room), end);
        wave->size += static_cast<i64>(count) * bytes_a_frame(*wave);
        if (count < static_cast<u64>(room)) return;
        wave->data = audio_memory_reallocate(wave->data, capacity, capacity * 2);
        capacity *= 2;
    }
}

Wave load(const sound_source& source, sample_format output) {
    auto* const flac = static_cast<drflac*>(open(source));
    if (flac == nullptr) return {};
    const sound_shape known = shape(flac);
    Wave wave = {output, known.channels, known.sample_rate, 0, nullptr};
    known.frames > 0 ? read_announced(&wave, flac_decoder, flac, known.frames)
                     : read_growing(flac, &wave);
    if (reading_has_failed(flac_decoder, flac)) wave = {};
    close(flac);
    return wave;
}

// The decoder clamps to the length, which is 0 where the file doesn't say.
bool seek_forward(drflac* flac, u64 frame) {
    if (flac->totalPCMFrameCount != 0) {
        return best_calls().seek(flac, frame) != DRFLAC_FALSE;
    }
    best_calls().read_s32(flac, frame, nullptr);
    return true;
}

// In a damaged file the decoder can go back into a frame that it never decoded and say that this
// went well. So the way back is always from the start, and after a failure the frame at hand counts
// as read.
bool seek(void* decoder, u64 frame) {
    auto* const flac = static_cast<drflac*>(decoder);
    if (flac->currentPCMFrame == frame) return true;
    if (best_calls().seek(flac, 0) != DRFLAC_FALSE && seek_forward(flac, frame)) return true;
    flac->currentFLACFrame = {};
    return false;
}

std::FILE* file(const void* decoder) {
    return best_calls().file(static_cast<const drflac*>(decoder));
}

} // namespace

constexpr sound_decoder flac_decoder = {
    .wide_output = SAMPLE_FORMAT_S32,
    .load = load,
    .open = open,
    .shape = shape,
    .read = read,
    .seek = seek,
    .close = close,
    .file = file,
};

} // namespace halvorin
