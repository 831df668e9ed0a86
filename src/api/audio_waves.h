/* SPDX-License-Identifier: Zlib */
#pragma once

/**
 * Sample formats, the audio buffer, whole sound files and conversion. The family's page is audio.h.
 */

#include "types.h"

/** How a sample is stored. Several bytes are little-endian. */
enum {
    SAMPLE_FORMAT_U8 = 0,  /**< 1 byte, silence is 128 */
    SAMPLE_FORMAT_U16 = 1, /**< 2 bytes, silence is 32768 */
    SAMPLE_FORMAT_U32 = 2, /**< 4 bytes, silence is 2147483648 */
    SAMPLE_FORMAT_S8 = 3,  /**< 1 byte, with a sign */
    SAMPLE_FORMAT_S16 = 4, /**< 2 bytes, with a sign */
    SAMPLE_FORMAT_S32 = 5, /**< 4 bytes, with a sign */
    SAMPLE_FORMAT_F32 = 6  /**< 32-bit float, full scale -1.0 to 1.0 */
};

/** A SAMPLE_FORMAT_ number. */
typedef u8 sample_format;

/** What is known of a sound without its samples. */
typedef struct AudioInfo {
    sample_format format;
    i32 channels;
    i32 sample_rate; /**< frames a second */
    i64 size;        /**< bytes of samples, over all channels */
} AudioInfo;

/**
 * A sound in memory: AudioInfo, with the samples. It holds
 * `size / (channels * bytes a sample of the format)` frames.
 */
typedef struct Wave {
    sample_format format;
    i32 channels;
    i32 sample_rate; /**< frames a second */
    i64 size;        /**< bytes of samples, over all channels */
    void* data;      /**< the samples; null when a load has failed */
} Wave;

/**
 * Lends a block to all later loads and streams and sets the position to 0. What the block before
 * held is forgotten; the same block may be lent again. Its contents aren't touched.
 *
 * @param size    of the block in bytes.
 * @param memory  the block, kept until the next call. Null lends nothing.
 */
HALVORIN_API void audio_set_buffer(i64 size, void* memory);

/**
 * Moves the position of the audio buffer, as a rule back to a mark. Stored as it is: it needn't be
 * aligned, and one outside the buffer makes every load fail.
 */
HALVORIN_API void audio_set_buffer_position(i64 position);

/**
 * The position of the audio buffer. Behind an exhausted buffer it may be above the buffer's size.
 */
HALVORIN_API i64 audio_get_buffer_position(void);

/**
 * Decodes a whole sound file into the audio buffer.
 *
 * @param result  filled in; null `data` means failure, and then nothing else in it counts.
 * @param format  of the samples wanted, a SAMPLE_FORMAT_ number. 8 and 16 bits come from the
 *                decoder's 16 bits; 32 bits from its 32 bits, or from its floats with Ogg Vorbis.
 * @param path    UTF-8, at most 16383 bytes; the bytes reach the file system as they are. What
 *                follows the last dot chooses the decoder: `wav`, `flac` or `ogg`, in lower case.
 * @memory    text, audio buffer: the bytes of the decoder's output stay taken, and the decoder's
 *            own, until the host moves the position back; also when the load fails.
 * @lifetime  until audio_set_buffer_position goes below the samples, or audio_set_buffer.
 * @failure   null `data`: another extension or none, no such file (the position doesn't move), a
 *            file that isn't what its extension says or that can't be read, no room. A file cut
 *            short gives the frames that it holds; but Ogg Vorbis in 32 bits has as many frames as
 *            the file says, silent behind those that it holds, and fails where it doesn't say. All
 *            fields are 0 after a failure with Ogg Vorbis or without a decoder; else `format` is
 * the one asked for.
 * @heap      C library, Vorbis decoder
 * @waits     disk
 */
HALVORIN_API void audio_wave_load(Wave* result, sample_format format, Slice path);

/**
 * Decodes the bytes of a sound file, as audio_wave_load does. They are only read, and not needed
 * any more after the call. The first four choose the decoder: "RIFF", "fLaC" or "OggS" (Vorbis).
 *
 * @param size  of the file's bytes; less than 2 GiB for Ogg Vorbis.
 * @memory      audio buffer
 * @lifetime    until audio_set_buffer_position goes below the samples, or audio_set_buffer.
 * @failure     null `data`
 * @heap        Vorbis decoder
 */
HALVORIN_API void audio_wave_load_from_memory(Wave* result, sample_format format, i64 size,
                                              void* data);

/**
 * Writes samples to a WAV file, replacing a file of that name. Takes nothing from the audio buffer;
 * the samples may stand anywhere.
 *
 * The file holds U8, S16 or S32, by the width of the wave's samples. Samples in another format are
 * converted where they stand, so that the host's memory holds U8, S16 or S32 from then on, also
 * when the file can't be created; the host's Wave still names the format before.
 *
 * @param wave  as a load gives it, or the host's own.
 * @param path  UTF-8, at most 16383 bytes. The extension doesn't matter.
 * @return    true when at least one frame was written: on a disk that fills up on the way, the
 *            frames that found room.
 * @memory    text
 * @failure   false: a name that can't be opened for writing; a full disk; no frames, with a file
 *            that has no samples. Also, with nothing touched: `channels` below 1 or above 65535, a
 *            negative `size`, samples without `data`.
 * @heap      C library
 * @waits     disk
 */
HALVORIN_API b8 audio_wave_save(Wave wave, Slice path);

/**
 * Changes the sample format of samples where they stand. Channels and rate are neither changed nor
 * read.
 *
 * Whole numbers keep their most significant bytes: 8 bits in 16 are multiplied by 256, and 16 in 8
 * lose their low byte. Unsigned is signed with the top bit inverted. A float counts in units of
 * 127, 32767 or 2147483647, by the width of the other format: going to whole numbers it is cut
 * toward zero, without dither; beyond -1.0 to 1.0 it wraps round in 8 and 16 bits, and where the
 * product doesn't fit 32 bits, or is NaN, the sample is that of -2147483648.
 *
 * @param wave    `format` and `size` are changed, `data` stays. The block needs room for the
 *                larger of the old and the new size. Bytes behind the last whole sample are dropped
 *                from the sound.
 * @param format  wanted, a SAMPLE_FORMAT_ number. Others count as unsigned, two bytes wide. With
 *                the format that the wave has nothing happens.
 */
HALVORIN_API void audio_wave_convert(Wave* wave, sample_format format);
