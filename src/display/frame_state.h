// SPDX-License-Identifier: Zlib
#pragma once

#include "api/input.h"

// What input_poll leaves behind and every question to keyboard, mouse, window and controllers
// reads.
namespace halvorin {

inline constexpr i32 dropped_file_size = 256;

// What happened since the poll before. All of it is cleared at the start of each poll, in one go.
struct alignas(16) PollState {
    u8 keys_pressed[KEY_CODES];
    u8 keys_released[KEY_CODES];
    i32 mouse_moved_x;
    i32 mouse_moved_y;
    i32 mouse_wheel;
    i32 dropped_file_length;
    u8 mouse_buttons_pressed[MOUSE_BUTTONS];
    u8 mouse_buttons_released[MOUSE_BUTTONS];
    bool window_resized;
    bool window_minimized;
    bool window_maximized;
    bool window_restored;
    bool window_entered;
    bool window_left;
    bool window_focus_gained;
    bool window_focus_lost;
    bool window_closed;
    bool controller_device_added;
    bool controller_device_removed;
};
static_assert(sizeof(PollState) == 256);

// What system_init clears and otherwise only events change.
struct HeldState {
    u8 keys_held[KEY_CODES];
    u8 mouse_buttons_held[MOUSE_BUTTONS];
    u8 key_last_pressed;
    u8 key_last_released;
    u8 mouse_button_last_pressed;
    u8 mouse_button_last_released;
};

// What nothing but events ever changes.
struct LastingState {
    i32 mouse_x;
    i32 mouse_y;
    i32 window_new_width;
    i32 window_new_height;
    i32 controller_device_added_index;
    void* controller_device_removed_handle;
    u8 dropped_file_data[dropped_file_size];
};

extern PollState poll_state;
extern HeldState held_state;
extern LastingState lasting_state;

// For system_init.
void build_key_table();
void clear_frame_state();

} // namespace halvorin
