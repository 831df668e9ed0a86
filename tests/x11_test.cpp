// SPDX-License-Identifier: Zlib
#include "support/x11.h"

#include <SDL.h>
#include <SDL_syswm.h>
#include <X11/Xatom.h>
#include <X11/Xutil.h>

#include <malloc.h>
#include <signal.h>

#include <algorithm>
#include <bit>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

// A real X11 window: xdotool presses keys and moves the mouse, and what is on the screen is read
// back over a connection of the test's own.

using namespace x11;

namespace {

u32 new_colour() {
    static u32 colour = 0;
    colour = colour * 1664525u + 1013904223u;
    return (colour >> 8) | 0xFF000000u;
}

void show_hardware(u32 colour) {
    const auto part = [&](int shift) {
        return std::bit_cast<u32>(static_cast<float>((colour >> shift) & 0xFF) / 255.0f);
    };
    pipeline_clear_color(part(0), part(8), part(16), part(24));
    pipeline_clear(BUFFER_MASK_COLOR);
    pipeline_present();
    pipeline_finish();
}

void show_software(u32 colour) {
    const auto pixels = static_cast<std::size_t>(sdl_texture_width * sdl_texture_height);
    const std::vector<u32> image(pixels, colour);
    display_set_content(sdl_texture_width, sdl_texture_height, image.data());
}

class X11Test : public testing::Test {
protected:
    void SetUp() override {
        GTEST_FLAG_SET(death_test_style, "threadsafe");
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

    static Window window() {
        SDL_SysWMinfo info = {};
        SDL_VERSION(&info.version);
        SDL_GetWindowWMInfo(static_cast<SDL_Window*>(sdl_window), &info);
        return info.info.x11.window;
    }

    static std::string id() {
        return std::to_string(window());
    }

    // In the order of bytes that the library's pixels have.
    u32 screen_pixel(int x, int y) {
        XSync(x_, False);
        XImage* image = XGetImage(x_, window(), x, y, 1, 1, AllPlanes, ZPixmap);
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

using X11DeathTest = X11Test;

} // namespace

TEST_F(X11Test, KeysOfARealKeyboardArePressedHeldAndReleased) {
    open(DISPLAY_SOFTWARE);
    xdotool("keydown a");
    ASSERT_TRUE(poll_until([] { return input_key_is_pressed(KEY_A); }));
    // Long enough for the server to start repeating.
    int pressed = 0;
    for (int i = 0; i < 300; i++) {
        system_sleep(5);
        input_poll();
        pressed += input_key_is_pressed(KEY_A);
        ASSERT_EQ(input_key_is_held(KEY_A), 1);
    }
    EXPECT_EQ(pressed, 0);
    xdotool("keydown Shift_L keydown Control_L");
    ASSERT_TRUE(poll_until([] { return input_key_is_held(KEY_ANY) == 3; }));
    EXPECT_EQ(input_key_is_held(KEY_LEFT_SHIFT) + input_key_is_held(KEY_LEFT_CONTROL), 2);
    EXPECT_EQ(input_key_is_held(KEY_SHIFT) + input_key_is_held(KEY_CONTROL), 2);
    EXPECT_EQ(input_key_modifiers(), KEY_MODIFIER_SHIFT | KEY_MODIFIER_CONTROL);
    xdotool("keyup Control_L keyup Shift_L keyup a");
    ASSERT_TRUE(poll_until([] { return input_key_is_released(KEY_A); }));
    EXPECT_EQ(input_key_is_held(KEY_ANY), 0);
    EXPECT_EQ(input_key_modifiers(), 0);
    xdotool("key Left F12 0");
    ASSERT_TRUE(poll_until([] { return input_last_released_key() == KEY_0; }));
}

TEST_F(X11Test, LosingTheFocusLetsGoOfTheKeys) {
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

    const u8 codes[] = {MOUSE_LEFT, MOUSE_MIDDLE, MOUSE_RIGHT};
    for (u32 i = 0; i < 3; i++) {
        const std::string button = std::to_string(i + 1);
        SCOPED_TRACE(button);
        xdotool("mousedown " + button);
        ASSERT_TRUE(poll_until([&] { return input_mouse_is_pressed(codes[i]); }));
        EXPECT_EQ(input_mouse_is_held(codes[i]) + input_mouse_is_held(MOUSE_ANY), 2);
        xdotool("mouseup " + button);
        ASSERT_TRUE(poll_until([&] { return input_mouse_is_released(codes[i]); }));
        EXPECT_EQ(input_mouse_is_held(MOUSE_ANY), 0);
    }
    for (const auto& [button, direction] : {std::pair{"4", 1}, std::pair{"5", -1}}) {
        xdotool(std::string("click ") + button);
        ASSERT_TRUE(poll_until([] { return input_mouse_wheel() != 0; }));
        EXPECT_EQ(input_mouse_wheel(), direction);
        EXPECT_EQ(input_mouse_is_pressed(MOUSE_ANY), 0);
    }

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

TEST_F(X11Test, TheWindowIsClosedResizedTitledAndGivenAnIcon) {
    open(DISPLAY_RESIZABLE);
    xdotool("windowsize " + id() + " 333 222");
    i32 width = 0;
    i32 height = 0;
    ASSERT_TRUE(poll_until([&] { return display_is_resized(&width, &height); }));
    EXPECT_EQ(width * 1000 + height, 333222);
    DisplayInfo info = {};
    display_get_info(&info);
    EXPECT_EQ(info.width * 1000 + info.height, 333222);
    display_set_size(150, 120);
    XWindowAttributes attributes = {};
    EXPECT_TRUE(poll_until([&] {
        XGetWindowAttributes(x_, window(), &attributes);
        return attributes.width == 150 && attributes.height == 120;
    }));

    const std::string title = "Größe → 窓";
    display_set_title(slice(title));
    EXPECT_TRUE(poll_until([&] { return title_of(x_, window()) == title; }))
        << title_of(x_, window());
    const u32 pixels[] = {0x44332211, 0x88776655};
    display_set_icon(2, 1, pixels);
    const std::vector<long> icon = {2, 1, 0x44112233, 0x88556677};
    EXPECT_TRUE(
        poll_until([&] { return property(x_, window(), "_NET_WM_ICON", XA_CARDINAL) == icon; }));

    display_set_visible(0);
    EXPECT_TRUE(poll_until([&] {
        XGetWindowAttributes(x_, window(), &attributes);
        return attributes.map_state == IsUnmapped;
    }));
    display_set_visible(1);

    XEvent close = {};
    close.xclient.type = ClientMessage;
    close.xclient.window = window();
    close.xclient.message_type = XInternAtom(x_, "WM_PROTOCOLS", False);
    close.xclient.format = 32;
    close.xclient.data.l[0] = static_cast<long>(XInternAtom(x_, "WM_DELETE_WINDOW", False));
    XSendEvent(x_, window(), False, NoEventMask, &close);
    XFlush(x_);
    ASSERT_TRUE(poll_until([] { return display_is_closed(); }));
    EXPECT_NE(sdl_window, nullptr);
}

TEST_F(X11Test, BothWaysOfPresentingReachTheScreenAndSwitch) {
    open(0);
    const Window first = window();
    for (int round = 0; round < 2; round++) {
        expect_shown(show_hardware);
        display_set_software_graphics(1);
        expect_shown(show_software);
        expect_shown(show_hardware);
        display_set_software_graphics(0);
        display_set_vsync(1);
        expect_shown(show_hardware);
        display_set_vsync(0);
        expect_shown(show_software);
        EXPECT_EQ(window(), first) << "the window stays the one that was opened";
    }
    display_close();
    open(0);
    expect_shown(show_hardware);
    display_set_software_graphics(1);
    expect_shown(show_software);
    display_close();

    open(DISPLAY_SOFTWARE | DISPLAY_RESIZABLE);
    EXPECT_EQ(SDL_GetWindowFlags(static_cast<SDL_Window*>(sdl_window)) & SDL_WINDOW_OPENGL, 0u);
    expect_shown(show_software);
    display_set_vsync(1);
    expect_shown(show_software);
    display_set_vsync(0);
    xdotool("windowsize " + id() + " 400 300");
    i32 width = 0;
    i32 height = 0;
    ASSERT_TRUE(poll_until([&] { return display_is_resized(&width, &height); }));
    const u32 colour = new_colour();
    show_software(colour);
    EXPECT_TRUE(poll_until([&] { return screen_pixel(395, 295) == colour; }));
    display_close();

    open(0);
    expect_shown(show_hardware);
}

TEST_F(X11Test, CursorsAreThereAndEndWithTheLibrary) {
    std::vector<void*> cursors(system_cursors, system_cursors + 12);
    std::sort(cursors.begin(), cursors.end());
    EXPECT_NE(cursors[0], nullptr);
    EXPECT_EQ(std::unique(cursors.begin(), cursors.end()), cursors.end());
    open(0);
    input_mouse_set_cursor(CURSOR_HAND);
    EXPECT_EQ(SDL_GetCursor(), system_cursors[CURSOR_HAND]);
    input_mouse_set_cursor(12);
    EXPECT_EQ(SDL_GetCursor(), system_cursors[CURSOR_HAND]);
    input_mouse_set_relative(1);
    input_mouse_set_visible(0);
    for (int life = 0; life < 2; life++) {
        system_release();
        i32 x = 0;
        i32 y = 0;
        for (u32 cursor = 0; cursor < 14; cursor++) {
            input_mouse_set_cursor(static_cast<u8>(cursor));
        }
        for (const u8 on : {u8{1}, u8{0}}) {
            input_mouse_set_visible(on);
            input_mouse_set_relative(on);
            display_set_grab(on);
            display_set_visible(on);
        }
        input_mouse_global_position(&x, &y);
        input_mouse_set_position(1, 1);
        input_mouse_set_global_position(1, 1);
        input_mouse_is_haptic();
        input_poll();
        system_init(0);
        system_init(SYSTEM_INIT_EVENTS);
    }
}

TEST_F(X11Test, OpeningAndClosingForHardwareKeepsNothing) {
    const auto cycles = [](int count) {
        for (int i = 0; i < count; i++) {
            ASSERT_EQ(display_open(64, 48, slice("cycle"), 0, 0), 1);
            show_hardware(0);
            input_poll();
            display_close();
        }
    };
    cycles(50);
    const auto before = mallinfo2().uordblks;
    if (before == 0) GTEST_SKIP() << "the sanitizer's heap isn't counted";
    cycles(1000);
    EXPECT_LT(mallinfo2().uordblks, before + 1000 * 256)
        << "what SDL2 itself keeps for each window";
}

TEST_F(X11DeathTest, TheBoxOfAFatalStopIsClosedByAKeyAndTheProcessEndsWithOne) {
    if (!box_font::is_there()) GTEST_SKIP() << "no font for the box";
    const box_font font(x_);
    const auto stop_and_press_return = [this] {
        // The box is a process of its own, which a test that fails has to take along.
        setpgid(0, 0);
        std::thread([this] {
            const Window box = wait_for_box(x_, "Graphics error");
            if (box == 0) kill(0, SIGKILL);
            std::fprintf(stderr, "the box is there");
            press_return_in(x_, box);
            std::this_thread::sleep_for(std::chrono::seconds(10));
            kill(0, SIGKILL);
        }).detach();
        display_set_vsync(1);
    };
    EXPECT_EXIT(stop_and_press_return(), testing::ExitedWithCode(1), "the box is there");
}
