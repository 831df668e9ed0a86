/* SPDX-License-Identifier: Zlib */
#pragma once

/**
 * Files and directories, by path.
 *
 * Paths. UTF-8 in a `Slice`. Nothing in a path has a meaning of the library's own: no wildcard, no
 * tilde, no change of slashes; the system decides, and a zero byte ends the path. On Linux a name
 * is the bytes that it consists of, so names that are not valid UTF-8 list and open like all
 * others. A path has at most 16383 bytes, and the two paths of one call 16382 together; with more
 * the call does nothing and gives its failure value. Links are followed wherever the text below
 * does not say otherwise.
 *
 * Files. An open file is a stream of the C library, with the C library's buffer in front of it.
 * file_open makes one and file_close ends it; nothing else does, system_release included. The
 * functions that take a stream need a valid one: only file_failed knows null. Between a read and a
 * following write on one stream, and the other way round, stands a file_seek.
 *
 * Memory. Paths pass through `temporary_buffer`. The names of a directory stand in the arena of
 * short-lived results: copy what is to be kept before the next call that gives such a result.
 *
 * Failure. Why a call failed is not reported. Works without system_init.
 *
 * Calls, where nothing else is said:
 *
 * @thread   one
 * @memory   text
 * @failure  false
 * @heap     none
 * @waits    disk
 */

#include "types.h"

/** A stream of the C library (FILE*). Its inside is not for the host. */
typedef struct file_stream file_stream;

/** How file_open opens. Any other number opens nothing. */
enum {
    FILE_MODE_WRITE = 1,      /**< cut to 0 bytes or created */
    FILE_MODE_READ = 2,       /**< must exist */
    FILE_MODE_READ_WRITE = 3, /**< must exist; starts at 0, keeps the content */
    FILE_MODE_APPEND = 4,     /**< created if missing; every write goes to the end */
    FILE_MODE_READ_APPEND = 6 /**< the same, and reads, from 0 at first */
};

/** A FILE_MODE_ number. */
typedef u8 file_mode;

/** The names in a directory, each a string `Slice` with a zero byte behind it. */
typedef struct DirectoryContent {
    Slice directories; /**< array of `Slice`: the directories, "." and ".." among them */
    Slice files;       /**< array of `Slice`: all other entries; null when there are none */
} DirectoryContent;

/**
 * Copies the content of a file. An existing target is replaced; one that is the source itself,
 * under whatever name, stays as it is.
 *
 * @return  true when both files could be opened. A full disk or a read error is not noticed.
 * @failure false. Where the source cannot be opened or is a directory, the target is not touched.
 * @heap    none
 */
HALVORIN_API b8 file_copy(Slice from, Slice to);

/** Creates an empty file, or cuts an existing one to 0 bytes. @heap C library */
HALVORIN_API b8 file_create(Slice path);

/**
 * Whether the path can be opened for reading, as a file: a directory does not exist in this sense,
 * a file without read permission neither. Does not wait for a writer on a pipe.
 */
HALVORIN_API b8 file_exists(Slice path);

/**
 * Opens a file.
 *
 * @param mode  a FILE_MODE_ number.
 * @return      the stream.
 * @lifetime    until file_close
 * @failure     null: also for a directory in every mode.
 * @heap        C library
 */
HALVORIN_API file_stream* file_open(Slice path, file_mode mode);

/*
 * Calls on a stream.
 *
 * @thread  any: a stream has the C library's lock and no other.
 * @memory  none
 * @heap    C library: the buffer, with the first call that needs it.
 */

/**
 * Writes out what is still in the buffer and closes the stream, which is gone after this.
 *
 * @failure  not told
 */
HALVORIN_API void file_close(file_stream* file);

/**
 * Whether file_open has failed: true for null.
 *
 * @failure  none
 * @heap     none
 * @waits    no
 */
HALVORIN_API b8 file_failed(const file_stream* file);

/**
 * Moves to a position, counted in bytes from the start, and clears the mark that file_end reads.
 * Behind the end is allowed.
 *
 * @param position  0 to 2147483647. Only the low 32 bits count, as a signed number; a negative one
 *                  is refused.
 */
HALVORIN_API b8 file_seek(file_stream* file, i64 position);

/**
 * Whether a read has run into the end. Still false when the last byte has just been read.
 *
 * @failure  none
 * @heap     none
 * @waits    no
 */
HALVORIN_API b8 file_end(file_stream* file);

/**
 * Size in bytes, with what still stands in the buffer. The position stays, the mark that file_end
 * reads is cleared.
 *
 * @return   exact up to 2147483647; of a larger file the low 32 bits as a signed number.
 * @failure  -1: what has no size, such as a pipe.
 */
HALVORIN_API i64 file_size(file_stream* file);

/** Writes bytes at the position and gives how many were written. @failure fewer than `size` */
HALVORIN_API u64 file_write(file_stream* file, u64 size, const void* data);

/** Writes one byte. @failure not told */
HALVORIN_API void file_write_byte(file_stream* file, u8 value);

/** Reads up to `size` bytes and gives how many. @failure fewer than `size`: at the end too. */
HALVORIN_API u64 file_read(file_stream* file, u64 size, void* data);

/** Reads one byte. @failure 255: at the end too, which only file_end tells from a byte 255. */
HALVORIN_API u8 file_read_byte(file_stream* file);

/* Calls on paths. */

/** Removes a file. A link is removed itself; a directory is refused. */
HALVORIN_API b8 file_delete(Slice path);

/**
 * Gives a file another name or place. A link is moved itself, except that one to a directory is
 * refused.
 *
 * A taken name is never replaced, be it a file, a directory, a link that leads nowhere or the file
 * itself: false, and everything stays. To another file system the content is copied, with mode and
 * times, before the old name goes; what is neither a file nor a link is refused there.
 */
HALVORIN_API b8 file_rename(Slice from, Slice to);

/** Creates a directory, one level. False when the name is taken. */
HALVORIN_API b8 directory_create(Slice path);

/** Removes an empty directory. */
HALVORIN_API b8 directory_delete(Slice path);

/**
 * Gives a directory, or a link to one, another name or place within its file system. False for
 * anything else, and for a taken name, which is never replaced, not even an empty directory.
 */
HALVORIN_API b8 directory_rename(Slice from, Slice to);

/** Whether the path leads to a directory. */
HALVORIN_API b8 directory_exists(Slice path);

/**
 * Lists a directory: every entry, hidden ones too, in the system's order. A link counts as what it
 * leads to, one that leads nowhere as a file.
 *
 * The names come back whole or not at all. A directory is too large when its names, each with 17
 * bytes more, are above the 524288 bytes of the arena: with names of 20 bytes that is beyond
 * 14,000 entries. A disk error on the way is not noticed: the entries ahead of it come back.
 *
 * @param result    filled in; an array without entries is null with count 0. Any readable directory
 *                  holds ".", so a record that was zero before and has no directories now is a
 *                  failure.
 * @param path      at most 16382 bytes. The empty path lists the root.
 * @memory          text, results: for each name its bytes and at least 17.
 * @lifetime        until later results have run once round the arena.
 * @failure         the record is left as it was: the path is no directory that can be read, or the
 *                  listing does not fit the arena. In the second case earlier results are gone.
 * @heap            C library
 */
HALVORIN_API void directory_get_content(DirectoryContent* result, Slice path);
