// SPDX-License-Identifier: Zlib
#include "api/concurrency.h"

#include <SDL.h>

cond_handle* cond_create() {
    return SDL_CreateCond();
}

void cond_destroy(cond_handle* cond) {
    SDL_DestroyCond(cond);
}

i32 cond_broadcast(cond_handle* cond) {
    return SDL_CondBroadcast(cond);
}

i32 cond_signal(cond_handle* cond) {
    return SDL_CondSignal(cond);
}

i32 cond_wait(cond_handle* cond, mutex_handle* mutex) {
    return SDL_CondWait(cond, mutex);
}

b8 cond_wait_timeout(cond_handle* cond, mutex_handle* mutex, u32 milliseconds) {
    return SDL_CondWaitTimeout(cond, mutex, milliseconds) == 0;
}

mutex_handle* mutex_create() {
    return SDL_CreateMutex();
}

void mutex_destroy(mutex_handle* mutex) {
    SDL_DestroyMutex(mutex);
}

i32 mutex_lock(mutex_handle* mutex) {
    return SDL_LockMutex(mutex);
}

b8 mutex_trylock(mutex_handle* mutex) {
    return SDL_TryLockMutex(mutex) == 0;
}

i32 mutex_unlock(mutex_handle* mutex) {
    return SDL_UnlockMutex(mutex);
}

semaphore_handle* semaphore_create(u32 value) {
    return SDL_CreateSemaphore(value);
}

void semaphore_destroy(semaphore_handle* semaphore) {
    SDL_DestroySemaphore(semaphore);
}

i32 semaphore_post(semaphore_handle* semaphore) {
    return SDL_SemPost(semaphore);
}

b8 semaphore_trywait(semaphore_handle* semaphore) {
    return SDL_SemTryWait(semaphore) == 0;
}

i32 semaphore_wait(semaphore_handle* semaphore) {
    return SDL_SemWait(semaphore);
}

static_assert(SDL_MUTEX_TIMEDOUT == 1);

// The status as it is, not a truth value: -1 becomes 255.
u8 semaphore_wait_timeout(semaphore_handle* semaphore, u32 milliseconds) {
    return static_cast<u8>(SDL_SemWaitTimeout(semaphore, milliseconds));
}

u32 semaphore_value(semaphore_handle* semaphore) {
    return SDL_SemValue(semaphore);
}
