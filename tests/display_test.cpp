// SPDX-License-Identifier: Zlib
#include "api/system.h"

#include <SDL.h>
#include <gtest/gtest.h>

#include <dlfcn.h>
#include <malloc.h>

#include <bit>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <random>
#include <string>
#include <vector>

// The window and its two ways of presenting, on SDL2's offscreen driver with a real OpenGL context.

// The same exports as a host sees them that leaves rubbish above narrow arguments.
extern "C" {
u8 wide_display_open(i32 width, i32 height, Slice title, u32 flags,
                     i32 samples) __asm__("display_open");
void wide_set_visible(u32 on) __asm__("display_set_visible");
void wide_set_border(u32 on) __asm__("display_set_border");
void wide_set_grab(u32 on) __asm__("display_set_grab");
void wide_set_fullscreen(u32 on) __asm__("display_set_fullscreen");
void wide_set_vsync(u32 on) __asm__("display_set_vsync");
void wide_set_software_graphics(u32 on) __asm__("display_set_software_graphics");
}

// SDL2's functions that this program stands in for: the library's calls come here first.
namespace {

bool driver_takes_adaptive_sync = false;
bool driver_refuses_context = false;
std::vector<int> swap_intervals;
std::vector<u32> renderer_flags;
u32 asked_window_flags = 0;
std::vector<std::string> window_calls;
SDL_bool bordered = SDL_TRUE;

template <class Function> Function* next(Function*, const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" {

int SDL_ShowSimpleMessageBox(Uint32 flags, const char* title, const char* message,
                             SDL_Window* window) {
    std::fprintf(stderr, "box %u, %s, %s, %s", flags, title, message, window ? "window" : "none");
    return 0;
}

int SDL_GL_SetSwapInterval(int interval) {
    swap_intervals.push_back(interval);
    if (driver_takes_adaptive_sync && interval == -1) return 0;
    return next(&SDL_GL_SetSwapInterval, "SDL_GL_SetSwapInterval")(interval);
}

int SDL_GL_MakeCurrent(SDL_Window* window, SDL_GLContext context) {
    if (driver_refuses_context) return -1;
    return next(&SDL_GL_MakeCurrent, "SDL_GL_MakeCurrent")(window, context);
}

SDL_Window* SDL_CreateWindow(const char* title, int x, int y, int width, int height, Uint32 flags) {
    asked_window_flags = flags;
    return next(&SDL_CreateWindow, "SDL_CreateWindow")(title, x, y, width, height, flags);
}

SDL_Renderer* SDL_CreateRenderer(SDL_Window* window, int index, Uint32 flags) {
    renderer_flags.push_back(flags);
    return next(&SDL_CreateRenderer, "SDL_CreateRenderer")(window, index, flags);
}

// The offscreen driver has no borders, and can't change a window's size by itself.
void SDL_SetWindowBordered(SDL_Window* window, SDL_bool on) {
    if (window == sdl_window) bordered = on;
}

void SDL_MaximizeWindow(SDL_Window* window) {
    window_calls.push_back(window == sdl_window ? "maximize" : "wrong window");
}

void SDL_MinimizeWindow(SDL_Window* window) {
    window_calls.push_back(window == sdl_window ? "minimize" : "wrong window");
}

void SDL_RestoreWindow(SDL_Window* window) {
    window_calls.push_back(window == sdl_window ? "restore" : "wrong window");
}
}

namespace {

constexpr u32 gl_cube_map_seamless = 0x884F;

Slice slice(const std::string& text) {
    return {const_cast<char*>(text.data()), static_cast<i64>(text.size())};
}

SDL_Window* window() {
    return static_cast<SDL_Window*>(sdl_window);
}

u32 window_flags() {
    return SDL_GetWindowFlags(window());
}

int gl_attribute(SDL_GLattr attribute) {
    int value = -1;
    return SDL_GL_GetAttribute(attribute, &value) == 0 ? value : -1;
}

bool gl_is_enabled(u32 capability) {
    using IsEnabled = unsigned char (*)(u32);
    const auto is_enabled = reinterpret_cast<IsEnabled>(SDL_GL_GetProcAddress("glIsEnabled"));
    return is_enabled(capability) != 0;
}

int gl_integer(u32 name) {
    int value = -1;
    reinterpret_cast<void (*)(u32, int*)>(SDL_GL_GetProcAddress("glGetIntegerv"))(name, &value);
    return value;
}

// Another opaque colour each time: 0xAABBGGRR, the order of bytes in memory.
u32 new_colour() {
    static u32 colour = 0;
    colour = colour * 1664525u + 1013904223u;
    return (colour >> 8) | 0xFF000000u;
}

u32 hardware_pixel() {
    u32 pixel = 0;
    pipeline_read_pixels(3, 3, 1, 1, PIXEL_FORMAT_RGBA, DATA_TYPE_UNSIGNED_BYTE, &pixel);
    return pixel;
}

void draw_hardware(u32 colour) {
    const auto part = [&](int shift) {
        return std::bit_cast<u32>(static_cast<float>((colour >> shift) & 0xFF) / 255.0f);
    };
    pipeline_clear_color(part(0), part(8), part(16), part(24));
    pipeline_clear(BUFFER_MASK_COLOR);
}

void expect_hardware_frame() {
    const u32 colour = new_colour();
    while (pipeline_get_error() != 0) {
    }
    draw_hardware(colour);
    EXPECT_EQ(hardware_pixel(), colour);
    pipeline_present();
    EXPECT_EQ(pipeline_get_error(), 0u);
    EXPECT_TRUE(gl_is_enabled(gl_cube_map_seamless));
}

u32 software_pixel(int x, int y) {
    u32 pixel = 0;
    const SDL_Rect place = {x, y, 1, 1};
    SDL_RenderReadPixels(static_cast<SDL_Renderer*>(sdl_renderer), &place, SDL_PIXELFORMAT_ABGR8888,
                         &pixel, 4);
    return pixel;
}

u32 surface_pixel(int x, int y) {
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

void show_software(int width, int height, u32 colour) {
    const std::vector<u32> image(static_cast<std::size_t>(width * height), colour);
    display_set_content(width, height, image.data());
}

void expect_software_frame() {
    const u32 colour = new_colour();
    show_software(sdl_texture_width, sdl_texture_height, colour);
    EXPECT_EQ(software_pixel(1, 1), colour);
    EXPECT_EQ(surface_pixel(1, 1), colour) << "shown in the window";
}

// What a host with no luck may call at any time, whatever has been started.
void call_everything_harmless() {
    u32 pixels[16] = {};
    i32 x = 0;
    i32 y = 0;
    Slice bytes = {};
    DisplayInfo info = {1, 2, 3};
    display_set_size(50, 40);
    display_set_title(slice("title"));
    display_set_icon(4, 4, pixels);
    display_set_icon(0, 0, pixels);
    display_set_icon(-1, 0x20000000, pixels);
    display_set_icon(4, 4, nullptr);
    display_set_content(4, 4, pixels);
    display_set_content(-4, 4, pixels);
    display_set_content(1, 1, nullptr);
    for (const u8 on : {u8{1}, u8{0}}) {
        display_set_visible(on);
        display_set_border(on);
        display_set_fullscreen(on);
        display_set_grab(on);
        input_mouse_set_visible(on);
        input_mouse_set_relative(on);
    }
    display_get_info(&info);
    input_poll();
    display_file_dropped(&bytes);
    display_is_resized(&x, &y);
    input_mouse_global_position(&x, &y);
    input_mouse_set_position(3, 4);
    input_mouse_set_global_position(3, 4);
    for (u32 cursor = 0; cursor < 256; cursor++) {
        input_mouse_set_cursor(static_cast<u8>(cursor));
    }
    input_mouse_is_haptic();
    input_key_modifiers();
}

class DisplayTest : public testing::Test {
protected:
    void SetUp() override {
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        // As in a fresh process, for a run of several tests in one.
        sdl_renderer = sdl_texture = opengl_context = nullptr;
        sdl_texture_width = sdl_texture_height = 0;
        is_software_rendering = sdl_vsync = opengl_initialized = fullscreen = 0;
        swap_intervals.clear();
        window_calls.clear();
        driver_takes_adaptive_sync = driver_refuses_context = false;
        system_init(SYSTEM_INIT_VIDEO | SYSTEM_INIT_EVENTS);
    }

    void TearDown() override {
        display_close();
        system_release();
    }

    static bool open(u16 flags, i32 samples = 0) {
        return display_open(64, 48, slice("display"), flags, samples) == 1;
    }
};

using DisplayDeathTest = DisplayTest;

} // namespace

TEST_F(DisplayTest, HardwareGraphicsIsAnOpenGl33CoreContextWithStencil) {
    const std::string title = "Fenster – окно 窓 🪟";
    ASSERT_EQ(display_open(64, 48, slice(title), 0, 0), 1);
    EXPECT_EQ(SDL_GetWindowTitle(window()), title);
    EXPECT_EQ(sdl_window_id, SDL_GetWindowID(window()));
    EXPECT_EQ(window_flags() & SDL_WINDOW_OPENGL, u32{SDL_WINDOW_OPENGL});
    EXPECT_EQ(opengl_initialized, 1);
    EXPECT_EQ(opengl_context, SDL_GL_GetCurrentContext());
    EXPECT_EQ(gl_attribute(SDL_GL_CONTEXT_MAJOR_VERSION), 3);
    EXPECT_EQ(gl_attribute(SDL_GL_CONTEXT_MINOR_VERSION), 3);
    EXPECT_EQ(gl_attribute(SDL_GL_CONTEXT_PROFILE_MASK), SDL_GL_CONTEXT_PROFILE_CORE);
    EXPECT_GE(gl_attribute(SDL_GL_STENCIL_SIZE), 8);
    constexpr u32 gl_context_profile_mask = 0x9126;
    EXPECT_EQ(gl_integer(gl_context_profile_mask), 1);
    expect_hardware_frame();
}

TEST_F(DisplayTest, ASecondOpenChangesNothing) {
    ASSERT_TRUE(open(DISPLAY_BORDERLESS));
    const u32 flags = window_flags();
    void* const first = sdl_window;
    const u16 all = DISPLAY_FULLSCREEN | DISPLAY_SOFTWARE | DISPLAY_VSYNC;
    EXPECT_EQ(display_open(10, 10, slice("other"), all, 4), 0);
    EXPECT_EQ(sdl_window, first);
    EXPECT_STREQ(SDL_GetWindowTitle(window()), "display");
    EXPECT_EQ(window_flags(), flags);
    EXPECT_EQ(fullscreen + is_software_rendering + sdl_vsync, 0);
    DisplayInfo info = {};
    display_get_info(&info);
    EXPECT_EQ(info.width, 64);
    display_close();
    ASSERT_TRUE(open(0)) << "with the samples of the refused call it would have four";
    EXPECT_EQ(gl_attribute(SDL_GL_MULTISAMPLEBUFFERS), 0);
}

TEST_F(DisplayTest, SamplesAboveOneAskForMultisamplingAndStay) {
    const struct {
        i32 asked, buffers, samples;
    } cases[] = {{-5, 0, 0}, {0, 0, 0}, {1, 0, 0}, {4, 1, 4}, {0, 1, 4}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.asked);
        ASSERT_TRUE(open(0, c.asked));
        EXPECT_EQ(gl_attribute(SDL_GL_MULTISAMPLEBUFFERS), c.buffers);
        EXPECT_EQ(gl_attribute(SDL_GL_MULTISAMPLESAMPLES), c.samples);
        display_close();
    }
}

TEST_F(DisplayTest, FlagsReachTheWindowAndTheLowSixteenBitsAloneCount) {
    const struct {
        u32 host, sdl;
    } cases[] = {
        {0, SDL_WINDOW_OPENGL},
        {DISPLAY_HIDDEN, SDL_WINDOW_OPENGL | SDL_WINDOW_HIDDEN},
        {DISPLAY_BORDERLESS, SDL_WINDOW_OPENGL | SDL_WINDOW_BORDERLESS},
        {DISPLAY_RESIZABLE, SDL_WINDOW_OPENGL | SDL_WINDOW_RESIZABLE},
        {DISPLAY_MINIMIZED, SDL_WINDOW_OPENGL | SDL_WINDOW_MINIMIZED},
        {DISPLAY_MAXIMIZED, SDL_WINDOW_OPENGL | SDL_WINDOW_MAXIMIZED},
        {DISPLAY_VSYNC, SDL_WINDOW_OPENGL},
        {DISPLAY_SOFTWARE, 0},
        {0xFF00, SDL_WINDOW_OPENGL},
        {DISPLAY_FULLSCREEN, SDL_WINDOW_OPENGL | SDL_WINDOW_FULLSCREEN_DESKTOP},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.host);
        EXPECT_EQ(fullscreen, 0);
        ASSERT_EQ(wide_display_open(64, 48, slice("flags"), c.host | 0x00FF0000u, 0), 1);
        EXPECT_EQ(asked_window_flags, c.sdl);
        display_close();
    }
    EXPECT_EQ(fullscreen, 1);
}

TEST_F(DisplayTest, OverLongTitlesAreRefusedWithNothingDone) {
    const std::string longest(16383, 't');
    const std::string over(16384, 't');
    EXPECT_EQ(display_open(64, 48, slice(over), DISPLAY_FULLSCREEN, 4), 0);
    EXPECT_EQ(sdl_window, nullptr);
    EXPECT_EQ(fullscreen, 0);
    ASSERT_EQ(display_open(64, 48, slice(longest), 0, 0), 1);
    EXPECT_EQ(gl_attribute(SDL_GL_MULTISAMPLEBUFFERS), 0);
    EXPECT_EQ(SDL_GetWindowTitle(window()), longest);
    display_set_title(slice("short"));
    display_set_title(slice(over));
    EXPECT_STREQ(SDL_GetWindowTitle(window()), "short");
    display_set_title(slice(std::string("ab\0cd", 5)));
    EXPECT_STREQ(SDL_GetWindowTitle(window()), "ab");
    display_set_title({nullptr, 0});
    EXPECT_STREQ(SDL_GetWindowTitle(window()), "");
}

TEST_F(DisplayTest, SoftwareGraphicsShowsImagesInAPlainWindow) {
    ASSERT_TRUE(open(DISPLAY_SOFTWARE | DISPLAY_VSYNC));
    EXPECT_EQ(window_flags() & SDL_WINDOW_OPENGL, 0u);
    EXPECT_EQ(is_software_rendering, 1);
    EXPECT_EQ(opengl_initialized + sdl_vsync, 0);
    EXPECT_EQ(sdl_texture_width * 1000 + sdl_texture_height, 64048);
    expect_software_frame();

    const u32 before = new_colour();
    const u32 after = new_colour();
    show_software(64, 48, before);
    show_software(10, 6, after);
    EXPECT_EQ(software_pixel(9, 5), after) << "the image's place is the top left corner";
    EXPECT_EQ(software_pixel(10, 5), before);
    EXPECT_EQ(software_pixel(9, 6), before);
    show_software(100, 100, after);
    EXPECT_EQ(software_pixel(63, 47), after) << "a larger image is cut";

    u32 halves[64 * 48] = {};
    for (int i = 0; i < 64 * 48; i++) {
        halves[i] = i % 64 < 32 ? before : after;
    }
    display_set_size(128, 96);
    display_set_content(64, 48, halves);
    EXPECT_EQ(surface_pixel(60, 90), before) << "stretched over the window";
    EXPECT_EQ(surface_pixel(68, 90), after);
}

TEST_F(DisplayTest, VerticalSyncIsAdaptiveWhereTheDriverHasIt) {
    ASSERT_TRUE(open(0));
    wide_set_vsync(0xAB02);
    EXPECT_EQ(swap_intervals, (std::vector<int>{0, -1, 1}));
    EXPECT_EQ(SDL_GL_GetSwapInterval(), 1);
    wide_set_vsync(0xAB00);
    EXPECT_EQ(SDL_GL_GetSwapInterval(), 0);
    EXPECT_EQ(sdl_vsync, 0);
    display_close();
    swap_intervals.clear();
    driver_takes_adaptive_sync = true;
    ASSERT_TRUE(open(DISPLAY_VSYNC));
    EXPECT_EQ(swap_intervals, std::vector<int>{-1});
    EXPECT_EQ(sdl_vsync, 1);
    display_close();

    ASSERT_TRUE(open(DISPLAY_SOFTWARE));
    EXPECT_EQ(sdl_vsync, 1) << "not written on this path";
    for (const bool on : {true, false}) {
        display_set_vsync(on);
        EXPECT_EQ(renderer_flags.back(), on ? u32{SDL_RENDERER_PRESENTVSYNC} : 0u);
        EXPECT_EQ(sdl_texture_width, 64);
        expect_software_frame();
    }
}

TEST_F(DisplayTest, ObjectsSurviveClosingAndOpening) {
    ASSERT_TRUE(open(0));
    const u32 buffer = buffer_create();
    buffer_bind(BUFFER_TARGET_ARRAY, buffer);
    const u32 stored = new_colour();
    buffer_data(BUFFER_TARGET_ARRAY, 4, &stored, BUFFER_USAGE_STATIC_DRAW);
    void* const context = opengl_context;
    for (const u16 between : {u16{0}, u16{DISPLAY_SOFTWARE}, u16{0}}) {
        display_close();
        EXPECT_EQ(sdl_window, nullptr);
        EXPECT_EQ(opengl_context, context);
        ASSERT_TRUE(open(between));
        EXPECT_EQ(is_software_rendering != 0, between != 0);
        if (between != 0) {
            expect_software_frame();
            continue;
        }
        EXPECT_EQ(SDL_GL_GetCurrentWindow(), window());
        EXPECT_EQ(SDL_GL_GetSwapInterval(), 0);
        Slice mapped = {};
        buffer_map(&mapped, BUFFER_TARGET_ARRAY, 4, BUFFER_ACCESS_READ_ONLY);
        ASSERT_NE(mapped.data, nullptr);
        EXPECT_EQ(*static_cast<u32*>(mapped.data), stored);
        buffer_unmap(BUFFER_TARGET_ARRAY);
        expect_hardware_frame();
    }
    display_close();
    display_close();
}

TEST_F(DisplayTest, ADriverThatRefusesTheContextGetsANewOne) {
    ASSERT_TRUE(open(0));
    display_close();
    driver_refuses_context = true;
    ASSERT_TRUE(open(0));
    driver_refuses_context = false;
    EXPECT_EQ(SDL_GL_GetCurrentContext(), opengl_context);
    expect_hardware_frame();
}

TEST_F(DisplayTest, PresentationSwitchesBothWaysWhileFramesGoOn) {
    ASSERT_TRUE(open(0));
    void* const context = opengl_context;
    show_software(4, 4, 0xFFFFFFFFu);
    EXPECT_EQ(sdl_renderer, nullptr) << "nothing to show it with under hardware graphics";
    for (int round = 0; round < 3; round++) {
        expect_hardware_frame();
        wide_set_software_graphics(0xFF80);
        EXPECT_EQ(is_software_rendering, 1);
        EXPECT_EQ(sdl_texture_width * 1000 + sdl_texture_height, 64048) << "the window's size";
        expect_software_frame();
        expect_hardware_frame();
        wide_set_software_graphics(0xFF00);
        EXPECT_EQ(is_software_rendering, 0);
        EXPECT_EQ(opengl_context, context);
        expect_software_frame();
        display_set_vsync(round % 2 == 0);
        expect_hardware_frame();
    }
    display_close();
    show_software(64, 48, 0xFFFFFFFFu);
    ASSERT_TRUE(open(0));
    show_software(64, 48, 0xFFFFFFFFu);
    expect_hardware_frame();
}

TEST_F(DisplayTest, SettersReachTheWindowWithTheLowByteOfATruthValue) {
    ASSERT_TRUE(open(0));
    const struct {
        void (*set)(u32);
        u32 flag;
    } setters[] = {
        {wide_set_visible, SDL_WINDOW_SHOWN},
        {wide_set_grab, SDL_WINDOW_MOUSE_GRABBED},
        {wide_set_fullscreen, SDL_WINDOW_FULLSCREEN_DESKTOP},
    };
    for (const auto& setter : setters) {
        SCOPED_TRACE(setter.flag);
        for (const u32 on : {0x80u, 0x100u, 0xFFFFFF02u, 0xFFFFFF00u}) {
            SCOPED_TRACE(on);
            setter.set(on);
            EXPECT_EQ((window_flags() & setter.flag) != 0, (on & 0xFF) != 0);
            wide_set_border(on);
            EXPECT_EQ(bordered, (on & 0xFF) != 0 ? SDL_TRUE : SDL_FALSE);
        }
        display_set_visible(1);
    }
    window_calls.clear();
    display_maximize();
    display_minimize();
    display_restore();
    EXPECT_EQ(window_calls, (std::vector<std::string>{"maximize", "minimize", "restore"}));
    EXPECT_EQ(fullscreen, 0);
}

TEST_F(DisplayTest, InfoIsTheWindowsUnlessItWasOpenedFullscreen) {
    DisplayInfo info = {1, 2, 3};
    display_get_info(&info);
    EXPECT_EQ(info.width | info.height | info.refresh_rate, 0);
    SDL_DisplayMode desktop = {};
    SDL_GetDesktopDisplayMode(0, &desktop);
    ASSERT_NE(desktop.w, 64);
    const auto expect_info = [&](i32 width, i32 height) {
        display_get_info(&info);
        EXPECT_EQ(info.width, width);
        EXPECT_EQ(info.height, height);
        EXPECT_EQ(info.refresh_rate, desktop.refresh_rate);
    };
    ASSERT_TRUE(open(DISPLAY_SOFTWARE));
    expect_info(64, 48);
    display_set_size(50, 40);
    expect_info(50, 40);
    display_set_fullscreen(1);
    int width = 0;
    int height = 0;
    SDL_GetWindowSize(window(), &width, &height);
    expect_info(width, height);
    display_close();
    ASSERT_TRUE(open(DISPLAY_SOFTWARE | DISPLAY_FULLSCREEN));
    EXPECT_EQ(fullscreen, 1);
    SDL_DisplayMode mode = {};
    SDL_GetWindowDisplayMode(window(), &mode);
    expect_info(mode.w, mode.h);
    display_set_fullscreen(0);
    EXPECT_EQ(fullscreen, 1);
    SDL_GetWindowDisplayMode(window(), &mode);
    expect_info(mode.w, mode.h);
    display_close();
    display_get_info(&info);
    EXPECT_EQ(info.width | info.height | info.refresh_rate, 0);
}

TEST_F(DisplayDeathTest, TheProcessEndsWithABoxWhereHardwareGraphicsCannotBe) {
    const std::string no_window =
        "box 16, Graphics error, Failed to initialize hardware graphics., none";
    const std::string no_opengl =
        "box 16, Graphics not supported, OpenGL 3.3 is not supported on this computer., none";
    const auto restart_with = [](const char* variable, const char* value) {
        system_release();
        setenv(variable, value, 1);
        system_init(SYSTEM_INIT_VIDEO | SYSTEM_INIT_EVENTS);
    };
    const struct {
        const char* name;
        std::string box;
        std::function<void()> act;
    } cases[] = {
        {"sync without a window", no_window, [] { display_set_vsync(0); }},
        {"hardware without a window", no_window, [] { display_set_software_graphics(0); }},
        {"no window to be had", no_window,
         [&] {
             restart_with("SDL_VIDEODRIVER", "dummy");
             open(0);
         }},
        {"no video at all", no_window,
         [&] {
             restart_with("SDL_VIDEODRIVER", "nonexistent");
             open(0);
         }},
        {"hardware in a software window", no_opengl,
         [] {
             open(DISPLAY_SOFTWARE);
             display_set_software_graphics(0);
         }},
        {"an old driver", no_opengl,
         [&] {
             restart_with("MESA_GL_VERSION_OVERRIDE", "3.2");
             open(0);
         }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EXIT(c.act(); _exit(0), testing::ExitedWithCode(1), "^" + c.box + "$");
    }
}

TEST_F(DisplayDeathTest, NoOrderOfCallsCrashesWhereverTheLibraryRuns) {
    const struct {
        const char* name;
        std::function<void()> setting;
    } cases[] = {
        {"offscreen", [] {}},
        {"no window system", [] { setenv("SDL_VIDEODRIVER", "dummy", 1); }},
        {"no video", [] { setenv("SDL_VIDEODRIVER", "nonexistent", 1); }},
        {"no sound", [] { setenv("SDL_AUDIODRIVER", "nonexistent", 1); }},
        {"no display",
         [] {
             unsetenv("SDL_VIDEODRIVER");
             unsetenv("DISPLAY");
             unsetenv("WAYLAND_DISPLAY");
         }},
    };
    const auto run = [](const std::function<void()>& setting) {
        system_release();
        setting();
        call_everything_harmless();
        for (const u32 flags : {0u, u32{SYSTEM_INIT_EVENTS}, 0xFFFFFFFFu}) {
            system_init(flags);
            call_everything_harmless();
            display_open(64, 48, slice("display"), DISPLAY_SOFTWARE, 0);
            call_everything_harmless();
            display_set_vsync(1);
            display_set_software_graphics(1);
            call_everything_harmless();
            display_close();
            display_set_vsync(1);
            display_set_software_graphics(1);
            call_everything_harmless();
            system_release();
            display_set_vsync(1);
            display_set_software_graphics(1);
            call_everything_harmless();
            display_close();
            call_everything_harmless();
        }
        std::exit(0);
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EXIT(run(c.setting), testing::ExitedWithCode(0), "");
    }
}

namespace {

// Calls in any order that doesn't end the process, beside a model of what they should leave.
class RandomHost {
public:
    explicit RandomHost(u32 seed) : random_(seed) {
    }

    void step() {
        switch (random_() % 14) {
        case 0: open(false); break;
        case 1: open(true); break;
        case 2: close(); break;
        case 3: switch_to(true); break;
        case 4: switch_to(false); break;
        case 5: vsync(); break;
        case 6: restart(); break;
        case 7: display_set_size(static_cast<i32>(20 + random_() % 90), 48); break;
        case 8: call_everything_harmless(); break;
        case 9: push(); break;
        default: input_poll();
        }
        EXPECT_EQ(sdl_window != nullptr, is_open_ || is_dead_);
        EXPECT_EQ(is_software_rendering != 0, software_);
        if (takes_opengl_) expect_hardware_frame();
        if (has_renderer_) {
            expect_software_frame();
        } else {
            show_software(8, 8, 0);
        }
    }

private:
    void open(bool software) {
        const u16 flags = static_cast<u16>((software ? DISPLAY_SOFTWARE : 0) |
                                           (random_() % 4 == 0 ? DISPLAY_HIDDEN : 0) |
                                           (random_() % 8 == 0 ? DISPLAY_RESIZABLE : 0));
        const bool opened = display_open(64, 48, slice("random"), flags, 0) != 0;
        EXPECT_EQ(opened, !is_open_ && !is_dead_);
        if (!opened) return;
        is_open_ = true;
        software_ = has_renderer_ = software;
        takes_opengl_ = !software;
    }

    void close() {
        display_close();
        is_open_ = is_dead_ = takes_opengl_ = has_renderer_ = false;
    }

    void switch_to(bool software) {
        if (!software && opengl_initialized == 0 && !takes_opengl_) return;
        display_set_software_graphics(software);
        software_ = software;
        if (software) has_renderer_ = is_open_;
    }

    void vsync() {
        if (!software_ && opengl_initialized == 0 && !takes_opengl_) return;
        display_set_vsync(random_() % 2 == 0);
        if (software_) has_renderer_ = is_open_;
        // Sync would hold up the frames to come.
        display_set_vsync(0);
    }

    void restart() {
        if (random_() % 4 != 0) return;
        system_release();
        if (random_() % 2 == 0) call_everything_harmless();
        system_init(SYSTEM_INIT_VIDEO | (random_() % 2 == 0 ? SYSTEM_INIT_EVENTS : 0));
        is_dead_ = is_dead_ || is_open_;
        is_open_ = takes_opengl_ = has_renderer_ = false;
    }

    void push() {
        for (auto i = random_() % 50; i > 0; i--) {
            SDL_Event event = {};
            constexpr u32 types[] = {SDL_QUIT,          SDL_WINDOWEVENT,     SDL_KEYDOWN,
                                     SDL_KEYUP,         SDL_MOUSEBUTTONDOWN, SDL_MOUSEBUTTONUP,
                                     SDL_MOUSEWHEEL,    SDL_MOUSEMOTION,     SDL_JOYDEVICEREMOVED,
                                     SDL_JOYDEVICEADDED};
            for (u8& byte : event.padding) {
                byte = static_cast<u8>(random_());
            }
            event.type = types[random_() % std::size(types)];
            SDL_PushEvent(&event);
        }
    }

    std::mt19937 random_;
    bool is_open_ = false;
    bool is_dead_ = false;      // ended by system_release, not yet by display_close
    bool takes_opengl_ = false; // the window was opened for hardware graphics
    bool software_ = false;
    bool has_renderer_ = false;
};

} // namespace

TEST_F(DisplayTest, EveryAllowedOrderOfCallsKeepsBothWaysOfPresentingAlive) {
    for (const u32 seed : {1u, 2u, 3u}) {
        SCOPED_TRACE(seed);
        RandomHost host(seed);
        is_software_rendering = 0;
        for (int i = 0; i < 1000; i++) {
            SCOPED_TRACE(i);
            host.step();
            ASSERT_FALSE(HasFailure());
        }
        display_close();
    }
}

// The offscreen driver keeps the buffers of each OpenGL window; under X11 the heap is looked at for
// those too.
TEST_F(DisplayTest, OpeningAndClosingKeepsNothing) {
    const auto descriptors = [] {
        namespace fs = std::filesystem;
        return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
    };
    const auto cycles = [](int count, u16 flags) {
        for (int i = 0; i < count; i++) {
            ASSERT_TRUE(open(flags));
            if (flags == 0) {
                draw_hardware(0);
                pipeline_present();
            } else {
                show_software(64, 48, 0);
            }
            input_poll();
            display_close();
        }
    };
    cycles(700, DISPLAY_SOFTWARE);
    auto descriptors_before = descriptors();
    const auto heap_before = mallinfo2().uordblks;
    cycles(1000, DISPLAY_SOFTWARE);
    const auto heap_after = mallinfo2().uordblks;
    EXPECT_EQ(descriptors(), descriptors_before);
    cycles(50, 0);
    descriptors_before = descriptors();
    cycles(500, 0);
    EXPECT_EQ(descriptors(), descriptors_before);
    if (heap_before == 0) GTEST_SKIP() << "the sanitizer's heap isn't counted";
    EXPECT_LE(heap_after, heap_before + 8 * 1024);
}
