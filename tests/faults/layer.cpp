// SPDX-License-Identifier: Zlib
// A layer between the library and the systems under it, in which one call of a run fails: linked
// into a host, or preloaded. It puts its own functions into the library's table of addresses, so
// that no other calls come by.
//
//   FAULTS="NAME N WAY"  the N-th call of that function fails in that way, counted from 1 and 0
//   FAULTS_LOG=FILE      at the end, the function that has failed; if none was to, a line for each
//                        call: function, number of ways to fail, place
//   FAULTS_FRAMES=N      after so many event polls the window's close button is pressed
//
// What the C library takes from the heap for a call of the library's is "libc.malloc".

#include "faults/layer.h"

#include <SDL.h>

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <netdb.h>
#include <poll.h>
#include <span>
#include <stdio_ext.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <type_traits>
#include <unistd.h>

// A type that is a template's argument is without what a header says besides of its function.
#pragma GCC diagnostic ignored "-Wignored-attributes"

namespace {

struct function {
    const char* name;
    void* stand_in;
    int errors[3]; // one for each way to fail; 0 is a short count
    int ways;
    int number_of_calls;
};

struct call {
    const function* called;
    const char* place;
} calls[1 << 16];

int number_of_calls, target_call, target_way, paused, always_error, frames_left = -1;
char target[64], log_path[4096];
const char* struck;
const char* always_name;
thread_local int calls_under_way; // of the library's, on this thread

// Which way to fail, or -1.
int due(function& f, const void* caller) {
    if (paused) return -1;
    if (always_name && std::strcmp(always_name, f.name) == 0) {
        errno = always_error;
        return 0;
    }
    const int number = __atomic_add_fetch(&f.number_of_calls, 1, __ATOMIC_RELAXED);
    if (log_path[0] && !target[0]) {
        const int at = __atomic_fetch_add(&number_of_calls, 1, __ATOMIC_RELAXED);
        if (at < int{std::size(calls)}) calls[at] = {&f, static_cast<const char*>(caller)};
    }
    if (number != target_call || std::strcmp(f.name, target) != 0) return -1;
    struck = f.name;
    errno = f.errors[target_way];
    return target_way;
}

template <auto real, class... A> auto call_real(A... arguments) {
    ++calls_under_way;
    const auto result = real(arguments...);
    --calls_under_way;
    return result;
}

template <class R> constexpr R failure() {
    if constexpr (std::is_signed_v<R>) {
        return -1;
    } else {
        return R{}; // null, false, no number
    }
}

#define DUE(about) due(about, __builtin_return_address(0))

// One that fails without doing anything.
template <auto real, class = decltype(real)> struct failing;
template <auto real, class R, class... A, bool N> struct failing<real, R (*)(A...) noexcept(N)> {
    static inline function about;
    static R call(A... arguments) {
        return DUE(about) < 0 ? call_real<real>(arguments...) : failure<R>();
    }
};
// With a last argument that isn't always there.
template <auto real, class R, class... A, bool N>
struct failing<real, R (*)(A..., ...) noexcept(N)> {
    static inline function about;
    static R call(A... arguments, void* last) {
        return DUE(about) < 0 ? call_real<real>(arguments..., last) : failure<R>();
    }
};

// One whose work is done even so.
template <auto real, class = decltype(real)> struct failing_after;
template <auto real, class R, class A, bool N> struct failing_after<real, R (*)(A) noexcept(N)> {
    static inline function about;
    static R call(A argument) {
        const int way = DUE(about);
        const int error = errno;
        const R result = call_real<real>(argument);
        if (way < 0) return result;
        errno = error;
        return failure<R>();
    }
};

// One of the system's that moves bytes: an error, or a part of them.
template <auto real, class = decltype(real)> struct moving;
template <auto real, class D, class... A, bool N>
struct moving<real, ssize_t (*)(int, D, size_t, A...) noexcept(N)> {
    static inline function about;
    static ssize_t call(int at, D data, size_t size, A... rest) {
        const int way = DUE(about);
        if (way >= 0 && errno != 0) return -1;
        return call_real<real>(at, data, way < 0 ? size : (size + 1) / 2, rest...);
    }
};

// The mark of an error is what the C library itself would leave.
void mark_error(FILE* stream) {
    stream->_flags |= 0x20;
}
void mark_error(int) {
}

// The same of a stream.
template <auto real, class = decltype(real)> struct streaming;
template <auto real, class D, bool N>
struct streaming<real, size_t (*)(D, size_t, size_t, FILE*) noexcept(N)> {
    static inline function about;
    static size_t call(D data, size_t size, size_t count, FILE* stream) {
        const int way = DUE(about);
        if (way < 0) return call_real<real>(data, size, count, stream);
        const size_t part = way == 1 ? call_real<real>(data, size, count / 2, stream) : 0;
        mark_error(stream);
        return part;
    }
};
template <auto real, class... A, bool N> struct streaming<real, int (*)(A...) noexcept(N)> {
    static inline function about;
    static int call(A... arguments) {
        if (DUE(about) < 0) return call_real<real>(arguments...);
        (mark_error(arguments), ...);
        return EOF;
    }
};

// What waits in the buffer is lost.
template <auto> struct closing {
    static inline function about;
    static int call(FILE* stream) {
        const int way = DUE(about);
        if (way >= 0) __fpurge(stream);
        const int result = call_real<&fclose>(stream);
        return way < 0 ? result : EOF;
    }
};

template <auto> struct polling {
    static inline function about;
    static int call(SDL_Event* event) {
        const int found = DUE(about) < 0 ? call_real<&SDL_PollEvent>(event) : 0;
        if (found || frames_left < 0 || frames_left-- > 0) return found;
        event->type = SDL_QUIT;
        return 1;
    }
};

// The heap, as the C library calls it.
template <auto real, class = decltype(real)> struct libc_heap;
template <auto real, class... A, bool N> struct libc_heap<real, void* (*)(A...) noexcept(N)> {
    static inline function about;
    static void* call(A... arguments) {
        const bool fails = calls_under_way > 0 && DUE(about) >= 0;
        return fails ? nullptr : real(arguments...);
    }
};

template <class Kind, class... Error> function* described(const char* name, Error... errors) {
    Kind::about = {name, reinterpret_cast<void*>(Kind::call), {errors...}, sizeof...(errors), 0};
    return &Kind::about;
}

#define ROW(kind, name, ...) described<kind<&::name>>(#name, __VA_ARGS__)
#define FAILS(name, ...)     ROW(failing, name, __VA_ARGS__)
#define SDL_FAILS(name)      FAILS(SDL_##name, EIO)

std::span<function* const> functions() {
    static function* const all[] = {
        FAILS(fopen, EMFILE), FAILS(fseek, EIO), FAILS(fseeko, EIO), FAILS(ftell, EIO),
        FAILS(ftello, EIO), FAILS(setvbuf, ENOMEM), ROW(streaming, fread, EIO, 0),
        ROW(streaming, fwrite, ENOSPC, 0), ROW(streaming, fgetc, EIO),
        ROW(streaming, fputc, ENOSPC), ROW(closing, fclose, ENOSPC),
        // Files, by descriptor and path.
        FAILS(open, EMFILE), ROW(failing_after, close, EIO), ROW(moving, read, EIO, EINTR, 0),
        ROW(moving, write, ENOSPC, EINTR, 0), FAILS(stat, EIO), FAILS(lstat, EIO),
        FAILS(fstat, EIO), FAILS(fstatat, EIO), FAILS(fchmod, EPERM), FAILS(fchown, EPERM),
        FAILS(futimens, EPERM), FAILS(fsync, EIO), FAILS(linkat, EPERM, EIO), FAILS(unlink, EACCES),
        FAILS(rename, EIO), FAILS(renameat2, EIO, EINVAL, EXDEV), FAILS(readlink, EIO),
        FAILS(symlink, ENOSPC), FAILS(mkdir, ENOSPC), FAILS(rmdir, EBUSY), FAILS(opendir, EMFILE),
        FAILS(readdir, EIO), ROW(failing_after, closedir, EIO), FAILS(system, ENOMEM),
        // Sockets.
        FAILS(socket, EMFILE), FAILS(setsockopt, ENOMEM), FAILS(getsockopt, ENOMEM),
        FAILS(bind, EADDRINUSE), FAILS(listen, EADDRINUSE), FAILS(connect, ECONNREFUSED, EINTR),
        FAILS(accept, EMFILE, ECONNABORTED), ROW(moving, send, ECONNRESET, EINTR, 0),
        ROW(moving, recv, ECONNRESET, EINTR, 0), FAILS(sendto, ENOBUFS),
        FAILS(recvfrom, ECONNREFUSED, EINTR), FAILS(shutdown, ENOTCONN), FAILS(ioctl, EIO),
        FAILS(poll, EINTR, ENOMEM), FAILS(ppoll, EINTR, ENOMEM), FAILS(getaddrinfo, EAGAIN),
        FAILS(inet_ntop, ENOSPC),
        // The heap.
        FAILS(malloc, ENOMEM), FAILS(calloc, ENOMEM), FAILS(realloc, ENOMEM),
        described<libc_heap<&::malloc>>("libc.malloc", ENOMEM),
        described<libc_heap<&::calloc>>("libc.calloc", ENOMEM),
        described<libc_heap<&::realloc>>("libc.realloc", ENOMEM),
        // SDL2.
        ROW(polling, SDL_PollEvent, EIO), SDL_FAILS(Init), SDL_FAILS(InitSubSystem),
        SDL_FAILS(CreateWindow), SDL_FAILS(CreateRenderer), SDL_FAILS(CreateTexture),
        SDL_FAILS(UpdateTexture), SDL_FAILS(RenderClear), SDL_FAILS(RenderCopy),
        SDL_FAILS(CreateRGBSurfaceFrom), SDL_FAILS(CreateSystemCursor),
        SDL_FAILS(SetHintWithPriority), SDL_FAILS(GetWindowDisplayMode),
        SDL_FAILS(SetWindowFullscreen), SDL_FAILS(GetWindowID), SDL_FAILS(SetRelativeMouseMode),
        SDL_FAILS(WarpMouseGlobal), SDL_FAILS(GL_LoadLibrary), SDL_FAILS(GL_CreateContext),
        SDL_FAILS(GL_MakeCurrent), SDL_FAILS(GL_GetProcAddress), SDL_FAILS(GL_SetAttribute),
        SDL_FAILS(GL_SetSwapInterval), SDL_FAILS(ShowSimpleMessageBox), SDL_FAILS(HasClipboardText),
        SDL_FAILS(GetClipboardText), SDL_FAILS(SetClipboardText), SDL_FAILS(OpenAudioDevice),
        SDL_FAILS(NumJoysticks), SDL_FAILS(JoystickNameForIndex), SDL_FAILS(JoystickOpen),
        SDL_FAILS(JoystickName), SDL_FAILS(JoystickNumButtons), SDL_FAILS(JoystickNumAxes),
        SDL_FAILS(JoystickNumHats), SDL_FAILS(JoystickNumBalls), SDL_FAILS(JoystickIsHaptic),
        SDL_FAILS(HapticOpenFromJoystick), SDL_FAILS(HapticOpenFromMouse), SDL_FAILS(CreateThread),
        SDL_FAILS(SetThreadPriority), SDL_FAILS(CreateMutex), SDL_FAILS(LockMutex),
        SDL_FAILS(TryLockMutex), SDL_FAILS(CreateCond), SDL_FAILS(CondSignal),
        SDL_FAILS(CondBroadcast), SDL_FAILS(CondWait), SDL_FAILS(CondWaitTimeout),
        SDL_FAILS(CreateSemaphore), SDL_FAILS(SemPost), SDL_FAILS(SemTryWait), SDL_FAILS(SemWait),
        SDL_FAILS(SemWaitTimeout), SDL_FAILS(LoadObject), SDL_FAILS(LoadFunction)};
    return all;
}

void put_into_slot(void** slot, void* address) {
    const auto page = reinterpret_cast<uintptr_t>(slot) & ~uintptr_t{4095};
    if (mprotect(reinterpret_cast<void*>(page), 4096, PROT_READ | PROT_WRITE) != 0) _exit(98);
    *slot = address;
}

void put_into_table(const dl_phdr_info& module, const std::string& prefix) {
    const ElfW(Dyn)* entry = nullptr;
    for (const ElfW(Phdr) & part : std::span(module.dlpi_phdr, module.dlpi_phnum)) {
        if (part.p_type == PT_DYNAMIC)
            entry = reinterpret_cast<const ElfW(Dyn)*>(module.dlpi_addr + part.p_vaddr);
    }
    ElfW(Addr) value[DT_JMPREL + 1] = {};
    for (; entry != nullptr && entry->d_tag != DT_NULL; ++entry) {
        if (entry->d_tag <= DT_JMPREL) value[entry->d_tag] = entry->d_un.d_ptr;
    }
    const auto* const symbols = reinterpret_cast<const ElfW(Sym)*>(value[DT_SYMTAB]);
    const auto* const names = reinterpret_cast<const char*>(value[DT_STRTAB]);
    const std::pair<int, int> lists[] = {{DT_RELA, DT_RELASZ}, {DT_JMPREL, DT_PLTRELSZ}};
    for (const auto& [list, size] : lists) {
        const auto* const first = reinterpret_cast<const ElfW(Rela)*>(value[list]);
        for (const ElfW(Rela) & slot : std::span(first, value[size] / sizeof *first)) {
            const auto symbol = ELF64_R_SYM(slot.r_info);
            if (symbol == STN_UNDEF) continue; // an address of the module's own, as most are
            const std::string name = prefix + (names + symbols[symbol].st_name);
            for (const function* f : functions()) {
                if (name != f->name) continue;
                put_into_slot(reinterpret_cast<void**>(module.dlpi_addr + slot.r_offset),
                              f->stand_in);
            }
        }
    }
}

int look_at_module(dl_phdr_info* module, size_t, void*) {
    if (std::strstr(module->dlpi_name, "/libhalvorin_system.so")) {
        put_into_table(*module, "");
    } else if (std::strstr(module->dlpi_name, "/libc.so.")) {
        put_into_table(*module, "libc.");
    }
    return 0;
}

[[gnu::constructor]] void start() {
    const char* const log = std::getenv("FAULTS_LOG");
    const char* const fault = std::getenv("FAULTS");
    const char* const frames = std::getenv("FAULTS_FRAMES");
    if (log) std::strncpy(log_path, log, sizeof log_path - 1);
    if (frames) frames_left = std::atoi(frames);
    if (fault && std::sscanf(fault, "%63s %d %d", target, &target_call, &target_way) != 3) {
        _exit(99);
    }
    if (log || fault) dl_iterate_phdr(look_at_module, nullptr);
}

[[gnu::destructor]] void write_log() {
    paused = 1;
    FILE* const log = log_path[0] ? std::fopen(log_path, "w") : nullptr;
    if (log == nullptr) return;
    if (struck) std::fprintf(log, "struck %s\n", struck);
    const auto count = static_cast<size_t>(number_of_calls);
    for (const call& c : std::span(calls).first(std::min(count, std::size(calls)))) {
        Dl_info module = {};
        dladdr(c.place, &module);
        std::fprintf(log, "%s %d %lx\n", c.called->name, c.called->ways,
                     static_cast<long>(c.place - static_cast<const char*>(module.dli_fbase)));
    }
    std::fclose(log);
}

} // namespace

void faults_pause(int on) {
    paused = on;
}

const char* faults_struck(void) {
    return struck;
}

void faults_always(const char* function, int error) {
    always_name = function;
    always_error = error;
}
