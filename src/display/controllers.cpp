// SPDX-License-Identifier: Zlib
#include "api/controllers.h"

#include "display/frame_state.h"
#include "frame/boundary.h"

#include <SDL.h>

#include <cstring>

using namespace halvorin;

namespace {

SDL_Joystick* joystick(void* controller) {
    return static_cast<SDL_Joystick*>(controller);
}

SDL_Haptic* haptic_device(void* haptic) {
    return static_cast<SDL_Haptic*>(haptic);
}

Slice slice_of(const char* text) {
    if (text == nullptr) return {nullptr, 0};
    return {const_cast<char*>(text), static_cast<i64>(std::strlen(text))};
}

// Where SDL2 answers with -1, 0 and 1.
template <class Answer> u8 low_byte(Answer answer) {
    return static_cast<u8>(answer);
}

} // namespace

b8 controller_is_added(i32* index) {
    if (index != nullptr) *index = lasting_state.controller_device_added_index;
    return poll_state.controller_device_added;
}

b8 controller_is_removed(void** handle) {
    if (handle != nullptr) *handle = lasting_state.controller_device_removed_handle;
    return poll_state.controller_device_removed;
}

i64 controller_num(void) {
    return SDL_NumJoysticks();
}

void controller_name_for_index(Slice* result, i32 index) {
    *result = slice_of(SDL_JoystickNameForIndex(index));
}

void* controller_open(i32 index) {
    return SDL_JoystickOpen(index);
}

void controller_close(void* controller) {
    SDL_JoystickClose(joystick(controller));
}

void controller_name(Slice* result, void* controller) {
    *result = slice_of(SDL_JoystickName(joystick(controller)));
}

i32 controller_num_buttons(void* controller) {
    return SDL_JoystickNumButtons(joystick(controller));
}

i32 controller_num_axes(void* controller) {
    return SDL_JoystickNumAxes(joystick(controller));
}

i32 controller_num_balls(void* controller) {
    return SDL_JoystickNumBalls(joystick(controller));
}

i32 controller_num_hats(void* controller) {
    return SDL_JoystickNumHats(joystick(controller));
}

u8 controller_is_haptic(void* controller) {
    return low_byte(SDL_JoystickIsHaptic(joystick(controller)));
}

u8 controller_is_connected(void* controller) {
    return low_byte(SDL_JoystickGetAttached(joystick(controller)));
}

controller_power_level controller_power(void* controller) {
    switch (SDL_JoystickCurrentPowerLevel(joystick(controller))) {
    case SDL_JOYSTICK_POWER_EMPTY: return CONTROLLER_POWER_EMPTY;
    case SDL_JOYSTICK_POWER_LOW: return CONTROLLER_POWER_LOW;
    case SDL_JOYSTICK_POWER_MEDIUM: return CONTROLLER_POWER_MEDIUM;
    case SDL_JOYSTICK_POWER_FULL: return CONTROLLER_POWER_FULL;
    case SDL_JOYSTICK_POWER_WIRED: return CONTROLLER_POWER_WIRED;
    case SDL_JOYSTICK_POWER_MAX: return CONTROLLER_POWER_MAX;
    default: return CONTROLLER_POWER_UNKNOWN;
    }
}

// SDL2 compares the numbers of inputs with how many there are, and reads ahead of its lists where
// they are negative.

u8 controller_button(void* controller, i32 button) {
    return button < 0 ? u8{0} : SDL_JoystickGetButton(joystick(controller), button);
}

i16 controller_axis(void* controller, i32 axis) {
    return axis < 0 ? i16{0} : SDL_JoystickGetAxis(joystick(controller), axis);
}

i32 controller_ball(void* controller, i32 ball, i32* dx, i32* dy) {
    return ball < 0 ? -1 : SDL_JoystickGetBall(joystick(controller), ball, dx, dy);
}

u8 controller_hat(void* controller, i32 hat) {
    return hat < 0 ? u8{0} : SDL_JoystickGetHat(joystick(controller), hat);
}

void* haptic_open_controller(void* controller) {
    return SDL_HapticOpenFromJoystick(joystick(controller));
}

void* haptic_open_mouse(void) {
    return SDL_HapticOpenFromMouse();
}

void haptic_close(void* haptic) {
    SDL_HapticClose(haptic_device(haptic));
}

u8 haptic_has_rumble(void* haptic) {
    return low_byte(SDL_HapticRumbleSupported(haptic_device(haptic)));
}

b8 haptic_init_rumble(void* haptic) {
    return SDL_HapticRumbleInit(haptic_device(haptic)) == 0;
}

i32 haptic_play_rumble(void* haptic, f32_bits strength, u32 length) {
    return SDL_HapticRumblePlay(haptic_device(haptic), value_of(strength), length);
}

i32 haptic_stop_rumble(void* haptic) {
    return SDL_HapticRumbleStop(haptic_device(haptic));
}
