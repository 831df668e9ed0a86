// SPDX-License-Identifier: Zlib
#include "frame/lifecycle.h"

#include "api/frame.h"
#include "display/frame_state.h"
#include "display/opening.h"

#include <SDL.h>

#include <iterator>

// Start and stop of everything underneath: the one file of this family that knows of others.

using namespace halvorin;

constinit void* system_cursors[12] = {};

namespace {

struct InitFlag {
    u32 host;
    u32 sdl;
};

// clang-format off
constexpr InitFlag init_flags[] = {
    {SYSTEM_INIT_TIMER,    SDL_INIT_TIMER},
    {SYSTEM_INIT_AUDIO,    SDL_INIT_AUDIO},
    {SYSTEM_INIT_VIDEO,    SDL_INIT_VIDEO},
    {SYSTEM_INIT_EVENTS,   SDL_INIT_EVENTS},
    {SYSTEM_INIT_JOYSTICK, SDL_INIT_JOYSTICK},
    {SYSTEM_INIT_HAPTIC,   SDL_INIT_HAPTIC},
};
// clang-format on

constinit bool video_has_run = false;

u32 to_sdl_init_flags(system_init_flags flags) {
    u32 sdl_flags = 0;
    for (const InitFlag& row : init_flags) {
        if ((flags & row.host) != 0) sdl_flags |= row.sdl;
    }
    return sdl_flags;
}

// SDL_Init gives back all parts when one of them can't start. A missing sound card mustn't cost the
// window, so the others are then started one by one.
void start_sdl(u32 sdl_flags) {
    if (SDL_Init(sdl_flags) == 0) return;
    for (const InitFlag& row : init_flags) {
        if ((sdl_flags & row.sdl) != 0) SDL_InitSubSystem(row.sdl);
    }
}

void create_cursors() {
    const bool gone = video_driver_is_gone();
    for (std::size_t i = 0; i < std::size(system_cursors); i++) {
        system_cursors[i] =
            gone ? nullptr : SDL_CreateSystemCursor(static_cast<SDL_SystemCursor>(i));
    }
}

void free_cursors() {
    for (void* cursor : system_cursors) {
        if (cursor != nullptr) SDL_FreeCursor(static_cast<SDL_Cursor*>(cursor));
    }
}

} // namespace

bool halvorin::video_driver_is_gone() {
    return video_has_run && SDL_WasInit(SDL_INIT_VIDEO) == 0;
}

void system_init(system_init_flags flags) {
    if ((flags & SYSTEM_INIT_EVENTS) != 0) {
        build_key_table();
        clear_frame_state();
    }
    if ((flags & SYSTEM_INIT_VIDEO) != 0) video_has_run = true;
    start_sdl(to_sdl_init_flags(flags));
    create_cursors();
    // Keys are all that is delivered; with text input on, an input method would swallow some.
    SDL_StopTextInput();
}

void system_release() {
    video_has_run = video_has_run || SDL_WasInit(SDL_INIT_VIDEO) != 0;
    release_display();
    // SDL2 looks a cursor up among those that it has: one from a life before is passed over.
    free_cursors();
    SDL_Quit();
}
