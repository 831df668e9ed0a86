// SPDX-License-Identifier: Zlib
#pragma once

#include <cstddef>

// Counts the calls to the heap, the library's too: its calls find the functions of the program
// first. For one source file of a program. A sanitizer brings a heap of its own, and nothing is
// counted.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define HEAP_CALLS_COUNT 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define HEAP_CALLS_COUNT 0
#endif
#endif
#ifndef HEAP_CALLS_COUNT
#define HEAP_CALLS_COUNT 1
#endif

namespace heap_calls {

inline int count = 0;
inline int blocks_in_use = 0; // that were taken since the start, less those given back

template <class Call> int during(const Call& call) {
    const int before = count;
    call();
    return count - before;
}

} // namespace heap_calls

#if HEAP_CALLS_COUNT
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void __libc_free(void* block);

void* malloc(size_t size) noexcept {
    ++heap_calls::count;
    ++heap_calls::blocks_in_use;
    return __libc_malloc(size);
}
void* calloc(size_t count, size_t size) noexcept {
    ++heap_calls::count;
    ++heap_calls::blocks_in_use;
    return __libc_calloc(count, size);
}
void* realloc(void* block, size_t size) noexcept {
    ++heap_calls::count;
    heap_calls::blocks_in_use += block == nullptr;
    return __libc_realloc(block, size);
}
void free(void* block) noexcept {
    heap_calls::count += block != nullptr;
    heap_calls::blocks_in_use -= block != nullptr;
    __libc_free(block);
}
}
#endif
