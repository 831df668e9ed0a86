// SPDX-License-Identifier: Zlib
#include "api/files.h"
#include "frame/scratch.h"
#include "platform/files.h"

#include <cstring>

using namespace halvorin;

namespace {

constexpr auto entry_size = static_cast<i64>(sizeof(Slice));

struct name_array {
    Slice* items = nullptr;
    i64 count = 0;
    i64 capacity = 0;
};

// The ordinary layout: each name in a block of its own, the arrays growing between them. The arena
// holds one lap of it; behind that the next block would come down on the first. Then the rest is
// only tallied, for the compact layout.
struct listing {
    name_array directories;
    name_array files;
    i64 first_block = -1;
    bool wrapped = false;
    bool fits = true;
    i64 directory_count = 0;
    i64 file_count = 0;
    i64 name_bytes = 0;
};

i64 compact_size(const listing& tally) {
    return (tally.directory_count + tally.file_count) * entry_size + tally.name_bytes;
}

// Whether the block that is taken next stays clear of the first.
bool stays_in_lap(listing& list, i64 size) {
    const i64 start = next_block(size);
    if (list.first_block < 0) {
        list.first_block = start;
        return true;
    }
    if (start < dynamic_pos) {
        if (list.wrapped) return false;
        list.wrapped = true;
    }
    return start + size <= (list.wrapped ? list.first_block : dynamic_size);
}

// A full array always moves when it grows: the name that is being added stands behind it.
bool add_to_full(listing& list, name_array& names, Slice name) {
    const i64 capacity = names.capacity == 0 ? 8 : 2 * names.capacity;
    return stays_in_lap(list, capacity * entry_size) &&
           add_string(&names.items, &names.count, &names.capacity, name);
}

bool add_name(listing& list, name_array& names, const directory_entry& entry) {
    if (!stays_in_lap(list, entry.size)) return false;
    void* const name = system_allocate(entry.size);
    std::memcpy(name, entry.name, static_cast<size_t>(entry.size));
    if (names.count == names.capacity) return add_to_full(list, names, {name, entry.size - 1});
    names.items[names.count++] = {name, entry.size - 1};
    return true;
}

bool add_entry(void* context, const directory_entry& entry) {
    auto& list = *static_cast<listing*>(context);
    ++(entry.is_directory ? list.directory_count : list.file_count);
    list.name_bytes += entry.size;
    name_array& names = entry.is_directory ? list.directories : list.files;
    list.fits = list.fits && add_name(list, names, entry);
    return list.fits || compact_size(list) <= dynamic_size;
}

// The compact layout: one block with both arrays in their exact sizes and the names behind them.
struct packed_listing {
    name_array directories;
    name_array files;
    u8* name;
    u8* end;
    bool fits = true;
};

// The directory may have grown since its entries were tallied.
bool place_entry(void* context, const directory_entry& entry) {
    auto& list = *static_cast<packed_listing*>(context);
    name_array& names = entry.is_directory ? list.directories : list.files;
    list.fits = names.count < names.capacity && entry.size <= list.end - list.name;
    if (!list.fits) return false;
    std::memcpy(list.name, entry.name, static_cast<size_t>(entry.size));
    names.items[names.count++] = {list.name, entry.size - 1};
    list.name += entry.size;
    return true;
}

Slice slice_of(const name_array& names) {
    return {names.count > 0 ? names.items : nullptr, names.count};
}

bool list_packed(DirectoryContent* result, const path_char* path, const listing& tally) {
    const i64 size = compact_size(tally);
    auto* const directories = static_cast<Slice*>(system_allocate(size));
    if (directories == nullptr) return false;
    Slice* const files = directories + tally.directory_count;
    packed_listing list = {
        .directories = {directories, 0, tally.directory_count},
        .files = {files, 0, tally.file_count},
        .name = reinterpret_cast<u8*>(files + tally.file_count),
        .end = reinterpret_cast<u8*>(directories) + size,
    };
    if (!list_directory(path, place_entry, &list) || !list.fits) return false;
    *result = {slice_of(list.directories), slice_of(list.files)};
    return true;
}

} // namespace

// What no result was made of gives its place in the arena back; what stood there before is lost.
void directory_get_content(DirectoryContent* result, Slice path) {
    const path_char* const search = native_search(path);
    if (search == nullptr) return;
    const i32 start = dynamic_pos;
    listing list;
    if (!list_directory(search, add_entry, &list)) return;
    if (list.fits) {
        *result = {slice_of(list.directories), slice_of(list.files)};
        return;
    }
    dynamic_pos = start;
    if (!list_packed(result, search, list)) dynamic_pos = start;
}
