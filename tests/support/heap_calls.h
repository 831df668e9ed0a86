// SPDX-License-Identifier: Zlib
#pragma once

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <immintrin.h> // clang's declares posix_memalign, which has to come ahead of the one here

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

// Blocks that were taken since the start, less those given back; no block isn't one.
inline constinit std::atomic<int> blocks_in_use = 0;

// Who looks at each call of this thread: it gets the address that the call returns to.
using looking = void (*)(const void* caller);
inline constinit thread_local looking observer = nullptr;

inline void note(int blocks, const void* caller) {
    blocks_in_use += blocks;
    if (observer != nullptr) observer(caller);
}

} // namespace heap_calls

#if HEAP_CALLS_COUNT
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
void __libc_free(void* block);

void* malloc(size_t size) noexcept {
    heap_calls::note(1, __builtin_return_address(0));
    return __libc_malloc(size);
}
void* calloc(size_t count, size_t size) noexcept {
    heap_calls::note(1, __builtin_return_address(0));
    return __libc_calloc(count, size);
}
void* realloc(void* block, size_t size) noexcept {
    heap_calls::note(block == nullptr, __builtin_return_address(0));
    return __libc_realloc(block, size);
}
void* aligned_alloc(size_t alignment, size_t size) noexcept {
    heap_calls::note(1, __builtin_return_address(0));
    return __libc_memalign(alignment, size);
}
int posix_memalign(void** block, size_t alignment, size_t size) noexcept {
    heap_calls::note(1, __builtin_return_address(0));
    *block = __libc_memalign(alignment, size);
    return *block != nullptr ? 0 : ENOMEM;
}
void free(void* block) noexcept {
    if (block != nullptr) heap_calls::note(-1, __builtin_return_address(0));
    __libc_free(block);
}
}
#endif
