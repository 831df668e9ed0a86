// SPDX-License-Identifier: Zlib
#include "support/common.h"

#include "api/system.h"

#include <SDL.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>

// Controllers on SDL2's virtual joysticks. What these can't do (balls, batteries, devices without
// a name) is played by functions that stand in for SDL2's: the library's calls come here.

namespace {

int power = 0;
SDL_Joystick* const strange = reinterpret_cast<SDL_Joystick*>(0x1234);
const char* strange_name = nullptr;

} // namespace

extern "C" {

SDL_JoystickPowerLevel SDL_JoystickCurrentPowerLevel(SDL_Joystick*) {
    return static_cast<SDL_JoystickPowerLevel>(power);
}

const char* SDL_JoystickName(SDL_Joystick*) {
    return strange_name;
}

int SDL_JoystickGetBall(SDL_Joystick* joystick, int ball, int* dx, int* dy) {
    if (joystick != strange || ball >= 3) return -7;
    *dx = -ball;
    *dy = std::numeric_limits<int>::min();
    return 0;
}
}

namespace {

// Its index among the devices.
i32 attach(const char* name) {
    SDL_VirtualJoystickDesc device = {};
    device.version = SDL_VIRTUAL_JOYSTICK_DESC_VERSION;
    device.type = SDL_JOYSTICK_TYPE_GAMECONTROLLER;
    device.name = name;
    device.naxes = 3;
    device.nbuttons = 5;
    device.nhats = 2;
    const i32 index = SDL_JoystickAttachVirtualEx(&device);
    EXPECT_GE(index, 0) << SDL_GetError();
    return index;
}

class ControllersTest : public testing::Test {
protected:
    void SetUp() override {
        // Without the focus of a window, of which a test has none.
        SDL_SetHint(SDL_HINT_JOYSTICK_ALLOW_BACKGROUND_EVENTS, "1");
        system_init(SYSTEM_INIT_EVENTS | SYSTEM_INIT_JOYSTICK);
        while (controller_num() > 0) {
            if (SDL_JoystickDetachVirtual(0) != 0) GTEST_SKIP() << "a real controller is attached";
        }
        input_poll();
        input_poll();
    }

    void TearDown() override {
        system_release();
    }
};

// What the two questions say of the latest poll, and which devices came and went last.
void expect_changes(bool added, i32 index, bool removed, void* handle) {
    i32 added_index = -5;
    void* removed_handle = &added_index;
    EXPECT_EQ(controller_is_added(&added_index), added);
    EXPECT_EQ(controller_is_removed(&removed_handle), removed);
    EXPECT_EQ(added_index, index);
    EXPECT_EQ(removed_handle, handle);
    EXPECT_EQ(controller_is_added(nullptr), added);
    EXPECT_EQ(controller_is_removed(nullptr), removed);
}

} // namespace

TEST_F(ControllersTest, DevicesComeAndGoBetweenPolls) {
    void* before = nullptr; // the tests' processes may be one
    controller_is_removed(&before);
    EXPECT_EQ(controller_num(), 0);
    const i32 pad = attach("first pad");
    EXPECT_EQ(controller_is_added(nullptr), 0) << "only a poll brings it";
    input_poll();
    expect_changes(true, pad, false, before);
    const i32 second = attach("second pad");
    input_poll();
    expect_changes(true, second, false, before);
    EXPECT_EQ(controller_num(), 2);
    Slice name = {};
    controller_name_for_index(&name, second);
    EXPECT_EQ(text_of(name), "second pad");

    // One that is open leaves and another arrives, in one poll.
    void* const other = controller_open(second);
    void* const open = controller_open(pad);
    EXPECT_NE(other, open);
    EXPECT_EQ(SDL_JoystickDetachVirtual(pad), 0);
    const i32 third = attach("third pad");
    EXPECT_EQ(controller_is_removed(nullptr), 0);
    input_poll();
    expect_changes(true, third, true, open);
    EXPECT_EQ(controller_is_connected(open), 0);
    EXPECT_EQ(controller_is_connected(other), 1);
    EXPECT_EQ(controller_num_buttons(open), 5) << "it stays open";
    input_poll();
    expect_changes(false, third, false, open);
    controller_close(open);
    const SDL_JoystickID id = SDL_JoystickInstanceID(static_cast<SDL_Joystick*>(other));
    controller_close(other);
    EXPECT_EQ(SDL_JoystickFromInstanceID(id), nullptr);

    // One that isn't open leaves.
    EXPECT_EQ(SDL_JoystickDetachVirtual(0), 0);
    input_poll();
    expect_changes(false, third, true, nullptr);
}

TEST_F(ControllersTest, InputsAreWhatThePollBrought) {
    void* const pad = controller_open(attach("pad"));
    auto* const joystick = static_cast<SDL_Joystick*>(pad);
    ASSERT_NE(pad, nullptr);
    EXPECT_EQ(controller_num_axes(pad), 3);
    EXPECT_EQ(controller_num_buttons(pad), 5);
    EXPECT_EQ(controller_num_hats(pad), 2);
    EXPECT_EQ(controller_num_balls(pad), 0);
    input_poll();
    SDL_JoystickSetVirtualButton(joystick, 4, 1);
    SDL_JoystickSetVirtualAxis(joystick, 1, -32768);
    SDL_JoystickSetVirtualAxis(joystick, 2, 32767);
    SDL_JoystickSetVirtualHat(joystick, 1, SDL_HAT_LEFTUP);
    EXPECT_EQ(controller_button(pad, 4), 0) << "before the poll";
    input_poll();
    EXPECT_EQ(controller_button(pad, 4), 1);
    EXPECT_EQ(controller_button(pad, 3), 0);
    EXPECT_EQ(controller_axis(pad, 0), 0);
    EXPECT_EQ(controller_axis(pad, 1), -32768);
    EXPECT_EQ(controller_axis(pad, 2), 32767);
    EXPECT_EQ(controller_hat(pad, 0), 0);
    EXPECT_EQ(controller_hat(pad, 1), 8 | 1);

    for (const i32 number : {5, 1000000, -1, -4096, std::numeric_limits<i32>::min()}) {
        SCOPED_TRACE(number);
        i32 dx = 7;
        i32 dy = 8;
        EXPECT_EQ(controller_button(pad, number) + controller_hat(pad, number), 0);
        EXPECT_EQ(controller_axis(pad, number), 0);
        EXPECT_LT(controller_ball(strange, number, &dx, &dy), 0);
        EXPECT_EQ(dx * 10 + dy, 78);
    }
    controller_close(pad);
}

// What SDL2 powers, in the library's own form: a missing name, balls and levels.
TEST_F(ControllersTest, AnswersOfSdlAreTranslated) {
    Slice name = {};
    strange_name = "Gerät → 窓";
    controller_name(&name, strange);
    EXPECT_EQ(text_of(name), strange_name);
    strange_name = nullptr;
    controller_name(&name, strange);
    EXPECT_EQ(name.data, nullptr);
    EXPECT_EQ(name.count, 0);

    i32 dx = 1;
    i32 dy = 2;
    EXPECT_EQ(controller_ball(strange, 2, &dx, &dy), 0);
    EXPECT_EQ(dx, -2);
    EXPECT_EQ(dy, std::numeric_limits<i32>::min());
    EXPECT_EQ(controller_ball(strange, 3, &dx, &dy), -7);

    const i32 levels[] = {CONTROLLER_POWER_UNKNOWN, CONTROLLER_POWER_EMPTY,  CONTROLLER_POWER_LOW,
                          CONTROLLER_POWER_MEDIUM,  CONTROLLER_POWER_FULL,   CONTROLLER_POWER_WIRED,
                          CONTROLLER_POWER_MAX,     CONTROLLER_POWER_UNKNOWN};
    for (power = -1; power < 7; power++) {
        EXPECT_EQ(controller_power(strange), levels[power + 1]) << power;
    }
}
