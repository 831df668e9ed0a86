// SPDX-License-Identifier: Zlib
// A host that runs for days: window, graphics, controllers, clipboard. What SDL2 and the OpenGL
// driver keep for themselves is measured beside it, by the same work done with them alone.

#include "api/system.h"
#include "support/common.h"
#include "support/endurance.h"

#include <SDL.h>
#include <glad/gl.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

using endurance::length;
using endurance::work;

namespace {

constexpr u32 one = 0x3F800000;
constexpr int side = 64;
u32 image[side * side];

void expect_as_flat(const char* name, length length, const work& job, const work& bare) {
    const endurance::outcome ours = endurance::outcome_of(job, length.rounds());
    const endurance::outcome theirs = endurance::outcome_of(bare, length.rounds());
    endurance::print(name, ours.rounds, ours.seconds, ours.before, ours.after);
    endurance::print("    with SDL2 and OpenGL alone", theirs.rounds, theirs.seconds, theirs.before,
                     theirs.after);
    EXPECT_TRUE(endurance::is_flat(ours.before, ours.after,
                                   endurance::growth(theirs.before, theirs.after)));
}

void start() {
    system_init(SYSTEM_INIT_VIDEO | SYSTEM_INIT_EVENTS | SYSTEM_INIT_JOYSTICK);
}

void start_bare() {
    SDL_Init(SDL_INIT_VIDEO | SDL_INIT_EVENTS | SDL_INIT_JOYSTICK);
    SDL_SetHint(SDL_HINT_RENDER_DRIVER, "software");
    SDL_SetHint(SDL_HINT_FRAMEBUFFER_ACCELERATION, "0");
}

void poll_bare() {
    SDL_Event event;
    while (SDL_PollEvent(&event) != 0) {
        if (event.type == SDL_DROPFILE || event.type == SDL_DROPTEXT) SDL_free(event.drop.file);
    }
}

// A display of each kind: open, a frame, close.

void hardware_display(i64 number) {
    ASSERT_EQ(display_open(side, side, slice("hardware"), 0, 0), 1);
    input_poll();
    pipeline_clear_color(static_cast<u32>(number % 2) * one, 0, one, one);
    pipeline_clear(BUFFER_MASK_COLOR);
    u32 pixel = 0;
    pipeline_read_pixels(1, 1, 1, 1, PIXEL_FORMAT_RGBA, DATA_TYPE_UNSIGNED_BYTE, &pixel);
    ASSERT_EQ(pixel, number % 2 == 0 ? 0xFFFF0000 : 0xFFFF00FF);
    pipeline_present();
    display_close();
}

void software_display(i64) {
    ASSERT_EQ(display_open(side, side, slice("software"), DISPLAY_SOFTWARE, 0), 1);
    input_poll();
    display_set_content(side, side, image);
    display_close();
}

SDL_GLContext bare_context = nullptr;

SDL_Window* open_bare_hardware() {
    SDL_GL_SetAttribute(SDL_GL_STENCIL_SIZE, 8);
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_MAJOR_VERSION, 3);
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_MINOR_VERSION, 3);
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_PROFILE_MASK, SDL_GL_CONTEXT_PROFILE_CORE);
    SDL_Window* const window = SDL_CreateWindow("bare", 0, 0, side, side, SDL_WINDOW_OPENGL);
    if (bare_context == nullptr) {
        bare_context = SDL_GL_CreateContext(window);
        SDL_GL_LoadLibrary(nullptr);
        gladLoadGL(reinterpret_cast<GLADloadfunc>(SDL_GL_GetProcAddress));
    } else {
        SDL_GL_MakeCurrent(window, bare_context);
    }
    SDL_GL_SetSwapInterval(0);
    return window;
}

void bare_hardware_display(i64) {
    SDL_Window* const window = open_bare_hardware();
    poll_bare();
    glClear(GL_COLOR_BUFFER_BIT);
    u32 pixel = 0;
    glReadPixels(1, 1, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, &pixel);
    SDL_GL_SwapWindow(window);
    SDL_DestroyWindow(window);
}

void bare_software_display(i64) {
    SDL_Window* const window = SDL_CreateWindow("bare", 0, 0, side, side, 0);
    SDL_Renderer* const renderer = SDL_CreateRenderer(window, -1, 0);
    SDL_Texture* const texture = SDL_CreateTexture(renderer, SDL_PIXELFORMAT_ABGR8888,
                                                   SDL_TEXTUREACCESS_STREAMING, side, side);
    poll_bare();
    SDL_UpdateTexture(texture, nullptr, image, 4 * side);
    SDL_RenderClear(renderer);
    SDL_RenderCopy(renderer, texture, nullptr, nullptr);
    SDL_RenderPresent(renderer);
    SDL_DestroyTexture(texture);
    SDL_DestroyRenderer(renderer);
    SDL_DestroyWindow(window);
}

} // namespace

TEST(EnduranceDisplay, HardwareDisplays) {
    expect_as_flat("hardware displays", {1000, 200}, {start, hardware_display},
                   {start_bare, bare_hardware_display});
}

TEST(EnduranceDisplay, SoftwareDisplays) {
    expect_as_flat("software displays", {1000, 200}, {start, software_display},
                   {start_bare, bare_software_display});
}

TEST(EnduranceDisplay, DisplaysOfEachKindInTurn) {
    const auto hardware_first = [](i64 number) {
        number % 2 == 0 ? hardware_display(number) : software_display(number);
    };
    const auto software_first = [](i64 number) {
        number % 2 != 0 ? hardware_display(number) : software_display(number);
    };
    const auto bare = [](i64 number) {
        number % 2 == 0 ? bare_hardware_display(number) : bare_software_display(number);
    };
    expect_as_flat("displays, hardware first", {1000, 200}, {start, hardware_first},
                   {start_bare, bare});
    expect_as_flat("displays, software first", {1000, 200}, {start, software_first},
                   {start_bare, bare});
}

TEST(EnduranceDisplay, SwitchesBetweenTheTwoKindsOfGraphics) {
    expect_as_flat("switches of graphics", {1000, 200},
                   {[] {
                        start();
                        display_open(side, side, slice("switched"), 0, 0);
                    },
                    [](i64) {
                        display_set_software_graphics(1);
                        display_set_content(side, side, image);
                        display_set_vsync(1);
                        display_set_vsync(0);
                        display_set_content(side, side, image);
                        display_set_software_graphics(0);
                        pipeline_clear(BUFFER_MASK_COLOR);
                        pipeline_present();
                        input_poll();
                    }},
                   {[] {
                        start_bare();
                        open_bare_hardware();
                    },
                    [](i64) {
                        SDL_Window* const window = SDL_GL_GetCurrentWindow();
                        for (int i = 0; i < 3; ++i) {
                            SDL_Renderer* const renderer = SDL_CreateRenderer(window, -1, 0);
                            SDL_RenderClear(renderer);
                            SDL_RenderPresent(renderer);
                            SDL_DestroyRenderer(renderer);
                        }
                        SDL_GL_MakeCurrent(window, bare_context);
                        glClear(GL_COLOR_BUFFER_BIT);
                        SDL_GL_SwapWindow(window);
                        poll_bare();
                    }});
}

TEST(EnduranceDisplay, LivesOfTheWholeSystem) {
    expect_as_flat("starts and stops of the system", {500, 10},
                   {[] {},
                    [](i64 number) {
                        start();
                        number % 2 == 0 ? hardware_display(number) : software_display(number);
                        if (number % 3 == 0) display_open(side, side, slice("left"), 0, 0);
                        system_release();
                        display_close();
                    }},
                   {[] {},
                    [](i64 number) {
                        start_bare();
                        number % 2 == 0 ? bare_hardware_display(number)
                                        : bare_software_display(number);
                        if (number % 3 == 0) open_bare_hardware();
                        if (bare_context != nullptr) {
                            SDL_GL_DeleteContext(bare_context);
                            SDL_GL_UnloadLibrary();
                            bare_context = nullptr;
                        }
                        SDL_Quit();
                    }});
}

namespace {

constexpr char vertex_text[] = "#version 330 core\nin vec2 place;\nuniform mat4 view;\n"
                               "void main() { gl_Position = view * vec4(place, 0.0, 1.0); }\n";
constexpr char fragment_text[] = "#version 330 core\nuniform vec4 colour;\nout vec4 result;\n"
                                 "void main() { result = colour; }\n";
constexpr char broken_text[] = "#version 330 core\nvoid main() { nothing = 1; }\n";

void round_of_objects(i64) {
    static const std::string text =
        std::string("#vertex \n") + vertex_text + "#fragment \n" + fragment_text;
    static const std::string wrong =
        std::string("#vertex \n") + vertex_text + "#fragment \n" + broken_text;
    char log[256];
    ShaderResult result = {};
    const u32 broken = shader_create();
    shader_source(&result, broken, slice(wrong.c_str()), {log, sizeof log});
    ASSERT_EQ(result.success, 0);
    shader_destroy(broken);
    const u32 shader = shader_create();
    shader_source(&result, shader, slice(text.c_str()), {nullptr, 0});
    ASSERT_EQ(result.success, 1);
    const u32 vertices = vertex_array_create();
    vertex_array_bind(vertices);
    const u32 buffer = buffer_create();
    buffer_bind(BUFFER_TARGET_ARRAY, buffer);
    buffer_data(BUFFER_TARGET_ARRAY, sizeof image, image, BUFFER_USAGE_STATIC_DRAW);
    attribute_enable(0, 1);
    attribute_format(0, 2, DATA_TYPE_FLOAT, 0, 0, 0);
    const u32 texture = texture_create();
    texture_bind(TEXTURE_TARGET_2D, texture);
    texture_image_2d(TEXTURE_TARGET_2D, 0, INTERNAL_FORMAT_RGBA8, side, side, PIXEL_FORMAT_RGBA,
                     DATA_TYPE_UNSIGNED_BYTE, image);
    texture_generate_mipmap(TEXTURE_TARGET_2D);
    const u32 depth = render_buffer_create();
    render_buffer_bind(depth);
    render_buffer_storage(INTERNAL_FORMAT_DEPTH_COMPONENT24, side, side);
    const u32 frame = frame_buffer_create();
    frame_buffer_bind(FRAME_BUFFER_TARGET_BOTH, frame);
    frame_buffer_texture(FRAME_BUFFER_TARGET_BOTH, FRAME_BUFFER_ATTACHMENT_COLOR, 0, texture, 0);
    frame_buffer_render_buffer(FRAME_BUFFER_TARGET_BOTH, FRAME_BUFFER_ATTACHMENT_DEPTH, 0, depth);
    ASSERT_EQ(frame_buffer_get_status(FRAME_BUFFER_TARGET_BOTH), FRAME_BUFFER_STATUS_COMPLETE);
    shader_bind(shader);
    shader_uniform4f(shader_get_uniform_location(shader, slice("colour")), one, 0, one, one);
    draw_arrays(4, 0, 3, 1);
    pipeline_finish();
    shader_unbind();
    frame_buffer_unbind(FRAME_BUFFER_TARGET_BOTH);
    frame_buffer_destroy(frame);
    render_buffer_destroy(depth);
    texture_destroy(texture);
    buffer_destroy(buffer);
    vertex_array_destroy(vertices);
    shader_destroy(shader);
    ASSERT_EQ(pipeline_get_error(), 0u);
    pipeline_present();
    input_poll();
}

GLuint bare_stage(GLuint program, GLenum kind, const char* text) {
    const GLuint stage = glCreateShader(kind);
    glShaderSource(stage, 1, &text, nullptr);
    glCompileShader(stage);
    char log[256];
    glGetShaderInfoLog(stage, sizeof log, nullptr, log);
    glAttachShader(program, stage);
    return stage;
}

GLuint bare_shader(const char* fragment) {
    const GLuint program = glCreateProgram();
    const GLuint stages[] = {bare_stage(program, GL_VERTEX_SHADER, vertex_text),
                             bare_stage(program, GL_FRAGMENT_SHADER, fragment)};
    if (fragment == fragment_text) glLinkProgram(program);
    for (const GLuint stage : stages) {
        glDetachShader(program, stage);
        glDeleteShader(stage);
    }
    return program;
}

void bare_round_of_objects(i64) {
    glDeleteProgram(bare_shader(broken_text));
    const GLuint shader = bare_shader(fragment_text);
    GLuint vertices = 0;
    GLuint buffer = 0;
    GLuint texture = 0;
    GLuint depth = 0;
    GLuint frame = 0;
    glGenVertexArrays(1, &vertices);
    glBindVertexArray(vertices);
    glGenBuffers(1, &buffer);
    glBindBuffer(GL_ARRAY_BUFFER, buffer);
    glBufferData(GL_ARRAY_BUFFER, sizeof image, image, GL_STATIC_DRAW);
    glEnableVertexAttribArray(0);
    glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, nullptr);
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, side, side, 0, GL_RGBA, GL_UNSIGNED_BYTE, image);
    glGenerateMipmap(GL_TEXTURE_2D);
    glGenRenderbuffers(1, &depth);
    glBindRenderbuffer(GL_RENDERBUFFER, depth);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH_COMPONENT24, side, side);
    glGenFramebuffers(1, &frame);
    glBindFramebuffer(GL_FRAMEBUFFER, frame);
    glFramebufferTexture(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, texture, 0);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, depth);
    glUseProgram(shader);
    glUniform4f(glGetUniformLocation(shader, "colour"), 1, 0, 1, 1);
    glDrawArrays(GL_TRIANGLES, 0, 3);
    glFinish();
    glUseProgram(0);
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    glDeleteFramebuffers(1, &frame);
    glDeleteRenderbuffers(1, &depth);
    glDeleteTextures(1, &texture);
    glDeleteBuffers(1, &buffer);
    glDeleteVertexArrays(1, &vertices);
    glDeleteProgram(shader);
    SDL_GL_SwapWindow(SDL_GL_GetCurrentWindow());
    poll_bare();
}

} // namespace

TEST(EnduranceDisplay, GraphicsObjects) {
    expect_as_flat("shaders and other objects", {5000, 100},
                   {[] {
                        start();
                        display_open(side, side, slice("objects"), 0, 0);
                    },
                    round_of_objects},
                   {[] {
                        start_bare();
                        open_bare_hardware();
                    },
                    bare_round_of_objects});
}

TEST(EnduranceDisplay, EventsOfAllKindsAndTheWindowsCalls) {
    const auto push = [] {
        SDL_Event event = {};
        for (u32 type = SDL_KEYDOWN; type <= SDL_MOUSEWHEEL; ++type) {
            event.type = type;
            if (type < SDL_TEXTEDITING || type > SDL_TEXTINPUT) SDL_PushEvent(&event);
        }
        for (u32 type : {SDL_DROPFILE, SDL_DROPTEXT}) {
            event = {};
            event.type = type;
            event.drop.file = SDL_strdup("/a/path/that/was/dropped");
            SDL_PushEvent(&event);
        }
    };
    static void (*const push_all)() = push;
    expect_as_flat(
        "events, and calls of the window", {20000, 500},
        {[] {
             start();
             display_open(side, side, slice("calls"), DISPLAY_SOFTWARE, 0);
         },
         [](i64 number) {
             push_all();
             input_poll();
             Slice dropped = {};
             display_file_dropped(&dropped);
             ASSERT_EQ(dropped.count, 24);
             display_set_title(slice(number % 2 == 0 ? "one title" : "a longer title"));
             display_set_icon(side, side, image);
             display_set_size(side + static_cast<i32>(number % 2), side);
             if (number % 50 == 0) display_set_fullscreen(number % 100 == 0);
             input_mouse_set_cursor(static_cast<cursor_kind>(number % 12));
             clipboard_set(slice("a text for the clipboard"));
             Slice text = {};
             clipboard_get(&text);
             ASSERT_EQ(text.count, 24);
             display_set_content(side, side, image);
         }},
        {[] {
             start_bare();
             SDL_Window* const window = SDL_CreateWindow("bare", 0, 0, side, side, 0);
             SDL_CreateRenderer(window, -1, 0);
         },
         [](i64 number) {
             push_all();
             poll_bare();
             SDL_Window* const window = SDL_GetWindowFromID(1);
             SDL_SetWindowTitle(window, number % 2 == 0 ? "one title" : "a longer title");
             SDL_Surface* const icon = SDL_CreateRGBSurfaceWithFormatFrom(
                 image, side, side, 32, 4 * side, SDL_PIXELFORMAT_ABGR8888);
             SDL_SetWindowIcon(window, icon);
             SDL_FreeSurface(icon);
             SDL_SetWindowSize(window, side + static_cast<int>(number % 2), side);
             if (number % 50 == 0) {
                 SDL_SetWindowFullscreen(
                     window, number % 100 == 0 ? u32{SDL_WINDOW_FULLSCREEN_DESKTOP} : 0u);
             }
             SDL_SetClipboardText("a text for the clipboard");
             SDL_free(SDL_GetClipboardText());
             SDL_RenderClear(SDL_GetRenderer(window));
             SDL_RenderPresent(SDL_GetRenderer(window));
         }});
}

TEST(EnduranceDisplay, ControllersComeAndGo) {
    expect_as_flat("controllers plugged and unplugged", {5000, 300},
                   {start,
                    [](i64) {
                        SDL_JoystickAttachVirtual(SDL_JOYSTICK_TYPE_GAMECONTROLLER, 2, 4, 1);
                        input_poll();
                        i32 index = -1;
                        ASSERT_EQ(controller_is_added(&index), 1);
                        void* const controller = controller_open(index);
                        ASSERT_NE(controller, nullptr);
                        Slice name = {};
                        controller_name(&name, controller);
                        ASSERT_GT(name.count, 0);
                        input_poll();
                        SDL_JoystickDetachVirtual(index);
                        input_poll();
                        void* gone = nullptr;
                        ASSERT_EQ(controller_is_removed(&gone), 1);
                        ASSERT_EQ(gone, controller);
                        controller_close(controller);
                    }},
                   {start_bare, [](i64) {
                        const int index =
                            SDL_JoystickAttachVirtual(SDL_JOYSTICK_TYPE_GAMECONTROLLER, 2, 4, 1);
                        poll_bare();
                        SDL_Joystick* const joystick = SDL_JoystickOpen(index);
                        poll_bare();
                        SDL_JoystickDetachVirtual(index);
                        poll_bare();
                        SDL_JoystickClose(joystick);
                    }});
}
