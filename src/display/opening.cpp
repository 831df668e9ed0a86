// SPDX-License-Identifier: Zlib
#include "display/opening.h"

#include "api/display.h"
#include "display/presentation.h"
#include "display/window.h"
#include "frame/boundary.h"
#include "frame/scratch.h"

using namespace halvorin;

namespace {

void open_hardware(bool vsync) {
    is_software_rendering = false;
    if (sdl_window == nullptr) stop_without_window();
    init_opengl_renderer();
    sdl_vsync = vsync;
    set_swap_interval(vsync);
}

void open_software(i32 width, i32 height, bool vsync) {
    is_software_rendering = true;
    init_sdl_renderer(width, height, vsync);
}

} // namespace

void halvorin::release_display() {
    release_software_renderer();
    release_opengl_context();
    destroy_window();
}

b8 display_open(i32 width, i32 height, Slice title, display_flags flags, i32 samples) {
    flags = low_bits(flags);
    if (sdl_window != nullptr || !append_character(title)) return false;
    const bool is_open = create_window(c_string(title), width, height, flags, samples);
    const bool vsync = (flags & DISPLAY_VSYNC) != 0;
    if ((flags & DISPLAY_SOFTWARE) != 0) {
        open_software(width, height, vsync);
    } else {
        open_hardware(vsync);
    }
    return is_open;
}

void display_close() {
    if (sdl_window == nullptr) return;
    release_software_renderer();
    destroy_window();
    sdl_window = nullptr;
}
