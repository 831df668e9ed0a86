// SPDX-License-Identifier: Zlib
#pragma once

#include "api/display.h"

#include <SDL_video.h>

// The window by itself, for the families that need it.
namespace halvorin {

// The window; null when there is none, also when `sdl_window` still holds the address of one that
// system_release has ended. What goes to SDL2 is always this.
SDL_Window* live_window();

// display_open asked for an OpenGL window. SDL2's own flag doesn't tell: it may turn a software
// window into an OpenGL window where the platform has no plain window surface.
bool window_takes_opengl();

// Sets `sdl_window`, also to null where there can't be a window, and `sdl_window_id`.
bool create_window(const char* title, i32 width, i32 height, display_flags flags, i32 samples);

// `sdl_window` keeps its value.
void destroy_window();

} // namespace halvorin
