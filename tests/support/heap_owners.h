// SPDX-License-Identifier: Zlib
#pragma once

#include "support/heap_calls.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <execinfo.h>
#include <link.h>

// On whose account the calls to the heap are. A call that the library makes as the last step of a
// function seems to come from the library's caller, which is the program: so the program itself
// takes nothing while it looks. What the C library takes is on the account of who has called it.
// The C++ library's templates may lie in the program, for the driver too: there the driver is who
// called.
namespace heap_calls {

enum owner {
    library,
    system,
    sdl,
    others, // the graphics driver, the X library
    program
};

struct account {
    int calls[4] = {};
    int operator[](int who) const {
        return calls[who];
    }
};

struct module_range {
    std::uintptr_t begin, end;
    owner who;
};

inline module_range modules[512];
inline int module_count = 0;
inline constinit thread_local account present = {};

inline owner owner_of(const char* module) {
    const auto has = [&](const char* part) { return std::strstr(module, part) != nullptr; };
    if (*module == 0) return program;
    if (has("halvorin_system")) return library;
    if (has("/libc.so") || has("/ld-linux") || has("/libm.so") || has("/libstdc++")) return system;
    return has("/libSDL2") ? sdl : others;
}

inline int add_module(dl_phdr_info* module, std::size_t, void*) {
    for (int i = 0; i < module->dlpi_phnum && module_count < 512; ++i) {
        const auto& part = module->dlpi_phdr[i];
        const std::uintptr_t begin = module->dlpi_addr + part.p_vaddr;
        if (part.p_type != PT_LOAD || (part.p_flags & PF_X) == 0) continue;
        modules[module_count++] = {begin, begin + part.p_memsz, owner_of(module->dlpi_name)};
    }
    return 0;
}

// Code that no module holds is what the graphics driver has compiled.
inline owner owner_at(const void* address) {
    const auto place = reinterpret_cast<std::uintptr_t>(address);
    for (int round = 0; round < 2; ++round) {
        for (int i = 0; i < module_count; ++i) {
            if (place >= modules[i].begin && place < modules[i].end) return modules[i].who;
        }
        module_count = 0; // another one may have come
        dl_iterate_phdr(add_module, nullptr);
    }
    return others;
}

inline owner owner_of_call(const void* caller) {
    const owner nearest = owner_at(caller);
    if (nearest != system && nearest != program) return nearest;
    void* frames[64];
    const int depth = backtrace(frames, 64);
    void** const end = frames + depth;
    owner asked_by = others;
    for (void** frame = std::find(frames, end, caller); frame < end; ++frame) {
        const owner who = owner_at(*frame);
        if (who == sdl || who == others) return who;
        if (who == library) return system;
        if (who == program) asked_by = nearest == program ? library : system;
    }
    return asked_by;
}

inline void add_to_account(const void* caller) {
    observer = nullptr; // looking may take something the first time
    ++present.calls[owner_of_call(caller)];
    observer = add_to_account;
}

// On whose account this thread's calls are while `call` runs.
template <class Call> account account_of(const Call& call) {
    present = {};
    observer = add_to_account;
    call();
    observer = nullptr;
    return present;
}

} // namespace heap_calls
