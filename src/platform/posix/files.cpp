// SPDX-License-Identifier: Zlib
#include "platform/files.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace halvorin {
namespace {

const char* mode_text(stream_mode mode) {
    switch (mode) {
    case stream_mode::write: return "wb";
    case stream_mode::read: return "rb";
    case stream_mode::read_write: return "r+b";
    case stream_mode::append: return "a";
    case stream_mode::read_append: return "a+";
    }
    return "rb";
}

// The moves below give 0 or the reason, by which the caller chooses the next way.
int outcome(int result) {
    return result == 0 ? 0 : errno;
}

// For file systems without a move that refuses a target: another process can still slip one in
// between the two calls. A link that leads nowhere is a target too.
int rename_if_free(const char* from, const char* to) {
    struct stat status;
    return lstat(to, &status) == 0 ? EEXIST : outcome(rename(from, to));
}

// Making a link never replaces its target.
int link_and_unlink(const char* from, const char* to) {
    if (linkat(AT_FDCWD, from, AT_FDCWD, to, 0) != 0) {
        const bool no_links = errno == EPERM || errno == EOPNOTSUPP || errno == ENOSYS;
        return no_links ? rename_if_free(from, to) : errno;
    }
    const int error = outcome(unlink(from));
    if (error != 0) unlink(to);
    return error;
}

bool move_link(const char* from, const char* to) {
    char target[PATH_MAX];
    const ssize_t length = readlink(from, target, sizeof target - 1);
    if (length < 0) return false;
    target[length] = 0;
    return symlink(target, to) == 0;
}

// Calls that take a path have the arenas to themselves, and this with them: it is too large for
// the stack of some hosts' threads.
alignas(64) constinit char copy_block[65536] = {};

bool write_all(int file, const char* bytes, size_t count) {
    while (count > 0) {
        const ssize_t written = write(file, bytes, count);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        bytes += written;
        count -= static_cast<size_t>(written);
    }
    return true;
}

bool copy_bytes(int source, int target) {
    for (;;) {
        const ssize_t count = read(source, copy_block, sizeof copy_block);
        if (count == 0) return true;
        if (count < 0 && errno == EINTR) continue;
        if (count < 0 || !write_all(target, copy_block, static_cast<size_t>(count))) return false;
    }
}

// How the file that a path leads to, by whatever name, is related to another. One that isn't there
// as yet is a different one.
enum class file_identity : u8 {
    same,
    different,
    unknown
};

file_identity compare_files(const char* path, const struct stat& file) {
    struct stat status;
    if (stat(path, &status) != 0) {
        return errno == ENOENT ? file_identity::different : file_identity::unknown;
    }
    const bool same = status.st_dev == file.st_dev && status.st_ino == file.st_ino;
    return same ? file_identity::same : file_identity::different;
}

int open_target(const char* path, const struct stat& source, bool* is_source) {
    const file_identity identity = compare_files(path, source);
    *is_source = identity == file_identity::same;
    if (identity != file_identity::different) return -1;
    return open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
}

// A file that can't be given to its owner loses the bits that lend the owner's rights.
bool copy_attributes(int target, const struct stat& status) {
    const bool same_owner = fchown(target, status.st_uid, status.st_gid) == 0;
    const struct timespec times[2] = {status.st_atim, status.st_mtim};
    return fchmod(target, status.st_mode & (same_owner ? 07777 : 0777)) == 0 &&
           futimens(target, times) == 0;
}

// The content is on the disk before the caller removes the source.
bool copy_to_new_file(int source, const char* to) {
    struct stat status;
    if (fstat(source, &status) != 0 || !S_ISREG(status.st_mode)) return false;
    const int target = open(to, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (target < 0) return false;
    const bool copied =
        copy_bytes(source, target) && copy_attributes(target, status) && fsync(target) == 0;
    if (close(target) == 0 && copied) return true;
    unlink(to);
    return false;
}

// A FIFO that has taken the name of the file isn't waited for.
bool copy_regular_file(const char* from, const char* to) {
    const int source = open(from, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (source < 0) return false;
    const bool copied = copy_to_new_file(source, to);
    close(source);
    return copied;
}

// Sockets, FIFOs and devices stay where they are: a copy would be another one.
bool move_across_file_systems(const char* from, const char* to) {
    struct stat status;
    if (lstat(from, &status) != 0) return false;
    const bool copied = S_ISLNK(status.st_mode)   ? move_link(from, to)
                        : S_ISREG(status.st_mode) ? copy_regular_file(from, to)
                                                  : false;
    if (!copied) return false;
    if (unlink(from) == 0) return true;
    unlink(to);
    return false;
}

int rename_refusing_target(const char* from, const char* to) {
    return outcome(renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE));
}

// The system or this file system doesn't know the kind of move.
bool needs_another_way(int error) {
    return error == EINVAL || error == ENOSYS;
}

// The entry itself mostly knows; links are followed, and some file systems don't say.
bool is_directory_entry(int directory, const dirent& entry) {
    if (entry.d_type != DT_LNK && entry.d_type != DT_UNKNOWN) return entry.d_type == DT_DIR;
    struct stat status;
    return fstatat(directory, entry.d_name, &status, 0) == 0 && S_ISDIR(status.st_mode);
}

} // namespace

// For writing the system itself refuses a directory.
FILE* open_stream(const char* path, stream_mode mode) {
    FILE* const stream = std::fopen(path, mode_text(mode));
    if (stream == nullptr || mode != stream_mode::read) return stream;
    struct stat status;
    if (fstat(fileno(stream), &status) == 0 && !S_ISDIR(status.st_mode)) return stream;
    std::fclose(stream);
    return nullptr;
}

bool seek_stream(FILE* stream, i64 offset, int origin) {
    return fseeko(stream, offset, origin) == 0;
}

i64 stream_position(FILE* stream) {
    return ftello(stream);
}

bool is_readable_file(const char* path) {
    const int file = open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (file < 0) return false;
    struct stat status;
    const bool readable = fstat(file, &status) == 0 && !S_ISDIR(status.st_mode);
    close(file);
    return readable;
}

// By descriptors: a small file is all opening and closing, and streams add a tenth to that. Cut for
// writing, a file that is copied onto itself would be empty by the time it is read: a target that
// can't be told from the source is refused.
bool copy_file(const char* from, const char* to) {
    const int source = open(from, O_RDONLY | O_CLOEXEC);
    if (source < 0) return false;
    struct stat opened;
    bool onto_itself = false;
    const bool is_file = fstat(source, &opened) == 0 && !S_ISDIR(opened.st_mode);
    const int target = is_file ? open_target(to, opened, &onto_itself) : -1;
    if (target >= 0) copy_bytes(source, target);
    close(source);
    if (target >= 0) close(target);
    return onto_itself || target >= 0;
}

bool delete_file(const char* path) {
    return unlink(path) == 0;
}

bool is_directory(const char* path) {
    struct stat status;
    return stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

bool create_directory(const char* path) {
    return mkdir(path, 0777) == 0;
}

bool delete_directory(const char* path) {
    return rmdir(path) == 0;
}

bool move_file(const char* from, const char* to) {
    int error = rename_refusing_target(from, to);
    if (needs_another_way(error)) error = link_and_unlink(from, to);
    return error == EXDEV ? move_across_file_systems(from, to) : error == 0;
}

bool move_directory(const char* from, const char* to) {
    int error = rename_refusing_target(from, to);
    if (needs_another_way(error)) error = rename_if_free(from, to);
    return error == 0;
}

bool list_directory(const char* path, entry_visitor visit, void* context) {
    DIR* const directory = opendir(path);
    if (directory == nullptr) return false;
    const int descriptor = dirfd(directory);
    while (const dirent* entry = readdir(directory)) {
        const directory_entry visited = {entry->d_name,
                                         static_cast<i64>(std::strlen(entry->d_name)) + 1,
                                         is_directory_entry(descriptor, *entry)};
        if (!visit(context, visited)) break;
    }
    closedir(directory);
    return true;
}

} // namespace halvorin
