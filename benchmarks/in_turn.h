// SPDX-License-Identifier: Zlib
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

// How every benchmark here compares: all ways in turn in one process, and the ratio of the medians.

template <class Way> double seconds_of(const Way& way) {
    const auto start = std::chrono::steady_clock::now();
    way();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

inline double median_of(std::vector<double> times) {
    const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
}

// Every round runs each way once: what slows the machine for a while slows all of them.
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
    return medians;
}

// The ratio of ours to a peer's, and beside it the goal.
inline void show(benchmark::State& state, const std::string& peer, double ratio, double goal) {
    state.counters["of_" + peer] = ratio;
    state.counters["goal_" + peer] = goal;
}
