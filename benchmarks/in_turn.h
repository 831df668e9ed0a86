// SPDX-License-Identifier: Zlib
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <ctime>
#include <string>
#include <vector>

// How every benchmark here compares: all ways in turn in one process, and the ratio of the medians.

inline double processor_time() {
    timespec now;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// Reading the processor time takes a while itself, so that short ways are timed by the clock. Long
// ones would count the time in which others have the processor.
inline constexpr double long_enough = 200e-6;

template <class Way> double seconds_of(const Way& way) {
    const double first = processor_time();
    const auto start = std::chrono::steady_clock::now();
    way();
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
    return passed.count() < long_enough ? passed.count() : processor_time() - first;
}

inline double median_of(std::vector<double> times) {
    const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
}

// Every round runs each way once: what slows the machine for a while slows all of them. `ns` is
// what ours takes; where a way is many calls, it is to be set again.
template <class... Ways>
std::array<double, sizeof...(Ways)> medians_in_turn(benchmark::State& state, const Ways&... ways) {
    std::array<std::vector<double>, sizeof...(Ways)> times;
    for (auto _ : state) {
        std::size_t way = 0;
        (times[way++].push_back(seconds_of(ways)), ...);
        state.SetIterationTime(times[0].back());
    }
    std::array<double, sizeof...(Ways)> medians;
    std::transform(times.begin(), times.end(), medians.begin(), median_of);
    state.counters["ns"] = medians[0] * 1e9;
    return medians;
}

// The ratio of ours to a peer's, and beside it the goal.
inline void show(benchmark::State& state, const std::string& peer, double ratio, double goal) {
    state.counters["of_" + peer] = ratio;
    state.counters["goal_" + peer] = goal;
}
