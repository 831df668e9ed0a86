// SPDX-License-Identifier: Zlib
#include "api/system.h"
#include "support/heap_owners.h"

#include <SDL.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

// What a host does in every frame takes nothing from the heap, in the ten-thousandth frame as in
// the first.

namespace {

Slice slice(const char* text) {
    return {const_cast<char*>(text), static_cast<i64>(std::strlen(text))};
}

class FramePathTest : public testing::Test {
protected:
    void SetUp() override {
        system_init(SYSTEM_INIT_VIDEO | SYSTEM_INIT_EVENTS);
    }

    void TearDown() override {
        display_close();
        system_release();
    }

    // Calls that are on the library's account, and not on that of SDL2 or the graphics driver.
    template <class Frame> void count(const Frame& frame) {
        const heap_calls::account a = heap_calls::account_of(frame);
        taken += a[heap_calls::library] + a[heap_calls::system];
    }

    int taken = 0;
};

void push_events(u32 frame) {
    SDL_Event event = {};
    event.type = frame % 2 == 0 ? SDL_KEYDOWN : SDL_KEYUP;
    event.key.keysym.scancode = static_cast<SDL_Scancode>(frame / 2 % 285);
    SDL_PushEvent(&event);
    event = {};
    event.type = SDL_MOUSEMOTION;
    SDL_PushEvent(&event);
    event.type = frame % 2 == 0 ? SDL_MOUSEBUTTONDOWN : SDL_MOUSEBUTTONUP;
    event.button.button = SDL_BUTTON_LEFT;
    SDL_PushEvent(&event);
    event = {};
    event.type = SDL_WINDOWEVENT;
    event.window.windowID = sdl_window_id;
    event.window.event = static_cast<u8>(frame % 20);
    SDL_PushEvent(&event);
}

void poll_and_ask() {
    i32 x = 0;
    i32 y = 0;
    Slice bytes = {};
    DisplayInfo info = {};
    input_poll();
    input_key_held_state(&bytes);
    input_mouse_pressed_state(&bytes);
    input_mouse_moved(&x, &y);
    input_mouse_position(&x, &y);
    input_mouse_global_position(&x, &y);
    display_is_resized(&x, &y);
    display_file_dropped(&bytes);
    display_get_info(&info);
    system_ticks();
    system_performance_counter();
    to_wide_cstr(slice("a text for the system"));
    if (input_key_is_held(KEY_ANY) + input_mouse_wheel() + input_key_modifiers() +
            display_is_closed() + display_is_focus_lost() ==
        -1) {
        std::abort();
    }
}

constexpr u32 one = 0x3F800000;
constexpr float corners[] = {-1, -1, 3, -1, -1, 3};

void hardware_frame(u32 frame, u32 shader, u32 texture) {
    constexpr u32 triangles = 4;
    static float view[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    static i32 outputs[] = {0};
    poll_and_ask();
    pipeline_viewport(0, 0, 32, 32);
    pipeline_depth_enable(frame % 2 == 0);
    pipeline_blend_enable(1);
    pipeline_blend_factor(BLEND_FACTOR_ONE, BLEND_FACTOR_ZERO);
    pipeline_clear_color(0, 0, 0, one);
    pipeline_clear(BUFFER_MASK_COLOR | BUFFER_MASK_DEPTH);
    texture_unit(0);
    texture_bind(TEXTURE_TARGET_2D, texture);
    buffer_sub_data(BUFFER_TARGET_ARRAY, 0, sizeof(corners), corners);
    shader_bind(shader);
    shader_uniform4f(shader_get_uniform_location(shader, slice("colour")), one, 0, one, one);
    shader_uniform_matrix4fa(shader_get_uniform_location(shader, slice("view")), 1, 0, {view, 16});
    draw_arrays(triangles, 0, 3, 1);
    draw_elements(triangles, DATA_TYPE_UNSIGNED_BYTE, 0, 3, 0, 2);
    pipeline_draw_buffers({outputs, 1});
    pipeline_get_error();
}

void software_frame(u32* image) {
    poll_and_ask();
    display_set_content(32, 32, image);
    display_set_title(slice("a title of the frame"));
}

} // namespace

TEST_F(FramePathTest, TenThousandHardwareFramesTakeNothingFromTheHeap) {
    ASSERT_EQ(display_open(32, 32, slice("frames"), 0, 0), 1);
    const u32 shader = shader_create();
    ShaderResult result = {};
    shader_source(&result, shader,
                  slice("#vertex \n#version 330 core\nin vec2 place;\nuniform mat4 view;\n"
                        "void main() { gl_Position = view * vec4(place, 0.0, 1.0); }\n"
                        "#fragment \n#version 330 core\nuniform vec4 colour;\nout vec4 result;\n"
                        "void main() { result = colour; }\n"),
                  {nullptr, 0});
    ASSERT_EQ(result.success, 1);
    vertex_array_bind(vertex_array_create());
    buffer_bind(BUFFER_TARGET_ARRAY, buffer_create());
    buffer_data(BUFFER_TARGET_ARRAY, sizeof(corners), corners, BUFFER_USAGE_DYNAMIC_DRAW);
    buffer_bind(BUFFER_TARGET_ELEMENT_ARRAY, buffer_create());
    const u8 order[] = {0, 1, 2};
    buffer_data(BUFFER_TARGET_ELEMENT_ARRAY, sizeof(order), order, BUFFER_USAGE_STATIC_DRAW);
    shader_bind(shader);
    attribute_enable(0, 1);
    attribute_format(0, 2, DATA_TYPE_FLOAT, 0, 0, 0);
    const u32 texture = texture_create();
    u32 pixel = 0;
    long polled = 0;
    for (u32 frame = 0; frame < 10000; frame++) {
        push_events(frame);
        count([&] { hardware_frame(frame, shader, texture); });
        polled += input_mouse_is_pressed(MOUSE_LEFT);
        if (frame % 1000 == 0) {
            pipeline_read_pixels(5, 5, 1, 1, PIXEL_FORMAT_RGBA, DATA_TYPE_UNSIGNED_BYTE, &pixel);
        }
        count(pipeline_present);
    }
    EXPECT_EQ(pixel, 0xFFFF00FFu) << "the frames were drawn";
    EXPECT_EQ(polled, 5000) << "the events arrived";
    EXPECT_EQ(taken, 0);
}

TEST_F(FramePathTest, TenThousandSoftwareFramesTakeNothingFromTheHeap) {
    ASSERT_EQ(display_open(32, 32, slice("frames"), DISPLAY_SOFTWARE, 0), 1);
    static u32 image[32 * 32];
    for (u32 frame = 0; frame < 10000; frame++) {
        push_events(frame);
        image[0] = 0xFF000000u | frame;
        count([&] { software_frame(image); });
    }
    u32 pixel = 0;
    const SDL_Rect corner = {0, 0, 1, 1};
    SDL_RenderReadPixels(static_cast<SDL_Renderer*>(sdl_renderer), &corner,
                         SDL_PIXELFORMAT_ABGR8888, &pixel, 4);
    EXPECT_EQ(pixel, 0xFF000000u | 9999);
    EXPECT_EQ(taken, 0);
}
