// SPDX-License-Identifier: Zlib
#include "api/input.h"
#include "display/frame_state.h"
#include "frame/boundary.h"

#include <SDL.h>

#include <cstring>

using namespace halvorin;

constinit u8 to_key_code[285] = {};

namespace {

constexpr u8 no_key = 255;

struct KeyRow {
    u8 first_code;
    SDL_Scancode first_scancode;
    u8 count; // codes and scancodes that go on side by side
};

constexpr KeyRow key_rows[] = {
    {KEY_A, SDL_SCANCODE_A, 26},
    {KEY_0, SDL_SCANCODE_0, 1},
    {KEY_1, SDL_SCANCODE_1, 9},
    {KEY_LEFT, SDL_SCANCODE_LEFT, 1},
    {KEY_RIGHT, SDL_SCANCODE_RIGHT, 1},
    {KEY_UP, SDL_SCANCODE_UP, 1},
    {KEY_DOWN, SDL_SCANCODE_DOWN, 1},
    {KEY_SPACE, SDL_SCANCODE_SPACE, 1},
    {KEY_RETURN, SDL_SCANCODE_RETURN, 1},
    {KEY_BACKSPACE, SDL_SCANCODE_BACKSPACE, 1},
    {KEY_TAB, SDL_SCANCODE_TAB, 1},
    {KEY_ESCAPE, SDL_SCANCODE_ESCAPE, 1},
    {KEY_LEFT_CONTROL, SDL_SCANCODE_LCTRL, 8},
    {KEY_APPLICATION, SDL_SCANCODE_APPLICATION, 1},
    {KEY_LEFT_BRACKET, SDL_SCANCODE_LEFTBRACKET, 1},
    {KEY_RIGHT_BRACKET, SDL_SCANCODE_RIGHTBRACKET, 1},
    {KEY_SEMICOLON, SDL_SCANCODE_SEMICOLON, 1},
    {KEY_COMMA, SDL_SCANCODE_COMMA, 1},
    {KEY_PERIOD, SDL_SCANCODE_PERIOD, 1},
    {KEY_APOSTROPHE, SDL_SCANCODE_APOSTROPHE, 1},
    {KEY_SLASH, SDL_SCANCODE_SLASH, 1},
    {KEY_BACKSLASH, SDL_SCANCODE_BACKSLASH, 1},
    {KEY_GRAVE, SDL_SCANCODE_GRAVE, 1},
    {KEY_EQUALS, SDL_SCANCODE_EQUALS, 1},
    {KEY_MINUS, SDL_SCANCODE_MINUS, 1},
    {KEY_CAPS_LOCK, SDL_SCANCODE_CAPSLOCK, 1},
    {KEY_NUM_LOCK, SDL_SCANCODE_NUMLOCKCLEAR, 1},
    {KEY_PRINT_SCREEN, SDL_SCANCODE_PRINTSCREEN, 1},
    {KEY_PAGE_UP, SDL_SCANCODE_PAGEUP, 1},
    {KEY_PAGE_DOWN, SDL_SCANCODE_PAGEDOWN, 1},
    {KEY_HOME, SDL_SCANCODE_HOME, 1},
    {KEY_END, SDL_SCANCODE_END, 1},
    {KEY_INSERT, SDL_SCANCODE_INSERT, 1},
    {KEY_DELETE, SDL_SCANCODE_DELETE, 1},
    {KEY_PAD_PLUS, SDL_SCANCODE_KP_PLUS, 1},
    {KEY_PAD_MINUS, SDL_SCANCODE_KP_MINUS, 1},
    {KEY_PAD_MULTIPLY, SDL_SCANCODE_KP_MULTIPLY, 1},
    {KEY_PAD_DIVIDE, SDL_SCANCODE_KP_DIVIDE, 1},
    {KEY_PAD_0, SDL_SCANCODE_KP_0, 1},
    {KEY_PAD_1, SDL_SCANCODE_KP_1, 9},
    {KEY_PAD_PERIOD, SDL_SCANCODE_KP_PERIOD, 1},
    {KEY_PAD_ENTER, SDL_SCANCODE_KP_ENTER, 1},
    {KEY_F1, SDL_SCANCODE_F1, 12},
};

consteval int mapped_keys() {
    int sum = 0;
    for (const KeyRow& row : key_rows) {
        sum += row.count;
    }
    return sum;
}
static_assert(mapped_keys() == 102, "six of the 108 codes come from no scancode");

struct ModifierRow {
    u8 bit;
    u32 sdl_mask;
};

// clang-format off
constexpr ModifierRow modifier_rows[] = {
    {KEY_MODIFIER_CONTROL,   KMOD_CTRL},
    {KEY_MODIFIER_SHIFT,     KMOD_SHIFT},
    {KEY_MODIFIER_ALT,       KMOD_ALT},
    {KEY_MODIFIER_SYSTEM,    KMOD_GUI},
    {KEY_MODIFIER_CAPS_LOCK, KMOD_CAPS},
    {KEY_MODIFIER_NUM_LOCK,  KMOD_NUM},
};
// clang-format on

u8 entry(const u8 (&keys)[KEY_CODES], key_code key) {
    key = low_bits(key);
    return key < KEY_CODES ? keys[key] : u8{0};
}

} // namespace

void halvorin::build_key_table() {
    std::memset(to_key_code, no_key, sizeof(to_key_code));
    for (const KeyRow& row : key_rows) {
        for (u8 i = 0; i < row.count; i++) {
            to_key_code[row.first_scancode + i] = static_cast<u8>(row.first_code + i);
        }
    }
}

key_code input_last_pressed_key() {
    return held_state.key_last_pressed;
}

key_code input_last_released_key() {
    return held_state.key_last_released;
}

b8 input_key_is_pressed(key_code key) {
    return entry(poll_state.keys_pressed, key);
}

b8 input_key_is_released(key_code key) {
    return entry(poll_state.keys_released, key);
}

b8 input_key_is_held(key_code key) {
    return entry(held_state.keys_held, key);
}

void input_key_held_state(Slice* result) {
    *result = {held_state.keys_held, KEY_CODES};
}

void input_key_pressed_state(Slice* result) {
    *result = {poll_state.keys_pressed, KEY_CODES};
}

void input_key_released_state(Slice* result) {
    *result = {poll_state.keys_released, KEY_CODES};
}

key_modifiers input_key_modifiers() {
    const auto state = static_cast<u32>(SDL_GetModState());
    u8 bits = 0;
    for (const ModifierRow& row : modifier_rows) {
        if ((state & row.sdl_mask) != 0) bits |= row.bit;
    }
    return bits;
}
