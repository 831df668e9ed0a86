// SPDX-License-Identifier: Zlib
#include "support/common.h"
#include "support/events.h"

#include "api/system.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
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

// The library's own arrays, asked for once and ahead of everything.
Slice array(void (*ask)(Slice*)) {
    Slice slice = {};
    ask(&slice);
    return slice;
}
struct States {
    Slice pressed, released, held;
};
const States keys = {array(input_key_pressed_state), array(input_key_released_state),
                     array(input_key_held_state)};
const States buttons = {array(input_mouse_pressed_state), array(input_mouse_released_state),
                        array(input_mouse_held_state)};

// What isn't 0 in an array, by code.
using Counts = std::map<u32, int>;

Counts counts(const Slice& array) {
    Counts found;
    for (u32 i = 0; i < array.count; i++) {
        const u8 entry = static_cast<u8*>(array.data)[i];
        if (entry != 0) found[i] = entry;
    }
    return found;
}

void expect_states(const States& all, const Counts& pressed, const Counts& released,
                   const Counts& held) {
    EXPECT_EQ(counts(all.pressed), pressed);
    EXPECT_EQ(counts(all.released), released);
    EXPECT_EQ(counts(all.held), held);
}

template <class Push> void push_and_expect(const States& all, Push push, const Counts& expected) {
    push(true);
    input_poll();
    expect_states(all, expected, {}, expected);
    push(false);
    input_poll();
    expect_states(all, {}, expected, {});
}

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

std::map<i32, u32> codes_by_scancode() {
    std::map<i32, u32> codes;
    const auto add = [&](const char* names, u32 code) {
        std::istringstream stream(names);
        for (std::string name; std::getline(stream, name, '|');) {
            codes[SDL_GetScancodeFromName(name.c_str())] = code++;
        }
    };
    add(first_names, 2);
    add(second_names, 51);
    return codes;
}

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

} // namespace

TEST_F(InputTest, EveryScancodeSetsItsOwnKeyAndNothingElse) {
    const auto codes = codes_by_scancode();
    ASSERT_EQ(codes.size(), 102u);
    EXPECT_EQ(keys.held.count, 108);
    EXPECT_EQ(codes.at(SDL_SCANCODE_F12), KEY_F12);
    std::vector<i32> scancodes = {-1, 0x40000000, -0x7FFFFFFF - 1};
    for (i32 i = 0; i < 512; i++) {
        scancodes.push_back(i);
    }
    u32 last = KEY_NONE;
    for (const i32 scancode : scancodes) {
        SCOPED_TRACE(scancode);
        Counts expected;
        if (codes.count(scancode) != 0) {
            last = codes.at(scancode);
            expected[last] = expected[KEY_ANY] = 1;
        }
        // The pairs stand in the same order as their shared codes.
        if (!expected.empty() && last >= KEY_LEFT_CONTROL && last <= KEY_RIGHT_SYSTEM) {
            expected[KEY_CONTROL + (last - KEY_LEFT_CONTROL) % 4] = 1;
        }
        push_and_expect(
            keys, [&](bool down) { push_key(scancode, down); }, expected);
        EXPECT_EQ(input_last_pressed_key(), last);
        EXPECT_EQ(input_last_released_key(), last);
    }
}

TEST_F(InputTest, MouseButtonsHaveThreeCodesAndAShared) {
    EXPECT_EQ(buttons.held.count, 5);
    EXPECT_EQ(input_last_pressed_mouse_button(), MOUSE_NONE);
    const u32 codes[] = {0, MOUSE_LEFT, MOUSE_MIDDLE, MOUSE_RIGHT};
    u32 last = MOUSE_NONE;
    for (u32 button = 0; button < 256; button++) {
        SCOPED_TRACE(button);
        Counts expected;
        if (button >= 1 && button <= 3) {
            last = codes[button];
            expected = {{last, 1}, {MOUSE_ANY, 1}};
        }
        push_and_expect(
            buttons, [&](bool down) { push_button(static_cast<u8>(button), down); }, expected);
        EXPECT_EQ(input_last_pressed_mouse_button(), last);
        EXPECT_EQ(input_last_released_mouse_button(), last);
    }
}

TEST_F(InputTest, AKeyMayGoDownAndUpInOnePollAndRepeatsDontCount) {
    push_key(SDL_SCANCODE_A, true);
    push_key(SDL_SCANCODE_A, false);
    push_key(SDL_SCANCODE_B, true);
    EXPECT_EQ(counts(keys.pressed), Counts()) << "frozen until the poll";
    input_poll();
    expect_states(keys, {{KEY_ANY, 1}, {KEY_A, 1}, {KEY_B, 1}}, {{KEY_ANY, 1}, {KEY_A, 1}},
                  {{KEY_ANY, 1}, {KEY_B, 1}});
    push_key(SDL_SCANCODE_LSHIFT, true, 1);
    push_key(SDL_SCANCODE_B, false, 1);
    input_poll();
    expect_states(keys, {}, {}, {{KEY_ANY, 1}, {KEY_B, 1}});
    EXPECT_EQ(input_last_pressed_key(), KEY_B);
    EXPECT_EQ(input_last_released_key(), KEY_A);
}

TEST_F(InputTest, CountsAreBytesThatWrap) {
    push_key(SDL_SCANCODE_LCTRL, true);
    push_key(SDL_SCANCODE_RCTRL, true);
    push_key(SDL_SCANCODE_B, true);
    push_button(SDL_BUTTON_LEFT, true);
    push_button(SDL_BUTTON_MIDDLE, true);
    input_poll();
    EXPECT_EQ(counts(keys.held), (Counts{{KEY_ANY, 3},
                                         {KEY_CONTROL, 2},
                                         {KEY_LEFT_CONTROL, 1},
                                         {KEY_RIGHT_CONTROL, 1},
                                         {KEY_B, 1}}));
    EXPECT_EQ(input_mouse_is_held(MOUSE_ANY), 2);
    for (int i = 0; i < 3; i++) {
        push_key(SDL_SCANCODE_LCTRL, false);
        push_button(SDL_BUTTON_LEFT, false);
    }
    push_key(SDL_SCANCODE_B, false);
    input_poll();
    EXPECT_EQ(counts(keys.held),
              (Counts{{KEY_ANY, 255}, {KEY_CONTROL, 255}, {KEY_RIGHT_CONTROL, 1}}));
    EXPECT_EQ(counts(buttons.held), (Counts{{MOUSE_ANY, 255}, {MOUSE_MIDDLE, 1}}));
    push_key(SDL_SCANCODE_RCTRL, true);
    push_button(SDL_BUTTON_LEFT, true);
    input_poll();
    EXPECT_EQ(counts(keys.held), (Counts{{KEY_RIGHT_CONTROL, 1}}));
    EXPECT_EQ(counts(buttons.held), (Counts{{MOUSE_LEFT, 1}, {MOUSE_MIDDLE, 1}}));
}

TEST_F(InputTest, WithoutAKeyTableEveryKeyIsCodeZero) {
    std::fill_n(to_key_code, 285, u8{0});
    push_key(SDL_SCANCODE_LCTRL, true);
    push_key(SDL_SCANCODE_PAUSE, true);
    push_key(285, true);
    input_poll();
    EXPECT_EQ(counts(keys.held), (Counts{{KEY_ANY, 2}, {KEY_NONE, 1}}));
    EXPECT_EQ(input_last_pressed_key(), KEY_NONE);
}

TEST_F(InputTest, MotionAndWheelAddUpWithinAPoll) {
    const auto expect_motion = [](std::vector<i32> expected) {
        std::vector<i32> found(5);
        input_poll();
        input_mouse_position(&found[0], &found[1]);
        input_mouse_moved(&found[2], &found[3]);
        found[4] = input_mouse_wheel();
        EXPECT_EQ(found, expected);
    };
    push_motion(10, 20, 5, -6);
    push_motion(12, 19, 2, -1);
    push_wheel(-3);
    push_wheel(1);
    expect_motion({12, 19, 7, -7, -2});
    expect_motion({12, 19, 0, 0, 0});
    constexpr i32 most = 0x7FFFFFFF;
    push_motion(-1, -2, most, -most);
    push_motion(-1, -2, 1, -2);
    push_wheel(most);
    push_wheel(1);
    expect_motion({-1, -2, -most - 1, most, -most - 1});
}

TEST_F(InputTest, WindowEventsAnswerOneQuestionEachForOnePoll) {
    const std::map<u8, b8 (*)()> questions = {
        {SDL_WINDOWEVENT_MINIMIZED, display_is_minimized},
        {SDL_WINDOWEVENT_MAXIMIZED, display_is_maximized},
        {SDL_WINDOWEVENT_RESTORED, display_is_restored},
        {SDL_WINDOWEVENT_ENTER, display_is_entered},
        {SDL_WINDOWEVENT_LEAVE, display_is_left},
        {SDL_WINDOWEVENT_FOCUS_GAINED, display_is_focus_gained},
        {SDL_WINDOWEVENT_FOCUS_LOST, display_is_focus_lost},
        {SDL_WINDOWEVENT_CLOSE, display_is_closed},
    };
    // The last size of the poll, and nothing is written without one.
    const auto expect_answers = [&](int kind) {
        input_poll();
        for (const auto& [asked, question] : questions) {
            EXPECT_EQ(question(), asked == kind) << int{asked};
        }
        i32 width = -7;
        i32 height = -7;
        const bool is_resized = kind == SDL_WINDOWEVENT_RESIZED;
        EXPECT_EQ(display_is_resized(&width, &height), is_resized);
        EXPECT_EQ(width, is_resized ? 300 : -7);
        EXPECT_EQ(height, is_resized ? 400 : -7);
    };
    for (u32 i = 0; i < 256; i++) {
        SCOPED_TRACE(i);
        const u8 kind = static_cast<u8>(i);
        push_window(sdl_window_id, kind, 100, 200);
        push_window(sdl_window_id, kind, 300, 400);
        push_window(sdl_window_id + 1, kind, 500, 600);
        expect_answers(kind);
        push_window(sdl_window_id + 1, kind);
        expect_answers(-1);
    }
    push_quit();
    expect_answers(SDL_WINDOWEVENT_CLOSE);
}

TEST_F(InputTest, DropsAreCopiedCutAndFreed) {
    const auto expect_drop = [](const std::string& text) {
        Slice drop = {};
        input_poll();
        display_file_dropped(&drop);
        EXPECT_EQ(text_of(drop), text);
        return static_cast<const char*>(drop.data);
    };
    const std::string long_path = "/" + std::string(150, 'a') + std::string(149, 'b');
    for (const std::size_t length : {300u, 256u, 255u}) {
        push_drop(SDL_DROPFILE, long_path.substr(0, length).c_str());
        expect_drop(long_path.substr(0, std::min(length, std::size_t{256})));
    }
    std::vector<void*> owned = {push_drop(SDL_DROPFILE, "/first"),
                                push_drop(SDL_DROPFILE, "/last "),
                                push_drop(SDL_DROPTEXT, "just words")};
    push_drop(SDL_DROPFILE, nullptr);
    // A text that somebody is writing, in the form that the environment may ask SDL2 for.
    push_event(SDL_TEXTEDITING_EXT, [&](SDL_Event& event) {
        owned.push_back(event.editExt.text = SDL_strdup("just begun"));
    });
    freed.clear();
    expect_drop("/last ");
    for (const void* memory : owned) {
        EXPECT_EQ(std::count(freed.begin(), freed.end(), memory), 1);
    }
    const char* const data = expect_drop("");
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(std::string(data, 9), "/last aaa") << "it stays, and no terminator is written";
}

TEST_F(InputTest, ModifiersAreAskedForAtOnceInBitsOfOurOwn) {
    const std::map<int, int> cases = {
        {KMOD_LCTRL, 1}, {KMOD_RCTRL, 1}, {KMOD_LSHIFT, 2}, {KMOD_RSHIFT, 2},
        {KMOD_LALT, 4},  {KMOD_RALT, 4},  {KMOD_LGUI, 8},   {KMOD_RGUI, 8},
        {KMOD_CAPS, 16}, {KMOD_NUM, 32},  {0xFFFF, 63},     {KMOD_MODE | KMOD_SCROLL, 0},
    };
    for (const auto& [sdl, ours] : cases) {
        SDL_SetModState(static_cast<SDL_Keymod>(sdl));
        EXPECT_EQ(input_key_modifiers(), ours) << sdl;
    }
}

TEST_F(InputTest, OnlyTheLowByteOfANumberCounts) {
    push_key(SDL_SCANCODE_D, true);
    push_key(SDL_SCANCODE_E, false);
    push_button(SDL_BUTTON_LEFT, true);
    push_button(SDL_BUTTON_RIGHT, false);
    input_poll();
    const std::map<const char*, u32> questions = {
        {"input_key_is_pressed", KEY_D},     {"input_key_is_held", KEY_D},
        {"input_key_is_released", KEY_E},    {"input_mouse_is_pressed", MOUSE_LEFT},
        {"input_mouse_is_held", MOUSE_LEFT}, {"input_mouse_is_released", MOUSE_RIGHT},
    };
    for (const auto& [name, set] : questions) {
        EXPECT_EQ(by_name<u8(u32)>(name)(0xFFFFFF00u | set), 1) << name;
        EXPECT_EQ(by_name<u8(u32)>(name)(0xFFFFFF00u), 0) << name;
    }
    for (const u32 on : {0x100u, 0x82u, 0xFFFFFF00u, 0xFFFFFF01u}) {
        by_name<void(u32)>("input_mouse_set_visible")(on);
        EXPECT_EQ(SDL_ShowCursor(SDL_QUERY), (on & 0xFF) != 0);
        by_name<void(u32)>("input_mouse_set_relative")(on);
    }
    EXPECT_EQ(relative_modes, (std::vector<int>{0, 1, 0, 1}));
}
