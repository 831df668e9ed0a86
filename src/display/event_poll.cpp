// SPDX-License-Identifier: Zlib
#include "api/display.h"
#include "api/input.h"
#include "display/frame_state.h"
#include "frame/boundary.h"

#include <SDL.h>

#include <cstring>
#include <emmintrin.h>

namespace halvorin {

constinit PollState poll_state = {};
constinit HeldState held_state = {};
constinit LastingState lasting_state = {};

namespace {

// This is the poll's whole cost on an empty queue. Left to itself g++ turns the clearing into a
// string store that takes four times as long.
void clear_poll_state() {
    auto* block = reinterpret_cast<__m128i*>(&poll_state);
    const __m128i zero = _mm_setzero_si128();
#pragma GCC unroll 16
    for (std::size_t i = 0; i < sizeof(poll_state) / sizeof(__m128i); i++) {
        _mm_store_si128(block + i, zero);
    }
}

void change(u8& count, int by) {
    count = static_cast<u8>(count + by);
}

// The code that stands for a left and right pair, or KEY_NONE for any other key.
u8 shared_code(u8 code) {
    static_assert(KEY_RIGHT_CONTROL == KEY_LEFT_CONTROL + 4 && KEY_SYSTEM == KEY_CONTROL + 3);
    if (code < KEY_LEFT_CONTROL || code > KEY_RIGHT_SYSTEM) return KEY_NONE;
    return static_cast<u8>(KEY_CONTROL + (code - KEY_LEFT_CONTROL) % 4);
}

// False for a scancode without a key of ours. It is read as a number: anyone may push an event with
// one that SDL2's enumeration can't hold.
bool find_key(const SDL_Keysym& symbol, u8& code) {
    u32 scancode = 0;
    std::memcpy(&scancode, &symbol.scancode, sizeof(scancode));
    if (scancode >= sizeof(to_key_code)) return false;
    code = to_key_code[scancode];
    return code < KEY_CODES;
}

void key_down(const SDL_KeyboardEvent& event) {
    u8 code = KEY_NONE;
    if (event.repeat != 0 || !find_key(event.keysym, code)) return;
    change(held_state.keys_held[KEY_ANY], 1);
    poll_state.keys_pressed[KEY_ANY] = 1;
    poll_state.keys_pressed[code] = 1;
    held_state.keys_held[code] = 1;
    held_state.key_last_pressed = code;
    if (const u8 shared = shared_code(code); shared != KEY_NONE) {
        poll_state.keys_pressed[shared] = 1;
        change(held_state.keys_held[shared], 1);
    }
}

void key_up(const SDL_KeyboardEvent& event) {
    u8 code = KEY_NONE;
    if (event.repeat != 0 || !find_key(event.keysym, code)) return;
    change(held_state.keys_held[KEY_ANY], -1);
    poll_state.keys_released[KEY_ANY] = 1;
    poll_state.keys_released[code] = 1;
    held_state.keys_held[code] = 0;
    held_state.key_last_released = code;
    if (const u8 shared = shared_code(code); shared != KEY_NONE) {
        poll_state.keys_released[shared] = 1;
        change(held_state.keys_held[shared], -1);
    }
}

// MOUSE_NONE for the side buttons, which have no code.
u8 button_code(u8 sdl_button) {
    static_assert(SDL_BUTTON_LEFT == 1 && SDL_BUTTON_MIDDLE == 2 && SDL_BUTTON_RIGHT == 3);
    if (sdl_button < SDL_BUTTON_LEFT || sdl_button > SDL_BUTTON_RIGHT) return MOUSE_NONE;
    return static_cast<u8>(sdl_button - SDL_BUTTON_LEFT + MOUSE_LEFT);
}

void button_down(const SDL_MouseButtonEvent& event) {
    const u8 code = button_code(event.button);
    if (code == MOUSE_NONE) return;
    poll_state.mouse_buttons_pressed[MOUSE_ANY] = 1;
    change(held_state.mouse_buttons_held[MOUSE_ANY], 1);
    held_state.mouse_button_last_pressed = code;
    poll_state.mouse_buttons_pressed[code] = 1;
    held_state.mouse_buttons_held[code] = 1;
}

void button_up(const SDL_MouseButtonEvent& event) {
    const u8 code = button_code(event.button);
    if (code == MOUSE_NONE) return;
    poll_state.mouse_buttons_released[MOUSE_ANY] = 1;
    change(held_state.mouse_buttons_held[MOUSE_ANY], -1);
    held_state.mouse_button_last_released = code;
    poll_state.mouse_buttons_released[code] = 1;
    held_state.mouse_buttons_held[code] = 0;
}

// The host's own injected events may move it any way.
void mouse_motion(const SDL_MouseMotionEvent& event) {
    lasting_state.mouse_x = event.x;
    lasting_state.mouse_y = event.y;
    poll_state.mouse_moved_x = wrapping_sum(poll_state.mouse_moved_x, event.xrel);
    poll_state.mouse_moved_y = wrapping_sum(poll_state.mouse_moved_y, event.yrel);
}

void window_changed(const SDL_WindowEvent& event) {
    if (event.windowID != sdl_window_id) return;
    switch (event.event) {
    case SDL_WINDOWEVENT_RESIZED:
        poll_state.window_resized = true;
        lasting_state.window_new_width = event.data1;
        lasting_state.window_new_height = event.data2;
        break;
    case SDL_WINDOWEVENT_MINIMIZED: poll_state.window_minimized = true; break;
    case SDL_WINDOWEVENT_MAXIMIZED: poll_state.window_maximized = true; break;
    case SDL_WINDOWEVENT_RESTORED: poll_state.window_restored = true; break;
    case SDL_WINDOWEVENT_ENTER: poll_state.window_entered = true; break;
    case SDL_WINDOWEVENT_LEAVE: poll_state.window_left = true; break;
    case SDL_WINDOWEVENT_FOCUS_GAINED: poll_state.window_focus_gained = true; break;
    case SDL_WINDOWEVENT_FOCUS_LOST: poll_state.window_focus_lost = true; break;
    case SDL_WINDOWEVENT_CLOSE: poll_state.window_closed = true; break;
    default: break;
    }
}

void controller_added(const SDL_JoyDeviceEvent& event) {
    poll_state.controller_device_added = true;
    lasting_state.controller_device_added_index = event.which;
}

void controller_removed(const SDL_JoyDeviceEvent& event) {
    poll_state.controller_device_removed = true;
    lasting_state.controller_device_removed_handle = SDL_JoystickFromInstanceID(event.which);
}

// Anyone may push a drop without a path into SDL2's queue.
void file_dropped(const SDL_DropEvent& event) {
    if (event.file == nullptr) return;
    const std::size_t length = strnlen(event.file, dropped_file_size);
    std::memcpy(lasting_state.dropped_file_data, event.file, length);
    poll_state.dropped_file_length = static_cast<i32>(length);
    SDL_free(event.file);
}

void handle(const SDL_Event& event) {
    switch (event.type) {
    case SDL_QUIT: poll_state.window_closed = true; break;
    case SDL_WINDOWEVENT: window_changed(event.window); break;
    case SDL_KEYDOWN: key_down(event.key); break;
    case SDL_KEYUP: key_up(event.key); break;
    case SDL_MOUSEMOTION: mouse_motion(event.motion); break;
    case SDL_MOUSEBUTTONDOWN: button_down(event.button); break;
    case SDL_MOUSEBUTTONUP: button_up(event.button); break;
    case SDL_MOUSEWHEEL:
        poll_state.mouse_wheel = wrapping_sum(poll_state.mouse_wheel, event.wheel.y);
        break;
    case SDL_JOYDEVICEADDED: controller_added(event.jdevice); break;
    case SDL_JOYDEVICEREMOVED: controller_removed(event.jdevice); break;
    case SDL_DROPFILE: file_dropped(event.drop); break;
    // Dropped texts are of no use here, nor are long ones being written, but they are ours to free.
    case SDL_DROPTEXT: SDL_free(event.drop.file); break;
#if SDL_VERSION_ATLEAST(2, 0, 22)
    case SDL_TEXTEDITING_EXT: SDL_free(event.editExt.text); break;
#endif
    default: break;
    }
}

} // namespace

void clear_frame_state() {
    clear_poll_state();
    held_state = {};
}

} // namespace halvorin

void input_poll() {
    halvorin::clear_poll_state();
    SDL_Event event;
    while (SDL_PollEvent(&event) != 0) {
        halvorin::handle(event);
    }
}
