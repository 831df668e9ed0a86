// SPDX-License-Identifier: Zlib
#include "api/system.h"

#include <SDL.h>
#include <gtest/gtest.h>

#include <dlfcn.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <climits>
#include <optional>
#include <set>
#include <vector>

// Threads, locks and atomic variables, on real threads and without system_init.
//
// The thread sanitizer sees the calls that SDL2 makes for threads, mutexes, semaphores and
// condition variables, so that what these guard below is plain memory. SDL2's atomic instructions
// it doesn't see: what a spin lock guards is read and written one relaxed access at a time.

// The same exports as a host sees them that leaves rubbish above narrow arguments.
extern "C" {
i32 wide_set_priority(u64 priority) __asm__("thread_set_priority");
b8 wide_cond_wait_timeout(cond_handle*, mutex_handle*, u64 time) __asm__("cond_wait_timeout");
semaphore_handle* wide_semaphore_create(u64 value) __asm__("semaphore_create");
u8 wide_semaphore_wait_timeout(semaphore_handle*, u64 time) __asm__("semaphore_wait_timeout");
i32 wide_atomic_add(i32* atomic, u64 value) __asm__("atomic_add");
i32 wide_atomic_set(i32* atomic, u64 value) __asm__("atomic_set");
b8 wide_atomic_cas(i32* atomic, u64 old_value, u64 new_value) __asm__("atomic_cas");
}

namespace {

std::optional<int> forced_result;
std::vector<SDL_ThreadPriority> priorities;

template <class Function> Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

// These stand in for SDL2's functions; the library's calls come here first. Failures of SDL2 can't
// be had in another way.
extern "C" int SDL_CondWaitTimeout(SDL_cond* cond, SDL_mutex* mutex, Uint32 time) {
    return forced_result ? *forced_result
                         : next<decltype(SDL_CondWaitTimeout)>(__func__)(cond, mutex, time);
}

extern "C" int SDL_TryLockMutex(SDL_mutex* mutex) {
    return forced_result ? *forced_result : next<decltype(SDL_TryLockMutex)>(__func__)(mutex);
}

extern "C" int SDL_SemTryWait(SDL_sem* semaphore) {
    return forced_result ? *forced_result : next<decltype(SDL_SemTryWait)>(__func__)(semaphore);
}

extern "C" int SDL_SemWaitTimeout(SDL_sem* semaphore, Uint32 time) {
    return forced_result ? *forced_result
                         : next<decltype(SDL_SemWaitTimeout)>(__func__)(semaphore, time);
}

extern "C" int SDL_SetThreadPriority(SDL_ThreadPriority priority) {
    priorities.push_back(priority);
    return forced_result ? *forced_result
                         : next<decltype(SDL_SetThreadPriority)>(__func__)(priority);
}

namespace {

constexpr u64 rubbish = 0xA5A5A5A500000000;
constexpr u32 without_end = 0xFFFFFFFF;
constexpr u32 long_time = 60000;

// Several threads in one piece of work; the destructor waits for them.
template <class Work> class crew {
public:
    crew(int count, const Work& work) : work_(work) {
        for (int i = 0; i < count; i++) {
            threads_.push_back(thread_create(run, this));
            EXPECT_NE(threads_.back(), nullptr);
        }
    }
    ~crew() {
        for (thread_handle* const thread : threads_) {
            i32 status = -1;
            thread_wait(thread, &status);
            EXPECT_EQ(status, 321);
        }
    }
    crew(const crew&) = delete;
    crew& operator=(const crew&) = delete;

private:
    static i32 run(void* self) {
        static_cast<crew*>(self)->work_();
        return 321;
    }
    const Work& work_;
    std::vector<thread_handle*> threads_;
};

template <class Work> void run_on_threads(int count, const Work& work) {
    const crew<Work> threads(count, work);
}

double milliseconds_since(u64 start) {
    return static_cast<double>(system_performance_counter() - start) * 1000 /
           static_cast<double>(system_performance_frequency());
}

struct ConcurrencyTest : testing::Test {
    mutex_handle* mutex = mutex_create();
    cond_handle* cond = cond_create();
    semaphore_handle* semaphore = semaphore_create(0);

    void SetUp() override {
        ASSERT_TRUE(mutex != nullptr && cond != nullptr && semaphore != nullptr);
    }

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

TEST_F(ConcurrencyTest, AThreadGetsItsDataAndTheOneNameAndGivesBackItsStatus) {
    struct Record {
        std::array<char, 16> name = {};
        u32 id = 0;
        semaphore_handle* started = semaphore_create(0);
        semaphore_handle* end = semaphore_create(0);
    } records[3];
    const auto body = [](void* data) -> i32 {
        auto& record = *static_cast<Record*>(data);
        pthread_getname_np(pthread_self(), record.name.data(), record.name.size());
        record.id = thread_current_id();
        semaphore_post(record.started);
        semaphore_wait(record.end);
        return -123456789;
    };
    std::vector<thread_handle*> threads;
    for (Record& record : records) {
        threads.push_back(thread_create(body, &record));
        ASSERT_NE(threads.back(), nullptr);
    }
    std::set<u32> ids = {thread_current_id(), thread_id(nullptr)};
    EXPECT_EQ(ids.size(), 1U) << "null stands for the calling thread";
    for (std::size_t i = 0; i < threads.size(); i++) {
        semaphore_wait(records[i].started);
        EXPECT_STREQ(records[i].name.data(), "thread");
        EXPECT_EQ(thread_id(threads[i]), records[i].id);
        ids.insert(records[i].id);
    }
    EXPECT_EQ(ids.size(), 4U);
    for (std::size_t i = 0; i < threads.size(); i++) {
        semaphore_post(records[i].end);
        i32 status = 1;
        thread_wait(threads[i], i == 0 ? nullptr : &status);
        EXPECT_EQ(status, i == 0 ? 1 : -123456789);
        semaphore_destroy(records[i].started);
        semaphore_destroy(records[i].end);
    }
}

TEST_F(ConcurrencyTest, ADetachedThreadRunsToItsEnd) {
    const auto body = [](void* data) -> i32 {
        return semaphore_post(static_cast<semaphore_handle*>(data));
    };
    thread_detach(thread_create(body, semaphore));
    EXPECT_EQ(semaphore_wait_timeout(semaphore, long_time), 0);
}

TEST_F(ConcurrencyTest, PrioritiesAreMappedByTheirLowByteAndTheStatusIsPassedOn) {
    const struct {
        u64 host;
        SDL_ThreadPriority expected;
    } cases[] = {
        {THREAD_PRIORITY_LOW, SDL_THREAD_PRIORITY_LOW},
        {THREAD_PRIORITY_NORMAL, SDL_THREAD_PRIORITY_NORMAL},
        {THREAD_PRIORITY_HIGH, SDL_THREAD_PRIORITY_HIGH},
        {3, SDL_THREAD_PRIORITY_LOW},
        {255, SDL_THREAD_PRIORITY_LOW},
        {0x100, SDL_THREAD_PRIORITY_LOW},
        {rubbish | 0xA501, SDL_THREAD_PRIORITY_NORMAL},
        {rubbish | 0xFFFFFF02, SDL_THREAD_PRIORITY_HIGH},
        {rubbish | 0x203, SDL_THREAD_PRIORITY_LOW},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.host);
        for (const int status : {0, -1, 0x12345678}) {
            priorities.clear();
            forced_result = status;
            EXPECT_EQ(wide_set_priority(c.host), status);
            forced_result.reset();
            EXPECT_EQ(priorities, std::vector{c.expected});
        }
    }
    // A thread of its own: what was lowered isn't raised again without rights.
    run_on_threads(1, [] {
        EXPECT_EQ(thread_set_priority(THREAD_PRIORITY_LOW), 0);
        const auto self = static_cast<id_t>(syscall(SYS_gettid));
        EXPECT_EQ(getpriority(PRIO_PROCESS, self), 19);
    });
}

TEST_F(ConcurrencyTest, EachTimeOutResultReadsInItsOwnWay) {
    const struct {
        int sdl;
        u8 truth, status;
    } cases[] = {{0, 1, 0}, {SDL_MUTEX_TIMEDOUT, 0, 1}, {-1, 0, 255}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.sdl);
        forced_result = c.sdl;
        EXPECT_EQ(cond_wait_timeout(cond, mutex, 1), c.truth);
        EXPECT_EQ(mutex_trylock(mutex), c.truth);
        EXPECT_EQ(semaphore_trywait(semaphore), c.truth);
        EXPECT_EQ(semaphore_wait_timeout(semaphore, 1), c.status);
        forced_result.reset();
    }
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
    EXPECT_TRUE(others_can_lock());
    EXPECT_EQ(mutex_lock(mutex), 0);
    EXPECT_EQ(mutex_trylock(mutex), 1);
    EXPECT_FALSE(others_can_lock());
    EXPECT_EQ(mutex_unlock(mutex), 0);
    EXPECT_FALSE(others_can_lock());
    EXPECT_EQ(mutex_unlock(mutex), 0);
    EXPECT_TRUE(others_can_lock());

    long sum = 0;
    run_on_threads(4, [&] {
        for (int i = 0; i < 20000; i++) {
            mutex_lock(mutex);
            sum += 1;
            mutex_unlock(mutex);
        }
    });
    EXPECT_EQ(sum, 80000);
}

TEST_F(ConcurrencyTest, ASemaphoreCountsAndItsTimeOutGivesZeroForTaken) {
    semaphore_handle* const one = wide_semaphore_create(rubbish | 1);
    EXPECT_EQ(semaphore_value(one), 1U);
    EXPECT_EQ(semaphore_wait_timeout(one, 20), 0);
    EXPECT_EQ(semaphore_value(one), 0U);
    const u64 start = system_performance_counter();
    EXPECT_EQ(wide_semaphore_wait_timeout(one, rubbish | 20), 1);
    const double waited = milliseconds_since(start);
    EXPECT_GT(waited, 18);
    EXPECT_LT(waited, long_time);
    EXPECT_EQ(semaphore_wait_timeout(one, 0), 1);
    EXPECT_EQ(semaphore_trywait(one), 0);
    EXPECT_EQ(semaphore_post(one) + semaphore_post(one), 0);
    EXPECT_EQ(semaphore_value(one), 2U);
    EXPECT_EQ(semaphore_trywait(one), 1);
    EXPECT_EQ(semaphore_wait(one), 0);
    EXPECT_EQ(semaphore_value(one), 0U);

    // A post ends a wait of any length.
    {
        const auto wait = [&] {
            EXPECT_EQ(semaphore_wait_timeout(one, without_end), 0);
            EXPECT_EQ(semaphore_wait_timeout(one, long_time), 0);
            EXPECT_EQ(semaphore_wait(one), 0);
        };
        const crew waiter(1, wait);
        for (int i = 0; i < 3; i++) {
            system_sleep(10);
            EXPECT_EQ(semaphore_post(one), 0);
        }
    }
    semaphore_destroy(one);
}

TEST_F(ConcurrencyTest, ABoundedQueueHandsEveryNumberOnOnce) {
    constexpr int count = 3000;
    std::array<int, 8> queue = {};
    std::size_t head = 0, tail = 0;
    semaphore_handle* const room = semaphore_create(static_cast<u32>(queue.size()));
    std::vector<int> seen(count, 0);
    int next_number = 0;
    std::atomic<int> turn = 0;
    run_on_threads(4, [&] {
        const bool produces = turn++ % 2 == 0;
        for (int i = 0; i < count / 2; i++) {
            semaphore_wait(produces ? room : semaphore);
            mutex_lock(mutex);
            if (produces) {
                queue[head++ % queue.size()] = next_number++;
            } else {
                seen[static_cast<std::size_t>(queue[tail++ % queue.size()])] += 1;
            }
            mutex_unlock(mutex);
            semaphore_post(produces ? semaphore : room);
        }
    });
    EXPECT_EQ(seen, std::vector<int>(count, 1));
    EXPECT_EQ(semaphore_value(room), queue.size());
    semaphore_destroy(room);
}

TEST_F(ConcurrencyTest, AConditionTimesOutWithTheMutexHeldAgain) {
    mutex_lock(mutex);
    EXPECT_EQ(cond_wait_timeout(cond, mutex, 0), 0);
    EXPECT_FALSE(others_can_lock());
    EXPECT_EQ(cond_signal(cond) + cond_broadcast(cond), 0) << "of no use to those who come later";
    const u64 start = system_performance_counter();
    EXPECT_EQ(wide_cond_wait_timeout(cond, mutex, rubbish | 20), 0);
    const double waited = milliseconds_since(start);
    EXPECT_GT(waited, 18);
    EXPECT_LT(waited, long_time);
    EXPECT_FALSE(others_can_lock());
    mutex_unlock(mutex);
}

TEST_F(ConcurrencyTest, ASignalWakesOneWaitingThreadAndABroadcastAll) {
    constexpr int count = 4;
    int waiting = 0, tickets = 0, awake = 0;
    const auto wait_for_ticket = [&] {
        mutex_lock(mutex);
        waiting++;
        while (tickets == 0) {
            // The longest and the shorter wait are woken in the same way.
            if (waiting % 2 == 0) {
                EXPECT_EQ(cond_wait(cond, mutex), 0);
            } else {
                EXPECT_EQ(cond_wait_timeout(cond, mutex, long_time), 1);
            }
        }
        tickets--;
        awake++;
        semaphore_post(semaphore);
        mutex_unlock(mutex);
    };
    {
        const crew threads(count, wait_for_ticket);
        for (int all = 0; all < count; system_sleep(1)) {
            mutex_lock(mutex);
            all = waiting;
            mutex_unlock(mutex);
        }
        mutex_lock(mutex);
        tickets = 1;
        EXPECT_EQ(cond_signal(cond), 0);
        EXPECT_EQ(awake, 0) << "nobody goes on before the mutex is given back";
        mutex_unlock(mutex);
        EXPECT_EQ(semaphore_wait_timeout(semaphore, long_time), 0);
        EXPECT_EQ(semaphore_wait_timeout(semaphore, 20), 1);

        mutex_lock(mutex);
        tickets = count - 1;
        EXPECT_EQ(cond_broadcast(cond), 0);
        mutex_unlock(mutex);
    }
    EXPECT_EQ(awake, count);
    EXPECT_EQ(semaphore_value(semaphore), 3U);
}

TEST_F(ConcurrencyTest, AtomicsGiveTheValueBefore) {
    i32 number = 5;
    EXPECT_EQ(wide_atomic_set(&number, rubbish | 7), 5);
    EXPECT_EQ(atomic_get(&number), 7);
    EXPECT_EQ(wide_atomic_add(&number, rubbish | static_cast<u32>(-9)), 7);
    EXPECT_EQ(number, -2);
    EXPECT_EQ(atomic_set(&number, INT_MAX), -2);
    EXPECT_EQ(atomic_add(&number, 1), INT_MAX);
    EXPECT_EQ(atomic_get(&number), INT_MIN);

    EXPECT_EQ(wide_atomic_cas(&number, rubbish | 1, 3), 0);
    EXPECT_EQ(number, INT_MIN);
    EXPECT_EQ(wide_atomic_cas(&number, rubbish | static_cast<u32>(INT_MIN), rubbish | 3), 1);
    EXPECT_EQ(number, 3);

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
    atomic_compiler_barrier();
}

TEST_F(ConcurrencyTest, TheLastReferenceIsDroppedOnce) {
    i32 references = 0;
    EXPECT_EQ(atomic_inc_ref(&references), 0);
    EXPECT_EQ(atomic_inc_ref(&references), 1);
    EXPECT_EQ(atomic_dec_ref(&references), 0);
    EXPECT_EQ(references, 1);
    EXPECT_EQ(atomic_dec_ref(&references), 1);
    EXPECT_EQ(references, 0);
    EXPECT_EQ(atomic_dec_ref(&references), 0);
    EXPECT_EQ(references, -1);

    for (int round = 0; round < 20; round++) {
        references = 4;
        i32 last = 0;
        run_on_threads(4, [&] {
            for (int i = 0; i < 1000; i++) {
                atomic_inc_ref(&references);
                if (atomic_dec_ref(&references)) atomic_add(&last, 1000);
            }
            if (atomic_dec_ref(&references)) atomic_add(&last, 1);
        });
        EXPECT_EQ(references, 0);
        EXPECT_EQ(last, 1);
    }
}

TEST_F(ConcurrencyTest, NoStepOfAnAtomicVariableIsLost) {
    struct Link {
        void* below;
    };
    std::vector<Link> links(8000);
    i32 added = 0, swapped = 0, taken = 0;
    void* top = nullptr;
    run_on_threads(4, [&] {
        for (int i = 0; i < 2000; i++) {
            atomic_add(&added, 3);
            i32 before = 0;
            do {
                before = atomic_get(&swapped);
            } while (!atomic_cas(&swapped, before, before + 1));
            Link& link = links[static_cast<std::size_t>(atomic_inc_ref(&taken))];
            do {
                link.below = atomic_get_ptr(&top);
            } while (!atomic_cas_ptr(&top, link.below, &link));
        }
    });
    EXPECT_EQ(added, 24000);
    EXPECT_EQ(swapped, 8000);
    std::set<void*> stack;
    for (void* link = top; link != nullptr; link = static_cast<Link*>(link)->below) {
        ASSERT_TRUE(stack.insert(link).second);
    }
    EXPECT_EQ(stack.size(), 8000U);
}

TEST_F(ConcurrencyTest, ASpinLockHasOneHolder) {
    i32 lock = 0;
    EXPECT_EQ(atomic_trylock(&lock), 1);
    EXPECT_EQ(atomic_trylock(&lock), 0);
    atomic_unlock(&lock);
    EXPECT_EQ(lock, 0);
    atomic_lock(&lock);
    EXPECT_EQ(atomic_trylock(&lock), 0);
    // Another thread spins until this one lets go.
    std::atomic<int> step = 0;
    {
        const auto spin = [&] {
            step = 1;
            atomic_lock(&lock);
            step = 2;
            atomic_unlock(&lock);
        };
        const crew spinner(1, spin);
        while (step == 0) {
            system_sleep(1);
        }
        system_sleep(20);
        EXPECT_EQ(step, 1);
        atomic_unlock(&lock);
    }
    EXPECT_EQ(step, 2);

    std::atomic<long> sum = 0;
    run_on_threads(4, [&] {
        for (int i = 0; i < 5000; i++) {
            if (i % 2 == 0 || !atomic_trylock(&lock)) atomic_lock(&lock);
            sum.store(sum.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
            atomic_unlock(&lock);
        }
    });
    EXPECT_EQ(sum, 20000);
    EXPECT_EQ(lock, 0);
}
