// SPDX-License-Identifier: Zlib
// Preloaded into a Python that calls the library, this tells on whose account its calls to the heap
// are.

#include "support/heap_calls.h"

#include <dlfcn.h>
#include <execinfo.h>
#include <string_view>

namespace {

enum account {
    library, // its own code
    system,  // the C library, on its behalf
    others,  // SDL2, the graphics driver
    host
};

int calls[4];

// A call that the library makes as the last step of a function comes back to what called it there,
// which is libffi.
account owner_of_call(const void* caller) {
    void* frames[40];
    const int depth = backtrace(frames, 40);
    bool by_system = false;
    for (int i = 0, begun = 0; i < depth; ++i) {
        begun |= frames[i] == caller;
        Dl_info module = {};
        if (!begun) continue;
        // Code that no module holds is what the driver has compiled.
        if (dladdr(frames[i], &module) == 0) return others;
        const std::string_view path = module.dli_fname;
        const std::string_view name = path.substr(path.rfind('/') + 1);
        const auto is = [&](std::string_view part) { return name.find(part) == 0; };
        if (is("libc.") || is("ld-linux") || is("libm.") || is("libstdc++")) {
            by_system = true;
        } else if (is("libhalvorin_system") || is("libffi")) {
            return by_system ? system : library;
        } else {
            return is("python") || is("libpython") || is("_ctypes") ? host : others;
        }
    }
    return others;
}

void look(const void* caller) {
    heap_calls::observer = nullptr; // looking may take something itself
    ++calls[owner_of_call(caller)];
    heap_calls::observer = look;
}

} // namespace

extern "C" {

void heap_watch(int on) {
    if (on) std::fill(calls, calls + 4, 0);
    heap_calls::observer = on ? look : nullptr;
}

int heap_taken(int account) {
    return calls[account];
}

// An OpenGL, and a function of the host's, that does nothing.
long heap_nothing() {
    return 0;
}
}
