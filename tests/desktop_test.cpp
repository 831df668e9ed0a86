// SPDX-License-Identifier: Zlib
#include "support/x11.h"

#include "support/guarded_text.h"

#include <array>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>

// Clipboard and screen saver on a real X server, with xclip as the other program; and what reaches
// SDL2's message box.

namespace {

struct Box {
    u32 flags;
    std::string title, message;
    const char *title_at, *message_at;
    SDL_Window* window;
};

std::vector<Box> boxes;
std::vector<void*> freed;

// In place of the clipboard of SDL2: the text that it has, and what it hands out, null as it may
// be.
struct Played {
    const char* text;
};
std::optional<Played> played;
char* handed_out = nullptr;

} // namespace

// These stand in for SDL2's functions; the library's calls come here first.
extern "C" {

int SDL_ShowSimpleMessageBox(Uint32 flags, const char* title, const char* message,
                             SDL_Window* window) {
    boxes.push_back({flags, title, message, title, message, window});
    return 0;
}

SDL_bool SDL_HasClipboardText() {
    if (played) return SDL_TRUE;
    return next(SDL_HasClipboardText, "SDL_HasClipboardText")();
}

char* SDL_GetClipboardText() {
    if (!played) return handed_out = next(SDL_GetClipboardText, "SDL_GetClipboardText")();
    return handed_out = played->text == nullptr ? nullptr : SDL_strdup(played->text);
}

void SDL_free(void* memory) {
    freed.push_back(memory);
    next(SDL_free, "SDL_free")(memory);
}
}

namespace {

using namespace x11;

constexpr const char* line = "clipboard memory allocation failed\n";

struct Got {
    Slice slice;
    std::string text, output;
};

// The clipboard's text, and what is printed meanwhile. SDL2's copy is given back each time.
Got get() {
    Got got = {{&got, -1}, {}, {}};
    freed.clear();
    handed_out = nullptr;
    testing::internal::CaptureStdout();
    clipboard_get(&got.slice);
    std::fflush(stdout);
    got.output = testing::internal::GetCapturedStdout();
    EXPECT_EQ(freed, handed_out == nullptr ? std::vector<void*>{} : std::vector<void*>{handed_out});
    got.text = text_of(got.slice);
    return got;
}

void expect_nothing(const std::string& output) {
    const Got got = get();
    EXPECT_EQ(got.slice.data, nullptr);
    EXPECT_EQ(got.slice.count, 0);
    EXPECT_EQ(got.output, output);
}

void play(const char* text) {
    played = Played{text};
}

class DesktopTest : public testing::Test {
protected:
    void SetUp() override {
        x_ = XOpenDisplay(nullptr);
        ASSERT_NE(x_, nullptr) << "runs under an X server, such as xvfb-run";
        system_init(SYSTEM_INIT_VIDEO | SYSTEM_INIT_EVENTS);
        ASSERT_STREQ(SDL_GetCurrentVideoDriver(), "x11");
        clipboard_set_buffer(0, nullptr);
        played.reset();
        boxes.clear();
    }

    void TearDown() override {
        display_close();
        system_release();
        if (x_ != nullptr) XCloseDisplay(x_);
    }

    Window clipboard_owner() {
        return XGetSelectionOwner(x_, XInternAtom(x_, "CLIPBOARD", False));
    }

    // What another program puts into the clipboard. It goes into the background a little before it
    // has the clipboard.
    void copy_in_xclip(const std::string& text) {
        const Window before = clipboard_owner();
        const std::string file = testing::TempDir() + "desktop_test_clipboard";
        std::ofstream(file, std::ios::binary) << text;
        ASSERT_EQ(std::system(("xclip -selection clipboard " + file + " > /dev/null 2>&1").c_str()),
                  0);
        ASSERT_TRUE(poll_until([&] {
            const Window now = clipboard_owner();
            return now != None && now != before;
        }));
        std::filesystem::remove(file);
    }

    // What another program gets out of it, while this one goes on polling.
    static std::string paste_in_xclip() {
        std::string text;
        std::atomic<bool> done = false;
        std::thread other([&] {
            FILE* pipe = popen("timeout 10 xclip -selection clipboard -o 2> /dev/null", "r");
            for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) {
                text += static_cast<char>(c);
            }
            pclose(pipe);
            done = true;
        });
        poll_until([&] { return done.load(); });
        other.join();
        return text;
    }

    Display* x_ = nullptr;
};

std::string text_of_length(size_t length) {
    std::string text(length, 'x');
    for (size_t i = 0; i < length; i++) {
        text[i] = static_cast<char>('a' + i % 23);
    }
    return text;
}

} // namespace

TEST_F(DesktopTest, TextsOfOtherProgramsComeWithAndWithoutABuffer) {
    std::array<char, 4096> block;
    for (const bool lent : {false, true}) {
        SCOPED_TRACE(lent);
        clipboard_set_buffer(lent ? 4096 : 0, lent ? block.data() : nullptr);
        i64 position = 0;
        for (const std::string& text :
             {std::string("x"), std::string("Größe → 窓 \n\ttwo lines\n"), text_of_length(2001)}) {
            copy_in_xclip(text);
            const Got got = get();
            EXPECT_EQ(got.text, text);
            EXPECT_EQ(got.output, "");
            if (lent) {
                EXPECT_EQ(got.slice.data, block.data() + position);
            }
            position += lent ? static_cast<i64>(text.size()) : 0;
            EXPECT_EQ(clipboard_get_buffer_position(), position);
        }
    }
}

TEST_F(DesktopTest, OtherProgramsGetWhatWasSet) {
    const std::string longest = text_of_length(16383);
    for (const std::string& text : {std::string("x"), std::string("Größe → 窓\n"), longest}) {
        const guarded_text guarded(text);
        clipboard_set(guarded.slice());
        EXPECT_EQ(paste_in_xclip(), text);
        EXPECT_EQ(get().text, text) << "it comes back as well";
    }
    // Refused, never cut, and never read.
    std::string other(16384, 'o');
    for (const i64 count : {i64{16384}, i64{1} << 32, INT64_MAX}) {
        clipboard_set({other.data(), count});
        EXPECT_EQ(get().text, longest);
    }
    clipboard_set(slice(std::string("ends here\0not here", 18)));
    EXPECT_EQ(paste_in_xclip(), "ends here");
    clipboard_set({reinterpret_cast<void*>(16), -1});
    expect_nothing("");
}

TEST_F(DesktopTest, TextsStandSideBySideAtAnyOffset) {
    std::array<char, 64> block;
    block.fill('#');
    clipboard_set_buffer(20, block.data() + 1);
    play("abc");
    EXPECT_EQ(get().slice.data, block.data() + 1);
    EXPECT_EQ(clipboard_get_buffer_position(), 3);
    play("");
    const Got empty = get();
    EXPECT_EQ(empty.slice.data, block.data() + 4);
    EXPECT_EQ(empty.slice.count, 0);
    EXPECT_EQ(clipboard_get_buffer_position(), 3);
    play("de");
    EXPECT_EQ(get().slice.data, block.data() + 4);
    EXPECT_EQ(std::string(block.data(), 8), "#abcde##") << "nothing behind a text";

    // Up to the last byte, and not one further.
    clipboard_set_buffer_position(17);
    play("klmn");
    expect_nothing(line);
    EXPECT_EQ(clipboard_get_buffer_position(), 17);
    play("klm");
    EXPECT_EQ(get().text, "klm");
    EXPECT_EQ(clipboard_get_buffer_position(), 20);
    play("");
    EXPECT_EQ(get().slice.data, block.data() + 21);
    play("o");
    expect_nothing(line);
    EXPECT_EQ(std::string(block.data() + 17, 6), "#klm##");

    // Positions outside are kept as they are, and make every text fail.
    for (const i64 position : {i64{21}, INT64_MAX, i64{-1}, INT64_MIN}) {
        SCOPED_TRACE(position);
        clipboard_set_buffer_position(position);
        for (const char* text : {"", "p"}) {
            play(text);
            expect_nothing(line);
        }
        EXPECT_EQ(clipboard_get_buffer_position(), position);
    }
    clipboard_set_buffer(-1, block.data());
    EXPECT_EQ(clipboard_get_buffer_position(), 0);
    expect_nothing(line);
    EXPECT_EQ(block[0], '#');
}

TEST_F(DesktopTest, NoTextMovesNothing) {
    std::array<char, 8> block;
    for (char* memory : {static_cast<char*>(nullptr), block.data()}) {
        clipboard_set_buffer(8, memory);
        clipboard_set_buffer_position(5);
        play(nullptr);
        expect_nothing("");
        played.reset();
        clipboard_set({nullptr, 0});
        expect_nothing("");
        EXPECT_EQ(clipboard_get_buffer_position(), 5);
    }
}

TEST_F(DesktopTest, WithoutABufferTextsFollowEachOtherAtMultiplesOf8) {
    // One as large as all of the short-lived memory shows where that begins.
    const std::string whole = text_of_length(524288);
    play(whole.c_str());
    const Got all = get();
    EXPECT_EQ(all.text, whole);
    auto* const start = static_cast<char*>(all.slice.data);
    size_t end = 0;
    for (const size_t length : {9u, 0u, 300000u, 224272u}) {
        SCOPED_TRACE(length);
        const std::string text = text_of_length(length);
        play(text.c_str());
        const Got got = get();
        EXPECT_EQ(got.text, text);
        const size_t expected = (end + 7) / 8 * 8;
        EXPECT_EQ(got.slice.data, start + expected);
        end = expected + length;
    }
    play("x");
    EXPECT_EQ(get().slice.data, start) << "and round";

    // From another program, as long as it may be and one byte longer.
    const std::string too_long = whole + "x";
    copy_in_xclip(too_long);
    played.reset();
    expect_nothing(line);
    std::vector<char> block(524289);
    clipboard_set_buffer(524289, block.data());
    EXPECT_EQ(get().text, too_long);
}

TEST_F(DesktopTest, KindsAreTheirFlagsAndEverythingElseInforms) {
    const struct {
        u32 kind, flag;
    } cases[] = {{MESSAGE_BOX_INFORMATION, 0x40},
                 {MESSAGE_BOX_WARNING, 0x20},
                 {MESSAGE_BOX_ERROR, 0x10},
                 {3, 0x40},
                 {7, 0x40},
                 {0xFF, 0x40},
                 {0xFFFFFF01, 0x20},
                 {0x102, 0x10}};
    const auto wide_message_box = by_name<void(u32, Slice, Slice)>("show_simple_message_box");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.kind);
        boxes.clear();
        wide_message_box(c.kind, slice("title"), slice("message"));
        ASSERT_EQ(boxes.size(), 1u);
        EXPECT_EQ(boxes[0].flags, c.flag);
        EXPECT_EQ(boxes[0].title + boxes[0].message, "titlemessage");
        EXPECT_EQ(boxes[0].window, nullptr);
    }
    display_open(200, 100, slice("d"), DISPLAY_SOFTWARE, 0);
    show_simple_message_box(MESSAGE_BOX_WARNING, slice("title"), slice("message"));
    EXPECT_EQ(boxes.back().window, sdl_window);
}

TEST_F(DesktopTest, TheTwoTextsOfABoxFitTheScratchOrNothingIsShown) {
    temporary_pos = 100;
    show_simple_message_box(0, slice("title"), slice("message"));
    ASSERT_EQ(boxes.size(), 1u);
    const char* const scratch = reinterpret_cast<char*>(temporary_buffer);
    EXPECT_EQ(boxes[0].message_at, scratch + 100);
    EXPECT_EQ(boxes[0].title_at, scratch + 108);
    EXPECT_EQ(temporary_pos, 114);

    // Up to the last byte of it, and not one further.
    const std::string title(16000, 't');
    for (const i64 count : {i64{382}, i64{383}, INT64_MAX}) {
        boxes.clear();
        std::string message(383, 'm');
        show_simple_message_box(0, slice(title), {message.data(), count});
        ASSERT_EQ(boxes.size(), count == 382 ? 1u : 0u) << count;
        if (count == 382) {
            EXPECT_EQ(boxes[0].title, title);
            EXPECT_EQ(boxes[0].message, message.substr(0, 382));
        }
    }
}

TEST_F(DesktopTest, TheScreenSaverIsSwitchedByTheByte) {
    EXPECT_EQ(SDL_IsScreenSaverEnabled(), SDL_FALSE) << "off from the start";
    for (const u32 enable : {1u, 0u, 2u, 0x100u, 0x80u, 0xFFFFFF00u, 0xFFFFFF01u}) {
        SCOPED_TRACE(enable);
        by_name<void(u32)>("screensaver_enable")(enable);
        EXPECT_EQ(SDL_IsScreenSaverEnabled(), (enable & 0xFF) != 0 ? SDL_TRUE : SDL_FALSE);
    }
    system_release();
    screensaver_enable(1);
    clipboard_set(slice("nobody has it"));
    expect_nothing("");
}
