// SPDX-License-Identifier: Zlib
#include "api/frame.h"
#include "frame/scratch.h"

#include <SDL.h>

#include <cstdlib>
#include <ctime>

using namespace halvorin;

void system_execute(Slice command) {
    if (!append_character(command)) return;
    [[maybe_unused]] const int status = std::system(c_string(command));
}

i64 system_time() {
    return std::time(nullptr);
}

u64 system_performance_counter() {
    return SDL_GetPerformanceCounter();
}

u64 system_performance_frequency() {
    return SDL_GetPerformanceFrequency();
}

void system_sleep(u32 milliseconds) {
    SDL_Delay(milliseconds);
}

u64 system_ticks() {
    return SDL_GetTicks();
}

void* system_load_library(Slice path) {
    return append_character(path) ? SDL_LoadObject(c_string(path)) : nullptr;
}

// Without a library some systems would look through the whole process, others fail.
void* system_load_function(void* library, Slice name) {
    if (library == nullptr || !append_character(name)) return nullptr;
    return SDL_LoadFunction(library, c_string(name));
}

void system_unload_library(void* library) {
    SDL_UnloadObject(library);
}
