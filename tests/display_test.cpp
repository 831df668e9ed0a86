// SPDX-License-Identifier: Zlib
#include "support/display.h"

#include "api/system.h"

#include <SDL.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

// The window and its two ways of presenting, on SDL2's offscreen driver with a real OpenGL context.

// SDL2's functions that this program stands in for: the library's calls come here first.
namespace {

bool driver_takes_adaptive_sync = false;
bool driver_refuses_context = false;
std::vector<int> swap_intervals;
std::vector<u32> renderer_flags;
u32 asked_window_flags = 0;
std::vector<std::string> window_calls;
SDL_bool bordered = SDL_TRUE;

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

#define STANDS_IN_FOR(function)                                                                    \
    void function(SDL_Window* window) {                                                            \
        EXPECT_EQ(window, sdl_window);                                                             \
        window_calls.push_back(#function);                                                         \
    }
STANDS_IN_FOR(SDL_MaximizeWindow)
STANDS_IN_FOR(SDL_MinimizeWindow)
STANDS_IN_FOR(SDL_RestoreWindow)
}

namespace {

class DisplayTest : public testing::Test {
protected:
    void SetUp() override {
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        // As in a fresh process, for a run of several tests in one.
        sdl_renderer = sdl_texture = opengl_context = nullptr;
        sdl_texture_width = sdl_texture_height = 0;
        is_software_rendering = sdl_vsync = opengl_initialized = fullscreen = 0;
        swap_intervals.clear();
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
    const auto wide_open = by_name<u8(i32, i32, Slice, u32, i32)>("display_open");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.host);
        EXPECT_EQ(fullscreen, 0);
        ASSERT_EQ(wide_open(64, 48, slice("flags"), c.host | 0x00FF0000u, 0), 1);
        EXPECT_EQ(asked_window_flags, c.sdl);
        display_close();
    }
    ASSERT_TRUE(open(0));
    EXPECT_EQ(fullscreen, 1) << "from now on";
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
    const auto wide_set_vsync = by_name<void(u32)>("display_set_vsync");
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

TEST_F(DisplayTest, ObjectsSurviveClosingAndOpeningUnlessTheDriverRefusesTheirContext) {
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
    driver_refuses_context = true;
    ASSERT_TRUE(open(0));
    driver_refuses_context = false;
    EXPECT_EQ(SDL_GL_GetCurrentContext(), opengl_context) << "a new one";
    expect_hardware_frame();
}

TEST_F(DisplayTest, PresentationSwitchesBothWaysAndBothGoOn) {
    const auto switch_to = by_name<void(u32)>("display_set_software_graphics");
    ASSERT_TRUE(open(0));
    void* const context = opengl_context;
    show_software(4, 4, 0xFFFFFFFFu);
    EXPECT_EQ(sdl_renderer, nullptr) << "nothing to show it with under hardware graphics";
    expect_hardware_frame();
    switch_to(0xFF80);
    EXPECT_EQ(is_software_rendering, 1);
    EXPECT_EQ(sdl_texture_width * 1000 + sdl_texture_height, 64048) << "the window's size";
    expect_software_frame();
    expect_hardware_frame();
    switch_to(0xFF00);
    EXPECT_EQ(is_software_rendering, 0);
    EXPECT_EQ(opengl_context, context);
    expect_software_frame();
    expect_hardware_frame();
    display_close();
    show_software(64, 48, 0xFFFFFFFFu);
    ASSERT_TRUE(open(0));
    show_software(64, 48, 0xFFFFFFFFu);
    expect_hardware_frame();
}

TEST_F(DisplayTest, SettersReachTheWindowWithTheLowByteOfATruthValue) {
    ASSERT_TRUE(open(0));
    const auto has = [](u32 flag) { return (window_flags() & flag) != 0; };
    const std::pair<const char*, std::function<bool()>> setters[] = {
        {"display_set_visible", [&] { return has(SDL_WINDOW_SHOWN); }},
        {"display_set_border", [] { return bordered == SDL_TRUE; }},
        {"display_set_grab", [&] { return has(SDL_WINDOW_MOUSE_GRABBED); }},
        {"display_set_fullscreen", [&] { return has(SDL_WINDOW_FULLSCREEN_DESKTOP); }},
    };
    for (const auto& [name, is_on] : setters) {
        for (const u32 on : {0x80u, 0x100u, 0xFFFFFF02u, 0xFFFFFF00u}) {
            by_name<void(u32)>(name)(on);
            EXPECT_EQ(is_on(), (on & 0xFF) != 0) << name << " " << on;
        }
        display_set_visible(1);
    }
    display_maximize();
    display_minimize();
    display_restore();
    EXPECT_EQ(window_calls, (std::vector<std::string>{"SDL_MaximizeWindow", "SDL_MinimizeWindow",
                                                      "SDL_RestoreWindow"}));
    EXPECT_EQ(fullscreen, 0);
}

TEST_F(DisplayTest, InfoIsTheWindowsUnlessItWasOpenedFullscreen) {
    SDL_DisplayMode desktop = {};
    SDL_GetDesktopDisplayMode(0, &desktop);
    ASSERT_NE(desktop.w, 64);
    const auto expect_info = [](i32 width, i32 height, i32 refresh_rate) {
        DisplayInfo info = {1, 2, 3};
        display_get_info(&info);
        EXPECT_EQ((std::vector{info.width, info.height, info.refresh_rate}),
                  (std::vector{width, height, refresh_rate}));
    };
    const auto expect_mode = [&] {
        EXPECT_EQ(fullscreen, 1);
        SDL_DisplayMode mode = {};
        SDL_GetWindowDisplayMode(window(), &mode);
        expect_info(mode.w, mode.h, desktop.refresh_rate);
    };
    expect_info(0, 0, 0);
    ASSERT_TRUE(open(DISPLAY_SOFTWARE));
    expect_info(64, 48, desktop.refresh_rate);
    display_set_size(50, 40);
    expect_info(50, 40, desktop.refresh_rate);
    display_set_fullscreen(1);
    int width = 0;
    int height = 0;
    SDL_GetWindowSize(window(), &width, &height);
    expect_info(width, height, desktop.refresh_rate);
    display_close();
    ASSERT_TRUE(open(DISPLAY_SOFTWARE | DISPLAY_FULLSCREEN));
    expect_mode();
    display_set_fullscreen(0);
    expect_mode();
    display_close();
    expect_info(0, 0, 0);
}

TEST_F(DisplayDeathTest, TheProcessEndsWithABoxWhereHardwareGraphicsCannotBe) {
    const std::string no_window =
        "box 16, Graphics error, Failed to initialize hardware graphics., none";
    const std::string no_opengl =
        "box 16, Graphics not supported, OpenGL 3.3 is not supported on this computer., none";
    const auto open_with = [](const char* variable, const char* value) {
        system_release();
        setenv(variable, value, 1);
        system_init(SYSTEM_INIT_VIDEO | SYSTEM_INIT_EVENTS);
        open(0);
    };
    const auto switch_in_software_window = [] {
        open(DISPLAY_SOFTWARE);
        display_set_software_graphics(0);
    };
    const struct {
        const char* name;
        std::string box;
        std::function<void()> act;
    } cases[] = {
        {"sync without a window", no_window, [] { display_set_vsync(0); }},
        {"hardware without a window", no_window, [] { display_set_software_graphics(0); }},
        {"no window", no_window, [&] { open_with("SDL_VIDEODRIVER", "dummy"); }},
        {"no video", no_window, [&] { open_with("SDL_VIDEODRIVER", "nonexistent"); }},
        {"hardware in a software window", no_opengl, switch_in_software_window},
        {"an old driver", no_opengl, [&] { open_with("MESA_GL_VERSION_OVERRIDE", "3.2"); }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EXIT(c.act(); _exit(0), testing::ExitedWithCode(1), "^" + c.box + "$");
    }
}
