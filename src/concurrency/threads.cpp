// SPDX-License-Identifier: Zlib
#include "api/concurrency.h"
#include "frame/boundary.h"

#include <SDL.h>

using namespace halvorin;

thread_handle* thread_create(thread_function function, void* data) {
    return SDL_CreateThread(function, "thread", data);
}

void thread_detach(thread_handle* thread) {
    SDL_DetachThread(thread);
}

void thread_wait(thread_handle* thread, i32* status) {
    SDL_WaitThread(thread, status);
}

i32 thread_set_priority(thread_priority priority) {
    switch (low_bits(priority)) {
    case THREAD_PRIORITY_NORMAL: return SDL_SetThreadPriority(SDL_THREAD_PRIORITY_NORMAL);
    case THREAD_PRIORITY_HIGH: return SDL_SetThreadPriority(SDL_THREAD_PRIORITY_HIGH);
    default: return SDL_SetThreadPriority(SDL_THREAD_PRIORITY_LOW);
    }
}

// SDL2's identifiers are as wide as the platform's long.
u32 thread_current_id() {
    return static_cast<u32>(SDL_ThreadID());
}

u32 thread_id(thread_handle* thread) {
    return static_cast<u32>(SDL_GetThreadID(thread));
}
