// SPDX-License-Identifier: Zlib
#include "display/presentation.h"

#include "api/display.h"
#include "display/window.h"
#include "frame/boundary.h"

#include <SDL.h>
#include <glad/gl.h>

#include <cstdlib>

using namespace halvorin;

constinit b8 is_software_rendering = 0;
constinit void* sdl_renderer = nullptr;
constinit void* sdl_texture = nullptr;
constinit i32 sdl_texture_width = 0;
constinit i32 sdl_texture_height = 0;
constinit b8 sdl_vsync = 0;
constinit void* opengl_context = nullptr;
constinit b8 opengl_initialized = 0;

namespace {

// The exported pointers keep their values when the objects end with the window or the library.
constinit bool renderer_is_live = false;
constinit bool context_is_live = false;
constinit bool library_is_held = false;
constinit bool function_is_missing = false;

[[noreturn]] void stop(const char* title, const char* text) {
    SDL_ShowSimpleMessageBox(SDL_MESSAGEBOX_ERROR, title, text, nullptr);
    std::exit(1);
}

[[noreturn]] void stop_without_opengl() {
    stop("Graphics not supported", "OpenGL 3.3 is not supported on this computer.");
}

SDL_Renderer* renderer() {
    return static_cast<SDL_Renderer*>(sdl_renderer);
}

SDL_Texture* texture() {
    return static_cast<SDL_Texture*>(sdl_texture);
}

// Only what the version that the driver reports has to have is looked for.
GLADapiproc find_function(const char* name) {
    void* const function = SDL_GL_GetProcAddress(name);
    if (function == nullptr) function_is_missing = true;
    return reinterpret_cast<GLADapiproc>(function);
}

bool find_functions() {
    function_is_missing = false;
    return gladLoadGL(find_function) != 0 && GLAD_GL_VERSION_3_3 && !function_is_missing;
}

// OpenGL's functions have to be found anew for each context. A driver that reports less than 3.3
// leaves some of them out.
void create_context() {
    if (!window_takes_opengl()) stop_without_opengl();
    opengl_context = SDL_GL_CreateContext(live_window());
    if (opengl_context == nullptr) stop_without_opengl();
    context_is_live = true;
    // SDL2 unloads OpenGL with its last window, and with EGL that ends all contexts.
    library_is_held = SDL_GL_LoadLibrary(nullptr) == 0;
    if (!find_functions()) stop_without_opengl();
    opengl_initialized = true;
    glEnable(GL_TEXTURE_CUBE_MAP_SEAMLESS);
}

// Brings the context of an earlier window, with all objects in it, to the present one.
void bind_context() {
    if (!window_takes_opengl()) return;
    if (context_is_live && SDL_GL_MakeCurrent(live_window(), opengl_context) == 0) return;
    release_opengl_context();
    create_context();
}

// SDL2's own choice would be a renderer over OpenGL, or a window surface over one: that turns a
// software window into an OpenGL window behind our back, and takes the context of a hardware
// window away.
void ask_for_plain_software_renderer() {
    SDL_SetHintWithPriority(SDL_HINT_RENDER_DRIVER, "software", SDL_HINT_OVERRIDE);
    SDL_SetHintWithPriority(SDL_HINT_FRAMEBUFFER_ACCELERATION, "0", SDL_HINT_OVERRIDE);
}

} // namespace

void halvorin::init_sdl_renderer(i32 width, i32 height, bool vsync) {
    release_software_renderer();
    sdl_texture_width = width;
    sdl_texture_height = height;
    ask_for_plain_software_renderer();
    sdl_renderer =
        SDL_CreateRenderer(live_window(), -1, vsync ? u32{SDL_RENDERER_PRESENTVSYNC} : 0u);
    renderer_is_live = sdl_renderer != nullptr;
    sdl_texture = SDL_CreateTexture(renderer(), SDL_PIXELFORMAT_ABGR8888,
                                    SDL_TEXTUREACCESS_STREAMING, width, height);
    // Where the platform has no plain window surface SDL2 draws through OpenGL in spite of all, and
    // leaves its own context current.
    if (context_is_live && window_takes_opengl()) {
        SDL_GL_MakeCurrent(live_window(), opengl_context);
    }
}

void halvorin::init_opengl_renderer() {
    if (opengl_initialized != 0) {
        bind_context();
        return;
    }
    if (live_window() == nullptr) stop_without_window();
    create_context();
}

void halvorin::stop_without_window() {
    stop("Graphics error", "Failed to initialize hardware graphics.");
}

void halvorin::set_swap_interval(bool vsync) {
    constexpr int adaptive = -1;
    if (vsync && SDL_GL_SetSwapInterval(adaptive) == 0) return;
    SDL_GL_SetSwapInterval(vsync ? 1 : 0);
}

void halvorin::release_software_renderer() {
    if (!renderer_is_live) return;
    SDL_DestroyTexture(texture());
    SDL_DestroyRenderer(renderer());
    renderer_is_live = false;
}

void halvorin::release_opengl_context() {
    if (!context_is_live) return;
    SDL_GL_DeleteContext(opengl_context);
    if (library_is_held) SDL_GL_UnloadLibrary();
    context_is_live = false;
}

void display_set_vsync(b8 on) {
    const bool vsync = is_true(on);
    if (is_software_rendering != 0) {
        init_sdl_renderer(sdl_texture_width, sdl_texture_height, vsync);
        return;
    }
    init_opengl_renderer();
    set_swap_interval(vsync);
}

void display_set_software_graphics(b8 on) {
    const bool software = is_true(on);
    if (software) {
        if (sdl_texture_width == 0 && sdl_texture_height == 0) {
            SDL_GetWindowSize(live_window(), &sdl_texture_width, &sdl_texture_height);
        }
        init_sdl_renderer(sdl_texture_width, sdl_texture_height, sdl_vsync != 0);
    } else {
        init_opengl_renderer();
    }
    is_software_rendering = software;
}

void display_set_content(i32 width, i32 height, const void* pixels) {
    if (!renderer_is_live || sdl_texture == nullptr || sdl_renderer == nullptr) return;
    const SDL_Rect image = {0, 0, width, height};
    const auto pitch = static_cast<i32>(4u * static_cast<u32>(width));
    SDL_UpdateTexture(texture(), &image, pixels, pitch);
    SDL_RenderClear(renderer());
    SDL_RenderCopy(renderer(), texture(), nullptr, nullptr);
    SDL_RenderPresent(renderer());
}
