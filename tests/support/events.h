// SPDX-License-Identifier: Zlib
#pragma once

// Events as the window system would bring them, put into SDL2's own queue.

#include "api/types.h"

#include <SDL.h>

#include <cstring>

template <class Fill> void push_event(u32 type, const Fill& fill) {
    SDL_Event event = {};
    event.type = type;
    fill(event);
    SDL_PushEvent(&event);
}

inline void push_quit() {
    push_event(SDL_QUIT, [](SDL_Event&) {});
}

inline void push_key(i32 scancode, bool down, u8 repeat = 0) {
    push_event(down ? SDL_KEYDOWN : SDL_KEYUP, [&](SDL_Event& event) {
        event.key.windowID = 77;
        event.key.repeat = repeat;
        std::memcpy(&event.key.keysym.scancode, &scancode, sizeof scancode);
    });
}

inline void push_button(u8 button, bool down) {
    push_event(down ? SDL_MOUSEBUTTONDOWN : SDL_MOUSEBUTTONUP,
               [&](SDL_Event& event) { event.button.button = button; });
}

inline void push_motion(i32 x, i32 y, i32 moved_x, i32 moved_y) {
    push_event(SDL_MOUSEMOTION, [&](SDL_Event& event) {
        event.motion.x = x;
        event.motion.y = y;
        event.motion.xrel = moved_x;
        event.motion.yrel = moved_y;
    });
}

inline void push_wheel(i32 y) {
    push_event(SDL_MOUSEWHEEL, [&](SDL_Event& event) {
        event.wheel.x = 50;
        event.wheel.y = y;
        event.wheel.direction = SDL_MOUSEWHEEL_FLIPPED;
    });
}

inline void push_window(u32 id, u8 kind, i32 data1 = 0, i32 data2 = 0) {
    push_event(SDL_WINDOWEVENT, [&](SDL_Event& event) {
        event.window.windowID = id;
        event.window.event = kind;
        event.window.data1 = data1;
        event.window.data2 = data2;
    });
}

inline char* push_drop(u32 type, const char* text) {
    char* const file = text == nullptr ? nullptr : SDL_strdup(text);
    push_event(type, [&](SDL_Event& event) { event.drop.file = file; });
    return file;
}
