/* SPDX-License-Identifier: Zlib */
#pragma once

/**
 * Start, stop, small services, and the scratch memory behind every call.
 *
 * A host program calls system_init first and system_release last. Between the two there is no main
 * loop and no object that stands for a run: the host drives. What needs neither SDL2 nor sockets
 * (files, images, sounds, math) works without system_init.
 *
 * Scratch memory. Text on its way to the operating system is terminated or widened in
 * `temporary_buffer`, 16384 bytes; short-lived results stand in a second arena of 524288 bytes that
 * the host sees only through the results. Both are used from the front to the back and then from
 * the front again, nothing in them is ever freed, and neither touches the heap:
 *  - what a call puts into `temporary_buffer` is needed by that call alone;
 *  - a result in the other arena (a directory listing, a clipboard text) stays good until later
 *    results have run once round the arena and reach it. Copy what is to be kept before the next
 *    call that gives such a result.
 *
 * Limits. A text has at most 16383 bytes, and two texts of one call have at most 16382 bytes
 * together. Longer text is refused, never cut: the call does nothing and gives its failure value.
 *
 * Calls, where nothing else is said:
 *
 * @thread   one
 * @memory   none
 * @failure  none
 * @heap     none
 * @waits    no
 */

#include "types.h"

/** Parts of the platform to start, for system_init. Higher bits are ignored. */
enum {
    SYSTEM_INIT_TIMER = 1,
    SYSTEM_INIT_AUDIO = 2,
    SYSTEM_INIT_VIDEO = 4,
    SYSTEM_INIT_EVENTS = 8, /**< also builds `to_key_code` and clears the input state */
    SYSTEM_INIT_JOYSTICK = 16,
    SYSTEM_INIT_HAPTIC = 32
};

/** A set of SYSTEM_INIT_ bits. */
typedef u32 system_init_flags;

/**
 * Scratch for the text of the call in progress, and the offset of its first free byte, from 0 to
 * 16384. Exported for a look from outside: a host program writes neither.
 *
 * @lifetime  until the next call that takes `text`
 */
HALVORIN_DATA u8 temporary_buffer[16384];
HALVORIN_DATA i32 temporary_pos;

/**
 * The twelve system cursors (SDL_Cursor*), indexed by the CURSOR_ numbers. Filled by system_init;
 * null where the platform has no such cursor.
 *
 * @thread    display
 * @lifetime  from system_init to system_release
 * @failure   null
 */
HALVORIN_DATA void* system_cursors[12];

/**
 * Makes a terminated UTF-16 copy of a UTF-8 text in `temporary_buffer`.
 *
 * Bytes that are not valid UTF-8 become U+FFFD, one for each maximal part of a character. A zero
 * byte inside the text is kept. Takes two bytes for each UTF-16 unit and two for the terminator.
 *
 * @param text  UTF-8, at most 8191 UTF-16 units long.
 * @return      the first unit, in the byte order of the machine. The address may be odd.
 * @memory      text
 * @lifetime    until later text has run through the rest of the 16384 bytes; use it at once.
 * @failure     an empty wide string: for a longer text.
 */
HALVORIN_API u16* to_wide_cstr(Slice text);

/**
 * Starts the platform: SDL2 with the parts that are asked for, and the system cursors.
 *
 * A part that cannot start (no sound device, no display) does not keep the others from starting;
 * it shows as failures of the calls that need it. The position of the scratch memory does not
 * move. SDL2 turns an interrupt or termination signal into a close request while video runs.
 *
 * @param flags  SYSTEM_INIT_ bits. With SYSTEM_INIT_EVENTS `to_key_code` is built and the input
 *               state is cleared, keys and buttons held included.
 * @thread   one: while no other call is under way; where a display will be opened, on its thread.
 * @failure  not told
 * @heap     SDL2
 * @waits    devices and the window system
 */
HALVORIN_API void system_init(system_init_flags flags);

/**
 * Stops what system_init and display_open started: software renderer, OpenGL context, window,
 * cursors, SDL2. Devices, streams, threads and sockets are the host's to close, ahead of this.
 *
 * The exported variables keep their values: a host that starts again calls display_close before
 * its next display_open. Harmless without system_init and when called twice.
 *
 * @thread  one: while no other call is under way.
 * @heap    SDL2
 * @waits   devices and the window system
 */
HALVORIN_API void system_release(void);

/**
 * Runs a command in the shell and waits for its end. The command gets the host's own standard
 * streams and open descriptors, and its exit status is not handed on.
 *
 * @param command  for `/bin/sh -c` (on Windows the command interpreter). An over-long command is
 *                 not run.
 * @memory   text
 * @failure  not told
 * @heap     C library
 * @waits    until the command has ended
 */
HALVORIN_API void system_execute(Slice command);

/** Seconds since 1970-01-01 00:00 UTC. @thread any */
HALVORIN_API i64 system_time(void);

/** A counter of high resolution, in units of 1 / system_performance_frequency() s. @thread any */
HALVORIN_API u64 system_performance_counter(void);

/** Counts of system_performance_counter a second. @thread any */
HALVORIN_API u64 system_performance_frequency(void);

/**
 * Puts the calling thread to sleep for at least that many milliseconds.
 *
 * @thread  any
 * @waits   for that time
 */
HALVORIN_API void system_sleep(u32 milliseconds);

/**
 * Milliseconds since SDL2 was started, 0 to 4294967295, after which it starts again from 0.
 *
 * @thread  any
 */
HALVORIN_API u64 system_ticks(void);

/**
 * Loads a shared library.
 *
 * @param path  UTF-8; the platform's search rules hold for a bare name.
 * @return      a handle for the two calls below.
 * @memory      text
 * @lifetime    until system_unload_library
 * @failure     null
 * @heap        C library
 * @waits       disk
 */
HALVORIN_API void* system_load_library(Slice path);

/**
 * Finds a function or variable of a loaded library by name.
 *
 * @memory    text
 * @lifetime  until system_unload_library
 * @failure   null: there is none of that name.
 * @heap      C library: on failure.
 */
HALVORIN_API void* system_load_function(void* library, Slice name);

/**
 * Unloads a library; its functions must not be called any more. Null does nothing.
 *
 * @failure  not told
 * @heap     C library
 */
HALVORIN_API void system_unload_library(void* library);
