// SPDX-License-Identifier: Zlib
#pragma once

#include "api/types.h"
#include "path_char.h"

#include <cstdio>

// What the file calls need of a system. Paths are in the system's own form. A failure changes
// nothing that could be seen afterwards.
namespace halvorin {

// Ways to open a stream. Only the first three are free of a translation of line ends on systems
// that know one.
enum class stream_mode : u8 {
    write,
    read,
    read_write,
    append,
    read_append
};

// Opens a stream. A directory is no file, whichever way it is opened: null.
FILE* open_stream(const path_char* path, stream_mode mode);

// Positions beyond 2^31, which a plain `long` doesn't hold everywhere. -1 where there is none.
bool seek_stream(FILE* stream, i64 offset, int origin);
i64 stream_position(FILE* stream);

// Whether the path could be opened for reading, as a file. Doesn't wait for the other end of a
// pipe.
bool is_readable_file(const path_char* path);

// Copies what is in a file, with the line ends translated both ways on systems that know that.
// True when both could be opened, or when `to` is that very file, which is left alone; where that
// can't be told, false. The source is open, and known to be a file, before the target is cut. A
// failure on the way ends the copy.
bool copy_file(const path_char* from, const path_char* to);

// Removes a file or a link, never a directory.
bool delete_file(const path_char* path);

// Follows links.
bool is_directory(const path_char* path);

// One level; fails when the name is taken.
bool create_directory(const path_char* path);

// The directory must be empty.
bool delete_directory(const path_char* path);

// Moves a file or a link, to another file system too. Fails when `to` is taken, by whatever it
// may be, a link that leads nowhere included.
bool move_file(const path_char* from, const path_char* to);

// Moves a directory within its file system. Fails when `to` is taken.
bool move_directory(const path_char* from, const path_char* to);

struct directory_entry {
    const char* name; // UTF-8, terminated
    i64 size;         // of the name in bytes, with its terminator
    bool is_directory;
};

// Takes an entry; false ends the listing.
using entry_visitor = bool (*)(void* context, const directory_entry& entry);

// Hands every entry to the visitor, "." and ".." included, in the system's order. False, with no
// entry handed over, when the path isn't a directory that can be read.
bool list_directory(const path_char* path, entry_visitor visit, void* context);

} // namespace halvorin
