// SPDX-License-Identifier: Zlib
// What a host waits for before it shows anything, and at its end: loading the library, starting it,
// the first frame, the first shader, another window, the first sound, stopping. The peer is a
// program that takes the same steps with bare SDL2 and OpenGL. Every round is a whole life of each,
// in a process of its own, so that nothing is warm but the files. Every row gives the ratio of our
// median to the peer's (`of_`) beside its goal (`goal_`).
#include "in_turn.h"
#include "lives.h"

#include <sys/wait.h>
#include <unistd.h>

namespace {

// What one life measured, or nothing where it failed.
std::vector<double> lived(std::vector<double> (*life)()) {
    int ends[2];
    if (pipe(ends) != 0) return {};
    const pid_t child = fork();
    if (child == 0) {
        const std::vector<double> times = life();
        const auto size = static_cast<ssize_t>(times.size() * sizeof(double));
        _exit(write(ends[1], times.data(), static_cast<size_t>(size)) == size ? 0 : 1);
    }
    close(ends[1]);
    std::vector<double> times(step_names.size());
    const auto size = static_cast<ssize_t>(times.size() * sizeof(double));
    const bool complete = read(ends[0], times.data(), static_cast<size_t>(size)) == size;
    close(ends[0]);
    waitpid(child, nullptr, 0);
    return complete ? times : std::vector<double>();
}

struct lives {
    std::vector<std::vector<double>> ours{step_names.size()};
    std::vector<std::vector<double>> bare{step_names.size()};
    bool complete = true;
};

void add(lives& all, std::vector<std::vector<double>>& times, const std::vector<double>& one) {
    all.complete = all.complete && one.size() == step_names.size();
    for (size_t step = 0; all.complete && step < one.size(); ++step) {
        times[step].push_back(one[step]);
    }
}

// All rows come from the same lives.
const lives& all_lives() {
    static const lives measured = [] {
        lives all;
        for (int round = 0; round < 50 && all.complete; ++round) {
            add(all, all.ours, lived(our_life));
            add(all, all.bare, lived(bare_life));
            add(all, all.bare, lived(bare_life));
            add(all, all.ours, lived(our_life));
        }
        return all;
    }();
    return measured;
}

void step(benchmark::State& state) {
    const lives& all = all_lives();
    const auto index = static_cast<size_t>(state.range(0));
    for (auto _ : state) {
        state.SetIterationTime(all.complete ? median_of(all.ours[index]) : 0);
    }
    state.SetLabel(step_names[index].name);
    if (!all.complete) {
        state.SkipWithError("a life came to an early end");
        return;
    }
    show(state, "bare", median_of(all.ours[index]) / median_of(all.bare[index]),
         step_names[index].goal);
}
BENCHMARK(step)
    ->DenseRange(0, step_names.size() - 1)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

} // namespace
