/* SPDX-License-Identifier: Zlib */
#pragma once

/**
 * The types that cross the boundary between a host program and the library.
 *
 * Every export is a plain C function under its own name, with the calling convention of the
 * platform (System V on Linux, Microsoft x64 on Windows). It runs on the caller's thread. What is
 * fixed for all of them:
 *
 * Arguments
 *  - Whole numbers and truth values have the width that their type names, and only that many low
 *    bits count: whatever the host left above them in the register is ignored.
 *  - A truth value (`b8`) is one byte: 0 is false, anything else is true. A result is 0 or 1 where
 *    the function does not say otherwise.
 *  - A floating-point number passed by value travels as its bits in a whole number (`f32_bits`,
 *    `f64_bits`), never in a floating-point register. Numbers in memory (arrays behind a pointer,
 *    fields of records) are ordinary floats.
 *  - A `Slice` travels by value. The caller's record never changes.
 *
 * Results
 *  - A record of several fields is written through the first parameter, named `result`, which
 *    points at memory of the caller; the function itself returns nothing.
 *  - A failure is a value and nothing else: false, 0, null, -1, an empty `Slice`, or a record as
 *    the function's comment says. There is no error state and no log.
 *
 * Memory
 *  - The library keeps no pointer from an argument after the call and frees nothing that it was
 *    given, except where a comment says so (the lent buffers).
 *  - Text that the library hands out is UTF-8 and its `count` leaves out any terminator.
 *
 * Facts of a call
 *  - The page at the head of a header ends with what holds for all of its calls. The comment of a
 *    group and the comment of a call say what is different there. Calls without a blank line
 *    between them stand under one comment.
 *  - @thread    on which threads. `any`: on all of them at once. `one`: on any thread, but one call
 *               of its family at a time, since state is kept in plain variables without a lock.
 *               `display`: on the thread that opened the display. Calls that take `text` or
 *               `results` share these with all others that do, whatever their family: while one
 *               is under way, no other one runs on another thread.
 *  - @memory    what it takes. `text`: room in `temporary_buffer`, for this call. `results`: room
 *               in the arena of short-lived results (frame.h). Else a buffer that the host has
 *               lent. `none`: nothing but the stack.
 *  - @lifetime  until when its result is good, where that is more than a number.
 *  - @failure   what a failure looks like. `none`: there is none. `not told`: nothing is done, and
 *               nothing shows it. `OpenGL`: OpenGL's error state tells (pipeline_get_error).
 *  - @heap      who may call the heap on its way, to take or to give back. `none`: nobody. It is
 *               never the library's own code, but for the list of network_selector_add.
 *  - @waits     what it may wait for. `no`: it returns at once.
 *
 *  The first words count: what stands behind a colon, a semicolon or a full stop is detail.
 */

#include <stdint.h>

/** Whole numbers. */
typedef uint8_t u8;
typedef uint16_t u16;
typedef uint32_t u32;
typedef uint64_t u64;
typedef int8_t i8;
typedef int16_t i16;
typedef int32_t i32;
typedef int64_t i64;

/** A truth value: 0 is false, any other byte is true. */
typedef uint8_t b8;

/** The bits of an IEEE 754 single in a whole number: 1.0 travels as 0x3F800000. */
typedef uint32_t f32_bits;

/** The bits of an IEEE 754 double in a whole number: 1.0 travels as 0x3FF0000000000000. */
typedef uint64_t f64_bits;

/**
 * A string or an array.
 *
 * A string holds UTF-8 bytes without a terminator: the byte behind the last one is never read. A
 * `count` of 0 or less is an empty string or array, whose `data` is never looked at and may hold
 * anything.
 */
typedef struct Slice {
    void* data; /**< first element; read-only for the library where it is an argument */
    i64 count;  /**< number of elements: bytes of a string, entries of an array */
} Slice;

/**
 * HALVORIN_API marks an exported function, HALVORIN_DATA an exported variable. Both may be given a
 * meaning of the host's own ahead of the include.
 *
 * A program that loads the library at run time finds both by name. One that is linked against it
 * and reads the exported variables is compiled with -fPIC, as the CMake package and pkg-config ask
 * for: without it the linker refuses, since the program would read a copy of its own.
 */
#ifdef __cplusplus
#define HALVORIN_EXTERN extern "C"
#else
#define HALVORIN_EXTERN extern
#endif

#if defined(_WIN32) && defined(HALVORIN_SYSTEM_BUILD)
#define HALVORIN_LINKAGE      __declspec(dllexport)
#define HALVORIN_DATA_LINKAGE __declspec(dllexport)
#elif defined(_WIN32)
#define HALVORIN_LINKAGE      __declspec(dllimport)
#define HALVORIN_DATA_LINKAGE __declspec(dllimport)
#elif defined(HALVORIN_SYSTEM_BUILD)
#define HALVORIN_LINKAGE      __attribute__((visibility("default")))
#define HALVORIN_DATA_LINKAGE __attribute__((visibility("protected")))
#else
#define HALVORIN_LINKAGE      __attribute__((visibility("default")))
#define HALVORIN_DATA_LINKAGE __attribute__((visibility("default")))
#endif

#ifndef HALVORIN_API
#define HALVORIN_API HALVORIN_EXTERN HALVORIN_LINKAGE
#endif

#ifndef HALVORIN_DATA
#define HALVORIN_DATA HALVORIN_EXTERN HALVORIN_DATA_LINKAGE
#endif
