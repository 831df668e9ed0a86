// SPDX-License-Identifier: Zlib
#pragma once

// What a process holds, before and after many rounds of the same work. Each job runs in a process
// of its own, which starts as this one stands: nothing that another job has left is in the way. Its
// first rounds aren't counted: pools, caches and drivers fill in them.

#include "support/holdings.h"

#include <gtest/gtest.h>

#include <chrono>
#include <sys/wait.h>
#include <unistd.h>

namespace endurance {

struct outcome {
    holdings before, after;
    i64 rounds;
    double seconds;
};

struct work {
    void (*prepare)();
    void (*round)(i64 number);
};

inline outcome do_rounds(const work& job, i64 rounds) {
    const i64 first = rounds / 5 + 10;
    job.prepare();
    for (i64 i = 0; i < first && !testing::Test::HasFailure(); ++i) {
        job.round(i);
    }
    outcome result = {held_now(), {}, rounds, 0};
    const auto start = std::chrono::steady_clock::now();
    for (i64 i = 0; i < rounds && !testing::Test::HasFailure(); ++i) {
        job.round(first + i);
    }
    result.seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    result.after = held_now();
    return result;
}

// Runs a job in a process of its own.
inline outcome outcome_of(const work& job, i64 rounds) {
    int ends[2];
    if (testing::Test::HasFailure() || pipe(ends) != 0) return {};
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        const outcome result = do_rounds(job, rounds);
        const bool told = write(ends[1], &result, sizeof result) == sizeof result;
        std::fflush(nullptr);
        _exit(testing::Test::HasFailure() || !told);
    }
    close(ends[1]);
    outcome result = {};
    EXPECT_EQ(read(ends[0], &result, sizeof result), ssize_t{sizeof result});
    close(ends[0]);
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0) << "the job has failed";
    return result;
}

// Rounds as a host does them in days, and in a test run.
struct length {
    i64 whole, brief;
    i64 rounds() const {
        return is_whole() ? whole : brief;
    }
};

} // namespace endurance
