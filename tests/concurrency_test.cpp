// SPDX-License-Identifier: Zlib
#include "support/common.h"

#include "api/system.h"

#include <SDL.h>
#include <gtest/gtest.h>

#include <pthread.h>

#include <climits>
#include <optional>
#include <vector>

// Threads, locks and atomic variables, on real threads and without system_init.
//
// The thread sanitizer sees the calls that SDL2 makes for threads, mutexes, semaphores and
// condition variables, so that what these guard below is plain memory. SDL2's atomic instructions
// it doesn't see: what a spin lock guards is read and written one relaxed access at a time.

namespace {

std::optional<int> forced_result;
SDL_ThreadPriority priority;

} // namespace

// These stand in for SDL2's functions; the library's calls come here first. Failures of SDL2 can't
// be had in another way.
extern "C" int SDL_TryLockMutex(SDL_mutex* mutex) {
    return forced_result ? *forced_result : next(SDL_TryLockMutex, __func__)(mutex);
}

extern "C" int SDL_SetThreadPriority(SDL_ThreadPriority wanted) {
    priority = wanted;
    return forced_result ? *forced_result : next(SDL_SetThreadPriority, __func__)(wanted);
}

namespace {

constexpr u32 long_time = 60000;

template <class Work> i32 work_once(void* work) {
    (*static_cast<const Work*>(work))();
    return -123456789;
}

// Several threads in one piece of work, waited for at the end.
template <class Work> void run_on_threads(int count, const Work& work) {
    std::vector<thread_handle*> threads;
    for (int i = 0; i < count; i++) {
        threads.push_back(thread_create(work_once<Work>, const_cast<Work*>(&work)));
        ASSERT_NE(threads.back(), nullptr);
    }
    for (thread_handle* const thread : threads) {
        i32 status = 1;
        thread_wait(thread, &status);
        EXPECT_EQ(status, -123456789);
    }
}

double milliseconds_of(auto call) {
    const u64 start = system_performance_counter();
    call();
    return static_cast<double>(system_performance_counter() - start) * 1000 /
           static_cast<double>(system_performance_frequency());
}

struct ConcurrencyTest : testing::Test {
    mutex_handle* mutex = mutex_create();
    cond_handle* cond = cond_create();
    semaphore_handle* semaphore = semaphore_create(0);

    void TearDown() override {
        semaphore_destroy(semaphore);
        cond_destroy(cond);
        mutex_destroy(mutex);
    }

    // By a thread that doesn't hold it, whether or not this one does.
    bool others_can_lock() {
        bool could = false;
        run_on_threads(1, [&] {
            could = mutex_trylock(mutex) == 1;
            if (could) mutex_unlock(mutex);
        });
        return could;
    }
};

} // namespace

TEST_F(ConcurrencyTest, AThreadHasItsDataAndTheOneNameWaitedForOrNot) {
    struct Record {
        char name[16] = {};
        u32 id = 0;
        semaphore_handle *started, *end;
    } record;
    record.started = semaphore;
    record.end = semaphore_create(0);
    const auto body = [](void* data) -> i32 {
        auto& r = *static_cast<Record*>(data);
        pthread_getname_np(pthread_self(), r.name, sizeof r.name);
        r.id = thread_current_id();
        semaphore_post(r.started);
        semaphore_wait(r.end);
        return semaphore_post(r.started);
    };
    EXPECT_EQ(thread_id(nullptr), thread_current_id()) << "null stands for the calling thread";
    for (const bool is_waited_for : {true, false}) {
        thread_handle* const thread = thread_create(body, &record);
        semaphore_wait(semaphore);
        EXPECT_STREQ(record.name, "thread");
        EXPECT_EQ(thread_id(thread), record.id);
        EXPECT_NE(record.id, thread_current_id());
        if (!is_waited_for) thread_detach(thread);
        semaphore_post(record.end);
        if (is_waited_for) thread_wait(thread, nullptr);
        EXPECT_EQ(semaphore_wait_timeout(semaphore, long_time), 0);
    }
    semaphore_destroy(record.end);
}

TEST_F(ConcurrencyTest, PrioritiesAreMappedByTheirLowByteAndTheStatusIsPassedOn) {
    const std::pair<u64, SDL_ThreadPriority> cases[] = {
        {THREAD_PRIORITY_LOW, SDL_THREAD_PRIORITY_LOW},
        {THREAD_PRIORITY_NORMAL, SDL_THREAD_PRIORITY_NORMAL},
        {THREAD_PRIORITY_HIGH, SDL_THREAD_PRIORITY_HIGH},
        {255, SDL_THREAD_PRIORITY_LOW},
        {0xA5A5A5A5A5A5A501, SDL_THREAD_PRIORITY_NORMAL},
        {0x203, SDL_THREAD_PRIORITY_LOW},
    };
    for (const auto& [host, expected] : cases) {
        for (const int status : {0, -1, 0x12345678}) {
            forced_result = status;
            priority = SDL_THREAD_PRIORITY_TIME_CRITICAL;
            EXPECT_EQ(by_name<i32(u64)>("thread_set_priority")(host), status);
            EXPECT_EQ(priority, expected) << host;
        }
    }
    forced_result.reset();
}

TEST_F(ConcurrencyTest, EachFailureReadsInItsOwnWay) {
    forced_result = -1;
    EXPECT_EQ(mutex_trylock(mutex), 0);
    forced_result.reset();
    EXPECT_EQ(cond_wait_timeout(nullptr, mutex, 1), 0);
    EXPECT_EQ(semaphore_trywait(nullptr), 0);
    EXPECT_EQ(semaphore_wait_timeout(nullptr, 1), 255);
    for (const i32 status :
         {cond_signal(nullptr), cond_broadcast(nullptr), cond_wait(nullptr, mutex),
          semaphore_post(nullptr), semaphore_wait(nullptr)}) {
        EXPECT_EQ(status, -1);
    }
}

TEST_F(ConcurrencyTest, AMutexKeepsOthersOutUntilItsHolderIsDoneAsOftenAsItLocked) {
    EXPECT_EQ(mutex_lock(mutex), 0);
    EXPECT_EQ(mutex_trylock(mutex), 1);
    EXPECT_FALSE(others_can_lock());
    EXPECT_EQ(mutex_unlock(mutex), 0);
    EXPECT_FALSE(others_can_lock());
    EXPECT_EQ(mutex_unlock(mutex), 0);
    EXPECT_TRUE(others_can_lock());
}

TEST_F(ConcurrencyTest, ASemaphoreCountsAndItsTimeOutGivesZeroForTaken) {
    semaphore_handle* const one = semaphore_create(1);
    EXPECT_EQ(semaphore_value(one), 1U);
    EXPECT_EQ(semaphore_wait_timeout(one, 20), 0);
    EXPECT_EQ(semaphore_value(one), 0U);
    EXPECT_GT(milliseconds_of([&] { EXPECT_EQ(semaphore_wait_timeout(one, 20), 1); }), 18);
    EXPECT_EQ(semaphore_trywait(one), 0);
    EXPECT_EQ(semaphore_post(one), 0);
    EXPECT_EQ(semaphore_trywait(one), 1);
    semaphore_destroy(one);
}

TEST_F(ConcurrencyTest, ASignalWakesOneWaitingThreadAndABroadcastAll) {
    mutex_lock(mutex);
    EXPECT_EQ(cond_signal(cond) + cond_broadcast(cond), 0) << "of no use to those who come later";
    EXPECT_GT(milliseconds_of([&] { EXPECT_EQ(cond_wait_timeout(cond, mutex, 20), 0); }), 18);
    EXPECT_FALSE(others_can_lock()) << "it is held again";
    mutex_unlock(mutex);

    int waiting = 0, awake = 0;
    // One thread lets go of the others, which wait in both ways; a post tells of each that goes on.
    run_on_threads(5, [&] {
        mutex_lock(mutex);
        if (++waiting < 5) {
            if (waiting % 2 == 0) {
                EXPECT_EQ(cond_wait(cond, mutex), 0);
            } else {
                EXPECT_EQ(cond_wait_timeout(cond, mutex, long_time), 1);
            }
            awake++;
            semaphore_post(semaphore);
            mutex_unlock(mutex);
            return;
        }
        EXPECT_EQ(cond_signal(cond), 0);
        EXPECT_EQ(awake, 0) << "nobody goes on before the mutex is given back";
        mutex_unlock(mutex);
        EXPECT_EQ(semaphore_wait_timeout(semaphore, long_time), 0);
        EXPECT_EQ(semaphore_wait_timeout(semaphore, 20), 1);
        EXPECT_EQ(cond_broadcast(cond), 0);
    });
    EXPECT_EQ(awake, 4);
}

TEST_F(ConcurrencyTest, AtomicsGiveTheValueBefore) {
    i32 number = 5;
    EXPECT_EQ(atomic_set(&number, INT_MAX), 5);
    EXPECT_EQ(atomic_add(&number, 1), INT_MAX);
    EXPECT_EQ(atomic_get(&number), INT_MIN);
    EXPECT_EQ(atomic_cas(&number, 1, 3), 0);
    EXPECT_EQ(number, INT_MIN);
    EXPECT_EQ(atomic_cas(&number, INT_MIN, 0), 1);
    EXPECT_EQ(atomic_inc_ref(&number) + atomic_inc_ref(&number), 1);
    EXPECT_EQ(atomic_dec_ref(&number), 0);
    EXPECT_EQ(atomic_dec_ref(&number), 1) << "the last one";
    EXPECT_EQ(atomic_dec_ref(&number), 0);
    EXPECT_EQ(number, -1);

    // Pointers that differ in their upper or their lower half alone.
    char* const low = reinterpret_cast<char*>(0x100000010);
    char* const high = reinterpret_cast<char*>(0x200000010);
    void* pointer = low;
    EXPECT_EQ(atomic_get_ptr(&pointer), low);
    EXPECT_EQ(atomic_cas_ptr(&pointer, high, nullptr), 0);
    EXPECT_EQ(atomic_cas_ptr(&pointer, low + 1, nullptr), 0);
    EXPECT_EQ(atomic_cas_ptr(&pointer, low, high), 1);
    EXPECT_EQ(atomic_set_ptr(&pointer, nullptr), high);
    EXPECT_EQ(pointer, nullptr);

    i32 lock = 0;
    EXPECT_EQ(atomic_trylock(&lock), 1);
    EXPECT_EQ(atomic_trylock(&lock), 0);
    atomic_unlock(&lock);
    EXPECT_EQ(lock, 0);
}

TEST_F(ConcurrencyTest, NoStepOfSeveralThreadsIsLost) {
    i32 added = 0, references = 4, last = 0, lock = 0, by_spin_lock = 0;
    long by_mutex = 0;
    run_on_threads(4, [&] {
        for (int i = 0; i < 20000; i++) {
            atomic_add(&added, 3);
            atomic_inc_ref(&references);
            if (atomic_dec_ref(&references)) atomic_add(&last, 100000);
            mutex_lock(mutex);
            by_mutex++;
            mutex_unlock(mutex);
            atomic_lock(&lock);
            const i32 old = __atomic_load_n(&by_spin_lock, __ATOMIC_RELAXED);
            __atomic_store_n(&by_spin_lock, old + 1, __ATOMIC_RELAXED);
            atomic_unlock(&lock);
        }
        if (atomic_dec_ref(&references)) atomic_add(&last, 1);
    });
    EXPECT_EQ(added, 240000);
    EXPECT_EQ(references, 0);
    EXPECT_EQ(last, 1);
    EXPECT_EQ(by_mutex, 80000);
    EXPECT_EQ(by_spin_lock, 80000);
}
