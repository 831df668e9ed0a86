// SPDX-License-Identifier: Zlib
#pragma once

#include "api/types.h"

// The two ways of bringing frames to the window. Both may exist at once.
namespace halvorin {

// Makes renderer and texture for the window, in place of those there were.
void init_sdl_renderer(i32 width, i32 height, bool vsync);

// Makes the OpenGL context, once for the life of the library, and loads OpenGL. Ends the process
// where that can't be had. A context that is there already is made current on the window.
void init_opengl_renderer();

// Ends the process for want of a window to make a context for.
[[noreturn]] void stop_without_window();

void set_swap_interval(bool vsync);

// A renderer can't outlive its window; a context can.
void release_software_renderer();
void release_opengl_context();

} // namespace halvorin
