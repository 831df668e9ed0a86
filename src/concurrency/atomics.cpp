// SPDX-License-Identifier: Zlib
#include "api/concurrency.h"

#include <SDL.h>

#include <type_traits>

static_assert(sizeof(SDL_atomic_t) == sizeof(i32) && alignof(SDL_atomic_t) == alignof(i32));
static_assert(std::is_same_v<SDL_SpinLock, i32>);

namespace {

// The host's number is the only field of SDL2's record.
SDL_atomic_t* record(i32* atomic) {
    return reinterpret_cast<SDL_atomic_t*>(atomic);
}

// SDL2's truth values as the one byte that is handed on: so the exports end in a jump, too.
extern "C" {
b8 swap(SDL_atomic_t* atomic, int old_value, int new_value) asm("SDL_AtomicCAS");
b8 swap_ptr(void** atomic, void* old_value, void* new_value) asm("SDL_AtomicCASPtr");
b8 try_lock(SDL_SpinLock* lock) asm("SDL_AtomicTryLock");
}

} // namespace

i32 atomic_set(i32* atomic, i32 value) {
    return SDL_AtomicSet(record(atomic), value);
}

void* atomic_set_ptr(void** atomic, void* value) {
    return SDL_AtomicSetPtr(atomic, value);
}

i32 atomic_get(i32* atomic) {
    return SDL_AtomicGet(record(atomic));
}

void* atomic_get_ptr(void** atomic) {
    return SDL_AtomicGetPtr(atomic);
}

i32 atomic_add(i32* atomic, i32 value) {
    return SDL_AtomicAdd(record(atomic), value);
}

i32 atomic_inc_ref(i32* atomic) {
    return SDL_AtomicAdd(record(atomic), 1);
}

b8 atomic_dec_ref(i32* atomic) {
    return SDL_AtomicAdd(record(atomic), -1) == 1;
}

b8 atomic_cas(i32* atomic, i32 old_value, i32 new_value) {
    return swap(record(atomic), old_value, new_value);
}

b8 atomic_cas_ptr(void** atomic, void* old_value, void* new_value) {
    return swap_ptr(atomic, old_value, new_value);
}

void atomic_lock(i32* lock) {
    SDL_AtomicLock(lock);
}

b8 atomic_trylock(i32* lock) {
    return try_lock(lock);
}

void atomic_unlock(i32* lock) {
    SDL_AtomicUnlock(lock);
}

void atomic_compiler_barrier() {
}
