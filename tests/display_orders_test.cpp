// SPDX-License-Identifier: Zlib
#include "support/display.h"

#include "api/system.h"

#include <SDL.h>
#include <gtest/gtest.h>

#include <malloc.h>

#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <vector>

// The display's calls in any order, as often as one likes, and wherever the library runs.

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

class DisplayOrdersTest : public testing::Test {
protected:
    void SetUp() override {
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        system_init(SYSTEM_INIT_VIDEO | SYSTEM_INIT_EVENTS);
    }

    void TearDown() override {
        display_close();
        system_release();
    }

    static bool open(u16 flags) {
        return display_open(64, 48, slice("display"), flags, 0) == 1;
    }
};

} // namespace

TEST_F(DisplayOrdersTest, NoOrderOfCallsCrashesWhereverTheLibraryRuns) {
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
             for (const char* name : {"SDL_VIDEODRIVER", "DISPLAY", "WAYLAND_DISPLAY"}) {
                 unsetenv(name);
             }
         }},
    };
    const auto run = [](const std::function<void()>& setting) {
        system_release();
        setting();
        call_everything_harmless();
        const auto switch_and_call = [] {
            display_set_vsync(1);
            display_set_software_graphics(1);
            call_everything_harmless();
        };
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

TEST_F(DisplayOrdersTest, EveryAllowedOrderOfCallsKeepsBothWaysOfPresentingAlive) {
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
TEST_F(DisplayOrdersTest, OpeningAndClosingKeepsNothing) {
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
    auto descriptors_before = open_descriptors();
    const auto heap_before = mallinfo2().uordblks;
    cycles(1000, DISPLAY_SOFTWARE);
    const auto heap_after = mallinfo2().uordblks;
    EXPECT_EQ(open_descriptors(), descriptors_before);
    cycles(50, 0);
    descriptors_before = open_descriptors();
    cycles(500, 0);
    EXPECT_EQ(open_descriptors(), descriptors_before);
    if (heap_before == 0) GTEST_SKIP() << "the sanitizer's heap isn't counted";
    EXPECT_LE(heap_after, heap_before + 8 * 1024);
}
