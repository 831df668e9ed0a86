/* SPDX-License-Identifier: Zlib */
#pragma once

/**
 * The player and the recorder: the default output and the default input, through SDL2. The family's
 * page is audio.h. They need system_init with SYSTEM_INIT_AUDIO.
 *
 * Each opens paused. From audio_play or audio_recorder_record on, SDL2 calls the host's callback
 * again and again, with blocks in the format asked for, whatever the hardware has. Sound never
 * passes through the library.
 *
 * Nothing keeps account of the devices but their two ids. An open device that is opened a second
 * time stays open, out of reach; a close leaves the id as it is. With the id of no device the calls
 * do nothing.
 *
 * Calls, where nothing else is said:
 *
 * @failure  not told
 * @waits    the callback: until it is out of the block at hand.
 */

#include "audio_waves.h"

/**
 * The host's function, an SDL_AudioCallback. It runs on a thread of SDL2's, while the host's goes
 * on.
 *
 * @param stream  the player's block, to be filled, or the recorder's, to be taken.
 * @param length  of the block, in bytes.
 */
typedef void (*audio_callback)(void* userdata, u8* stream, i32 length);

/**
 * SDL2's ids of the devices (SDL_AudioDeviceID).
 *
 * @lifetime  until the next open: a close leaves it.
 * @failure   0: at the start and after a failed open.
 */
HALVORIN_DATA u32 audio_player_id;
HALVORIN_DATA u32 audio_recorder_id;

/**
 * Opens the player.
 *
 * @param format     of the samples, a SAMPLE_FORMAT_ number. SDL2 has no SAMPLE_FORMAT_U32.
 * @param frequency  frames a second.
 * @param samples    the device's block in frames, a power of two: 512 to 4096 as a rule. Smaller is
 *                   prompter, larger is safer from gaps.
 * @param callback   null opens the player in SDL2's queue mode: SDL_QueueAudio feeds it.
 * @param userdata   handed to the callback.
 * @return    true when it is open.
 * @failure   false: SDL2 can't open the device, and the id is 0; or `format` is SAMPLE_FORMAT_U32
 *            or another number, and the id stays.
 * @heap      SDL2
 * @waits     the device
 */
HALVORIN_API b8 audio_open(sample_format format, u8 channels, i32 frequency, u16 samples,
                           audio_callback callback, void* userdata);

/** Lets the player run. */
HALVORIN_API void audio_play(void);

/** Stops the player; audio_play goes on with it. */
HALVORIN_API void audio_pause(void);

/**
 * Closes the player. Not under audio_lock: it waits for the callback's end.
 *
 * @heap   SDL2
 * @waits  the callback, and the sound at hand
 */
HALVORIN_API void audio_close(void);

/** Keeps the player's callback out until audio_unlock, for changes to what it shares. */
HALVORIN_API void audio_lock(void);

/** Lets the player's callback in again. @waits no */
HALVORIN_API void audio_unlock(void);

/**
 * Opens the recorder, with the arguments of audio_open. SAMPLE_FORMAT_U32 gives SAMPLE_FORMAT_S32,
 * and numbers of no format give SAMPLE_FORMAT_S16. With a null callback SDL_DequeueAudio gives what
 * was recorded.
 *
 * @return   true when it is open.
 * @failure  false: SDL2 can't open the device, and the id is 0.
 * @heap     SDL2
 * @waits    the device
 */
HALVORIN_API b8 audio_recorder_open(sample_format format, u8 channels, i32 frequency, u16 samples,
                                    audio_callback callback, void* userdata);

/** Lets the recorder run. */
HALVORIN_API void audio_recorder_record(void);

/** Stops the recorder; audio_recorder_record goes on with it. */
HALVORIN_API void audio_recorder_pause(void);

/**
 * Closes the recorder. Not under audio_recorder_lock: it waits for the callback's end.
 *
 * @heap  SDL2
 */
HALVORIN_API void audio_recorder_close(void);

/** Keeps the recorder's callback out until audio_recorder_unlock. */
HALVORIN_API void audio_recorder_lock(void);

/** Lets the recorder's callback in again. @waits no */
HALVORIN_API void audio_recorder_unlock(void);
