// SPDX-License-Identifier: Zlib
#include "audio/flac_decoder.h"
#include "audio/formats.h"
#include "audio/memory.h"
#include "audio/vorbis_decoder.h"
#include "audio/wav_decoder.h"
#include "frame/boundary.h"
#include "frame/extension.h"
#include "frame/failure_line.h"
#include "frame/scratch.h"

#include "api/audio.h"

#include <cstddef>
#include <iterator>

static_assert(sizeof(AudioStream) == 56 && offsetof(AudioStream, format) == 4 &&
              offsetof(AudioStream, decoder) == 8 && offsetof(AudioStream, source) == 16 &&
              offsetof(AudioStream, info) == 32);

constinit AudioStream audio_streams[64] = {};
constinit i32 num_audio_streams = 0;

namespace {

using halvorin::bytes_a_sample;
using halvorin::sound_decoder;

constexpr const sound_decoder* decoders[] = {
    &halvorin::wav_decoder,
    &halvorin::flac_decoder,
    &halvorin::vorbis_decoder,
};
static_assert(AUDIO_FILE_WAV == 0 && AUDIO_FILE_FLAC == 1 && AUDIO_FILE_OGG == 2);

const sound_decoder& decoder_of(const AudioStream& stream) {
    return *decoders[stream.file_type];
}

// The open stream of a number, or null.
AudioStream* open_stream(i32 number) {
    if (number < 0 || number >= i32{std::size(audio_streams)}) return nullptr;
    AudioStream* const stream = &audio_streams[number];
    return stream->in_use ? stream : nullptr;
}

// The same for those that are there for reading, or for writing.
AudioStream* open_stream(i32 number, bool writing) {
    AudioStream* const stream = open_stream(number);
    return stream != nullptr && (stream->writing != 0) == writing ? stream : nullptr;
}

i32 take_slot(const AudioStream& content) {
    if (content.format == SAMPLE_FORMAT_U8 || content.format == SAMPLE_FORMAT_S8) return -1;
    i32 number = 0;
    while (number < num_audio_streams && audio_streams[number].in_use) {
        ++number;
    }
    if (number == i32{std::size(audio_streams)}) return -1;
    if (number == num_audio_streams) ++num_audio_streams;
    const AudioInfo old_info = audio_streams[number].info;
    audio_streams[number] = content;
    audio_streams[number].info = old_info;
    return number;
}

audio_file_type type_by_extension(Slice path) {
    const std::string_view extension = halvorin::extension_of(path);
    if (extension == "ogg") return AUDIO_FILE_OGG;
    return extension == "flac" ? AUDIO_FILE_FLAC : AUDIO_FILE_WAV;
}

audio_file_type type_by_content(i64 size, const void* data) {
    if (size < 4 || data == nullptr) return AUDIO_FILE_WAV;
    const std::string_view first = {static_cast<const char*>(data), 4};
    if (first == "OggS") return AUDIO_FILE_OGG;
    return first == "fLaC" ? AUDIO_FILE_FLAC : AUDIO_FILE_WAV;
}

void* open_decoder(const AudioStream& stream) {
    Slice source = stream.source;
    if (!stream.from_file) return decoder_of(stream).open({nullptr, source.data, source.count});
    if (!halvorin::append_character(source)) return nullptr;
    return decoder_of(stream).open({halvorin::c_string(source), nullptr, 0});
}

AudioInfo info_of(const AudioStream& stream) {
    AudioInfo info = {stream.format, 0, 0, 0};
    if (stream.decoder == nullptr) return info;
    const halvorin::sound_shape shape = decoder_of(stream).shape(stream.decoder);
    info.channels = shape.channels;
    info.sample_rate = shape.sample_rate;
    const auto frame = static_cast<u64>(shape.channels) * u64(bytes_a_sample(stream.format));
    const u64 size = shape.frames * frame;
    info.size =
        stream.file_type == AUDIO_FILE_OGG ? i64{static_cast<u32>(size)} : static_cast<i64>(size);
    return info;
}

// For streams that read.
bool has_failed(const AudioStream& stream) {
    return halvorin::reading_has_failed(decoder_of(stream), stream.decoder);
}

// The length comes last of what the first question reads.
void give_up(AudioStream& stream) {
    decoder_of(stream).close(stream.decoder);
    stream.decoder = nullptr;
    stream.info = info_of(stream);
}

// The memory is taken first: without room for it no file is cut.
void* create_writer(const AudioStream& stream) {
    Slice path = stream.source;
    if (!halvorin::is_channel_count(stream.info.channels)) return nullptr;
    if (!halvorin::append_character(path)) return nullptr;
    auto* const wav = static_cast<drwav*>(audio_memory_allocate(sizeof(drwav)));
    const bool announced = stream.info.size >= bytes_a_sample(stream.info.format);
    return wav != nullptr &&
                   halvorin::create_wav(wav, halvorin::c_string(path), stream.info, announced)
               ? wav
               : nullptr;
}

// A block of the host's in some format. False where no memory has room for so many frames.
bool block_of(Wave* block, const AudioStream& stream, sample_format format, u64 frames,
              void* data) {
    const AudioInfo& info = stream.info;
    i64 size = 0;
    if (__builtin_mul_overflow(frames, i64{info.channels} * bytes_a_sample(format), &size)) {
        return false;
    }
    *block = {format, info.channels, info.sample_rate, size, data};
    return true;
}

} // namespace

i32 audio_stream_open(sample_format format, Slice path, b8 writing) {
    const bool writes = halvorin::is_true(writing);
    AudioStream stream = {};
    stream.in_use = true;
    stream.file_type = writes ? audio_file_type{AUDIO_FILE_WAV} : type_by_extension(path);
    stream.writing = writes;
    stream.from_file = true;
    stream.format = halvorin::low_bits(format);
    stream.source = path;
    return take_slot(stream);
}

i32 audio_stream_open_from_memory(sample_format format, i64 size, void* data) {
    AudioStream stream = {};
    stream.in_use = true;
    stream.file_type = type_by_content(size, data);
    stream.format = halvorin::low_bits(format);
    stream.source = {data, size};
    return take_slot(stream);
}

void audio_stream_read_info(AudioInfo* result, i32 stream) {
    *result = {};
    AudioStream* const s = open_stream(stream);
    if (s == nullptr) return;
    if (s->writing && !s->info_known) {
        result->format = s->format;
        return;
    }
    if (!s->info_known) {
        s->decoder = open_decoder(*s);
        s->info = info_of(*s);
        if (s->decoder != nullptr && has_failed(*s)) give_up(*s);
        s->info_known = true;
    }
    *result = s->info;
}

void audio_stream_write_info(i32 stream, AudioInfo info) {
    AudioStream* const s = open_stream(stream, true);
    if (s == nullptr || s->info_known) return;
    s->info = info;
    s->info.format = halvorin::stored_format(info.format);
    s->info_known = true;
    s->decoder = create_writer(*s);
}

i64 audio_stream_read(i32 stream, u64 frames, void* destination) {
    const AudioStream* const s = open_stream(stream, false);
    if (s == nullptr) return 0;
    if (s->format > SAMPLE_FORMAT_F32) {
        halvorin::print_failure_line("invalid audio format");
        return 0;
    }
    const sample_format output = halvorin::output_for(decoder_of(*s), s->format);
    Wave block;
    if (s->decoder == nullptr || !block_of(&block, *s, output, frames, destination)) return 0;
    if (has_failed(*s)) return 0;
    const u64 count = decoder_of(*s).read(s->decoder, output, frames, destination);
    if (has_failed(*s)) return 0;
    if (output != s->format) audio_wave_convert(&block, s->format);
    return static_cast<i64>(count);
}

u64 audio_stream_write(i32 stream, u64 frames, void* data) {
    const AudioStream* const s = open_stream(stream, true);
    if (s == nullptr || s->decoder == nullptr) return 0;
    // Wider samples than the host's would run on behind its block.
    if (bytes_a_sample(s->info.format) > bytes_a_sample(s->format)) return 0;
    Wave block;
    if (!block_of(&block, *s, s->format, frames, data)) return 0;
    audio_wave_convert(&block, s->info.format);
    return drwav_write_pcm_frames(static_cast<drwav*>(s->decoder), frames, data);
}

i32 audio_stream_seek(i32 stream, u64 frame) {
    const AudioStream* const s = open_stream(stream, false);
    if (s == nullptr || s->decoder == nullptr) return 0;
    std::FILE* const file = decoder_of(*s).file(s->decoder);
    if (file != nullptr) std::clearerr(file);
    return decoder_of(*s).seek(s->decoder, frame) && !has_failed(*s);
}

void audio_stream_close(i32 stream) {
    AudioStream* const s = open_stream(stream);
    if (s == nullptr) return;
    if (s->decoder != nullptr) decoder_of(*s).close(s->decoder);
    s->in_use = false;
}
