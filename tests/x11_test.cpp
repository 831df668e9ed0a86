// SPDX-License-Identifier: Zlib
#include "support/display.h"

#include <SDL_syswm.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

// A real X11 window: xdotool presses keys and moves the mouse, and what is on the screen is read
// back over a connection of the test's own.

namespace {

void xdotool(const std::string& arguments) {
    ASSERT_EQ(std::system(("xdotool " + arguments).c_str()), 0) << arguments;
}

// Polls until the condition holds just behind a poll.
template <class Condition> bool poll_until(Condition condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    do {
        input_poll();
        if (condition()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    } while (std::chrono::steady_clock::now() < end);
    return false;
}

void show_drawn(u32 colour) {
    draw_hardware(colour);
    pipeline_present();
    pipeline_finish();
}

void show_image(u32 colour) {
    show_software(sdl_texture_width, sdl_texture_height, colour);
}

class X11Test : public testing::Test {
protected:
    void SetUp() override {
        x_ = XOpenDisplay(nullptr);
        ASSERT_NE(x_, nullptr) << "runs under an X server, such as xvfb-run";
        // As in a fresh process, for a run of several tests in one.
        sdl_texture_width = sdl_texture_height = 0;
        opengl_initialized = 0;
        // SDL2 swallows a click that follows too closely on the focus.
        SDL_SetHint(SDL_HINT_MOUSE_FOCUS_CLICKTHROUGH, "1");
        system_init(SYSTEM_INIT_VIDEO | SYSTEM_INIT_EVENTS);
        ASSERT_STREQ(SDL_GetCurrentVideoDriver(), "x11");
    }

    void TearDown() override {
        display_close();
        system_release();
        if (x_ != nullptr) XCloseDisplay(x_);
    }

    void open(u16 flags) {
        ASSERT_EQ(display_open(200, 100, slice("display"), flags, 0), 1);
        ASSERT_TRUE(poll_until([] { return SDL_GetKeyboardFocus() == sdl_window; }));
    }

    static Window x_window() {
        SDL_SysWMinfo info = {};
        SDL_VERSION(&info.version);
        SDL_GetWindowWMInfo(window(), &info);
        return info.info.x11.window;
    }

    static std::string id() {
        return std::to_string(x_window());
    }

    // In the order of bytes that the library's pixels have.
    u32 screen_pixel(int x, int y) {
        XSync(x_, False);
        XImage* image = XGetImage(x_, x_window(), x, y, 1, 1, AllPlanes, ZPixmap);
        if (image == nullptr) return 0;
        const auto pixel = static_cast<u32>(XGetPixel(image, 0, 0));
        XDestroyImage(image);
        return 0xFF000000u | (pixel & 0xFF) << 16 | (pixel & 0xFF00) | (pixel >> 16 & 0xFF);
    }

    // Frames reach the screen a little after the call that shows them.
    template <class Show> void expect_shown(Show show) {
        const u32 colour = new_colour();
        show(colour);
        EXPECT_TRUE(poll_until([&] { return screen_pixel(100, 50) == colour; }))
            << std::hex << screen_pixel(100, 50) << " in place of " << colour;
    }

    Display* x_ = nullptr;
};

} // namespace

TEST_F(X11Test, KeysAreHeldUntilTheFocusIsLost) {
    open(0);
    xdotool("keydown x");
    ASSERT_TRUE(poll_until([] { return input_key_is_held(KEY_X); }));
    xdotool("windowfocus " + std::to_string(DefaultRootWindow(x_)));
    ASSERT_TRUE(poll_until([] { return display_is_focus_lost(); }));
    EXPECT_EQ(input_key_is_released(KEY_X), 1);
    EXPECT_EQ(input_key_is_held(KEY_X) + input_key_is_held(KEY_ANY), 0);
    xdotool("keyup x");
    xdotool("windowfocus " + id());
    ASSERT_TRUE(poll_until([] { return display_is_focus_gained(); }));
    EXPECT_EQ(input_key_is_held(KEY_ANY), 0);
}

TEST_F(X11Test, TheMouseMovesClicksAndTurnsItsWheel) {
    open(DISPLAY_SOFTWARE);
    i32 x = 0;
    i32 y = 0;
    const auto is_at = [&](i32 wanted_x, i32 wanted_y) {
        return [&, wanted_x, wanted_y] {
            input_mouse_position(&x, &y);
            return x == wanted_x && y == wanted_y;
        };
    };
    xdotool("mousemove --window " + id() + " 20 30");
    ASSERT_TRUE(poll_until(is_at(20, 30)));
    xdotool("mousemove_relative 7 0");
    ASSERT_TRUE(poll_until(is_at(27, 30)));
    input_mouse_moved(&x, &y);
    EXPECT_EQ(x, 7);
    EXPECT_EQ(y, 0);

    xdotool("mousedown 2");
    ASSERT_TRUE(poll_until([] { return input_mouse_is_pressed(MOUSE_MIDDLE); }));
    xdotool("mouseup 2");
    ASSERT_TRUE(poll_until([] { return input_mouse_is_released(MOUSE_MIDDLE); }));
    xdotool("click 5");
    ASSERT_TRUE(poll_until([] { return input_mouse_wheel() == -1; }));
    EXPECT_EQ(input_mouse_is_pressed(MOUSE_ANY), 0);

    xdotool("mousemove 1 2");
    ASSERT_TRUE(poll_until([] { return display_is_left(); }));
    input_mouse_global_position(&x, &y);
    EXPECT_EQ(x * 10 + y, 12);
    input_mouse_set_position(40, 41);
    ASSERT_TRUE(poll_until([] { return display_is_entered(); }));
    ASSERT_TRUE(poll_until(is_at(40, 41)));
    input_mouse_set_global_position(3, 4);
    EXPECT_TRUE(poll_until([&] {
        input_mouse_global_position(&x, &y);
        return x == 3 && y == 4;
    }));
}

TEST_F(X11Test, BothWaysOfPresentingReachTheScreenAndSwitch) {
    open(0);
    const Window first = x_window();
    expect_shown(show_drawn);
    display_set_software_graphics(1);
    expect_shown(show_image);
    expect_shown(show_drawn);
    display_set_software_graphics(0);
    display_set_vsync(1);
    expect_shown(show_drawn);
    display_set_vsync(0);
    expect_shown(show_image);
    EXPECT_EQ(x_window(), first) << "the window stays the one that was opened";
    display_close();

    open(DISPLAY_SOFTWARE | DISPLAY_RESIZABLE);
    EXPECT_EQ(window_flags() & SDL_WINDOW_OPENGL, 0u);
    expect_shown(show_image);
    display_set_vsync(0);
    xdotool("windowsize " + id() + " 400 300");
    i32 width = 0;
    i32 height = 0;
    ASSERT_TRUE(poll_until([&] { return display_is_resized(&width, &height); }));
    const u32 colour = new_colour();
    show_image(colour);
    EXPECT_TRUE(poll_until([&] { return screen_pixel(395, 295) == colour; }));
}

TEST_F(X11Test, CursorsAreThereAndTheLastGoodOneStays) {
    std::vector<void*> cursors(system_cursors, system_cursors + 12);
    std::sort(cursors.begin(), cursors.end());
    EXPECT_NE(cursors[0], nullptr);
    EXPECT_EQ(std::unique(cursors.begin(), cursors.end()), cursors.end());
    open(0);
    input_mouse_set_cursor(CURSOR_HAND);
    EXPECT_EQ(SDL_GetCursor(), system_cursors[CURSOR_HAND]);
    input_mouse_set_cursor(12);
    EXPECT_EQ(SDL_GetCursor(), system_cursors[CURSOR_HAND]);
}
