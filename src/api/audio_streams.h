/* SPDX-License-Identifier: Zlib */
#pragma once

/**
 * Sound files block by block. The family's page is audio.h.
 *
 * A stream is a number: its index in `audio_streams`, where 64 have room. Opening one only notes
 * the source; the file is opened by the first info call.
 *
 *     reading   audio_stream_open or audio_stream_open_from_memory
 *               audio_stream_read_info
 *               audio_stream_read, audio_stream_seek, as often as need be
 *               audio_stream_close
 *     writing   audio_stream_open with `writing`
 *               audio_stream_write_info
 *               audio_stream_write, as often as need be
 *               audio_stream_close, which finishes the file
 *
 * A stream whose file couldn't be opened stays failed until it is closed. Numbers that name no open
 * stream, and calls for reading on a stream for writing or the other way round, give the failure
 * value and do nothing.
 */

#include "audio_waves.h"

/** What a stream takes its file for. */
enum {
    AUDIO_FILE_WAV = 0,
    AUDIO_FILE_FLAC = 1,
    AUDIO_FILE_OGG = 2 /**< Ogg Vorbis */
};

/** An AUDIO_FILE_ number. */
typedef u8 audio_file_type;

/** A stream. For the host to look at; the calls below keep it. */
typedef struct AudioStream {
    b8 in_use; /**< open; without it nothing else has a meaning */
    audio_file_type file_type;
    b8 writing;
    b8 from_file;         /**< `source` is a path, not the bytes of a file */
    sample_format format; /**< of the blocks that are read or written */
    b8 info_known;        /**< the first info call was made, and `info` is set */
    void* decoder; /**< drwav, drflac or stb_vorbis; null before `info` and after a failure */
    Slice source;  /**< path or bytes, in the host's memory */
    AudioInfo info;
} AudioStream;

/** All streams: the index is the number. @lifetime always valid: the stream calls change it. */
HALVORIN_DATA AudioStream audio_streams[64];

/**
 * How many streams at the front of `audio_streams` have ever been used. It only grows.
 *
 * @lifetime  until the next stream is opened
 */
HALVORIN_DATA i32 num_audio_streams;

/**
 * Opens a stream of a file. Doesn't touch the file.
 *
 * @param format   of the blocks, a SAMPLE_FORMAT_ number of 16 or 32 bits.
 * @param path     UTF-8, at most 16383 bytes; has to stay valid until the first info call. For
 *                 reading, what follows the last dot chooses the decoder: `ogg` or `flac`, in lower
 *                 case; with anything else it is WAV's.
 * @param writing  true: a WAV file is to be written, whatever the extension.
 * @return    the stream, by the first number that is free.
 * @lifetime  until audio_stream_close
 * @failure   -1: 64 are open, or `format` has 8 bits.
 */
HALVORIN_API i32 audio_stream_open(sample_format format, Slice path, b8 writing);

/**
 * Opens a stream for reading of the bytes of a file. The first four choose the decoder: "OggS"
 * (Vorbis) or "fLaC"; with anything else it is WAV's.
 *
 * @param format  as for audio_stream_open.
 * @param size    of the file's bytes; less than 2 GiB for Ogg Vorbis.
 * @param data    the bytes; have to stay valid until the close.
 * @return    the stream.
 * @lifetime  until audio_stream_close
 * @failure   -1
 */
HALVORIN_API i32 audio_stream_open_from_memory(sample_format format, i64 size, void* data);

/**
 * Opens the file of a stream for reading, at the first call, and tells what is in it.
 *
 * @param result  `format` is the stream's, `size` what the whole sound comes to in that format. For
 *                Ogg Vorbis the size is counted in 32 bits, and wraps. A file that doesn't say its
 *                length gives 0.
 * @memory    text, audio buffer: with the first call, the decoder of WAV or FLAC.
 * @failure   `channels`, `sample_rate` and `size` are 0: no such file, another kind of file, or no
 *            room in the audio buffer (with its line). For good, until the stream is closed.
 * @heap      C library, Vorbis decoder
 * @waits     disk
 */
HALVORIN_API void audio_stream_read_info(AudioInfo* result, i32 stream);

/**
 * Creates the WAV file of a stream for writing, replacing a file of that name. Further calls do
 * nothing.
 *
 * @param info  `format` decides what the file holds: U8, S16 or S32, by its width. It is the
 *              stream's, or another of the same width. `size` is what will be written, in bytes:
 *              exactly so much has to follow. 0 leaves the length open until the close, for places
 *              where one can seek.
 * @memory    text, audio buffer
 * @failure   not told: the stream is failed. That is for a name that can't be opened for writing, a
 *            full disk, no room in the audio buffer (with its line, and with no file made),
 *            `channels` below 1 or above 65535.
 * @heap      C library
 * @waits     disk
 */
HALVORIN_API void audio_stream_write_info(i32 stream, AudioInfo info);

/**
 * Reads the next frames, in the stream's format.
 *
 * @param frames       at most.
 * @param destination  has room for `frames` frames. What lies behind the frames that were read
 *                     means nothing afterwards.
 * @return    frames read. Less than asked for is the end of the sound.
 * @failure   0: also for a file that can't be read any further, until a seek has gone well. For a
 *            stream whose format is no SAMPLE_FORMAT_ number the line "invalid audio format" also
 *            goes to standard output.
 * @waits     disk
 */
HALVORIN_API i64 audio_stream_read(i32 stream, u64 frames, void* destination);

/**
 * Writes frames. Samples in another format than the file's are converted where they stand.
 *
 * @param frames  to write.
 * @param data    the samples, in the stream's format.
 * @return    frames written: they are in the file.
 * @failure   fewer than `frames`: on a full disk as a rule, and no more are written behind it. 0
 *            where the file's samples are wider than the stream's.
 * @waits     disk
 */
HALVORIN_API u64 audio_stream_write(i32 stream, u64 frames, void* data);

/**
 * Goes to a frame, from which the next read starts.
 *
 * @param frame  counted from the start of the sound. Behind its end WAV and FLAC go to the end; Ogg
 *               Vorbis fails.
 * @return    not 0 when done.
 * @failure   0: also when the file can't be read there.
 * @waits     disk
 */
HALVORIN_API i32 audio_stream_seek(i32 stream, u64 frame);

/**
 * Ends a stream and closes its file; a WAV file being written is finished. The stream's part of the
 * audio buffer stays taken until the host moves the position back.
 *
 * @failure  not told
 * @heap     C library, Vorbis decoder: they give back.
 * @waits    disk
 */
HALVORIN_API void audio_stream_close(i32 stream);
