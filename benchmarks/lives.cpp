// SPDX-License-Identifier: Zlib
#include "lives.h"

#include <halvorin_system/system.h>

#include <SDL.h>
#include <glad/gl.h>

#include <cstring>
#include <ctime>
#include <string>

#include <dlfcn.h>

namespace {

constexpr int width = 640;
constexpr int height = 480;
constexpr int cursors = 12;
constexpr Uint32 sdl_parts = SDL_INIT_TIMER | SDL_INIT_AUDIO | SDL_INIT_VIDEO | SDL_INIT_EVENTS |
                             SDL_INIT_JOYSTICK | SDL_INIT_HAPTIC;

constexpr char vertex_text[] = "#version 330 core\n"
                               "in vec3 place;\nout vec2 at;\n"
                               "void main() { at = place.xy; gl_Position = vec4(place, 1.0); }\n";
constexpr char fragment_text[] = "#version 330 core\n"
                                 "in vec2 at;\nout vec4 color;\n"
                                 "void main() { color = vec4(at, 0.5, 1.0); }\n";

double time_of_all_threads() {
    timespec now;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// The processor time from step to step, of all threads.
class laps {
public:
    void lap() {
        const double now = time_of_all_threads();
        times.push_back(now - last);
        last = now;
    }
    std::vector<double> times;

private:
    double last = time_of_all_threads();
};

constexpr const char* our_names[] = {
    "system_init",         "system_release", "display_open",     "display_close",
    "display_set_content", "pipeline_clear", "pipeline_present", "pipeline_finish",
    "shader_create",       "shader_source",  "texture_create",   "texture_bind",
    "texture_image_2d",    "audio_open",     "audio_play",       "audio_close"};
constexpr const char* bare_names[] = {"SDL_Init",
                                      "SDL_Quit",
                                      "SDL_CreateWindow",
                                      "SDL_DestroyWindow",
                                      "SDL_GL_CreateContext",
                                      "SDL_GL_MakeCurrent",
                                      "SDL_GL_DeleteContext",
                                      "SDL_GL_SetAttribute",
                                      "SDL_GL_LoadLibrary",
                                      "SDL_GL_UnloadLibrary",
                                      "SDL_GL_SwapWindow",
                                      "SDL_GL_SetSwapInterval",
                                      "SDL_GL_GetProcAddress",
                                      "SDL_CreateSystemCursor",
                                      "SDL_FreeCursor",
                                      "SDL_SetHint",
                                      "SDL_CreateRenderer",
                                      "SDL_DestroyRenderer",
                                      "SDL_CreateTexture",
                                      "SDL_DestroyTexture",
                                      "SDL_UpdateTexture",
                                      "SDL_RenderClear",
                                      "SDL_RenderCopy",
                                      "SDL_RenderPresent",
                                      "SDL_OpenAudioDevice",
                                      "SDL_PauseAudioDevice",
                                      "SDL_CloseAudioDevice"};

void silence(void*, u8* samples, int size) {
    std::memset(samples, 0, static_cast<size_t>(size));
}

template <class Function> Function* found(void* library, const char* name) {
    return reinterpret_cast<Function*>(dlsym(library, name));
}
// Calls by name. After look_up the search takes next to nothing.
#define CALL(name) found<decltype(::name)>(library, #name)

// A host looks up all that it will call when it loads the library.
template <size_t count> void look_up(void* library, const char* const (&names)[count]) {
    for (const char* const name : names) {
        dlsym(library, name);
    }
}

void show_our_frame(void* library) {
    CALL(pipeline_clear)(BUFFER_MASK_COLOR | BUFFER_MASK_DEPTH);
    CALL(pipeline_present)();
    CALL(pipeline_finish)();
}

bool make_our_shader(void* library) {
    std::string text = std::string("#vertex\n") + vertex_text + "#fragment\n" + fragment_text;
    ShaderResult result = {};
    CALL(shader_source)
    (&result, CALL(shader_create)(), {text.data(), static_cast<i64>(text.size())}, {nullptr, 0});
    return result.success != 0;
}

void make_our_texture(void* library, const std::vector<u32>& pixels) {
    CALL(texture_bind)(TEXTURE_TARGET_2D, CALL(texture_create)());
    CALL(texture_image_2d)
    (TEXTURE_TARGET_2D, 0, INTERNAL_FORMAT_RGBA8, width, height, PIXEL_FORMAT_RGBA,
     DATA_TYPE_UNSIGNED_BYTE, pixels.data());
    CALL(pipeline_finish)();
}

bool open_our_window(void* library, display_flags flags) {
    char title[] = "life";
    return CALL(display_open)(width, height, {title, 4}, flags, 0) != 0;
}

#define GL_CALL(type, name)                                                                        \
    reinterpret_cast<type>(                                                                        \
        found<decltype(::SDL_GL_GetProcAddress)>(library, "SDL_GL_GetProcAddress")("gl" #name))

void show_bare_frame(void* library, SDL_Window* window) {
    GL_CALL(PFNGLCLEARPROC, Clear)(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    CALL(SDL_GL_SwapWindow)(window);
    GL_CALL(PFNGLFINISHPROC, Finish)();
}

GLuint bare_stage(void* library, GLenum kind, const char* text) {
    const GLuint shader = GL_CALL(PFNGLCREATESHADERPROC, CreateShader)(kind);
    GL_CALL(PFNGLSHADERSOURCEPROC, ShaderSource)(shader, 1, &text, nullptr);
    GL_CALL(PFNGLCOMPILESHADERPROC, CompileShader)(shader);
    return shader;
}

bool make_bare_shader(void* library) {
    const GLuint program = GL_CALL(PFNGLCREATEPROGRAMPROC, CreateProgram)();
    const auto attach = GL_CALL(PFNGLATTACHSHADERPROC, AttachShader);
    attach(program, bare_stage(library, GL_VERTEX_SHADER, vertex_text));
    attach(program, bare_stage(library, GL_FRAGMENT_SHADER, fragment_text));
    GL_CALL(PFNGLLINKPROGRAMPROC, LinkProgram)(program);
    GLint linked = 0;
    GL_CALL(PFNGLGETPROGRAMIVPROC, GetProgramiv)(program, GL_LINK_STATUS, &linked);
    return linked != 0;
}

void make_bare_texture(void* library, const std::vector<u32>& pixels) {
    GLuint texture = 0;
    GL_CALL(PFNGLGENTEXTURESPROC, GenTextures)(1, &texture);
    GL_CALL(PFNGLBINDTEXTUREPROC, BindTexture)(GL_TEXTURE_2D, texture);
    GL_CALL(PFNGLTEXIMAGE2DPROC, TexImage2D)
    (GL_TEXTURE_2D, 0, GL_RGBA8, width, height, 0, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
    GL_CALL(PFNGLFINISHPROC, Finish)();
}

SDL_Window* open_bare_window(void* library, Uint32 flags) {
    return CALL(SDL_CreateWindow)("life", SDL_WINDOWPOS_UNDEFINED, SDL_WINDOWPOS_UNDEFINED, width,
                                  height, flags);
}

SDL_AudioDeviceID open_bare_sound(void* library) {
    SDL_AudioSpec spec = {};
    spec.format = AUDIO_S16;
    spec.channels = 2;
    spec.freq = 44100;
    spec.samples = 1024;
    spec.callback = silence;
    return CALL(SDL_OpenAudioDevice)(nullptr, 0, &spec, nullptr, 0);
}

void ask_for_opengl(void* library) {
    const auto set = CALL(SDL_GL_SetAttribute);
    set(SDL_GL_STENCIL_SIZE, 8);
    set(SDL_GL_CONTEXT_MAJOR_VERSION, 3);
    set(SDL_GL_CONTEXT_MINOR_VERSION, 3);
    set(SDL_GL_CONTEXT_PROFILE_MASK, SDL_GL_CONTEXT_PROFILE_CORE);
}

} // namespace

std::vector<double> our_life() {
    const std::vector<u32> pixels(width * height, 0xFF8040C0);
    laps clock;
    void* const library = dlopen(SYSTEM_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) return {};
    look_up(library, our_names);
    clock.lap();
    CALL(system_init)
    (SYSTEM_INIT_TIMER | SYSTEM_INIT_AUDIO | SYSTEM_INIT_VIDEO | SYSTEM_INIT_EVENTS |
     SYSTEM_INIT_JOYSTICK | SYSTEM_INIT_HAPTIC);
    clock.lap();
    if (!open_our_window(library, 0)) return {};
    clock.lap();
    show_our_frame(library);
    clock.lap();
    if (!make_our_shader(library)) return {};
    clock.lap();
    make_our_texture(library, pixels);
    clock.lap();
    show_our_frame(library);
    clock.lap();
    CALL(display_close)();
    if (!open_our_window(library, 0)) return {};
    show_our_frame(library);
    clock.lap();
    if (!CALL(audio_open)(SAMPLE_FORMAT_S16, 2, 44100, 1024, silence, nullptr)) return {};
    CALL(audio_play)();
    clock.lap();
    CALL(audio_close)();
    CALL(display_close)();
    clock.lap();
    if (!open_our_window(library, DISPLAY_SOFTWARE)) return {};
    CALL(display_set_content)(width, height, pixels.data());
    clock.lap();
    CALL(system_release)();
    clock.lap();
    return clock.times;
}

// The window is closed and opened with its context kept, as the library does it: OpenGL is loaded
// once more, so that it isn't unloaded with the window.
std::vector<double> bare_life() {
    const std::vector<u32> pixels(width * height, 0xFF8040C0);
    laps clock;
    void* const library = dlopen("libSDL2-2.0.so.0", RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) return {};
    look_up(library, bare_names);
    clock.lap();
    CALL(SDL_Init)(sdl_parts);
    SDL_Cursor* shapes[cursors];
    for (int i = 0; i < cursors; ++i) {
        shapes[i] = CALL(SDL_CreateSystemCursor)(static_cast<SDL_SystemCursor>(i));
    }
    clock.lap();
    ask_for_opengl(library);
    SDL_Window* window = open_bare_window(library, SDL_WINDOW_OPENGL);
    const SDL_GLContext context = CALL(SDL_GL_CreateContext)(window);
    if (context == nullptr) return {};
    CALL(SDL_GL_LoadLibrary)(nullptr);
    CALL(SDL_GL_SetSwapInterval)(0);
    clock.lap();
    show_bare_frame(library, window);
    clock.lap();
    if (!make_bare_shader(library)) return {};
    clock.lap();
    make_bare_texture(library, pixels);
    clock.lap();
    show_bare_frame(library, window);
    clock.lap();
    CALL(SDL_DestroyWindow)(window);
    window = open_bare_window(library, SDL_WINDOW_OPENGL);
    CALL(SDL_GL_MakeCurrent)(window, context);
    CALL(SDL_GL_SetSwapInterval)(0);
    show_bare_frame(library, window);
    clock.lap();
    const SDL_AudioDeviceID sound = open_bare_sound(library);
    if (sound == 0) return {};
    CALL(SDL_PauseAudioDevice)(sound, 0);
    clock.lap();
    CALL(SDL_CloseAudioDevice)(sound);
    CALL(SDL_DestroyWindow)(window);
    clock.lap();
    window = open_bare_window(library, 0);
    CALL(SDL_SetHint)(SDL_HINT_FRAMEBUFFER_ACCELERATION, "0");
    SDL_Renderer* const renderer =
        CALL(SDL_CreateRenderer)(window, -1, Uint32{SDL_RENDERER_SOFTWARE});
    SDL_Texture* const texture = CALL(SDL_CreateTexture)(
        renderer, SDL_PIXELFORMAT_ABGR8888, SDL_TEXTUREACCESS_STREAMING, width, height);
    CALL(SDL_UpdateTexture)(texture, nullptr, pixels.data(), width * 4);
    CALL(SDL_RenderClear)(renderer);
    CALL(SDL_RenderCopy)(renderer, texture, nullptr, nullptr);
    CALL(SDL_RenderPresent)(renderer);
    clock.lap();
    CALL(SDL_DestroyTexture)(texture);
    CALL(SDL_DestroyRenderer)(renderer);
    CALL(SDL_GL_DeleteContext)(context);
    CALL(SDL_GL_UnloadLibrary)();
    CALL(SDL_DestroyWindow)(window);
    for (SDL_Cursor* shape : shapes) {
        CALL(SDL_FreeCursor)(shape);
    }
    CALL(SDL_Quit)();
    clock.lap();
    return clock.times;
}
