// SPDX-License-Identifier: Zlib
#pragma once

#include "api/types.h"

#include <SDL_video.h>

// The display's objects, for the families that need the window, and for start and stop.
namespace halvorin {

// The window; null when there is none, also when `sdl_window` still holds the address of one that
// system_release has ended. What goes to SDL2 is always this.
SDL_Window* live_window();

// display_open asked for an OpenGL window. SDL2's own flag doesn't tell: it may turn a software
// window into an OpenGL window where the platform has no plain window surface.
bool window_takes_opengl();

// Destroys software renderer, OpenGL context and window. The exported variables keep their values.
void release_display();

} // namespace halvorin
