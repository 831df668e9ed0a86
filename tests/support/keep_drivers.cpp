// SPDX-License-Identifier: Zlib
#include <dlfcn.h>
#include <link.h>

#include <cstring>
#include <initializer_list>

// The leak sanitizer tells a graphics driver's leaks by the driver's name, which is gone once SDL2
// has unloaded it. Linked into a test program, this keeps the drivers loaded until the end.
extern "C" int dlclose(void* handle) {
    link_map* map = nullptr;
    if (dlinfo(handle, RTLD_DI_LINKMAP, &map) == 0) {
        for (const char* part : {"GL", "dri", "gallium", "wayland", "X"}) {
            if (std::strstr(map->l_name, part) != nullptr) return 0;
        }
    }
    return reinterpret_cast<int (*)(void*)>(dlsym(RTLD_NEXT, "dlclose"))(handle);
}
