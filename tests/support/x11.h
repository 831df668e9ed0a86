// SPDX-License-Identifier: Zlib
#pragma once

// What tests on a real X server share. Ahead of X11's headers, whose macros stand for names in it.
#include <gtest/gtest.h>

#include "support/display.h"

#include <X11/Xlib.h>

#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

namespace x11 {

inline void xdotool(const std::string& arguments) {
    ASSERT_EQ(std::system(("xdotool " + arguments).c_str()), 0) << arguments;
}

// Polls until the condition holds just behind a poll.
template <class Condition> bool poll_until(Condition condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    do {
        input_poll();
        if (condition()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    } while (std::chrono::steady_clock::now() < end);
    return false;
}

inline std::vector<long> property(Display* x, Window of, const char* name, Atom type) {
    Atom actual = 0;
    int format = 0;
    unsigned long count = 0;
    unsigned long rest = 0;
    unsigned char* data = nullptr;
    XGetWindowProperty(x, of, XInternAtom(x, name, False), 0, 1000, False, type, &actual, &format,
                       &count, &rest, &data);
    std::vector<long> items;
    for (unsigned long i = 0; i < count; i++) {
        items.push_back(format == 8 ? data[i] : reinterpret_cast<long*>(data)[i] & 0xFFFFFFFF);
    }
    if (data != nullptr) XFree(data);
    return items;
}

inline std::string title_of(Display* x, Window of) {
    std::string title;
    for (const long byte : property(x, of, "_NET_WM_NAME", XInternAtom(x, "UTF8_STRING", False))) {
        title += static_cast<char>(byte);
    }
    return title;
}

// The window of that name that lies on the screen itself; 0 where there is none.
inline Window top_window(Display* x, const std::string& name) {
    Window root = 0;
    Window* children = nullptr;
    unsigned count = 0;
    XQueryTree(x, DefaultRootWindow(x), &root, &root, &children, &count);
    Window found = 0;
    for (unsigned i = 0; i < count; i++) {
        if (title_of(x, children[i]) == name) found = children[i];
    }
    if (children != nullptr) XFree(children);
    return found;
}

// SDL2 draws a message box with one of the server's own fonts, of which a virtual server has none.
// The path holds as long as the connection to the server does.
class box_font {
public:
    explicit box_font(Display* x) : folder(testing::TempDir() + "box_font_XXXXXX") {
        EXPECT_NE(mkdtemp(folder.data()), nullptr);
        EXPECT_EQ(symlink(file, (folder + "/box.ttf").c_str()), 0);
        std::ofstream(folder + "/fonts.dir")
            << "1\nbox.ttf -misc-box-medium-r-normal--0-0-0-0-p-0-iso8859-1\n";
        std::string built_in = "built-ins";
        char* path[] = {folder.data(), built_in.data()};
        XSetFontPath(x, path, 2);
        XSync(x, False);
    }
    ~box_font() {
        std::filesystem::remove_all(folder);
    }
    box_font(const box_font&) = delete;
    box_font& operator=(const box_font&) = delete;

    static bool is_there() {
        return access(file, R_OK) == 0;
    }

private:
    static constexpr const char* file = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";
    std::string folder;
};

// The message box of that title, once it is there; 0 when it doesn't come.
inline Window wait_for_box(Display* x, const std::string& title) {
    Window box = 0;
    for (int i = 0; i < 500 && box == 0; i++) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        box = top_window(x, title);
    }
    return box;
}

inline void press_return_in(Display* x, Window box) {
    XSetInputFocus(x, box, RevertToPointerRoot, CurrentTime);
    XSync(x, False);
    xdotool("key Return");
}

} // namespace x11
