// SPDX-License-Identifier: Zlib
#pragma once

// What tests of all families need.

#include "api/types.h"

#include <dlfcn.h>

#include <filesystem>
#include <iterator>
#include <string>
#include <string_view>

inline Slice slice(std::string_view text) {
    return {const_cast<char*>(text.data()), static_cast<i64>(text.size())};
}

inline std::string text_of(const Slice& text) {
    return {static_cast<const char*>(text.data), static_cast<size_t>(text.count)};
}

// The library's function under a prototype of the caller's: one with wider parameters, as of a host
// that leaves rubbish above narrow arguments.
template <class Function> Function* by_name(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_DEFAULT, name));
}

// What a function of the test program stands in for.
template <class Function> Function* next(Function*, const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

inline int open_descriptors() {
    const std::filesystem::directory_iterator first("/proc/self/fd");
    return static_cast<int>(std::distance(first, {}));
}
