// SPDX-License-Identifier: Zlib
#pragma once

// What tests on a real X server share. Ahead of X11's headers, whose macros stand for names in it.
#include <gtest/gtest.h>

#include "support/display.h"

#include <X11/Xlib.h>

#include <chrono>
#include <cstdlib>
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

} // namespace x11
