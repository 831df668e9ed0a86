// SPDX-License-Identifier: Zlib
// Linked into a host that presents frames, this looks at what the process holds: the host fails
// when that has grown between an early frame and the last ones.

#include "support/holdings.h"

#include <SDL.h>
#include <dlfcn.h>
#include <unistd.h>

namespace {

i64 frames = 0;
endurance::holdings early, late;

void compare_at_exit() {
    endurance::print("frames of the demo", frames, 0, early, late);
    if (late.private_bytes != 0 && endurance::is_flat(early, late, {})) return;
    std::fputs("the process has grown\n", stderr);
    _exit(1);
}

} // namespace

// The library's call comes here first.
void SDL_GL_SwapWindow(SDL_Window* window) {
    reinterpret_cast<void (*)(SDL_Window*)>(dlsym(RTLD_NEXT, "SDL_GL_SwapWindow"))(window);
    const i64 first = endurance::is_whole() ? 1000 : 20;
    ++frames;
    if (frames == first) {
        early = endurance::held_now();
        std::atexit(compare_at_exit);
    }
    // The last frame is saved, for which the demo takes memory of its own.
    if (frames > first && frames % 10 == 5) late = endurance::held_now();
}
