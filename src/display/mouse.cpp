// SPDX-License-Identifier: Zlib
#include "api/frame.h"
#include "api/input.h"
#include "display/frame_state.h"
#include "display/window.h"
#include "frame/boundary.h"
#include "frame/lifecycle.h"

#include <SDL.h>

#include <iterator>

using namespace halvorin;

namespace {

u8 entry(const u8 (&buttons)[MOUSE_BUTTONS], mouse_button button) {
    button = low_bits(button);
    return button < MOUSE_BUTTONS ? buttons[button] : u8{0};
}

} // namespace

mouse_button input_last_pressed_mouse_button() {
    return held_state.mouse_button_last_pressed;
}

mouse_button input_last_released_mouse_button() {
    return held_state.mouse_button_last_released;
}

b8 input_mouse_is_pressed(mouse_button button) {
    return entry(poll_state.mouse_buttons_pressed, button);
}

b8 input_mouse_is_released(mouse_button button) {
    return entry(poll_state.mouse_buttons_released, button);
}

b8 input_mouse_is_held(mouse_button button) {
    return entry(held_state.mouse_buttons_held, button);
}

void input_mouse_held_state(Slice* result) {
    *result = {held_state.mouse_buttons_held, MOUSE_BUTTONS};
}

void input_mouse_pressed_state(Slice* result) {
    *result = {poll_state.mouse_buttons_pressed, MOUSE_BUTTONS};
}

void input_mouse_released_state(Slice* result) {
    *result = {poll_state.mouse_buttons_released, MOUSE_BUTTONS};
}

i32 input_mouse_wheel() {
    return poll_state.mouse_wheel;
}

void input_mouse_moved(i32* x, i32* y) {
    *x = poll_state.mouse_moved_x;
    *y = poll_state.mouse_moved_y;
}

void input_mouse_position(i32* x, i32* y) {
    *x = lasting_state.mouse_x;
    *y = lasting_state.mouse_y;
}

void input_mouse_global_position(i32* x, i32* y) {
    if (video_driver_is_gone()) {
        *x = *y = 0;
        return;
    }
    SDL_GetGlobalMouseState(x, y);
}

void input_mouse_set_visible(b8 on) {
    if (video_driver_is_gone()) return;
    SDL_ShowCursor(is_true(on) ? SDL_ENABLE : SDL_DISABLE);
}

void input_mouse_set_relative(b8 on) {
    if (video_driver_is_gone()) return;
    SDL_SetRelativeMouseMode(is_true(on) ? SDL_TRUE : SDL_FALSE);
}

void input_mouse_set_position(i32 x, i32 y) {
    SDL_WarpMouseInWindow(live_window(), x, y);
}

void input_mouse_set_global_position(i32 x, i32 y) {
    if (video_driver_is_gone()) return;
    SDL_WarpMouseGlobal(x, y);
}

void input_mouse_set_cursor(cursor_kind cursor) {
    cursor = low_bits(cursor);
    if (cursor >= std::size(system_cursors) || video_driver_is_gone()) return;
    SDL_SetCursor(static_cast<SDL_Cursor*>(system_cursors[cursor]));
}

b8 input_mouse_is_haptic() {
    return SDL_MouseIsHaptic() != 0;
}
