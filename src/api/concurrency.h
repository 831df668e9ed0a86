/* SPDX-License-Identifier: Zlib */
#pragma once

/**
 * Threads, condition variables, mutexes, semaphores and atomic variables.
 *
 * These are SDL2's objects and operations. The library starts no thread of its own, takes none of
 * these locks for itself and keeps no list of what was made. The rest of it stays as it is on
 * every thread: scratch memory, lent buffers and state are plain variables. A host with more than
 * one thread keeps apart, with the locks of this page, the calls of a family whose @thread is
 * `one`, and the calls of all families whose @memory is `text` or `results`.
 *
 * Memory. A handle is SDL2's own pointer, good from its `_create` to its `_destroy` (of a thread:
 * to thread_wait or thread_detach); each one is given back that way, ahead of system_release or
 * after it. Atomic variables and spin locks are memory of the host's: an aligned `i32` or pointer
 * that nobody touches in another way while several threads use it.
 *
 * Time-outs are in milliseconds. 0 doesn't wait, 4294967295 waits without end.
 *
 * Failure. A null handle from a `_create`, a negative status, false. Where a call answers with
 * a truth value, false covers both "not now" and "failed". semaphore_wait_timeout is the odd one:
 * its 0 is success.
 *
 *                             taken or signalled   timed out, busy   failed
 *     cond_wait_timeout       1                    0                 0
 *     mutex_trylock           1                    0                 0
 *     semaphore_trywait       1                    0                 0
 *     semaphore_wait_timeout  0                    1                 255
 *
 * Works without system_init. Calls, where nothing else is said:
 *
 * @thread   any
 * @memory   none
 * @failure  none
 * @heap     none
 * @waits    no
 */

#include "types.h"

/** SDL2's objects; their inside is not for the host. */
typedef struct SDL_Thread thread_handle;
typedef struct SDL_cond cond_handle;
typedef struct SDL_mutex mutex_handle;
typedef struct SDL_semaphore semaphore_handle;

/** What a thread runs. Its result is the thread's status. */
typedef i32 (*thread_function)(void* data);

/* windows.h has this name for its own normal, 0. Include it ahead of this header, not behind. */
#ifdef THREAD_PRIORITY_NORMAL
#undef THREAD_PRIORITY_NORMAL
#endif

/** How readily the system runs a thread. Any other number counts as THREAD_PRIORITY_LOW. */
enum {
    THREAD_PRIORITY_LOW = 0,
    THREAD_PRIORITY_NORMAL = 1,
    THREAD_PRIORITY_HIGH = 2 /**< as a rule only with rights that a user doesn't have */
};

/** A THREAD_PRIORITY_ number. */
typedef u8 thread_priority;

/**
 * Starts a thread. Debuggers and system monitors show each one under the name "thread".
 *
 * @param function  runs on the new thread.
 * @param data      for the function; not looked at.
 * @return          a handle for one thread_wait or one thread_detach.
 * @lifetime        until thread_wait or thread_detach
 * @failure         null
 * @heap            SDL2
 */
HALVORIN_API thread_handle* thread_create(thread_function function, void* data);

/**
 * Lets a thread end on its own: nobody waits for it, and its handle is not used any more.
 *
 * @heap  SDL2: it gives back.
 */
HALVORIN_API void thread_detach(thread_handle* thread);

/**
 * Waits for the end of a thread. Its handle is not used any more.
 *
 * @param status  receives the function's result; may be null.
 * @heap          SDL2: it gives back.
 * @waits         until the thread has ended
 */
HALVORIN_API void thread_wait(thread_handle* thread, i32* status);

/**
 * Sets the priority of the calling thread.
 *
 * @return   0.
 * @failure  negative: the system refuses, which is common for raising it.
 * @heap     SDL2: where it asks a service of the system.
 * @waits    a service of the system
 */
HALVORIN_API i32 thread_set_priority(thread_priority priority);

/** The system's identifier of the calling thread, its low 32 bits. */
HALVORIN_API u32 thread_current_id(void);

/** That thread's identifier, as thread_current_id gives it there. Null: the calling thread. */
HALVORIN_API u32 thread_id(thread_handle* thread);

/** Makes a condition variable. @lifetime until cond_destroy. @failure null. @heap SDL2 */
HALVORIN_API cond_handle* cond_create(void);

/** Destroys a condition variable that no thread waits for. Null does nothing. @heap SDL2 */
HALVORIN_API void cond_destroy(cond_handle* cond);

/** Wakes all threads that wait for the condition. Gives 0. @failure negative */
HALVORIN_API i32 cond_broadcast(cond_handle* cond);

/** Wakes one of the threads that wait for the condition. Gives 0. @failure negative */
HALVORIN_API i32 cond_signal(cond_handle* cond);

/**
 * Unlocks the mutex, waits to be woken, and locks it again. A thread may wake without a signal:
 * test what was waited for in a loop around the call.
 *
 * @param mutex  locked once by the calling thread.
 * @return       0.
 * @failure      negative
 * @waits        until woken
 */
HALVORIN_API i32 cond_wait(cond_handle* cond, mutex_handle* mutex);

/**
 * The same with an end to the wait. The mutex is locked afterwards, whatever the result.
 *
 * @param milliseconds  the longest wait.
 * @return              true when woken.
 * @failure             false: after the time too.
 * @waits               until woken, or for that time
 */
HALVORIN_API b8 cond_wait_timeout(cond_handle* cond, mutex_handle* mutex, u32 milliseconds);

/** Makes a mutex, unlocked. @lifetime until mutex_destroy. @failure null. @heap SDL2 */
HALVORIN_API mutex_handle* mutex_create(void);

/** Destroys an unlocked mutex. Null does nothing. @heap SDL2 */
HALVORIN_API void mutex_destroy(mutex_handle* mutex);

/**
 * Locks a mutex, waiting until no other thread holds it. The holder may lock it again, and then
 * unlocks it as often. Gives 0.
 *
 * @failure  negative
 * @waits    until it is unlocked
 */
HALVORIN_API i32 mutex_lock(mutex_handle* mutex);

/**
 * Locks a mutex if that is possible at once: true when the calling thread now holds it.
 *
 * @failure  false: another thread holds it, too.
 */
HALVORIN_API b8 mutex_trylock(mutex_handle* mutex);

/** Unlocks a mutex that the calling thread holds. Gives 0. @failure negative */
HALVORIN_API i32 mutex_unlock(mutex_handle* mutex);

/** Makes a semaphore of that value. @lifetime until semaphore_destroy. @failure null. @heap SDL2 */
HALVORIN_API semaphore_handle* semaphore_create(u32 value);

/** Destroys a semaphore that no thread waits for. Null does nothing. @heap SDL2 */
HALVORIN_API void semaphore_destroy(semaphore_handle* semaphore);

/** Adds 1 to the value and wakes a waiting thread. Gives 0. @failure negative */
HALVORIN_API i32 semaphore_post(semaphore_handle* semaphore);

/** Takes 1 from the value if it is above 0: true when that was done. @failure false */
HALVORIN_API b8 semaphore_trywait(semaphore_handle* semaphore);

/**
 * Waits until the value is above 0 and takes 1 from it. Gives 0.
 *
 * @failure  negative
 * @waits    until the value is above 0
 */
HALVORIN_API i32 semaphore_wait(semaphore_handle* semaphore);

/**
 * The same with an end to the wait.
 *
 * @param milliseconds  the longest wait.
 * @return              not a truth value: 0 when 1 was taken, 1 after the time.
 * @failure             255
 * @waits               until the value is above 0, or for that time
 */
HALVORIN_API u8 semaphore_wait_timeout(semaphore_handle* semaphore, u32 milliseconds);

/** The present value, which other threads may change at once. @failure 0 */
HALVORIN_API u32 semaphore_value(semaphore_handle* semaphore);

/** Stores a value. Returns the one before. */
HALVORIN_API i32 atomic_set(i32* atomic, i32 value);

/** Stores a pointer. Returns the one before. @lifetime as long as the host keeps it */
HALVORIN_API void* atomic_set_ptr(void** atomic, void* value);

/** The value. */
HALVORIN_API i32 atomic_get(i32* atomic);

/** The pointer. @lifetime as long as the host keeps it */
HALVORIN_API void* atomic_get_ptr(void** atomic);

/** Adds to the value, wrapping round. Returns the one before. */
HALVORIN_API i32 atomic_add(i32* atomic, i32 value);

/** Takes a reference: adds 1. Returns the count before. */
HALVORIN_API i32 atomic_inc_ref(i32* atomic);

/** Drops a reference: subtracts 1. True when it was the last one and the count is now 0. */
HALVORIN_API b8 atomic_dec_ref(i32* atomic);

/** Stores the new value if the variable holds the old one: true when that was done.
 * @failure false */
HALVORIN_API b8 atomic_cas(i32* atomic, i32 old_value, i32 new_value);

/**
 * Stores the new pointer if the variable holds the old one: true when that was done.
 *
 * @failure  false
 */
HALVORIN_API b8 atomic_cas_ptr(void** atomic, void* old_value, void* new_value);

/**
 * Takes a spin lock, which burns processor time while it waits: for a few instructions at most.
 *
 * @param lock  0 ahead of the first use. A holder that takes it again waits for ever.
 * @waits       until it is given back
 */
HALVORIN_API void atomic_lock(i32* lock);

/** Takes a spin lock if that is possible at once: true when it is now held. @failure false */
HALVORIN_API b8 atomic_trylock(i32* lock);

/** Gives a spin lock back; any thread may. */
HALVORIN_API void atomic_unlock(i32* lock);

/** Does nothing: no compiler moves memory accesses across a call that it can't see into. */
HALVORIN_API void atomic_compiler_barrier(void);
