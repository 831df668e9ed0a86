// SPDX-License-Identifier: Zlib
// The event poll against a bare loop over SDL2's queue that looks at nothing: an empty queue, which
// is most frames, and a full one. Every row gives the ratio of our median to the loop's (`of_`)
// beside its goal (`goal_`). SDL_VIDEODRIVER=x11 measures with a real window system.
#include <halvorin_system/system.h>

#include "in_turn.h"

#include <SDL.h>

#include <cstdlib>
#include <vector>

namespace {

void bare_poll() {
    SDL_Event event;
    while (SDL_PollEvent(&event) != 0) {
        benchmark::DoNotOptimize(&event);
    }
}

void start() {
    setenv("SDL_VIDEODRIVER", "dummy", 0);
    system_init(SYSTEM_INIT_VIDEO | SYSTEM_INIT_EVENTS);
    display_open(64, 48, {nullptr, 0}, DISPLAY_SOFTWARE, 0);
    input_poll();
}

void stop() {
    display_close();
    system_release();
}

void empty_queue(benchmark::State& state) {
    start();
    constexpr int repeats = 200;
    const auto repeated = [](void (*poll)()) {
        return [poll] {
            for (int i = 0; i < repeats; ++i) {
                poll();
            }
        };
    };
    const auto [ours, bare] = medians_in_turn(state, repeated(input_poll), repeated(bare_poll));
    state.counters["ns"] = ours / repeats * 1e9;
    show(state, "bare_loop", ours / bare, 1.08);
    stop();
}

// What a busy frame brings: mostly motion, some keys and buttons, text that is passed over.
std::vector<SDL_Event> busy_frame(std::size_t count) {
    constexpr u32 types[] = {SDL_MOUSEMOTION, SDL_KEYDOWN,    SDL_MOUSEMOTION, SDL_KEYUP,
                             SDL_MOUSEMOTION, SDL_TEXTINPUT,  SDL_MOUSEWHEEL,  SDL_MOUSEBUTTONDOWN,
                             SDL_MOUSEMOTION, SDL_WINDOWEVENT};
    std::vector<SDL_Event> events(count);
    for (std::size_t i = 0; i < count; i++) {
        SDL_Event& event = events[i];
        event = {};
        event.type = types[i % std::size(types)];
        if (event.type == SDL_KEYDOWN || event.type == SDL_KEYUP) {
            event.key.keysym.scancode = static_cast<SDL_Scancode>(i % 285);
        } else if (event.type == SDL_WINDOWEVENT) {
            event.window.windowID = sdl_window_id;
            event.window.event = static_cast<u8>(i % 16);
        } else if (event.type == SDL_MOUSEBUTTONDOWN) {
            event.button.button = static_cast<u8>(i % 4);
        }
    }
    return events;
}

void queued_events(benchmark::State& state) {
    start();
    std::vector<SDL_Event> events = busy_frame(static_cast<std::size_t>(state.range(0)));
    std::vector<double> ours;
    std::vector<double> bare;
    const auto filled = [&](std::vector<double>& times, void (*poll)()) {
        const int count = static_cast<int>(events.size());
        if (SDL_PeepEvents(events.data(), count, SDL_ADDEVENT, 0, 0) != count) {
            state.SkipWithError("the queue doesn't take that many");
        }
        times.push_back(seconds_of(poll));
    };
    for (auto _ : state) {
        filled(ours, input_poll);
        filled(bare, bare_poll);
        state.SetIterationTime(ours.back());
    }
    const double our_time = median_of(ours);
    state.counters["ns"] = our_time / static_cast<double>(events.size()) * 1e9;
    show(state, "bare_loop", our_time / median_of(bare), 1.10);
    stop();
}

BENCHMARK(empty_queue)->Iterations(5001)->UseManualTime();
BENCHMARK(queued_events)->Arg(1000)->Iterations(3001)->UseManualTime();
BENCHMARK(queued_events)->Arg(10000)->Iterations(501)->UseManualTime();

} // namespace
