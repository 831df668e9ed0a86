// SPDX-License-Identifier: Zlib
#include "support/common.h"
#include "support/events.h"

#include "api/system.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <sstream>
#include <string>
#include <vector>

// The event poll and what it leaves, with events pushed into SDL2's own queue.

namespace {
std::vector<void*> freed;
std::vector<int> relative_modes;
} // namespace

// These stand in for SDL2's functions; the library's calls come here first.
extern "C" void SDL_free(void* memory) {
    freed.push_back(memory);
    next(&SDL_free, "SDL_free")(memory);
}

// The offscreen driver has no such mode.
extern "C" int SDL_SetRelativeMouseMode(SDL_bool enabled) {
    relative_modes.push_back(enabled);
    return 0;
}

namespace {

using Keys = std::array<u8, 108>;
using Buttons = std::array<u8, 5>;

// SDL2's names of the keys that have codes, from code 2 and from code 51 on.
constexpr const char first_names[] =
    "A|B|C|D|E|F|G|H|I|J|K|L|M|N|O|P|Q|R|S|T|U|V|W|X|Y|Z|0|1|2|3|4|"
    "5|6|7|8|9|Left|Right|Up|Down|Space|Return|Backspace|Tab|Escape|";
constexpr const char second_names[] =
    "Left Ctrl|Left Shift|Left Alt|Left GUI|Right Ctrl|Right Shift|Right Alt|Right GUI|Application|"
    "[|]|;|,|.|'|/|\\|`|=|-|CapsLock|Numlock|PrintScreen|PageUp|PageDown|Home|End|Insert|Delete|"
    "Keypad +|Keypad -|Keypad *|Keypad /|Keypad 0|Keypad 1|Keypad 2|Keypad 3|Keypad 4|Keypad 5|"
    "Keypad 6|Keypad 7|Keypad 8|Keypad 9|Keypad .|Keypad Enter|F1|F2|F3|F4|F5|F6|F7|F8|F9|F10|F11|"
    "F12|";

// Scancode to code; 0 for a scancode without one.
std::array<u8, 512> expected_codes() {
    std::array<u8, 512> codes = {};
    const auto add = [&](const char* names, u8 code) {
        std::istringstream stream(names);
        for (std::string name; std::getline(stream, name, '|');) {
            codes[SDL_GetScancodeFromName(name.c_str())] = code++;
        }
    };
    add(first_names, 2);
    add(second_names, 51);
    return codes;
}

// A text that somebody is writing, which SDL2 hands over in this form where the environment asks it
// to.
char* push_long_text(const char* text) {
    SDL_Event event = {};
    event.type = SDL_TEXTEDITING_EXT;
    event.editExt.text = SDL_strdup(text);
    SDL_PushEvent(&event);
    return event.editExt.text;
}

template <class Array> Array state(void (*ask)(Slice*)) {
    Slice slice = {};
    ask(&slice);
    Array bytes = {};
    EXPECT_EQ(slice.count, static_cast<i64>(bytes.size()));
    std::memcpy(bytes.data(), slice.data, bytes.size());
    return bytes;
}

template <class Array, void (*Pressed)(Slice*), void (*Released)(Slice*), void (*Held)(Slice*)>
struct States {
    Array pressed = state<Array>(Pressed);
    Array released = state<Array>(Released);
    Array held = state<Array>(Held);
};
using KeyStates =
    States<Keys, input_key_pressed_state, input_key_released_state, input_key_held_state>;
using ButtonStates =
    States<Buttons, input_mouse_pressed_state, input_mouse_released_state, input_mouse_held_state>;

class InputTest : public testing::Test {
protected:
    void SetUp() override {
        system_init(SYSTEM_INIT_VIDEO | SYSTEM_INIT_EVENTS);
        display_open(64, 48, {nullptr, 0}, DISPLAY_SOFTWARE, 0);
        ASSERT_NE(sdl_window, nullptr);
        input_poll();
        // Where things are outlives a life, which matters to several tests in one process only.
        push_motion(0, 0, 0, 0);
        input_poll();
        freed.clear();
    }

    void TearDown() override {
        display_close();
        system_release();
    }
};

const KeyStates before_everything;

} // namespace

TEST_F(InputTest, EveryScancodeSetsItsOwnKeyAndNothingElse) {
    const auto codes = expected_codes();
    EXPECT_EQ(std::count(codes.begin(), codes.end(), 0), 512 - 102);
    const std::pair<SDL_Scancode, u8> named[] = {{SDL_SCANCODE_0, KEY_0},
                                                 {SDL_SCANCODE_LEFT, KEY_LEFT},
                                                 {SDL_SCANCODE_LCTRL, KEY_LEFT_CONTROL},
                                                 {SDL_SCANCODE_RSHIFT, KEY_RIGHT_SHIFT},
                                                 {SDL_SCANCODE_LALT, KEY_LEFT_ALT},
                                                 {SDL_SCANCODE_RGUI, KEY_RIGHT_SYSTEM},
                                                 {SDL_SCANCODE_APOSTROPHE, KEY_APOSTROPHE},
                                                 {SDL_SCANCODE_GRAVE, KEY_GRAVE},
                                                 {SDL_SCANCODE_KP_0, KEY_PAD_0},
                                                 {SDL_SCANCODE_F12, KEY_F12}};
    for (const auto& [scancode, code] : named) {
        EXPECT_EQ(codes[scancode], code) << scancode;
    }
    std::vector<i32> scancodes = {-1, 0x40000000, 0x7FFFFFFF, -0x7FFFFFFF - 1};
    for (i32 i = 0; i < 512; i++) {
        scancodes.push_back(i);
    }
    u8 last = KEY_NONE;
    for (const i32 scancode : scancodes) {
        SCOPED_TRACE(scancode);
        const u8 code = scancode < 0 || scancode > 511 ? u8{0} : codes[static_cast<u32>(scancode)];
        Keys expected = {};
        if (code != 0) {
            expected[code] = expected[KEY_ANY] = 1;
            last = code;
        }
        // The pairs stand in the same order as their shared codes.
        if (code >= KEY_LEFT_CONTROL && code <= KEY_RIGHT_SYSTEM) {
            expected[static_cast<u32>(KEY_CONTROL + (code - KEY_LEFT_CONTROL) % 4)] = 1;
        }
        push_key(scancode, true);
        input_poll();
        const KeyStates down;
        EXPECT_EQ(down.pressed, expected);
        EXPECT_EQ(down.held, expected);
        EXPECT_EQ(down.released, Keys{});
        EXPECT_EQ(input_last_pressed_key(), last);
        push_key(scancode, false);
        input_poll();
        const KeyStates up;
        EXPECT_EQ(up.pressed, Keys{});
        EXPECT_EQ(up.held, Keys{});
        EXPECT_EQ(up.released, expected);
        EXPECT_EQ(input_last_released_key(), last);
    }
    input_poll();
    EXPECT_EQ(KeyStates().released, Keys{});
}

TEST_F(InputTest, AKeyMayGoDownAndUpInOnePollAndRepeatsDontCount) {
    push_key(SDL_SCANCODE_A, true);
    push_key(SDL_SCANCODE_A, false);
    input_poll();
    EXPECT_EQ(input_key_is_pressed(KEY_A) + input_key_is_released(KEY_A), 2);
    EXPECT_EQ(input_key_is_held(KEY_A) + input_key_is_held(KEY_ANY), 0);
    push_key(SDL_SCANCODE_B, true);
    input_poll();
    for (int poll = 0; poll < 3; poll++) {
        push_key(SDL_SCANCODE_B, true, 1);
        push_key(SDL_SCANCODE_LSHIFT, true, 1);
        push_key(SDL_SCANCODE_B, false, 1);
        EXPECT_EQ(input_key_is_pressed(KEY_B), poll == 0) << "frozen until the poll";
        input_poll();
        EXPECT_EQ(input_key_is_pressed(KEY_B) + input_key_is_released(KEY_B), 0);
        EXPECT_EQ(input_key_is_held(KEY_B) + input_key_is_held(KEY_ANY), 2);
        EXPECT_EQ(input_last_pressed_key(), KEY_B);
        EXPECT_EQ(input_last_released_key(), KEY_A);
    }
}

TEST_F(InputTest, CountsAreBytesThatWrap) {
    push_key(SDL_SCANCODE_LCTRL, true);
    push_key(SDL_SCANCODE_RCTRL, true);
    push_key(SDL_SCANCODE_B, true);
    input_poll();
    EXPECT_EQ(input_key_is_held(KEY_ANY), 3);
    EXPECT_EQ(input_key_is_held(KEY_CONTROL), 2);
    push_key(SDL_SCANCODE_RCTRL, false);
    input_poll();
    EXPECT_EQ(input_key_is_held(KEY_CONTROL), 1);
    EXPECT_EQ(input_key_is_held(KEY_RIGHT_CONTROL), 0);
    push_key(SDL_SCANCODE_B, false);
    push_key(SDL_SCANCODE_LCTRL, false);
    push_key(SDL_SCANCODE_LCTRL, false);
    push_button(SDL_BUTTON_LEFT, false);
    input_poll();
    EXPECT_EQ(input_key_is_held(KEY_ANY), 255);
    EXPECT_EQ(input_key_is_held(KEY_CONTROL), 255);
    EXPECT_EQ(input_key_is_held(KEY_LEFT_CONTROL), 0);
    EXPECT_EQ(input_mouse_is_held(MOUSE_ANY), 255);
    for (int i = 0; i < 257; i++) {
        push_key(SDL_SCANCODE_RCTRL, true);
        push_button(SDL_BUTTON_LEFT, true);
    }
    input_poll();
    EXPECT_EQ(input_key_is_held(KEY_ANY), 0);
    EXPECT_EQ(input_key_is_held(KEY_CONTROL), 0);
    EXPECT_EQ(input_key_is_held(KEY_RIGHT_CONTROL), 1);
    EXPECT_EQ(input_mouse_is_held(MOUSE_ANY), 0);
}

TEST_F(InputTest, WithoutAKeyTableEveryKeyIsCodeZero) {
    std::fill_n(to_key_code, 285, u8{0});
    push_key(SDL_SCANCODE_LCTRL, true);
    push_key(SDL_SCANCODE_PAUSE, true);
    push_key(285, true);
    input_poll();
    Keys expected = {};
    expected[KEY_NONE] = 1;
    EXPECT_EQ(input_key_is_held(KEY_ANY), 2);
    expected[KEY_ANY] = 2;
    EXPECT_EQ(KeyStates().held, expected);
    EXPECT_EQ(input_last_pressed_key(), KEY_NONE);
    push_key(SDL_SCANCODE_F1, false);
    input_poll();
    EXPECT_EQ(input_key_is_held(KEY_NONE), 0);
    EXPECT_EQ(input_key_is_held(KEY_ANY), 1);
    EXPECT_EQ(input_key_is_released(KEY_NONE), 1);
}

TEST_F(InputTest, StatesAreTheLibrarysLiveArrays) {
    EXPECT_EQ(before_everything.held, Keys{});
    void (*const asks[])(Slice*) = {input_key_held_state,      input_key_pressed_state,
                                    input_key_released_state,  input_mouse_held_state,
                                    input_mouse_pressed_state, input_mouse_released_state};
    std::vector<const u8*> entries;
    for (const auto ask : asks) {
        Slice array = {};
        ask(&array);
        entries.push_back(static_cast<const u8*>(array.data) +
                          (entries.size() < 3 ? i64{KEY_C} : i64{MOUSE_RIGHT}));
    }
    for (const bool down : {true, false}) {
        push_key(SDL_SCANCODE_C, down);
        push_button(SDL_BUTTON_RIGHT, down);
        input_poll();
        for (size_t i = 0; i < entries.size(); i++) {
            EXPECT_EQ(*entries[i], (i % 3 == 2) != down) << i;
        }
    }
}

TEST_F(InputTest, MouseButtonsHaveThreeCodesAndAShared) {
    const struct {
        u8 sdl, code;
    } cases[] = {{SDL_BUTTON_LEFT, MOUSE_LEFT},
                 {SDL_BUTTON_MIDDLE, MOUSE_MIDDLE},
                 {SDL_BUTTON_RIGHT, MOUSE_RIGHT},
                 {SDL_BUTTON_X1, MOUSE_NONE},
                 {SDL_BUTTON_X2, MOUSE_NONE},
                 {0, MOUSE_NONE},
                 {255, MOUSE_NONE}};
    EXPECT_EQ(input_last_pressed_mouse_button(), MOUSE_NONE);
    u8 last = MOUSE_NONE;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.sdl);
        Buttons expected = {};
        if (c.code != MOUSE_NONE) {
            expected[c.code] = expected[MOUSE_ANY] = 1;
            last = c.code;
        }
        push_button(c.sdl, true);
        input_poll();
        const ButtonStates down;
        EXPECT_EQ(down.pressed, expected);
        EXPECT_EQ(down.held, expected);
        EXPECT_EQ(down.released, Buttons{});
        push_button(c.sdl, false);
        input_poll();
        const ButtonStates up;
        EXPECT_EQ(up.pressed, Buttons{});
        EXPECT_EQ(up.held, Buttons{});
        EXPECT_EQ(up.released, expected);
        EXPECT_EQ(input_last_pressed_mouse_button(), last);
        EXPECT_EQ(input_last_released_mouse_button(), last);
    }
    push_button(SDL_BUTTON_LEFT, true);
    push_button(SDL_BUTTON_MIDDLE, true);
    input_poll();
    EXPECT_EQ(input_mouse_is_held(MOUSE_ANY), 2);
}

TEST_F(InputTest, MotionAndWheelAddUpWithinAPoll) {
    const auto expect_motion = [](i32 x, i32 y, i32 moved_x, i32 moved_y, i32 wheel) {
        i32 numbers[4] = {};
        input_mouse_position(&numbers[0], &numbers[1]);
        input_mouse_moved(&numbers[2], &numbers[3]);
        EXPECT_EQ(std::vector<i32>(numbers, numbers + 4),
                  (std::vector<i32>{x, y, moved_x, moved_y}));
        EXPECT_EQ(input_mouse_wheel(), wheel);
    };
    push_motion(10, 20, 5, -6);
    push_motion(12, 19, 2, -1);
    push_wheel(1);
    push_wheel(-1);
    input_poll();
    expect_motion(12, 19, 7, -7, 0);
    push_wheel(-3);
    push_wheel(1);
    input_poll();
    expect_motion(12, 19, 0, 0, -2);
    input_poll();
    expect_motion(12, 19, 0, 0, 0);
    constexpr i32 most = 0x7FFFFFFF;
    push_motion(-1, -2, most, -most);
    push_motion(-1, -2, 1, -2);
    push_wheel(most);
    push_wheel(1);
    input_poll();
    expect_motion(-1, -2, -most - 1, most, -most - 1);
}

TEST_F(InputTest, WindowEventsAnswerOneQuestionEachForOnePoll) {
    const struct {
        u8 kind;
        b8 (*ask)();
    } cases[] = {
        {SDL_WINDOWEVENT_MINIMIZED, display_is_minimized},
        {SDL_WINDOWEVENT_MAXIMIZED, display_is_maximized},
        {SDL_WINDOWEVENT_RESTORED, display_is_restored},
        {SDL_WINDOWEVENT_ENTER, display_is_entered},
        {SDL_WINDOWEVENT_LEAVE, display_is_left},
        {SDL_WINDOWEVENT_FOCUS_GAINED, display_is_focus_gained},
        {SDL_WINDOWEVENT_FOCUS_LOST, display_is_focus_lost},
        {SDL_WINDOWEVENT_CLOSE, display_is_closed},
        {SDL_WINDOWEVENT_RESIZED,
         [] {
             i32 w = 0, h = 0;
             return display_is_resized(&w, &h);
         }},
    };
    for (u32 kind = 0; kind < 256; kind++) {
        SCOPED_TRACE(kind);
        push_window(sdl_window_id + 1, static_cast<u8>(kind));
        input_poll();
        for (const auto& c : cases) {
            EXPECT_EQ(c.ask(), 0) << "of another window: " << int{c.kind};
        }
        push_window(sdl_window_id, static_cast<u8>(kind));
        input_poll();
        for (const auto& c : cases) {
            EXPECT_EQ(c.ask(), c.kind == kind) << int{c.kind};
        }
    }
    push_quit();
    input_poll();
    EXPECT_EQ(display_is_closed(), 1);
    input_poll();
    EXPECT_EQ(display_is_closed(), 0);
}

TEST_F(InputTest, TheLastSizeOfAPollIsWrittenAndNothingWithoutOne) {
    push_window(sdl_window_id, SDL_WINDOWEVENT_RESIZED, 100, 200);
    push_window(sdl_window_id, SDL_WINDOWEVENT_RESIZED, 300, 400);
    push_window(sdl_window_id + 1, SDL_WINDOWEVENT_RESIZED, 500, 600);
    push_window(sdl_window_id, SDL_WINDOWEVENT_SIZE_CHANGED, 700, 800);
    input_poll();
    i32 width = 0;
    i32 height = 0;
    EXPECT_EQ(display_is_resized(&width, &height), 1);
    EXPECT_EQ(width * 1000 + height, 300400);
    input_poll();
    width = height = -7;
    EXPECT_EQ(display_is_resized(&width, &height), 0);
    EXPECT_EQ(width + height, -14);
}

TEST_F(InputTest, DropsAreCopiedCutAndFreed) {
    const auto expect_drop = [](const std::string& text) {
        Slice drop = {};
        display_file_dropped(&drop);
        EXPECT_EQ(text_of(drop), text);
    };
    const auto expect_freed = [](const void* memory) {
        EXPECT_EQ(std::count(freed.begin(), freed.end(), memory), 1);
    };
    const std::string long_path = "/" + std::string(150, 'a') + std::string(149, 'b');
    for (const std::size_t length : {std::size_t{300}, std::size_t{256}, std::size_t{255}}) {
        char* const path = push_drop(SDL_DROPFILE, long_path.substr(0, length).c_str());
        input_poll();
        expect_drop(long_path.substr(0, std::min(length, std::size_t{256})));
        expect_freed(path);
        freed.clear();
    }
    char* const first = push_drop(SDL_DROPFILE, "/first");
    char* const last = push_drop(SDL_DROPFILE, "/last ");
    char* const text = push_drop(SDL_DROPTEXT, "just words");
    push_drop(SDL_DROPFILE, nullptr);
    push_drop(SDL_DROPTEXT, nullptr);
    char* const written = push_long_text("just begun");
    push_key(SDL_SCANCODE_A, true);
    input_poll();
    expect_drop("/last ");
    for (const char* memory : {first, last, text, written}) {
        expect_freed(memory);
    }
    EXPECT_EQ(input_key_is_pressed(KEY_A), 1);
    input_poll();
    Slice drop = {};
    display_file_dropped(&drop);
    EXPECT_EQ(drop.count, 0);
    ASSERT_NE(drop.data, nullptr);
    EXPECT_EQ(std::memcmp(drop.data, "/last bbb", 6), 0);
    EXPECT_EQ(static_cast<char*>(drop.data)[6], long_path[6]) << "no terminator is written";
}

TEST_F(InputTest, AFullQueueIsEmptiedInOnePoll) {
    constexpr int most = 60000;
    for (int i = 0; i < most; i++) {
        push_motion(i, -i, 1, 2);
    }
    push_key(SDL_SCANCODE_Z, true);
    input_poll();
    i32 x = 0;
    i32 y = 0;
    input_mouse_moved(&x, &y);
    EXPECT_EQ(x, most);
    EXPECT_EQ(y, 2 * most);
    EXPECT_EQ(input_key_is_pressed(KEY_Z), 1);
    EXPECT_EQ(SDL_PollEvent(nullptr), 0);
}

TEST_F(InputTest, ModifiersAreAskedForAtOnceInBitsOfOurOwn) {
    const struct {
        int sdl;
        u8 ours;
    } cases[] = {
        {KMOD_NONE, 0},
        {KMOD_LCTRL, 1},
        {KMOD_RCTRL, 1},
        {KMOD_LSHIFT, 2},
        {KMOD_RSHIFT, 2},
        {KMOD_LALT, 4},
        {KMOD_RALT, 4},
        {KMOD_LGUI, 8},
        {KMOD_RGUI, 8},
        {KMOD_CAPS, 16},
        {KMOD_NUM, 32},
        {KMOD_MODE | KMOD_SCROLL, 0},
        {KMOD_CAPS | KMOD_LSHIFT | KMOD_RSHIFT, 18},
        {0xFFFF, 63},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.sdl);
        SDL_SetModState(static_cast<SDL_Keymod>(c.sdl));
        EXPECT_EQ(input_key_modifiers(), c.ours);
    }
}

TEST_F(InputTest, OnlyTheLowByteOfANumberCountsAndOthersReadAsZero) {
    push_key(SDL_SCANCODE_D, true);
    push_key(SDL_SCANCODE_E, false);
    push_button(SDL_BUTTON_LEFT, true);
    push_button(SDL_BUTTON_RIGHT, false);
    input_poll();
    const struct {
        const char* name;
        u32 set, end;
    } asks[] = {
        {"input_key_is_pressed", KEY_D, 108},   {"input_key_is_held", KEY_D, 108},
        {"input_key_is_released", KEY_E, 108},  {"input_mouse_is_pressed", MOUSE_LEFT, 5},
        {"input_mouse_is_held", MOUSE_LEFT, 5}, {"input_mouse_is_released", MOUSE_RIGHT, 5},
    };
    const auto set_visible = by_name<void(u32)>("input_mouse_set_visible");
    const auto set_relative = by_name<void(u32)>("input_mouse_set_relative");
    for (const u32 rubbish : {0u, 0x100u, 0xFFFFFF00u}) {
        SCOPED_TRACE(rubbish);
        for (const auto& ask : asks) {
            const auto call = by_name<u8(u32)>(ask.name);
            EXPECT_EQ(call(rubbish | ask.set), 1) << ask.name;
            for (u32 i = ask.end; i < 256; i++) {
                EXPECT_EQ(call(rubbish | i), 0) << ask.name << i;
            }
        }
        set_visible(rubbish);
        EXPECT_EQ(SDL_ShowCursor(SDL_QUERY), SDL_DISABLE);
        set_visible(rubbish | 0x82);
        EXPECT_EQ(SDL_ShowCursor(SDL_QUERY), SDL_ENABLE);
        relative_modes.clear();
        set_relative(rubbish | 0x82);
        set_relative(rubbish);
        EXPECT_EQ(relative_modes, (std::vector<int>{1, 0}));
    }
}
