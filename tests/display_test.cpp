// SPDX-License-Identifier: Zlib
#include "support/display.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <vector>

// The window and its two ways of presenting, on SDL2's offscreen driver with a real OpenGL context.

// SDL2's functions that this program stands in for: the library's calls come here first.
namespace {

bool driver_takes_adaptive_sync = false;
bool driver_refuses_context = false;
std::vector<int> swap_intervals;
u32 renderer_flags = 0;
u32 asked_window_flags = 0;
std::string window_calls;
std::vector<u32> icon_pixels;
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
    renderer_flags = flags;
    return next(&SDL_CreateRenderer, "SDL_CreateRenderer")(window, index, flags);
}

// The offscreen driver has no borders, and can't change a window's size by itself.
void SDL_SetWindowBordered(SDL_Window* window, SDL_bool on) {
    if (window == sdl_window) bordered = on;
}

void SDL_SetWindowIcon(SDL_Window* window, SDL_Surface* icon) {
    next(&SDL_SetWindowIcon, "SDL_SetWindowIcon")(window, icon);
    for (int x = 0; icon != nullptr && x < icon->w; x++) {
        Uint8 parts[4] = {};
        const u32 pixel = static_cast<u32*>(icon->pixels)[x];
        SDL_GetRGBA(pixel, icon->format, &parts[0], &parts[1], &parts[2], &parts[3]);
        icon_pixels.push_back(std::bit_cast<u32>(parts));
    }
}

void SDL_MaximizeWindow(SDL_Window* window) {
    window_calls += window == sdl_window ? "maximize " : "other ";
}

void SDL_MinimizeWindow(SDL_Window* window) {
    window_calls += window == sdl_window ? "minimize " : "other ";
}

void SDL_RestoreWindow(SDL_Window* window) {
    window_calls += window == sdl_window ? "restore " : "other ";
}
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
    EXPECT_EQ(opengl_initialized, 1);
    EXPECT_EQ(opengl_context, SDL_GL_GetCurrentContext());
    EXPECT_EQ(gl_attribute(SDL_GL_CONTEXT_MAJOR_VERSION), 3);
    EXPECT_EQ(gl_attribute(SDL_GL_CONTEXT_MINOR_VERSION), 3);
    EXPECT_EQ(gl_attribute(SDL_GL_CONTEXT_PROFILE_MASK), SDL_GL_CONTEXT_PROFILE_CORE);
    EXPECT_GE(gl_attribute(SDL_GL_STENCIL_SIZE), 8);
    expect_hardware_frame();
}

TEST_F(DisplayTest, ASecondOpenChangesNothing) {
    ASSERT_TRUE(open(DISPLAY_BORDERLESS));
    void* const first = sdl_window;
    const u16 all = DISPLAY_FULLSCREEN | DISPLAY_SOFTWARE | DISPLAY_VSYNC;
    EXPECT_EQ(display_open(10, 10, slice("other"), all, 4), 0);
    EXPECT_EQ(sdl_window, first);
    EXPECT_EQ(fullscreen + is_software_rendering + sdl_vsync, 0);
    display_close();
    ASSERT_TRUE(open(0)) << "with the samples of the refused call it would have four";
    EXPECT_EQ(gl_attribute(SDL_GL_MULTISAMPLEBUFFERS), 0);
}

TEST_F(DisplayTest, SamplesAboveOneAskForMultisamplingAndStay) {
    for (const i32 samples : {-5, 1, 4, 0}) {
        SCOPED_TRACE(samples);
        ASSERT_TRUE(open(0, samples));
        EXPECT_EQ(gl_attribute(SDL_GL_MULTISAMPLESAMPLES), samples == -5 || samples == 1 ? 0 : 4);
        display_close();
    }
}

TEST_F(DisplayTest, FlagsReachTheWindowAndTheLowSixteenBitsAloneCount) {
    const std::pair<u32, u32> cases[] = {{DISPLAY_HIDDEN, SDL_WINDOW_HIDDEN},
                                         {DISPLAY_BORDERLESS, SDL_WINDOW_BORDERLESS},
                                         {DISPLAY_RESIZABLE, SDL_WINDOW_RESIZABLE},
                                         {DISPLAY_MINIMIZED, SDL_WINDOW_MINIMIZED},
                                         {DISPLAY_MAXIMIZED, SDL_WINDOW_MAXIMIZED},
                                         {DISPLAY_VSYNC, 0},
                                         {DISPLAY_SOFTWARE, SDL_WINDOW_OPENGL},
                                         {0xFF00, 0},
                                         {DISPLAY_FULLSCREEN, SDL_WINDOW_FULLSCREEN_DESKTOP}};
    for (const auto& [host, sdl] : cases) {
        SCOPED_TRACE(host);
        EXPECT_EQ(fullscreen, 0);
        const auto wide_open = by_name<u8(i32, i32, Slice, u32, i32)>("display_open");
        ASSERT_EQ(wide_open(64, 48, slice("flags"), host | 0x00FF0000u, 0), 1);
        EXPECT_EQ(asked_window_flags ^ SDL_WINDOW_OPENGL, sdl);
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
    EXPECT_EQ(SDL_GetWindowTitle(window()), longest);
    display_set_title(slice("short"));
    display_set_title(slice(over));
    EXPECT_STREQ(SDL_GetWindowTitle(window()), "short");
    display_set_title({nullptr, 0});
    EXPECT_STREQ(SDL_GetWindowTitle(window()), "");
}

TEST_F(DisplayTest, SoftwareGraphicsShowsImagesInAPlainWindow) {
    ASSERT_TRUE(open(DISPLAY_SOFTWARE | DISPLAY_VSYNC));
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
    wide_set_vsync(0xAB00);
    EXPECT_EQ(swap_intervals, (std::vector<int>{0, -1, 1, 0}));
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
        EXPECT_EQ(renderer_flags, on ? u32{SDL_RENDERER_PRESENTVSYNC} : 0u);
        EXPECT_EQ(sdl_texture_width, 64);
        expect_software_frame();
    }
}

TEST_F(DisplayTest, ObjectsSurviveClosingAndOpeningUnlessTheDriverRefusesTheirContext) {
    ASSERT_TRUE(open(0));
    buffer_bind(BUFFER_TARGET_ARRAY, buffer_create());
    buffer_data(BUFFER_TARGET_ARRAY, 4, "kept", BUFFER_USAGE_STATIC_DRAW);
    void* const context = opengl_context;
    for (const u16 between : {u16{0}, u16{DISPLAY_SOFTWARE}}) {
        display_close();
        EXPECT_EQ(sdl_window, nullptr);
        ASSERT_TRUE(open(between));
        display_close();
        ASSERT_TRUE(open(0));
        EXPECT_EQ(opengl_context, context);
        EXPECT_EQ(SDL_GL_GetCurrentWindow(), window());
        Slice mapped = {};
        buffer_map(&mapped, BUFFER_TARGET_ARRAY, 4, BUFFER_ACCESS_READ_ONLY);
        ASSERT_NE(mapped.data, nullptr);
        EXPECT_EQ(text_of(mapped), "kept");
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

TEST_F(DisplayTest, SettersReachTheWindowWithTheLowByteOfATruthValue) {
    ASSERT_TRUE(open(0));
    const auto has = [](u32 flag) { return (window_flags() & flag) != 0; };
    const std::pair<const char*, std::function<bool()>> setters[] = {
        {"display_set_software_graphics", [] { return is_software_rendering == 1; }},
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
    EXPECT_EQ(sdl_texture_width * 1000 + sdl_texture_height, 64048) << "the window's size";
    const u32 icon[] = {0x44332211, 0x88776655};
    display_set_icon(2, 1, icon);
    EXPECT_EQ(icon_pixels, std::vector<u32>(icon, icon + 2)) << "red first, alpha last";
    display_maximize();
    display_minimize();
    display_restore();
    EXPECT_EQ(window_calls, "maximize minimize restore ");
    EXPECT_EQ(fullscreen, 0);
}

TEST_F(DisplayTest, InfoIsTheWindowsUnlessItWasOpenedFullscreen) {
    SDL_DisplayMode desktop = {};
    SDL_GetDesktopDisplayMode(0, &desktop);
    const auto expect_info = [](i32 width, i32 height, i32 refresh_rate) {
        DisplayInfo info = {1, 2, 3};
        display_get_info(&info);
        EXPECT_EQ((std::array{info.width, info.height, info.refresh_rate}),
                  (std::array{width, height, refresh_rate}));
    };
    expect_info(0, 0, 0);
    ASSERT_TRUE(open(DISPLAY_SOFTWARE));
    display_set_size(50, 40);
    expect_info(50, 40, desktop.refresh_rate);
    display_close();
    ASSERT_TRUE(open(DISPLAY_SOFTWARE | DISPLAY_FULLSCREEN));
    display_set_fullscreen(0);
    display_set_size(50, 40);
    SDL_DisplayMode mode = {};
    SDL_GetWindowDisplayMode(window(), &mode);
    expect_info(mode.w, mode.h, desktop.refresh_rate);
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
    const std::pair<std::string, std::function<void()>> cases[] = {
        {no_window, [] { display_set_vsync(0); }},
        {no_window, [&] { open_with("SDL_VIDEODRIVER", "dummy"); }},
        {no_window, [&] { open_with("SDL_VIDEODRIVER", "nonexistent"); }},
        {no_opengl, switch_in_software_window},
        {no_opengl, [&] { open_with("MESA_GL_VERSION_OVERRIDE", "3.2"); }},
    };
    for (const auto& [box, act] : cases) {
        SCOPED_TRACE(&act - &cases[0].second);
        EXPECT_EXIT(act(); _exit(0), testing::ExitedWithCode(1), "^" + box + "$");
    }
}

namespace {

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

void live_everywhere(const char* driver) {
    const auto switch_and_call = [] {
        display_set_vsync(1);
        display_set_software_graphics(1);
        call_everything_harmless();
    };
    system_release();
    setenv("SDL_VIDEODRIVER", driver, 1);
    call_everything_harmless();
    for (const u32 flags : {0u, u32{SYSTEM_INIT_EVENTS}, 0xFFFFFFFFu}) {
        system_init(flags);
        call_everything_harmless();
        display_open(64, 48, slice("display"), DISPLAY_SOFTWARE, 0);
        call_everything_harmless();
        switch_and_call();
        display_close();
        switch_and_call();
        system_release();
        switch_and_call();
        display_close();
        call_everything_harmless();
    }
    std::exit(0);
}

// Calls in any order that doesn't end the process, beside a model of what they should leave.
class RandomHost {
public:
    explicit RandomHost(u32 seed) : random_(seed) {
    }

    void step() {
        switch (random_() % 12) {
        case 0: open(false); break;
        case 1: open(true); break;
        case 2: close(); break;
        case 3: switch_to(true); break;
        case 4: switch_to(false); break;
        case 5: vsync(); break;
        case 6: restart(); break;
        case 7: display_set_size(static_cast<i32>(20 + random_() % 90), 48); break;
        case 8: call_everything_harmless(); break;
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
        const bool opened = display_open(64, 48, slice("random"),
                                         software ? DISPLAY_SOFTWARE : DISPLAY_RESIZABLE, 0) != 0;
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
        if (!software && opengl_initialized == 0) return;
        display_set_software_graphics(software);
        software_ = software;
        if (software) has_renderer_ = is_open_;
    }

    void vsync() {
        if (!software_ && opengl_initialized == 0) return;
        display_set_vsync(0);
        if (software_) has_renderer_ = is_open_;
    }

    void restart() {
        if (random_() % 4 != 0) return;
        system_release();
        if (random_() % 2 == 0) call_everything_harmless();
        system_init(SYSTEM_INIT_VIDEO | (random_() % 2 == 0 ? SYSTEM_INIT_EVENTS : 0));
        is_dead_ = is_dead_ || is_open_;
        is_open_ = takes_opengl_ = has_renderer_ = false;
    }

    std::mt19937 random_;
    bool is_open_ = false;
    bool is_dead_ = false;      // ended by system_release, not yet by display_close
    bool takes_opengl_ = false; // the window was opened for hardware graphics
    bool software_ = false;
    bool has_renderer_ = false;
};

} // namespace

TEST_F(DisplayDeathTest, NoOrderOfCallsCrashesWhereverTheLibraryRuns) {
    for (const char* driver : {"offscreen", "dummy", "nonexistent"}) {
        EXPECT_EXIT(live_everywhere(driver), testing::ExitedWithCode(0), "") << driver;
    }
}

TEST_F(DisplayTest, EveryAllowedOrderOfCallsKeepsBothWaysOfPresentingAlive) {
    RandomHost host(1);
    for (int i = 0; i < 3000; i++) {
        SCOPED_TRACE(i);
        host.step();
        ASSERT_FALSE(HasFailure());
    }
}
