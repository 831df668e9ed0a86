// SPDX-License-Identifier: Zlib
#include "api/files.h"
#include "frame/scratch.h"
#include "platform/files.h"

using namespace halvorin;

b8 file_delete(Slice path) {
    const path_char* const native = native_path(path);
    return native != nullptr && delete_file(native);
}

b8 file_rename(Slice from, Slice to) {
    const path_char* native_from = nullptr;
    const path_char* native_to = nullptr;
    return native_paths(from, to, &native_from, &native_to) && !is_directory(native_from) &&
           move_file(native_from, native_to);
}

b8 directory_create(Slice path) {
    const path_char* const native = native_path(path);
    return native != nullptr && create_directory(native);
}

b8 directory_delete(Slice path) {
    const path_char* const native = native_path(path);
    return native != nullptr && delete_directory(native);
}

b8 directory_rename(Slice from, Slice to) {
    const path_char* native_from = nullptr;
    const path_char* native_to = nullptr;
    return native_paths(from, to, &native_from, &native_to) && is_directory(native_from) &&
           move_directory(native_from, native_to);
}

b8 directory_exists(Slice path) {
    const path_char* const native = native_path(path);
    return native != nullptr && is_directory(native);
}
