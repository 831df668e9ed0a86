// SPDX-License-Identifier: Zlib
#include "support/display.h"
#include "support/guarded_text.h"

#include <array>
#include <cstdio>

// Clipboard, screen saver, and what reaches SDL2's message box. That texts go to other programs is
// seen where an example copies one.

namespace {

struct Box {
    u32 flags;
    std::string title, message;
    SDL_Window* window;
};
std::vector<Box> boxes;

} // namespace

// Stands in for SDL2's function; the library's calls come here first.
extern "C" int SDL_ShowSimpleMessageBox(Uint32 flags, const char* title, const char* message,
                                        SDL_Window* window) {
    boxes.push_back({flags, title, message, window});
    return 0;
}

namespace {

// The clipboard's text, and what is printed meanwhile.
struct Got {
    Slice slice = {&slice, -1};
    std::string output;
};

Got get() {
    Got got;
    testing::internal::CaptureStdout();
    clipboard_get(&got.slice);
    std::fflush(stdout);
    got.output = testing::internal::GetCapturedStdout();
    return got;
}

void expect_text(const std::string& text) {
    const Got got = get();
    EXPECT_EQ(text_of(got.slice), text);
    EXPECT_EQ(got.output, "");
}

void expect_nothing(const std::string& output) {
    const Got got = get();
    EXPECT_EQ(got.slice.data, nullptr);
    EXPECT_EQ(got.slice.count, 0);
    EXPECT_EQ(got.output, output);
}

constexpr const char* no_room = "clipboard memory allocation failed\n";

class DesktopTest : public testing::Test {
protected:
    void SetUp() override {
        system_init(SYSTEM_INIT_VIDEO | SYSTEM_INIT_EVENTS);
        clipboard_set_buffer(0, nullptr);
        boxes.clear();
    }

    void TearDown() override {
        display_close();
        system_release();
    }
};

} // namespace

TEST_F(DesktopTest, OverLongTextsAreRefusedAndNeverRead) {
    std::string longest(16383, 'l');
    for (const std::string& text : {std::string("Größe → 窓 \n\ttwo lines\n"), longest}) {
        clipboard_set(guarded_text(text).slice());
        expect_text(text);
    }
    std::string other(16384, 'o');
    for (const i64 count : {i64{16384}, i64{1} << 32, INT64_MAX}) {
        clipboard_set({other.data(), count});
        expect_text(longest);
    }
    clipboard_set(slice(std::string("ends here\0not here", 18)));
    expect_text("ends here");
    clipboard_set({reinterpret_cast<void*>(16), -1});
    expect_nothing("");
}

TEST_F(DesktopTest, TextsStandSideBySideAtAnyOffset) {
    std::array<char, 64> block;
    block.fill('#');
    clipboard_set_buffer(20, block.data() + 1);
    for (const char* text : {"abc", "de"}) {
        clipboard_set(slice(text));
        expect_text(text);
    }
    EXPECT_EQ(std::string(block.data(), 8), "#abcde##") << "nothing behind a text";

    // Up to the last byte, and not one further.
    clipboard_set_buffer_position(17);
    clipboard_set(slice("klmn"));
    expect_nothing(no_room);
    EXPECT_EQ(clipboard_get_buffer_position(), 17);
    clipboard_set(slice("klm"));
    expect_text("klm");
    EXPECT_EQ(std::string(block.data() + 17, 6), "#klm##");

    // Positions outside are kept as they are, and make every text fail.
    for (const i64 position : {i64{20}, i64{21}, INT64_MAX, i64{-1}, INT64_MIN}) {
        clipboard_set_buffer_position(position);
        expect_nothing(no_room);
        EXPECT_EQ(clipboard_get_buffer_position(), position);
    }
    // No text moves nothing and is no failure.
    clipboard_set({nullptr, 0});
    expect_nothing("");
    clipboard_set_buffer(-1, block.data());
    EXPECT_EQ(clipboard_get_buffer_position(), 0);
    clipboard_set(slice("n"));
    expect_nothing(no_room);
    EXPECT_EQ(block[0], '#');
}

// From another program a text may have any length.
TEST_F(DesktopTest, WithoutABufferTextsGoIntoShortLivedMemory) {
    clipboard_set(slice("123456789"));
    const auto* const first = static_cast<char*>(get().slice.data);
    const int held = SDL_GetNumAllocations();
    EXPECT_EQ(get().slice.data, first + 16) << "at multiples of 8";
    EXPECT_EQ(SDL_GetNumAllocations(), held) << "SDL2's copy is given back";
    const std::string whole(524288, 'w');
    SDL_SetClipboardText(whole.c_str());
    expect_text(whole);
    SDL_SetClipboardText((whole + "x").c_str());
    expect_nothing(no_room);
    std::vector<char> block(524289);
    clipboard_set_buffer(524289, block.data());
    expect_text(whole + "x");
}

TEST_F(DesktopTest, BoxesOfAnyKindShowTwoTextsThatFitTheScratch) {
    const std::pair<u32, u32> cases[] = {
        {MESSAGE_BOX_INFORMATION, 0x40},
        {MESSAGE_BOX_WARNING, 0x20},
        {MESSAGE_BOX_ERROR, 0x10},
        {3, 0x40},
        {0xFF, 0x40},
        {0xFFFFFF01, 0x20},
    };
    for (const auto& [kind, flag] : cases) {
        by_name<void(u32, Slice, Slice)>("show_simple_message_box")(kind, slice("title"),
                                                                    slice("message"));
        EXPECT_EQ(boxes.back().flags, flag) << kind;
        EXPECT_EQ(boxes.back().title + boxes.back().message, "titlemessage");
        EXPECT_EQ(boxes.back().window, nullptr);
    }
    // Up to the last byte of it, and not one further, over a window.
    display_open(200, 100, slice("d"), DISPLAY_SOFTWARE, 0);
    std::string title(16000, 't');
    std::string message(383, 'm');
    for (const i64 count : {i64{382}, i64{383}, INT64_MAX}) {
        show_simple_message_box(0, slice(title), {message.data(), count});
        ASSERT_EQ(boxes.size(), std::size(cases) + 1);
        EXPECT_EQ(boxes.back().title, title);
        EXPECT_EQ(boxes.back().message, message.substr(0, 382));
        EXPECT_EQ(boxes.back().window, sdl_window);
    }
}

TEST_F(DesktopTest, TheScreenSaverIsSwitchedByTheByte) {
    EXPECT_EQ(SDL_IsScreenSaverEnabled(), SDL_FALSE) << "off from the start";
    for (const u32 enable : {1u, 0u, 0x80u, 0x100u, 0xFFFFFF01u}) {
        by_name<void(u32)>("screensaver_enable")(enable);
        EXPECT_EQ(SDL_IsScreenSaverEnabled(), (enable & 0xFF) != 0 ? SDL_TRUE : SDL_FALSE);
    }
}
