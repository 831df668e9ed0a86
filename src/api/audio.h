/* SPDX-License-Identifier: Zlib */
#pragma once

/**
 * Sound: whole files, streams, sample formats and the two sound devices.
 *
 *   audio_waves.h    sample formats, the audio buffer, whole files to samples and back, conversion
 *   audio_streams.h  files block by block
 *   audio_devices.h  the player and the recorder
 *
 * Formats. Reads WAV (PCM of 8 to 32 bits, float, A-law, u-law and ADPCM, in RIFF and its kin, W64
 * and AIFF), FLAC (also in Ogg) and Ogg Vorbis (up to 16 channels, floor type 1). Writes WAV: whole
 * numbers of 8, 16 or 32 bits, as RIFF, or as W64 above 4 GiB. Samples come and go in the
 * SAMPLE_FORMAT_ that the host names, whatever the file holds; channels and rate stay the file's.
 * Samples are little-endian, and those of a frame (one for each channel) stand side by side.
 *
 * Memory. Loads take no memory of the library's: the host lends one block, the audio buffer, and
 * the samples and the state of the WAV and FLAC decoders are taken from it, one block behind the
 * other. The library keeps no list of these blocks and frees none of them. What it keeps is a
 * position, the offset from which the next one is taken, and the host moves it back:
 *
 *     audio_set_buffer(size, memory);                   once; the position is 0
 *     mark = audio_get_buffer_position();               ahead of what will be given back
 *     audio_wave_load(&wave, SAMPLE_FORMAT_S16, path);  the position moves up
 *     ...                                               use wave.data; load more, if need be
 *     audio_set_buffer_position(mark);                  all loads since the mark are gone
 *
 *  - A load may leave its decoder's state behind beside the samples, so `data` is the only way to
 *    find these: it stands somewhere above the mark, not as a rule at it.
 *  - The samples stay good while the position stays above them. Several waves live side by side;
 *    none can be given back on its own.
 *  - Nothing but audio_set_buffer_position and audio_set_buffer moves the position back, not even
 *    a load that fails. A buffer that is never moved back fills up, and each later load fails.
 *  - An open stream of a WAV or FLAC file has its decoder in the buffer, from the first info call
 *    until its close: the position stays above it for so long.
 *  - The block has to stay valid while loads go on, samples are read or streams are open. Blocks
 *    are taken at multiples of 8 from its start: lend memory that is aligned to 8 bytes or more.
 *  - The state of the Ogg Vorbis decoder, some 200 KB, comes from the heap, and goes back to it at
 *    the end of a load and at a stream's close.
 *
 * How much to lend. Let n be the samples' bytes: frames * channels * bytes a sample of the format
 * asked for, but two bytes a sample at least. One load takes
 *
 *     WAV           n. A stream of it: 512 bytes
 *     FLAC          n + 5 KiB + 4 * channels * the file's largest block, 4,096 frames as a rule
 *                   (37 KiB for stereo) + its seek table; 130 KiB more for FLAC in Ogg. A stream
 *                   of it: the same without n. A file that doesn't say its length: twice n,
 *                   with 4,096 frames added, in place of n
 *     Ogg Vorbis    n for the formats of 32 bits; twice n + channels * 16 KiB for all others. A
 *                   stream of it: nothing
 *
 * Threads. The callback of a device runs on a thread of SDL2's, beside the host's, so that what it
 * shares with the host needs the device's lock (audio_lock, audio_recorder_lock). The calls of
 * audio_waves.h and audio_streams.h and the memory of a load in progress have no lock of their own.
 * To play a stream, the host reads it and hands the blocks over, and the callback keeps away from
 * all these; or the callback reads it, and has these calls to itself from audio_play until
 * audio_pause or audio_close.
 *
 * An exhausted buffer also prints one line to standard output, "audio memory allocation failed" or
 * "audio memory reallocation failed".
 *
 * Calls, where nothing else is said, of all the headers below:
 *
 * @thread   one
 * @memory   none
 * @failure  none
 * @heap     none
 * @waits    no
 */

#include "audio_devices.h"
#include "audio_streams.h"
#include "audio_waves.h"
