// SPDX-License-Identifier: Zlib
#include "support/common.h"

#include "api/system.h"

#include <SDL.h>
#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

// Controllers on SDL2's virtual joysticks. What these can't do (rumble, balls, batteries, devices
// without a name) is played by functions that stand in for SDL2's: the library's calls come here.

namespace {

struct HapticCall {
    std::string function;
    void* device;
    u32 strength, length;
    bool operator==(const HapticCall&) const = default;
};

std::vector<HapticCall> haptic_calls;
int answer = 0;
SDL_JoystickPowerLevel power = SDL_JOYSTICK_POWER_UNKNOWN;
SDL_Joystick* const strange = reinterpret_cast<SDL_Joystick*>(0x1234);
SDL_Haptic* const haptic = reinterpret_cast<SDL_Haptic*>(0x5678);
const char* strange_name = nullptr;

int record(const char* function, void* argument, float strength = 0, u32 length = 0) {
    haptic_calls.push_back({function, argument, std::bit_cast<u32>(strength), length});
    return answer;
}

} // namespace

extern "C" {

int SDL_HapticRumbleSupported(SDL_Haptic* device) {
    return record("supported", device);
}

int SDL_HapticRumbleInit(SDL_Haptic* device) {
    return record("init", device);
}

int SDL_HapticRumblePlay(SDL_Haptic* device, float strength, Uint32 length) {
    return record("play", device, strength, length);
}

int SDL_JoystickIsHaptic(SDL_Joystick* joystick) {
    return record("is haptic", joystick);
}

SDL_JoystickPowerLevel SDL_JoystickCurrentPowerLevel(SDL_Joystick*) {
    return power;
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

std::string name_of(i32 index) {
    Slice name = {&name, -1};
    controller_name_for_index(&name, index);
    return text_of(name);
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
        haptic_calls.clear();
        answer = 0;
    }

    void TearDown() override {
        system_release();
    }

    // Its index among the devices; the test is over without one.
    static i32 attach(const char* name, u16 axes = 2, u16 buttons = 3, u16 hats = 1) {
        SDL_VirtualJoystickDesc device = {};
        device.version = SDL_VIRTUAL_JOYSTICK_DESC_VERSION;
        device.type = SDL_JOYSTICK_TYPE_GAMECONTROLLER;
        device.name = name;
        device.naxes = axes;
        device.nbuttons = buttons;
        device.nhats = hats;
        const i32 index = SDL_JoystickAttachVirtualEx(&device);
        EXPECT_GE(index, 0) << SDL_GetError();
        return index;
    }
};

// What the two questions write, ahead of any device in this process and behind each poll.
struct Changes {
    i32 added_index = -5;
    void* removed_handle = this;
    b8 added = controller_is_added(&added_index);
    b8 removed = controller_is_removed(&removed_handle);
};
const Changes first;

// The last one that came and the last one that went, or none in this poll.
void expect_changes(bool added, i32 index, bool removed, void* handle) {
    const Changes now;
    EXPECT_EQ(now.added, added);
    EXPECT_EQ(now.added_index, index);
    EXPECT_EQ(now.removed, removed);
    EXPECT_EQ(now.removed_handle, handle);
    EXPECT_EQ(controller_is_added(nullptr), added);
    EXPECT_EQ(controller_is_removed(nullptr), removed);
}

} // namespace

TEST_F(ControllersTest, NothingIsThereWithoutDevices) {
    EXPECT_EQ(first.added_index, 0);
    EXPECT_EQ(first.removed_handle, nullptr);
    EXPECT_EQ(first.added + first.removed, 0);
    EXPECT_EQ(controller_num(), 0);
    for (const i32 index : {0, 1, -1, std::numeric_limits<i32>::min()}) {
        EXPECT_EQ(controller_open(index), nullptr);
        Slice name = {&name, -1};
        controller_name_for_index(&name, index);
        EXPECT_EQ(name.data, nullptr);
        EXPECT_EQ(name.count, 0);
    }
    EXPECT_LT(controller_num_buttons(nullptr), 0);
    EXPECT_LT(controller_num_axes(nullptr), 0);
    EXPECT_LT(controller_num_hats(nullptr), 0);
    EXPECT_EQ(controller_button(nullptr, 0) + controller_axis(nullptr, 0), 0);
    EXPECT_EQ(controller_hat(nullptr, 0) + controller_is_connected(nullptr), 0);
    controller_close(nullptr);
}

TEST_F(ControllersTest, DevicesComeAndGoBetweenPolls) {
    void* const before = Changes().removed_handle; // the tests' processes may be one
    const i32 pad = attach("first pad");
    EXPECT_EQ(controller_is_added(nullptr), 0) << "only a poll brings it";
    input_poll();
    expect_changes(true, pad, false, before);
    EXPECT_EQ(controller_num(), 1);

    const i32 second = attach("second pad");
    const i32 third = attach("third pad");
    input_poll();
    expect_changes(true, third, false, before);
    EXPECT_EQ(controller_num(), 3);
    EXPECT_EQ(name_of(pad) + name_of(second), "first padsecond pad");

    void* const open = controller_open(pad);
    ASSERT_NE(open, nullptr);
    EXPECT_EQ(controller_open(pad), open);
    controller_close(open);
    input_poll();
    expect_changes(false, third, false, before);

    // One that is open leaves and another arrives, in one poll.
    EXPECT_EQ(SDL_JoystickDetachVirtual(pad), 0);
    const i32 fourth = attach("fourth pad");
    EXPECT_EQ(controller_is_removed(nullptr), 0);
    input_poll();
    expect_changes(true, fourth, true, open);
    EXPECT_EQ(controller_is_connected(open), 0);
    EXPECT_EQ(controller_num_buttons(open), 3) << "it stays open";
    input_poll();
    expect_changes(false, fourth, false, open);
    controller_close(open);

    // One that was never open leaves.
    EXPECT_EQ(SDL_JoystickDetachVirtual(0), 0);
    input_poll();
    expect_changes(false, fourth, true, nullptr);
}

TEST_F(ControllersTest, InputsAreWhatThePollBrought) {
    void* const pad = controller_open(attach("pad", 3, 5, 2));
    auto* const joystick = static_cast<SDL_Joystick*>(pad);
    ASSERT_NE(pad, nullptr);
    EXPECT_EQ(controller_num_axes(pad), 3);
    EXPECT_EQ(controller_num_buttons(pad), 5);
    EXPECT_EQ(controller_num_hats(pad), 2);
    EXPECT_EQ(controller_is_connected(pad), 1);
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

    constexpr i32 least = std::numeric_limits<i32>::min();
    for (const i32 number : {5, 6, 1000000, std::numeric_limits<i32>::max(), -1, -4096, least}) {
        SCOPED_TRACE(number);
        i32 dx = 7;
        i32 dy = 8;
        EXPECT_EQ(controller_button(pad, number) + controller_hat(pad, number), 0);
        EXPECT_EQ(controller_axis(pad, number), 0);
        EXPECT_LT(controller_ball(pad, number, &dx, &dy), 0);
        EXPECT_EQ(dx * 10 + dy, 78);
    }
    SDL_JoystickSetVirtualButton(joystick, 4, 0);
    input_poll();
    EXPECT_EQ(controller_button(pad, 4), 0);
    controller_close(pad);
}

TEST_F(ControllersTest, NamesAreTheTextsOfSdl) {
    Slice name = {&name, -1};
    for (const char* text : {"a pad", "Gerät → 窓", ""}) {
        strange_name = text;
        controller_name(&name, strange);
        EXPECT_EQ(name.data, text);
        EXPECT_EQ(name.count, static_cast<i64>(std::strlen(text)));
    }
    strange_name = nullptr;
    controller_name(&name, strange);
    EXPECT_EQ(name.data, nullptr);
    EXPECT_EQ(name.count, 0);
}

TEST_F(ControllersTest, BallsGiveTheirMotionAndPowerItsLevel) {
    i32 dx = 1;
    i32 dy = 2;
    EXPECT_EQ(controller_ball(strange, 2, &dx, &dy), 0);
    EXPECT_EQ(dx, -2);
    EXPECT_EQ(dy, std::numeric_limits<i32>::min());
    EXPECT_EQ(controller_ball(strange, 3, &dx, &dy), -7);

    const i32 levels[] = {CONTROLLER_POWER_UNKNOWN, CONTROLLER_POWER_EMPTY,  CONTROLLER_POWER_LOW,
                          CONTROLLER_POWER_MEDIUM,  CONTROLLER_POWER_FULL,   CONTROLLER_POWER_WIRED,
                          CONTROLLER_POWER_MAX,     CONTROLLER_POWER_UNKNOWN};
    for (int level = -1; level < 7; level++) {
        power = static_cast<SDL_JoystickPowerLevel>(level);
        EXPECT_EQ(controller_power(strange), levels[level + 1]) << level;
    }
}

// Where the library does more than ask SDL2.
TEST_F(ControllersTest, HapticAnswersAreCutToTheirBytesAndStrengthIsTakenToTheBit) {
    const struct {
        int answer;
        u8 byte;
        b8 ready;
        u32 strength, length;
    } cases[] = {{0, 0, 1, 0x3F000000, 0},           // a half
                 {1, 1, 0, 0x3FC00000, 250},         // more than one
                 {-1, 255, 0, 0xBF800000, 1u << 31}, // less than nothing
                 {0x100, 0, 0, 0x7FC12345, ~0u}};    // not a number
    for (const auto& c : cases) {
        SCOPED_TRACE(c.answer);
        answer = c.answer;
        haptic_calls.clear();
        EXPECT_EQ(controller_is_haptic(strange), c.byte);
        EXPECT_EQ(haptic_has_rumble(haptic), c.byte);
        EXPECT_EQ(haptic_init_rumble(haptic), c.ready);
        EXPECT_EQ(haptic_play_rumble(haptic, c.strength, c.length), c.answer);
        const std::vector<HapticCall> expected = {{"is haptic", strange, 0, 0},
                                                  {"supported", haptic, 0, 0},
                                                  {"init", haptic, 0, 0},
                                                  {"play", haptic, c.strength, c.length}};
        EXPECT_EQ(haptic_calls, expected);
    }
}
