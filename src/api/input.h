/* SPDX-License-Identifier: Zlib */
#pragma once

/**
 * The event poll, keyboard and mouse.
 *
 * There is no event callback. Once a frame the host calls input_poll, which takes all that has
 * happened and leaves it as a state; every question after that is a read of a byte or two, with
 * the same answer until the next poll. "Pressed" and "released" say what happened in the latest
 * poll, "held" what is so now. Text is not delivered, only keys.
 *
 * Keys and buttons are small numbers of the library's own. KEY_ANY and MOUSE_ANY stand for all of
 * them together, KEY_CONTROL, KEY_SHIFT, KEY_ALT and KEY_SYSTEM for a left and right pair; at these
 * "held" is the number of keys that are down, so true can be more than 1.
 *
 * Numbers outside the enumerations read as 0 and set nothing.
 *
 * Calls, where nothing else is said:
 *
 * @thread   display
 * @memory   none
 * @failure  none
 * @heap     none
 * @waits    no
 */

#include "types.h"

/** Keys, by their place on a US keyboard. */
enum {
    KEY_NONE = 0, /**< no key */
    KEY_ANY = 1,  /**< all keys together */
    KEY_A = 2,
    KEY_B = 3,
    KEY_C = 4,
    KEY_D = 5,
    KEY_E = 6,
    KEY_F = 7,
    KEY_G = 8,
    KEY_H = 9,
    KEY_I = 10,
    KEY_J = 11,
    KEY_K = 12,
    KEY_L = 13,
    KEY_M = 14,
    KEY_N = 15,
    KEY_O = 16,
    KEY_P = 17,
    KEY_Q = 18,
    KEY_R = 19,
    KEY_S = 20,
    KEY_T = 21,
    KEY_U = 22,
    KEY_V = 23,
    KEY_W = 24,
    KEY_X = 25,
    KEY_Y = 26,
    KEY_Z = 27,
    KEY_0 = 28,
    KEY_1 = 29,
    KEY_2 = 30,
    KEY_3 = 31,
    KEY_4 = 32,
    KEY_5 = 33,
    KEY_6 = 34,
    KEY_7 = 35,
    KEY_8 = 36,
    KEY_9 = 37,
    KEY_LEFT = 38,
    KEY_RIGHT = 39,
    KEY_UP = 40,
    KEY_DOWN = 41,
    KEY_SPACE = 42,
    KEY_RETURN = 43,
    KEY_BACKSPACE = 44,
    KEY_TAB = 45,
    KEY_ESCAPE = 46,
    KEY_CONTROL = 47, /**< either of the pair, as the next three */
    KEY_SHIFT = 48,
    KEY_ALT = 49,
    KEY_SYSTEM = 50,
    KEY_LEFT_CONTROL = 51,
    KEY_LEFT_SHIFT = 52,
    KEY_LEFT_ALT = 53,
    KEY_LEFT_SYSTEM = 54,
    KEY_RIGHT_CONTROL = 55,
    KEY_RIGHT_SHIFT = 56,
    KEY_RIGHT_ALT = 57,
    KEY_RIGHT_SYSTEM = 58,
    KEY_APPLICATION = 59,
    KEY_LEFT_BRACKET = 60,
    KEY_RIGHT_BRACKET = 61,
    KEY_SEMICOLON = 62,
    KEY_COMMA = 63,
    KEY_PERIOD = 64,
    KEY_APOSTROPHE = 65,
    KEY_SLASH = 66,
    KEY_BACKSLASH = 67,
    KEY_GRAVE = 68,
    KEY_EQUALS = 69,
    KEY_MINUS = 70,
    KEY_CAPS_LOCK = 71,
    KEY_NUM_LOCK = 72,
    KEY_PRINT_SCREEN = 73,
    KEY_PAGE_UP = 74,
    KEY_PAGE_DOWN = 75,
    KEY_HOME = 76,
    KEY_END = 77,
    KEY_INSERT = 78,
    KEY_DELETE = 79,
    KEY_PAD_PLUS = 80,
    KEY_PAD_MINUS = 81,
    KEY_PAD_MULTIPLY = 82,
    KEY_PAD_DIVIDE = 83,
    KEY_PAD_0 = 84,
    KEY_PAD_1 = 85,
    KEY_PAD_2 = 86,
    KEY_PAD_3 = 87,
    KEY_PAD_4 = 88,
    KEY_PAD_5 = 89,
    KEY_PAD_6 = 90,
    KEY_PAD_7 = 91,
    KEY_PAD_8 = 92,
    KEY_PAD_9 = 93,
    KEY_PAD_PERIOD = 94,
    KEY_PAD_ENTER = 95,
    KEY_F1 = 96,
    KEY_F2 = 97,
    KEY_F3 = 98,
    KEY_F4 = 99,
    KEY_F5 = 100,
    KEY_F6 = 101,
    KEY_F7 = 102,
    KEY_F8 = 103,
    KEY_F9 = 104,
    KEY_F10 = 105,
    KEY_F11 = 106,
    KEY_F12 = 107
};

/** A KEY_ number. */
typedef u8 key_code;

/** Number of key codes: the `count` of the three key states. */
enum {
    KEY_CODES = 108
};

/** Mouse buttons. */
enum {
    MOUSE_NONE = 0, /**< no button */
    MOUSE_ANY = 1,  /**< all buttons together */
    MOUSE_LEFT = 2,
    MOUSE_MIDDLE = 3,
    MOUSE_RIGHT = 4
};

/** A MOUSE_ number. */
typedef u8 mouse_button;

/** Number of button codes: the `count` of the three button states. */
enum {
    MOUSE_BUTTONS = 5
};

/** Bits of input_key_modifiers. */
enum {
    KEY_MODIFIER_CONTROL = 1,
    KEY_MODIFIER_SHIFT = 2,
    KEY_MODIFIER_ALT = 4,
    KEY_MODIFIER_SYSTEM = 8,
    KEY_MODIFIER_CAPS_LOCK = 16,
    KEY_MODIFIER_NUM_LOCK = 32
};

/** A set of KEY_MODIFIER_ bits. */
typedef u8 key_modifiers;

/** System cursors, the index into `system_cursors`. */
enum {
    CURSOR_ARROW = 0,
    CURSOR_TEXT = 1,
    CURSOR_WAIT = 2,
    CURSOR_CROSSHAIR = 3,
    CURSOR_WAIT_ARROW = 4,
    CURSOR_SIZE_NWSE = 5,
    CURSOR_SIZE_NESW = 6,
    CURSOR_SIZE_WE = 7,
    CURSOR_SIZE_NS = 8,
    CURSOR_SIZE_ALL = 9,
    CURSOR_NO = 10,
    CURSOR_HAND = 11
};

/** A CURSOR_ number. */
typedef u8 cursor_kind;

/**
 * The key code of each SDL2 scancode from 0 to 284, 255 where there is none. Built by system_init
 * with SYSTEM_INIT_EVENTS, all 0 before. Read-only for the host.
 *
 * @lifetime  always valid: only system_init changes it.
 * @failure   255
 */
HALVORIN_DATA u8 to_key_code[285];

/**
 * Takes all events since the last poll and updates the state. Allocates nothing of its own; SDL2
 * may, for events of kinds or numbers that it hasn't had before.
 *
 * @heap  SDL2
 */
HALVORIN_API void input_poll(void);

/** The key that went down, or up, last; KEY_NONE before there was one. Stays across polls. */
HALVORIN_API key_code input_last_pressed_key(void);
HALVORIN_API key_code input_last_released_key(void);

/** The key went down, or up, in the latest poll. Repeats of a held key don't count. */
HALVORIN_API b8 input_key_is_pressed(key_code key);
HALVORIN_API b8 input_key_is_released(key_code key);

/** The key is down. At KEY_ANY and the four pairs the number of keys that are. */
HALVORIN_API b8 input_key_is_held(key_code key);

/**
 * All keys at once: 108 bytes, indexed by key code.
 *
 * @lifetime  always valid: the library's own array, read-only, changing with each input_poll.
 */
HALVORIN_API void input_key_held_state(Slice* result);
HALVORIN_API void input_key_pressed_state(Slice* result);
HALVORIN_API void input_key_released_state(Slice* result);

/** KEY_MODIFIER_ bits at the moment of the call. */
HALVORIN_API key_modifiers input_key_modifiers(void);

/** The button that went down, or up, last; MOUSE_NONE before there was one. */
HALVORIN_API mouse_button input_last_pressed_mouse_button(void);
HALVORIN_API mouse_button input_last_released_mouse_button(void);

/** The button went down, or up, in the latest poll. */
HALVORIN_API b8 input_mouse_is_pressed(mouse_button button);
HALVORIN_API b8 input_mouse_is_released(mouse_button button);

/** The button is down. At MOUSE_ANY the number of buttons that are. */
HALVORIN_API b8 input_mouse_is_held(mouse_button button);

/**
 * All buttons at once: 5 bytes, indexed by button code.
 *
 * @lifetime  always valid: the library's own array, read-only, changing with each input_poll.
 */
HALVORIN_API void input_mouse_held_state(Slice* result);
HALVORIN_API void input_mouse_pressed_state(Slice* result);
HALVORIN_API void input_mouse_released_state(Slice* result);

/** Notches that the wheel was turned in the latest poll, up positive. */
HALVORIN_API i32 input_mouse_wheel(void);

/** Motion in the latest poll, in pixels; in relative mode too. The pointers mustn't be null. */
HALVORIN_API void input_mouse_moved(i32* x, i32* y);

/** Place of the pointer in the window, in pixels, from the latest motion; 0, 0 before any. */
HALVORIN_API void input_mouse_position(i32* x, i32* y);

/*
 * The pointer itself.
 *
 * @failure  not told
 * @heap     SDL2
 * @waits    window system
 */

/** Place of the pointer on the desktop at the moment of the call. */
HALVORIN_API void input_mouse_global_position(i32* x, i32* y);

/** Shows or hides the pointer over the window. */
HALVORIN_API void input_mouse_set_visible(b8 on);

/** Relative mode: the pointer is hidden and kept, only motion counts. */
HALVORIN_API void input_mouse_set_relative(b8 on);

/** Moves the pointer to a place in the window, or on the desktop. */
HALVORIN_API void input_mouse_set_position(i32 x, i32 y);
HALVORIN_API void input_mouse_set_global_position(i32 x, i32 y);

/** Sets the pointer's shape to one of `system_cursors`. */
HALVORIN_API void input_mouse_set_cursor(cursor_kind cursor);

/**
 * The mouse can rumble.
 *
 * @failure  false
 * @heap     none
 * @waits    no
 */
HALVORIN_API b8 input_mouse_is_haptic(void);
