// SPDX-License-Identifier: Zlib
#pragma once

#include "api/system.h"
#include "support/common.h"

#include <SDL.h>
#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <string>
#include <vector>

// Frames of either way of presenting, drawn by the library and read back.

inline constexpr u32 gl_cube_map_seamless = 0x884F;

inline SDL_Window* window() {
    return static_cast<SDL_Window*>(sdl_window);
}

inline u32 window_flags() {
    return SDL_GetWindowFlags(window());
}

inline int gl_attribute(SDL_GLattr attribute) {
    int value = -1;
    return SDL_GL_GetAttribute(attribute, &value) == 0 ? value : -1;
}

inline bool gl_is_enabled(u32 capability) {
    using IsEnabled = unsigned char (*)(u32);
    const auto is_enabled = reinterpret_cast<IsEnabled>(SDL_GL_GetProcAddress("glIsEnabled"));
    return is_enabled(capability) != 0;
}

// Another opaque colour each time: 0xAABBGGRR, the order of bytes in memory.
inline u32 new_colour() {
    static u32 colour = 0;
    colour = colour * 1664525u + 1013904223u;
    return (colour >> 8) | 0xFF000000u;
}

inline u32 hardware_pixel() {
    u32 pixel = 0;
    pipeline_read_pixels(3, 3, 1, 1, PIXEL_FORMAT_RGBA, DATA_TYPE_UNSIGNED_BYTE, &pixel);
    return pixel;
}

inline void draw_hardware(u32 colour) {
    const auto part = [&](int shift) {
        return std::bit_cast<u32>(static_cast<float>((colour >> shift) & 0xFF) / 255.0f);
    };
    pipeline_clear_color(part(0), part(8), part(16), part(24));
    pipeline_clear(BUFFER_MASK_COLOR);
}

inline void expect_hardware_frame() {
    const u32 colour = new_colour();
    while (pipeline_get_error() != 0) {
    }
    draw_hardware(colour);
    EXPECT_EQ(hardware_pixel(), colour);
    pipeline_present();
    EXPECT_EQ(pipeline_get_error(), 0u);
    EXPECT_TRUE(gl_is_enabled(gl_cube_map_seamless));
}

inline u32 software_pixel(int x, int y) {
    u32 pixel = 0;
    const SDL_Rect place = {x, y, 1, 1};
    SDL_RenderReadPixels(static_cast<SDL_Renderer*>(sdl_renderer), &place, SDL_PIXELFORMAT_ABGR8888,
                         &pixel, 4);
    return pixel;
}

inline u32 surface_pixel(int x, int y) {
    const SDL_Surface* surface = SDL_GetWindowSurface(window());
    if (surface == nullptr) return 0;
    const u8* row = static_cast<const u8*>(surface->pixels) + y * surface->pitch;
    u8 red = 0;
    u8 green = 0;
    u8 blue = 0;
    u32 pixel = 0;
    std::memcpy(&pixel, row + x * surface->format->BytesPerPixel, surface->format->BytesPerPixel);
    SDL_GetRGB(pixel, surface->format, &red, &green, &blue);
    return 0xFF000000u | u32{blue} << 16 | u32{green} << 8 | red;
}

inline void show_software(int width, int height, u32 colour) {
    const std::vector<u32> image(static_cast<std::size_t>(width * height), colour);
    display_set_content(width, height, image.data());
}

inline void expect_software_frame() {
    const u32 colour = new_colour();
    show_software(sdl_texture_width, sdl_texture_height, colour);
    EXPECT_EQ(software_pixel(1, 1), colour);
    EXPECT_EQ(surface_pixel(1, 1), colour) << "shown in the window";
}
