// SPDX-License-Identifier: Zlib
#include "fuzzing.h"

#include "api/system.h"

#include <SDL.h>

#include <dlfcn.h>
#include <set>

// Events of any content in SDL2's queue, then every question that a poll answers.

using namespace fuzzing;

namespace {
std::set<void*> texts; // those that came with events, and are still to be freed
}

// Stands in for SDL2's; the library's calls come here first. SDL2 keeps what it took out of its
// queue, so that a search for lost memory may take a text for one in use.
extern "C" void SDL_free(void* memory) {
    static const auto system = reinterpret_cast<void (*)(void*)>(dlsym(RTLD_NEXT, "SDL_free"));
    texts.erase(memory);
    system(memory);
}

namespace {

void open_display() {
    setenv("SDL_VIDEODRIVER", "dummy", 1);
    setenv("SDL_AUDIODRIVER", "dummy", 1);
    system_init(SYSTEM_INIT_VIDEO | SYSTEM_INIT_EVENTS | SYSTEM_INIT_JOYSTICK);
    const Slice title = {const_cast<char*>("fuzz"), 4};
    require(display_open(64, 48, title, DISPLAY_SOFTWARE, 0) != 0, "there is a display");
}

// The types that the library knows, and now and then any number.
u32 type_of(u8 choice, u16 number) {
    constexpr u32 known[] = {
        SDL_QUIT,       SDL_WINDOWEVENT,    SDL_WINDOWEVENT,      SDL_KEYDOWN,
        SDL_KEYUP,      SDL_MOUSEMOTION,    SDL_MOUSEBUTTONDOWN,  SDL_MOUSEBUTTONUP,
        SDL_MOUSEWHEEL, SDL_JOYDEVICEADDED, SDL_JOYDEVICEREMOVED, SDL_DROPFILE,
        SDL_DROPFILE,   SDL_DROPTEXT,       SDL_TEXTINPUT,        SDL_KEYDOWN,
    };
    return choice < 0xE0 ? known[choice % std::size(known)] : number;
}

// A text of SDL2's own memory, as SDL2 hands them over, or none.
char* owned_text(input& from) {
    const u16 length = from.number<u16>() % 0x3FF;
    if (length == 0x3FE) return nullptr;
    const bytes content = from.block(length);
    auto* const text = static_cast<char*>(SDL_malloc(content.size() + 1));
    std::copy(content.begin(), content.end(), text);
    text[content.size()] = 0;
    return text;
}

// What the poll that comes next has to find.
struct pushed {
    bool has_mark; // one of SDL2's own, which end a poll
    std::string dropped;
};

void push_event(input& from, pushed& all) {
    static u8 message[1024];
    const u8 choice = from.byte();
    const u32 type = type_of(choice, from.number<u16>());
    SDL_Event event = {};
    char* text = nullptr;
    if (type == SDL_DROPFILE || type == SDL_DROPTEXT) {
        text = event.drop.file = owned_text(from);
#if SDL_VERSION_ATLEAST(2, 0, 22)
    } else if (type == SDL_TEXTEDITING_EXT) {
        text = event.editExt.text = owned_text(from);
#endif
    } else {
        const bytes content = from.block(std::min<size_t>(from.byte(), sizeof event));
        std::copy(content.begin(), content.end(), reinterpret_cast<u8*>(&event));
    }
    event.type = type;
    if (type == SDL_SYSWMEVENT) event.syswm.msg = reinterpret_cast<SDL_SysWMmsg*>(message);
    if (type == SDL_WINDOWEVENT && choice % 16 == 1) event.window.windowID = sdl_window_id;
    const bool added = SDL_PeepEvents(&event, 1, SDL_ADDEVENT, 0, 0) == 1;
    if (text != nullptr) texts.insert(text);
    if (!added) SDL_free(text);
    if (added && type == SDL_DROPFILE && text != nullptr) {
        all.dropped = std::string(text).substr(0, 256);
    }
    all.has_mark |= type == SDL_POLLSENTINEL;
}

using state_of = void (*)(Slice*);
using entry_of = b8 (*)(u8);

// An array of states is what the single questions say, and says no more than yes or no apart from
// the entries that count.
void check_states(state_of all, entry_of one, i64 count, bool is_held) {
    Slice states = {};
    all(&states);
    require(states.count == count, "there is a state for each code");
    bool any = false;
    for (int code = 0; code < 256; ++code) {
        const u8 state = one(static_cast<u8>(code));
        require(code < count ? state == static_cast<const u8*>(states.data)[code] : state == 0,
                "a state is in its array");
        const bool counts = code == KEY_ANY || (code >= KEY_CONTROL && code <= KEY_SYSTEM);
        require(state <= 1 || (is_held && counts), "only shared codes count");
        if (code != KEY_ANY && state != 0) any = true;
    }
    if (!is_held) require(any == (one(KEY_ANY) != 0), "any key is one of the keys");
}

void check_all_states() {
    check_states(input_key_pressed_state, input_key_is_pressed, KEY_CODES, false);
    check_states(input_key_released_state, input_key_is_released, KEY_CODES, false);
    check_states(input_key_held_state, input_key_is_held, KEY_CODES, true);
    check_states(input_mouse_pressed_state, input_mouse_is_pressed, MOUSE_BUTTONS, false);
    check_states(input_mouse_released_state, input_mouse_is_released, MOUSE_BUTTONS, false);
    check_states(input_mouse_held_state, input_mouse_is_held, MOUSE_BUTTONS, true);
    require(input_last_pressed_key() < KEY_CODES && input_last_released_key() < KEY_CODES,
            "the last keys have codes");
    require(input_last_pressed_mouse_button() < MOUSE_BUTTONS &&
                input_last_released_mouse_button() < MOUSE_BUTTONS,
            "the last buttons have codes");
    input_key_modifiers();
}

// Truth values that aren't 0 or 1 would be undefined in a host that takes them as such.
u32 window_flags() {
    i32 width = -7;
    i32 height = -7;
    const b8 resized = display_is_resized(&width, &height);
    require(resized != 0 || (width == -7 && height == -7), "no size without a change");
    i32 index = 0;
    void* handle = nullptr;
    const u32 flags[] = {
        resized,
        display_is_minimized(),
        display_is_maximized(),
        display_is_restored(),
        display_is_entered(),
        display_is_left(),
        display_is_focus_gained(),
        display_is_focus_lost(),
        display_is_closed(),
        controller_is_added(&index),
        controller_is_removed(&handle),
    };
    u32 set = 0;
    for (const u32 flag : flags) {
        require(flag <= 1, "a truth value is 0 or 1");
        set = set << 1 | flag;
    }
    return set;
}

void check_drop(const std::string& expected) {
    Slice path = {};
    display_file_dropped(&path);
    require(path.count == static_cast<i64>(expected.size()) && path.data != nullptr &&
                std::memcmp(path.data, expected.data(), expected.size()) == 0,
            "the path is that of the last drop");
}

void check_quiet_poll() {
    input_poll();
    check_all_states();
    i32 x = -7;
    i32 y = -7;
    input_mouse_moved(&x, &y);
    require(x == 0 && y == 0 && input_mouse_wheel() == 0, "nothing moves by itself");
    require(window_flags() == 0, "nothing happens by itself");
    require(input_key_is_pressed(KEY_ANY) == 0 && input_key_is_released(KEY_ANY) == 0,
            "no key by itself");
    check_drop("");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool is_open = (open_display(), true);
    require(is_open, "there is a display");
    SDL_FlushEvents(SDL_FIRSTEVENT, SDL_LASTEVENT);
    input from(data, size);
    pushed all = {};
    while (!from.is_used_up()) {
        push_event(from, all);
    }
    input_poll();
    check_all_states();
    window_flags();
    if (!all.has_mark) check_drop(all.dropped);
    i32 x = 0;
    i32 y = 0;
    input_mouse_position(&x, &y);
    input_mouse_global_position(&x, &y);
    while (SDL_HasEvents(SDL_FIRSTEVENT, SDL_LASTEVENT)) {
        input_poll();
    }
    require(texts.empty(), "all texts that came with events are freed");
    check_quiet_poll();
    return 0;
}
