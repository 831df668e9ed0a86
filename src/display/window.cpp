// SPDX-License-Identifier: Zlib
#include "display/window.h"

#include "frame/boundary.h"
#include "frame/scratch.h"

#include <SDL.h>

using namespace halvorin;

constinit void* sdl_window = nullptr;
constinit u32 sdl_window_id = 0;
constinit b8 fullscreen = 0;

namespace {

// False once system_release has ended the window, whose address stays in `sdl_window`.
constinit bool window_is_live = false;
constinit bool asked_for_opengl = false;

struct WindowFlag {
    u32 host;
    u32 sdl;
};

// clang-format off
constexpr WindowFlag window_flags[] = {
    {DISPLAY_HIDDEN,     SDL_WINDOW_HIDDEN},
    {DISPLAY_BORDERLESS, SDL_WINDOW_BORDERLESS},
    {DISPLAY_RESIZABLE,  SDL_WINDOW_RESIZABLE},
    {DISPLAY_MINIMIZED,  SDL_WINDOW_MINIMIZED},
    {DISPLAY_MAXIMIZED,  SDL_WINDOW_MAXIMIZED},
    {DISPLAY_FULLSCREEN, SDL_WINDOW_FULLSCREEN_DESKTOP},
};
// clang-format on

u32 to_sdl_window_flags(u32 flags) {
    u32 sdl_flags = (flags & DISPLAY_SOFTWARE) != 0 ? 0u : u32{SDL_WINDOW_OPENGL};
    for (const WindowFlag& row : window_flags) {
        if ((flags & row.host) != 0) sdl_flags |= row.sdl;
    }
    return sdl_flags;
}

void request_context_attributes(i32 samples) {
    if (samples > 1) {
        SDL_GL_SetAttribute(SDL_GL_MULTISAMPLEBUFFERS, 1);
        SDL_GL_SetAttribute(SDL_GL_MULTISAMPLESAMPLES, samples);
    }
    SDL_GL_SetAttribute(SDL_GL_STENCIL_SIZE, 8);
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_MAJOR_VERSION, 3);
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_MINOR_VERSION, 3);
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_PROFILE_MASK, SDL_GL_CONTEXT_PROFILE_CORE);
}

SDL_bool to_sdl_bool(b8 argument) {
    return is_true(argument) ? SDL_TRUE : SDL_FALSE;
}

} // namespace

SDL_Window* halvorin::live_window() {
    return window_is_live ? static_cast<SDL_Window*>(sdl_window) : nullptr;
}

bool halvorin::window_takes_opengl() {
    return window_is_live && asked_for_opengl;
}

bool halvorin::create_window(const char* title, i32 width, i32 height, display_flags flags,
                             i32 samples) {
    if ((flags & DISPLAY_FULLSCREEN) != 0) fullscreen = true;
    request_context_attributes(samples);
    sdl_window = SDL_CreateWindow(title, SDL_WINDOWPOS_UNDEFINED, SDL_WINDOWPOS_UNDEFINED, width,
                                  height, to_sdl_window_flags(flags));
    window_is_live = sdl_window != nullptr;
    asked_for_opengl = (flags & DISPLAY_SOFTWARE) == 0;
    sdl_window_id = SDL_GetWindowID(live_window());
    return window_is_live;
}

void halvorin::destroy_window() {
    SDL_DestroyWindow(live_window());
    window_is_live = false;
}

void display_set_size(i32 width, i32 height) {
    SDL_SetWindowSize(live_window(), width, height);
}

void display_set_title(Slice title) {
    if (!append_character(title)) return;
    SDL_SetWindowTitle(live_window(), c_string(title));
}

void display_set_icon(i32 width, i32 height, const void* pixels) {
    if (pixels == nullptr) return;
    const auto pitch = static_cast<i32>(4u * static_cast<u32>(width));
    SDL_Surface* icon =
        SDL_CreateRGBSurfaceFrom(const_cast<void*>(pixels), width, height, 32, pitch, 0x000000FFu,
                                 0x0000FF00u, 0x00FF0000u, 0xFF000000u);
    SDL_SetWindowIcon(live_window(), icon);
    SDL_FreeSurface(icon);
}

void display_set_visible(b8 on) {
    if (is_true(on)) {
        SDL_ShowWindow(live_window());
    } else {
        SDL_HideWindow(live_window());
    }
}

void display_set_border(b8 on) {
    SDL_SetWindowBordered(live_window(), to_sdl_bool(on));
}

void display_set_fullscreen(b8 on) {
    SDL_SetWindowFullscreen(live_window(), is_true(on) ? u32{SDL_WINDOW_FULLSCREEN_DESKTOP} : 0u);
}

void display_set_grab(b8 on) {
    SDL_SetWindowGrab(live_window(), to_sdl_bool(on));
}

void display_maximize() {
    SDL_MaximizeWindow(live_window());
}

void display_minimize() {
    SDL_MinimizeWindow(live_window());
}

void display_restore() {
    SDL_RestoreWindow(live_window());
}

void display_get_info(DisplayInfo* result) {
    *result = {};
    SDL_Window* window = live_window();
    if (window == nullptr) return;
    SDL_DisplayMode mode = {};
    SDL_GetWindowDisplayMode(window, &mode);
    result->refresh_rate = mode.refresh_rate;
    if (fullscreen != 0) {
        result->width = mode.w;
        result->height = mode.h;
    } else {
        SDL_GetWindowSize(window, &result->width, &result->height);
    }
}
