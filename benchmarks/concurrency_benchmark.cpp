// SPDX-License-Identifier: Zlib
// Atomic variables, mutex and semaphore against SDL2's own functions, called by a linked program
// (`linked`) and through pointers, as a host that loads at run time does (`loaded`). Every row
// gives the ratio of our median to the peer's (`of_`) beside its goal (`goal_`), and what one call
// takes.
//
// An export is one jump more than SDL2's function, which is itself a jump into SDL2: a quarter to
// half a nanosecond. atomic_dec_ref compares the result, which takes a call and a return more,
// about one. So the goal is out of reach where a call takes three nanoseconds, as atomic variables
// do; a mutex or a semaphore comes near it.
#include <halvorin_system/concurrency.h>

#include "in_turn.h"

#include <SDL.h>

namespace {

constexpr int repeats = 20000;

// A pointer that the compiler can't see through.
template <class Function> Function* loaded(Function* function) {
    Function* volatile found = function;
    return found;
}

template <class Call> auto repeated(const Call& call) {
    return [call] {
        for (int i = 0; i < repeats; ++i) {
            call();
        }
    };
}

template <class Ours, class Bare, class OursLoaded, class BareLoaded>
void compare(benchmark::State& state, const Ours& ours, const Bare& bare,
             const OursLoaded& ours_loaded, const BareLoaded& bare_loaded) {
    const auto medians = medians_in_turn(state, repeated(ours), repeated(bare),
                                         repeated(ours_loaded), repeated(bare_loaded));
    state.counters["ns"] = medians[0] / repeats * 1e9;
    state.counters["bare_ns"] = medians[1] / repeats * 1e9;
    show(state, "linked", medians[0] / medians[1], 1.05);
    show(state, "loaded", medians[2] / medians[3], 1.05);
}

i32 number = 0;
SDL_atomic_t bare_number = {0};

void get(benchmark::State& state) {
    const auto ours = loaded(atomic_get);
    const auto bare = loaded(SDL_AtomicGet);
    compare(
        state, [] { benchmark::DoNotOptimize(atomic_get(&number)); },
        [] { benchmark::DoNotOptimize(SDL_AtomicGet(&bare_number)); },
        [ours] { benchmark::DoNotOptimize(ours(&number)); },
        [bare] { benchmark::DoNotOptimize(bare(&bare_number)); });
}

void add(benchmark::State& state) {
    const auto ours = loaded(atomic_add);
    const auto bare = loaded(SDL_AtomicAdd);
    compare(
        state, [] { atomic_add(&number, 3); }, [] { SDL_AtomicAdd(&bare_number, 3); },
        [ours] { ours(&number, 3); }, [bare] { bare(&bare_number, 3); });
}

void compare_and_swap(benchmark::State& state) {
    number = bare_number.value = 0;
    const auto ours = loaded(atomic_cas);
    const auto bare = loaded(SDL_AtomicCAS);
    compare(
        state, [] { atomic_cas(&number, 0, 0); }, [] { SDL_AtomicCAS(&bare_number, 0, 0); },
        [ours] { ours(&number, 0, 0); }, [bare] { bare(&bare_number, 0, 0); });
}

void reference(benchmark::State& state) {
    number = bare_number.value = 1;
    const auto ours_up = loaded(atomic_inc_ref);
    const auto ours_down = loaded(atomic_dec_ref);
    const auto bare = loaded(SDL_AtomicAdd);
    compare(
        state,
        [] {
            atomic_inc_ref(&number);
            benchmark::DoNotOptimize(atomic_dec_ref(&number));
        },
        [] {
            SDL_AtomicAdd(&bare_number, 1);
            benchmark::DoNotOptimize(SDL_AtomicAdd(&bare_number, -1) == 1);
        },
        [ours_up, ours_down] {
            ours_up(&number);
            benchmark::DoNotOptimize(ours_down(&number));
        },
        [bare] {
            bare(&bare_number, 1);
            benchmark::DoNotOptimize(bare(&bare_number, -1) == 1);
        });
}

void lock_and_unlock(benchmark::State& state) {
    mutex_handle* const mutex = mutex_create();
    const auto ours_lock = loaded(mutex_lock), ours_unlock = loaded(mutex_unlock);
    const auto bare_lock = loaded(SDL_LockMutex), bare_unlock = loaded(SDL_UnlockMutex);
    const auto pair = [mutex](auto lock, auto unlock) {
        return [=] {
            lock(mutex);
            unlock(mutex);
        };
    };
    compare(
        state,
        [mutex] {
            mutex_lock(mutex);
            mutex_unlock(mutex);
        },
        [mutex] {
            SDL_LockMutex(mutex);
            SDL_UnlockMutex(mutex);
        },
        pair(ours_lock, ours_unlock), pair(bare_lock, bare_unlock));
    mutex_destroy(mutex);
}

void post_and_wait(benchmark::State& state) {
    semaphore_handle* const semaphore = semaphore_create(0);
    const auto ours_post = loaded(semaphore_post), ours_wait = loaded(semaphore_wait);
    const auto bare_post = loaded(SDL_SemPost), bare_wait = loaded(SDL_SemWait);
    const auto pair = [semaphore](auto post, auto wait) {
        return [=] {
            post(semaphore);
            wait(semaphore);
        };
    };
    compare(
        state,
        [semaphore] {
            semaphore_post(semaphore);
            semaphore_wait(semaphore);
        },
        [semaphore] {
            SDL_SemPost(semaphore);
            SDL_SemWait(semaphore);
        },
        pair(ours_post, ours_wait), pair(bare_post, bare_wait));
    semaphore_destroy(semaphore);
}

BENCHMARK(get)->Iterations(1001)->UseManualTime();
BENCHMARK(add)->Iterations(1001)->UseManualTime();
BENCHMARK(compare_and_swap)->Iterations(1001)->UseManualTime();
BENCHMARK(reference)->Iterations(501)->UseManualTime();
BENCHMARK(lock_and_unlock)->Iterations(501)->UseManualTime();
BENCHMARK(post_and_wait)->Iterations(501)->UseManualTime();

} // namespace
