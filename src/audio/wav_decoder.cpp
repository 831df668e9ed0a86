// SPDX-License-Identifier: Zlib
#include "audio/wav_decoder.h"

#include "audio/conversion_kernels.h"
#include "audio/decoder_builds.h"
#include "audio/formats.h"
#include "audio/memory.h"
#include "platform/files.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace halvorin {
namespace {

// The decoder reads through these instead of opening files by itself. It never has to go back from
// where it stands; a damaged file can make it do so again and again, without an end.
struct wav_source {
    std::FILE* file; // or null
    const u8* bytes;
    i64 size;
    i64 position;
};

size_t read_source(void* user, void* destination, size_t size) {
    auto* const source = static_cast<wav_source*>(user);
    size_t count = 0;
    if (source->file != nullptr) {
        count = std::fread(destination, 1, size, source->file);
    } else {
        count = std::min(size, static_cast<size_t>(source->size - source->position));
        if (count > 0) std::memcpy(destination, source->bytes + source->position, count);
    }
    source->position += static_cast<i64>(count);
    return count;
}

drwav_bool32 seek_source(void* user, int offset, drwav_seek_origin origin) {
    auto* const source = static_cast<wav_source*>(user);
    i64 start = 0;
    if (origin == DRWAV_SEEK_CUR) {
        if (offset < 0) return DRWAV_FALSE;
        start = source->position;
    } else if (origin == DRWAV_SEEK_END) {
        start = source->size;
    }
    const i64 position = start + offset;
    if (position < 0 || position > source->size) return DRWAV_FALSE;
    if (source->file != nullptr && !seek_stream(source->file, position, SEEK_SET)) {
        return DRWAV_FALSE;
    }
    source->position = position;
    return DRWAV_TRUE;
}

drwav_bool32 tell_source(void* user, drwav_int64* position) {
    *position = static_cast<const wav_source*>(user)->position;
    return DRWAV_TRUE;
}

bool open_source(wav_source* opened, const sound_source& source) {
    *opened = {nullptr, static_cast<const u8*>(source.bytes), source.size, 0};
    if (source.path == nullptr) return source.bytes != nullptr && source.size > 0;
    opened->file = std::fopen(source.path, "rb");
    if (opened->file == nullptr) return false;
    opened->size = seek_stream(opened->file, 0, SEEK_END) ? stream_position(opened->file) : -1;
    if (opened->size > 0 && seek_stream(opened->file, 0, SEEK_SET)) return true;
    std::fclose(opened->file);
    return false;
}

void close_source(const wav_source& source) {
    if (source.file != nullptr) std::fclose(source.file);
}

// A host's stream points at the drwav, so that comes first.
struct wav_reader {
    drwav wav;
    wav_source source;
};
static_assert(offsetof(wav_reader, wav) == 0);

// Asking the processor takes longer than many a block, so it is done once.
const wav_calls& best_calls() {
    constinit static const wav_calls* best = nullptr;
    if (best == nullptr) best = has_avx2() ? &wav_calls_avx2 : &wav_calls_any;
    return *best;
}

bool begin(wav_reader& reader) {
    return drwav_init(&reader.wav, read_source, seek_source, tell_source, &reader.source,
                      nullptr) != DRWAV_FALSE;
}

// The file is opened ahead of the memory: a missing one takes none.
void* open(const sound_source& source) {
    wav_source opened;
    if (!open_source(&opened, source)) return nullptr;
    auto* const reader = static_cast<wav_reader*>(audio_memory_allocate(sizeof(wav_reader)));
    if (reader != nullptr) {
        reader->source = opened;
        if (begin(*reader)) return reader;
    }
    close_source(opened);
    return nullptr;
}

sound_shape shape(const void* decoder) {
    const auto* const wav = static_cast<const drwav*>(decoder);
    return {wav->channels, static_cast<i32>(wav->sampleRate), wav->totalPCMFrameCount};
}

// The decoder, too, hands such samples over as they are, but clears a block for all others first.
bool is_in_file_as(const drwav* wav, sample_format output) {
    const u16 tag = output == SAMPLE_FORMAT_F32 ? DR_WAVE_FORMAT_IEEE_FLOAT : DR_WAVE_FORMAT_PCM;
    return wav->translatedFormatTag == tag && wav->bitsPerSample == bytes_a_sample(output) * 8;
}

u64 read(void* decoder, sample_format output, u64 frames, void* destination) {
    auto* const wav = static_cast<drwav*>(decoder);
    if (is_in_file_as(wav, output)) return drwav_read_pcm_frames(wav, frames, destination);
    switch (output) {
    case SAMPLE_FORMAT_S16:
        return best_calls().read_s16(wav, frames, static_cast<drwav_int16*>(destination));
    case SAMPLE_FORMAT_S32:
        return best_calls().read_s32(wav, frames, static_cast<drwav_int32*>(destination));
    default: return best_calls().read_f32(wav, frames, static_cast<float*>(destination));
    }
}

// The reader itself takes nothing of the host's memory here.
Wave load(const sound_source& source, sample_format output) {
    wav_reader reader;
    if (!open_source(&reader.source, source)) return {};
    Wave wave = {};
    if (begin(reader)) {
        const sound_shape known = shape(&reader);
        wave = {output, known.channels, known.sample_rate, 0, nullptr};
        read_announced(&wave, wav_decoder, &reader, known.frames);
        drwav_uninit(&reader.wav);
    }
    if (reading_has_failed(wav_decoder, &reader)) wave = {};
    close_source(reader.source);
    return wave;
}

bool seek(void* decoder, u64 frame) {
    return drwav_seek_to_pcm_frame(static_cast<drwav*>(decoder), frame) != DRWAV_FALSE;
}

// What has failed once isn't gone on with: the samples behind a gap would be out of their places.
size_t write_file(void* user, const void* bytes, size_t size) {
    auto* const file = static_cast<std::FILE*>(user);
    return std::ferror(file) == 0 ? std::fwrite(bytes, 1, size, file) : 0;
}

// The way back to the lengths in the header, at the end. On a full disk they have their places.
drwav_bool32 seek_written(void* user, int offset, drwav_seek_origin) {
    auto* const file = static_cast<std::FILE*>(user);
    std::clearerr(file);
    return seek_stream(file, offset, SEEK_SET) ? DRWAV_TRUE : DRWAV_FALSE;
}

// One that writes has no reader around it.
void close(void* decoder) {
    auto* const wav = static_cast<drwav*>(decoder);
    if (wav->onWrite == write_file) {
        finish_wav(wav);
        return;
    }
    const bool reads = wav->onWrite == nullptr;
    drwav_uninit(wav);
    if (reads) close_source(static_cast<wav_reader*>(decoder)->source);
}

std::FILE* file(const void* decoder) {
    return static_cast<const wav_reader*>(decoder)->source.file;
}

constexpr i64 most_in_riff = 0xFFFFFFFF;

// With its header in front, so much less can be announced.
constexpr i64 most_announced = most_in_riff - 36;

} // namespace

constexpr sound_decoder wav_decoder = {
    .wide_output = SAMPLE_FORMAT_S32,
    .load = load,
    .open = open,
    .shape = shape,
    .read = read,
    .seek = seek,
    .close = close,
    .file = file,
};

bool create_wav(drwav* wav, const char* path, const AudioInfo& content, bool announced) {
    if (!is_channel_count(content.channels)) return false;
    const i32 width = bytes_a_sample(content.format);
    const bool is_riff = content.size <= most_in_riff;
    // Nothing waits in a buffer: the frames that count as written are in the file.
    std::FILE* const file = std::fopen(path, "wb");
    if (file == nullptr) return false;
    const bool is_direct = std::setvbuf(file, nullptr, _IONBF, 0) == 0;
    const drwav_data_format format = {
        .container = is_riff ? drwav_container_riff : drwav_container_w64,
        .format = DR_WAVE_FORMAT_PCM,
        .channels = static_cast<u32>(content.channels),
        .sampleRate = static_cast<u32>(content.sample_rate),
        .bitsPerSample = static_cast<u32>(width) * 8,
    };
    const auto samples = static_cast<u64>(content.size / width);
    const bool is_open = !announced || (is_riff && content.size > most_announced);
    const drwav_bool32 begun =
        is_open ? drwav_init_write(wav, &format, write_file, seek_written, file, nullptr)
                : drwav_init_write_sequential(wav, &format, samples, write_file, file, nullptr);
    if (is_direct && begun != DRWAV_FALSE && std::ferror(file) == 0) return true;
    std::fclose(file);
    return false;
}

bool finish_wav(drwav* wav) {
    auto* const file = static_cast<std::FILE*>(wav->pUserData);
    drwav_uninit(wav);
    const bool written = std::ferror(file) == 0;
    return std::fclose(file) == 0 && written;
}

} // namespace halvorin
