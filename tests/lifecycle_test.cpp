// SPDX-License-Identifier: Zlib
#include "support/common.h"
#include "support/events.h"

#include "api/system.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <string>

// Start, stop and services, seen from a host that also looks at SDL2 itself.

namespace {

constexpr u32 all_parts = SYSTEM_INIT_TIMER | SYSTEM_INIT_AUDIO | SYSTEM_INIT_VIDEO |
                          SYSTEM_INIT_EVENTS | SYSTEM_INIT_JOYSTICK | SYSTEM_INIT_HAPTIC;

class LifecycleTest : public testing::Test {
protected:
    void TearDown() override {
        display_close();
        system_release();
    }
};

using ServicesTest = LifecycleTest;

} // namespace

TEST_F(LifecycleTest, EachFlagStartsItsPartAndHigherBitsAreIgnored) {
    const struct {
        u32 host, sdl;
    } cases[] = {
        {0, 0},
        {SYSTEM_INIT_TIMER, SDL_INIT_TIMER},
        {SYSTEM_INIT_AUDIO, SDL_INIT_AUDIO | SDL_INIT_EVENTS},
        {SYSTEM_INIT_VIDEO, SDL_INIT_VIDEO | SDL_INIT_EVENTS},
        {SYSTEM_INIT_EVENTS, SDL_INIT_EVENTS},
        {SYSTEM_INIT_JOYSTICK, SDL_INIT_JOYSTICK | SDL_INIT_EVENTS},
        {SYSTEM_INIT_HAPTIC, SDL_INIT_HAPTIC},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.host);
        system_init(c.host | 0xFFFFFFC0u);
        EXPECT_EQ(SDL_WasInit(0), c.sdl);
        system_init(c.host);
        system_release();
        EXPECT_EQ(SDL_WasInit(0), 0u) << "however often it was started";
    }
}

TEST_F(LifecycleTest, APartThatCannotStartCostsNoOther) {
    setenv("SDL_AUDIODRIVER", "nonexistent", 1);
    system_init(all_parts);
    EXPECT_EQ(SDL_WasInit(SDL_INIT_AUDIO), 0u);
    const u32 others = SDL_INIT_TIMER | SDL_INIT_VIDEO | SDL_INIT_EVENTS | SDL_INIT_JOYSTICK;
    EXPECT_EQ(SDL_WasInit(others), others);
    EXPECT_EQ(display_open(64, 64, slice("no sound"), DISPLAY_HIDDEN, 0), 1);
    int profile = 0;
    SDL_GL_GetAttribute(SDL_GL_CONTEXT_PROFILE_MASK, &profile);
    EXPECT_EQ(profile, SDL_GL_CONTEXT_PROFILE_CORE);
    display_close();
    system_release();

    const std::string driver = std::getenv("SDL_VIDEODRIVER");
    setenv("SDL_AUDIODRIVER", "dummy", 1);
    setenv("SDL_VIDEODRIVER", "nonexistent", 1);
    system_init(all_parts);
    EXPECT_EQ(SDL_WasInit(SDL_INIT_AUDIO | SDL_INIT_VIDEO), u32{SDL_INIT_AUDIO});
    EXPECT_EQ(std::count(system_cursors, system_cursors + 12, nullptr), 12);
    EXPECT_EQ(display_open(64, 64, slice("no video"), DISPLAY_SOFTWARE, 0), 0);
    input_poll();
    setenv("SDL_VIDEODRIVER", driver.c_str(), 1);
}

TEST_F(LifecycleTest, InitWithEventsClearsWhatHappenedAndKeepsWhereThingsAre) {
    system_init(SYSTEM_INIT_VIDEO | SYSTEM_INIT_EVENTS);
    ASSERT_EQ(display_open(64, 64, slice("display"), DISPLAY_SOFTWARE, 0), 1);
    input_poll();
    push_key(SDL_SCANCODE_A, true);
    push_motion(11, 12, 3, 0);
    push_drop(SDL_DROPFILE, "/a/path");
    push_button(SDL_BUTTON_RIGHT, true);
    push_quit();
    input_poll();
    // With other parts, what happened stays.
    for (const auto& [flags, count] : {std::pair<u32, u8>{all_parts & ~u32{SYSTEM_INIT_EVENTS}, 1},
                                       std::pair<u32, u8>{SYSTEM_INIT_EVENTS, 0}}) {
        system_init(flags);
        Slice drop = {};
        display_file_dropped(&drop);
        i32 x = 0, y = 0;
        input_mouse_moved(&x, &y);
        EXPECT_EQ(x, count * 3);
        EXPECT_EQ(input_key_is_held(KEY_ANY), count);
        EXPECT_EQ(input_key_is_pressed(KEY_A), count);
        EXPECT_EQ(input_mouse_is_held(MOUSE_ANY), count);
        EXPECT_EQ(input_last_pressed_mouse_button(), count * MOUSE_RIGHT);
        EXPECT_EQ(display_is_closed(), count);
        EXPECT_EQ(drop.count, count * 7);
        EXPECT_EQ(std::string(static_cast<char*>(drop.data), 7), "/a/path");
        input_mouse_position(&x, &y);
        EXPECT_EQ(x, 11);
        EXPECT_EQ(y, 12);
    }
}

TEST_F(ServicesTest, ExecuteWaitsForTheShellAndRefusesOverLongCommands) {
    char folder[] = "/tmp/lifecycle_XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    const std::string mark = std::string(folder) + "/mark";
    std::string command = "sleep 0.2; touch " + mark + "; exit 3 #";
    command.resize(16384, 'x');
    system_execute(slice(command));
    EXPECT_FALSE(std::filesystem::exists(mark));
    command.pop_back();
    system_execute(slice(command));
    EXPECT_TRUE(std::filesystem::exists(mark));
    system_execute({nullptr, 0});
    system_execute(slice("rm -r " + std::string(folder) + std::string("\0 junk", 6)));
    EXPECT_FALSE(std::filesystem::exists(folder));
}

TEST_F(ServicesTest, ClocksAndSleepAgree) {
    const u64 counter = system_performance_counter(), ticks = system_ticks();
    EXPECT_NEAR(static_cast<double>(system_time()), static_cast<double>(std::time(nullptr)), 1.0);
    system_sleep(50);
    EXPECT_GE(system_performance_counter() - counter, system_performance_frequency() / 20);
    EXPECT_GE(system_ticks() - ticks, 49u);
}

TEST_F(ServicesTest, LibrariesAreLoadedSearchedAndUnloaded) {
    const char* const name = "libBrokenLocale.so.1";
    ASSERT_EQ(dlopen(name, RTLD_LAZY | RTLD_NOLOAD), nullptr);
    void* library = system_load_library(slice(name));
    ASSERT_NE(library, nullptr);
    // The byte behind a name isn't part of it.
    const Slice function = {const_cast<char*>("__ctype_get_mb_cur_max?"), 22};
    const auto longest_character =
        reinterpret_cast<std::size_t (*)()>(system_load_function(library, function));
    ASSERT_NE(longest_character, nullptr);
    EXPECT_EQ(longest_character(), 1u);
    EXPECT_EQ(system_load_function(library, {nullptr, 0}), nullptr);
    EXPECT_EQ(system_load_function(nullptr, slice("malloc")), nullptr);
    system_unload_library(library);
    EXPECT_EQ(dlopen(name, RTLD_LAZY | RTLD_NOLOAD), nullptr);
    system_unload_library(nullptr);
    // Cut off, it would be the path of the C library.
    EXPECT_EQ(system_load_library(slice("libc.so.6" + std::string(16384, '\0'))), nullptr);
}
