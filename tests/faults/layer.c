/* SPDX-License-Identifier: Zlib */
/* A layer between the library and the systems under it, in which one call of a run fails: linked
 * into a host, or preloaded. Only the library's calls count, and those that it passes on with a
 * jump, which come back to the host.
 *
 *   FAULTS="NAME N WAY"  the N-th call of that function fails in that way, counted from 1 and 0
 *   FAULTS_LOG=FILE      at the end, the function that has failed; if none was to, a line for each
 *                        call: function, number of ways to fail, place
 *   FAULTS_FRAMES=N      after so many event polls the window's close button is pressed
 *
 * Heap calls count by who makes them: "malloc" is the library's, "libc.malloc" and "SDL.malloc" are
 * made on its behalf. */
#define _GNU_SOURCE

#include "layer.h"

#include <SDL.h>

#include <dirent.h>
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <link.h>
#include <netdb.h>
#include <poll.h>
#include <stdint.h>
#include <stdio.h>
#include <stdio_ext.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <arpa/inet.h>
#include <sys/ioctl.h>

struct function {
    const char* name;
    const int* errors; /* one for each way to fail; 0 is a short count */
    int ways;
    int calls;
};

enum {
    OUTSIDE,
    LIBRARY,
    HOST,
    LIBC,
    SDL,
    MODULES
};

static struct { uintptr_t start, end; } modules[MODULES];

static struct {
    const struct function* function;
    uintptr_t place;
} calls[1 << 16];

static int num_calls, target_call, target_way, paused, frames_left = -1;
static char target[64], log_path[4096];
static const char* struck;
static const char* always_name;
static int always_error;
static int is_active; /* not before the start: a look-up takes memory itself */

static int note_module(struct dl_phdr_info* info, size_t size, void* first) {
    int* const is_first = first;
    int module = *is_first ? HOST : OUTSIDE;
    (void)size;
    *is_first = 0;
    if (strstr(info->dlpi_name, "/libhalvorin_system.so")) module = LIBRARY;
    if (strstr(info->dlpi_name, "/libc.so.")) module = LIBC;
    if (strstr(info->dlpi_name, "/libSDL2")) module = SDL;
    if (module == OUTSIDE) return 0;
    for (int i = 0; i < info->dlpi_phnum; i++) {
        const ElfW(Phdr)* const part = &info->dlpi_phdr[i];
        if (part->p_type != PT_LOAD || !(part->p_flags & PF_X)) continue;
        modules[module].end = info->dlpi_addr + part->p_vaddr + part->p_memsz;
        modules[module].start = info->dlpi_addr;
    }
    return 0;
}

static int module_of(const void* place) {
    const uintptr_t at = (uintptr_t)place;
    if (modules[LIBRARY].start == 0) {
        int first = 1;
        dl_iterate_phdr(note_module, &first);
    }
    for (int i = LIBRARY; i < MODULES; i++) {
        if (at >= modules[i].start && at < modules[i].end) return i;
    }
    return OUTSIDE;
}

__attribute__((constructor)) static void start(void) {
    const char* const log = getenv("FAULTS_LOG");
    const char* const fault = getenv("FAULTS");
    const char* const frames = getenv("FAULTS_FRAMES");
    is_active = log || fault;
    if (log) strncpy(log_path, log, sizeof log_path - 1);
    if (frames) frames_left = atoi(frames);
    if (fault && sscanf(fault, "%63s %d %d", target, &target_call, &target_way) != 3) _exit(99);
}

/* Which way to fail, or -1. */
static int way_of(struct function* function, int module, const void* caller) {
    const int number = __atomic_add_fetch(&function->calls, 1, __ATOMIC_RELAXED);
    if (log_path[0] && !target[0]) {
        const int at = __atomic_fetch_add(&num_calls, 1, __ATOMIC_RELAXED);
        if (at < (int)(sizeof calls / sizeof *calls)) {
            calls[at].function = function;
            calls[at].place = (uintptr_t)caller - modules[module].start + (uintptr_t)module;
        }
    }
    if (number != target_call || strcmp(function->name, target) != 0) return -1;
    struck = function->name;
    errno = function->errors[target_way];
    return target_way;
}

static int due(struct function* function, const void* caller) {
    if (!is_active || paused) return -1;
    const int module = module_of(caller);
    if (module != LIBRARY && module != HOST) return -1;
    if (always_name && strcmp(always_name, function->name) == 0) {
        errno = always_error;
        return 0;
    }
    return way_of(function, module, caller);
}

static void find(const char* name, void* next) {
    void* const found = dlsym(RTLD_NEXT, name);
    memcpy(next, &found, sizeof found);
}

__attribute__((destructor)) static void write_log(void) {
    const int most = (int)(sizeof calls / sizeof *calls);
    paused = 1;
    FILE* const log = log_path[0] ? fopen(log_path, "w") : NULL;
    if (!log) return;
    if (struck) fprintf(log, "struck %s\n", struck);
    for (int i = 0; i < num_calls && i < most; i++) {
        const struct function* const function = calls[i].function;
        fprintf(log, "%s %d %lx\n", function->name, function->ways, calls[i].place);
    }
    fclose(log);
}

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

/* A function in place of another, with the errors of its ways to fail. */
#define STAND_IN(type, name, parameters, ...)                                                      \
    static const int name##_errors[] = {__VA_ARGS__};                                              \
    static struct function name##_calls = {                                                        \
        #name, name##_errors, (int)(sizeof name##_errors / sizeof *name##_errors), 0};             \
    static type(*name##_next) parameters;                                                          \
    __attribute__((visibility("default"))) type name parameters

#define ENTER(name)                                                                                \
    if (!name##_next) find(#name, &name##_next);                                                   \
    const int way = due(&name##_calls, __builtin_return_address(0))

/* One that fails without doing anything. */
#define FAILING(type, name, parameters, arguments, failure, ...)                                   \
    STAND_IN(type, name, parameters, __VA_ARGS__) {                                                \
        ENTER(name);                                                                               \
        return way < 0 ? name##_next arguments : (failure);                                        \
    }

/* One whose work is done even so. */
#define FAILING_AFTER(type, name, parameters, arguments, failure, ...)                             \
    STAND_IN(type, name, parameters, __VA_ARGS__) {                                                \
        ENTER(name);                                                                               \
        const type result = name##_next arguments;                                                 \
        if (way < 0) return result;                                                                \
        errno = name##_errors[way];                                                                \
        return (failure);                                                                          \
    }

/* One of the system's that moves bytes: an error, or a part of them. */
#define MOVING(type, name, parameters, arguments, part, ...)                                       \
    STAND_IN(type, name, parameters, __VA_ARGS__) {                                                \
        ENTER(name);                                                                               \
        if (way >= 0 && errno != 0) return -1;                                                     \
        return way < 0 ? name##_next arguments : name##_next part;                                 \
    }

/* Files, by stream. The mark of an error is what the C library itself would leave. */
#define MARK_ERROR(stream) ((stream)->_flags |= 0x20)

FAILING(FILE*, fopen, (const char* path, const char* mode), (path, mode), NULL, EMFILE)
FAILING(int, fseek, (FILE * stream, long offset, int origin), (stream, offset, origin), -1, EIO)
FAILING(int, fseeko, (FILE * stream, off_t offset, int origin), (stream, offset, origin), -1, EIO)
FAILING(long, ftell, (FILE * stream), (stream), -1, EIO)
FAILING(off_t, ftello, (FILE * stream), (stream), -1, EIO)
FAILING(int, setvbuf, (FILE * stream, char* buffer, int mode, size_t size),
        (stream, buffer, mode, size), -1, ENOMEM)

STAND_IN(size_t, fread, (void* data, size_t size, size_t count, FILE* stream), EIO, 0) {
    ENTER(fread);
    if (way < 0) return fread_next(data, size, count, stream);
    const size_t part = way == 1 ? fread_next(data, size, count / 2, stream) : 0;
    MARK_ERROR(stream);
    return part;
}

STAND_IN(size_t, fwrite, (const void* data, size_t size, size_t count, FILE* stream), ENOSPC, 0) {
    ENTER(fwrite);
    if (way < 0) return fwrite_next(data, size, count, stream);
    const size_t part = way == 1 ? fwrite_next(data, size, count / 2, stream) : 0;
    MARK_ERROR(stream);
    return part;
}

STAND_IN(int, fgetc, (FILE * stream), EIO) {
    ENTER(fgetc);
    if (way < 0) return fgetc_next(stream);
    MARK_ERROR(stream);
    return EOF;
}

STAND_IN(int, fputc, (int byte, FILE* stream), ENOSPC) {
    ENTER(fputc);
    if (way < 0) return fputc_next(byte, stream);
    MARK_ERROR(stream);
    return EOF;
}

/* What waits in the buffer is lost. */
STAND_IN(int, fclose, (FILE * stream), ENOSPC) {
    ENTER(fclose);
    if (way >= 0) __fpurge(stream);
    const int result = fclose_next(stream);
    return way < 0 ? result : EOF;
}

/* Files, by descriptor and path. */
STAND_IN(int, open, (const char* path, int flags, ...), EMFILE) {
    va_list list;
    va_start(list, flags);
    const mode_t mode = flags & O_CREAT ? va_arg(list, mode_t) : 0;
    va_end(list);
    ENTER(open);
    return way < 0 ? open_next(path, flags, mode) : -1;
}

FAILING_AFTER(int, close, (int file), (file), -1, EIO)
MOVING(ssize_t, read, (int file, void* data, size_t size), (file, data, size),
       (file, data, (size + 1) / 2), EIO, EINTR, 0)
MOVING(ssize_t, write, (int file, const void* data, size_t size), (file, data, size),
       (file, data, (size + 1) / 2), ENOSPC, EINTR, 0)
FAILING(int, stat, (const char* path, struct stat* status), (path, status), -1, EIO)
FAILING(int, lstat, (const char* path, struct stat* status), (path, status), -1, EIO)
FAILING(int, fstat, (int file, struct stat* status), (file, status), -1, EIO)
FAILING(int, fstatat, (int folder, const char* path, struct stat* status, int flags),
        (folder, path, status, flags), -1, EIO)
FAILING(int, fchmod, (int file, mode_t mode), (file, mode), -1, EPERM)
FAILING(int, fchown, (int file, uid_t user, gid_t group), (file, user, group), -1, EPERM)
FAILING(int, futimens, (int file, const struct timespec times[2]), (file, times), -1, EPERM)
FAILING(int, fsync, (int file), (file), -1, EIO)
FAILING(int, linkat, (int from_folder, const char* from, int to_folder, const char* to, int flags),
        (from_folder, from, to_folder, to, flags), -1, EPERM, EIO)
FAILING(int, unlink, (const char* path), (path), -1, EACCES)
FAILING(int, rename, (const char* from, const char* to), (from, to), -1, EIO)
FAILING(int, renameat2,
        (int from_folder, const char* from, int to_folder, const char* to, unsigned flags),
        (from_folder, from, to_folder, to, flags), -1, EIO, EINVAL, EXDEV)
FAILING(ssize_t, readlink, (const char* path, char* text, size_t size), (path, text, size), -1, EIO)
FAILING(int, symlink, (const char* to, const char* path), (to, path), -1, ENOSPC)
FAILING(int, mkdir, (const char* path, mode_t mode), (path, mode), -1, ENOSPC)
FAILING(int, rmdir, (const char* path), (path), -1, EBUSY)
FAILING(DIR*, opendir, (const char* path), (path), NULL, EMFILE)
FAILING(struct dirent*, readdir, (DIR * folder), (folder), NULL, EIO)
FAILING_AFTER(int, closedir, (DIR * folder), (folder), -1, EIO)
FAILING(int, system, (const char* command), (command), -1, ENOMEM)

/* Sockets. */
FAILING(int, socket, (int family, int type, int protocol), (family, type, protocol), -1, EMFILE)
FAILING(int, setsockopt, (int at, int level, int name, const void* value, socklen_t size),
        (at, level, name, value, size), -1, ENOMEM)
FAILING(int, bind, (int at, __CONST_SOCKADDR_ARG address, socklen_t size), (at, address, size), -1,
        EADDRINUSE)
FAILING(int, listen, (int at, int most), (at, most), -1, EADDRINUSE)
FAILING(int, connect, (int at, __CONST_SOCKADDR_ARG address, socklen_t size), (at, address, size),
        -1, ECONNREFUSED, EINTR)
FAILING(int, accept, (int at, __SOCKADDR_ARG address, socklen_t* size), (at, address, size), -1,
        EMFILE, ECONNABORTED)
MOVING(ssize_t, send, (int at, const void* data, size_t size, int flags), (at, data, size, flags),
       (at, data, (size + 1) / 2, flags), ECONNRESET, EINTR, 0)
MOVING(ssize_t, recv, (int at, void* data, size_t size, int flags), (at, data, size, flags),
       (at, data, (size + 1) / 2, flags), ECONNRESET, EINTR, 0)
FAILING(ssize_t, sendto,
        (int at, const void* data, size_t size, int flags, __CONST_SOCKADDR_ARG address,
         socklen_t length),
        (at, data, size, flags, address, length), -1, ENOBUFS)
FAILING(ssize_t, recvfrom,
        (int at, void* data, size_t size, int flags, __SOCKADDR_ARG address, socklen_t* length),
        (at, data, size, flags, address, length), -1, ECONNREFUSED, EINTR)
FAILING(int, shutdown, (int at, int how), (at, how), -1, ENOTCONN)
FAILING(int, poll, (struct pollfd * entries, nfds_t count, int time), (entries, count, time), -1,
        EINTR, ENOMEM)
FAILING(int, ppoll,
        (struct pollfd * entries, nfds_t count, const struct timespec* time, const sigset_t* mask),
        (entries, count, time, mask), -1, EINTR, ENOMEM)
FAILING(int, getaddrinfo,
        (const char* host, const char* service, const struct addrinfo* hints,
         struct addrinfo** list),
        (host, service, hints, list), EAI_AGAIN, EAGAIN)
FAILING(const char*, inet_ntop, (int family, const void* address, char* text, socklen_t size),
        (family, address, text, size), NULL, ENOSPC)

STAND_IN(int, ioctl, (int at, unsigned long request, ...), EIO) {
    va_list list;
    va_start(list, request);
    void* const argument = va_arg(list, void*);
    va_end(list);
    ENTER(ioctl);
    return way < 0 ? ioctl_next(at, request, argument) : -1;
}

/* The heap. */
static const int heap_errors[] = {ENOMEM};
static struct function heap_calls[3][MODULES] = {{[LIBRARY] = {"malloc", heap_errors, 1, 0},
                                                  [LIBC] = {"libc.malloc", heap_errors, 1, 0},
                                                  [SDL] = {"SDL.malloc", heap_errors, 1, 0}},
                                                 {[LIBRARY] = {"calloc", heap_errors, 1, 0},
                                                  [LIBC] = {"libc.calloc", heap_errors, 1, 0},
                                                  [SDL] = {"SDL.calloc", heap_errors, 1, 0}},
                                                 {[LIBRARY] = {"realloc", heap_errors, 1, 0},
                                                  [LIBC] = {"libc.realloc", heap_errors, 1, 0},
                                                  [SDL] = {"SDL.realloc", heap_errors, 1, 0}}};

static int heap_due(int call, const void* caller) {
    if (!is_active || paused) return 0;
    const int module = module_of(caller);
    struct function* const function = &heap_calls[call][module];
    return function->name && way_of(function, module, caller) >= 0;
}

/* By the names that they have beside their own: a sanitizer's heap is asked before anything could
 * be looked up. */
#ifdef FAULTS_SANITIZED
#define HEAP(name) __interceptor_##name
#else
#define HEAP(name) __libc_##name
#endif
void* HEAP(malloc)(size_t size);
void* HEAP(calloc)(size_t count, size_t size);
void* HEAP(realloc)(void* block, size_t size);

void* malloc(size_t size) {
    if (heap_due(0, __builtin_return_address(0))) return NULL;
    return HEAP(malloc)(size);
}

void* calloc(size_t count, size_t size) {
    if (heap_due(1, __builtin_return_address(0))) return NULL;
    return HEAP(calloc)(count, size);
}

void* realloc(void* block, size_t size) {
    if (heap_due(2, __builtin_return_address(0))) return NULL;
    return HEAP(realloc)(block, size);
}

/* SDL2. */
#define SDL_FAILING(type, name, parameters, arguments, failure)                                    \
    FAILING(type, name, parameters, arguments, failure, EIO)

SDL_FAILING(int, SDL_Init, (Uint32 flags), (flags), -1)
SDL_FAILING(int, SDL_InitSubSystem, (Uint32 flags), (flags), -1)
SDL_FAILING(SDL_Window*, SDL_CreateWindow,
            (const char* title, int x, int y, int width, int height, Uint32 flags),
            (title, x, y, width, height, flags), NULL)
SDL_FAILING(SDL_Renderer*, SDL_CreateRenderer, (SDL_Window * window, int index, Uint32 flags),
            (window, index, flags), NULL)
SDL_FAILING(SDL_Texture*, SDL_CreateTexture,
            (SDL_Renderer * renderer, Uint32 format, int access, int width, int height),
            (renderer, format, access, width, height), NULL)
SDL_FAILING(int, SDL_UpdateTexture,
            (SDL_Texture * texture, const SDL_Rect* part, const void* pixels, int pitch),
            (texture, part, pixels, pitch), -1)
SDL_FAILING(int, SDL_RenderClear, (SDL_Renderer * renderer), (renderer), -1)
SDL_FAILING(int, SDL_RenderCopy,
            (SDL_Renderer * renderer, SDL_Texture* texture, const SDL_Rect* from,
             const SDL_Rect* to),
            (renderer, texture, from, to), -1)
SDL_FAILING(SDL_Surface*, SDL_CreateRGBSurfaceFrom,
            (void* pixels, int width, int height, int depth, int pitch, Uint32 red, Uint32 green,
             Uint32 blue, Uint32 alpha),
            (pixels, width, height, depth, pitch, red, green, blue, alpha), NULL)
SDL_FAILING(SDL_Cursor*, SDL_CreateSystemCursor, (SDL_SystemCursor cursor), (cursor), NULL)
SDL_FAILING(SDL_bool, SDL_SetHintWithPriority,
            (const char* name, const char* value, SDL_HintPriority priority),
            (name, value, priority), SDL_FALSE)
SDL_FAILING(int, SDL_GetWindowDisplayMode, (SDL_Window * window, SDL_DisplayMode* mode),
            (window, mode), -1)
SDL_FAILING(int, SDL_SetWindowFullscreen, (SDL_Window * window, Uint32 flags), (window, flags), -1)
SDL_FAILING(Uint32, SDL_GetWindowID, (SDL_Window * window), (window), 0)
SDL_FAILING(int, SDL_SetRelativeMouseMode, (SDL_bool on), (on), -1)
SDL_FAILING(int, SDL_WarpMouseGlobal, (int x, int y), (x, y), -1)
SDL_FAILING(int, SDL_GL_LoadLibrary, (const char* path), (path), -1)
SDL_FAILING(SDL_GLContext, SDL_GL_CreateContext, (SDL_Window * window), (window), NULL)
SDL_FAILING(int, SDL_GL_MakeCurrent, (SDL_Window * window, SDL_GLContext context),
            (window, context), -1)
SDL_FAILING(void*, SDL_GL_GetProcAddress, (const char* name), (name), NULL)
SDL_FAILING(int, SDL_GL_SetAttribute, (SDL_GLattr attribute, int value), (attribute, value), -1)
SDL_FAILING(int, SDL_GL_SetSwapInterval, (int interval), (interval), -1)
SDL_FAILING(int, SDL_ShowSimpleMessageBox,
            (Uint32 flags, const char* title, const char* text, SDL_Window* window),
            (flags, title, text, window), -1)
SDL_FAILING(SDL_bool, SDL_HasClipboardText, (void), (), SDL_FALSE)
SDL_FAILING(char*, SDL_GetClipboardText, (void), (), NULL)
SDL_FAILING(int, SDL_SetClipboardText, (const char* text), (text), -1)
SDL_FAILING(SDL_AudioDeviceID, SDL_OpenAudioDevice,
            (const char* device, int records, const SDL_AudioSpec* wanted, SDL_AudioSpec* got,
             int changes),
            (device, records, wanted, got, changes), 0)
SDL_FAILING(int, SDL_NumJoysticks, (void), (), -1)
SDL_FAILING(const char*, SDL_JoystickNameForIndex, (int index), (index), NULL)
SDL_FAILING(SDL_Joystick*, SDL_JoystickOpen, (int index), (index), NULL)
SDL_FAILING(const char*, SDL_JoystickName, (SDL_Joystick * joystick), (joystick), NULL)
SDL_FAILING(int, SDL_JoystickNumButtons, (SDL_Joystick * joystick), (joystick), -1)
SDL_FAILING(int, SDL_JoystickNumAxes, (SDL_Joystick * joystick), (joystick), -1)
SDL_FAILING(int, SDL_JoystickNumHats, (SDL_Joystick * joystick), (joystick), -1)
SDL_FAILING(int, SDL_JoystickNumBalls, (SDL_Joystick * joystick), (joystick), -1)
SDL_FAILING(int, SDL_JoystickIsHaptic, (SDL_Joystick * joystick), (joystick), -1)
SDL_FAILING(SDL_Haptic*, SDL_HapticOpenFromJoystick, (SDL_Joystick * joystick), (joystick), NULL)
SDL_FAILING(SDL_Haptic*, SDL_HapticOpenFromMouse, (void), (), NULL)
SDL_FAILING(SDL_Thread*, SDL_CreateThread, (SDL_ThreadFunction run, const char* name, void* data),
            (run, name, data), NULL)
SDL_FAILING(int, SDL_SetThreadPriority, (SDL_ThreadPriority priority), (priority), -1)
SDL_FAILING(SDL_mutex*, SDL_CreateMutex, (void), (), NULL)
SDL_FAILING(int, SDL_LockMutex, (SDL_mutex * mutex), (mutex), -1)
SDL_FAILING(int, SDL_TryLockMutex, (SDL_mutex * mutex), (mutex), -1)
SDL_FAILING(SDL_cond*, SDL_CreateCond, (void), (), NULL)
SDL_FAILING(int, SDL_CondSignal, (SDL_cond * cond), (cond), -1)
SDL_FAILING(int, SDL_CondBroadcast, (SDL_cond * cond), (cond), -1)
SDL_FAILING(int, SDL_CondWait, (SDL_cond * cond, SDL_mutex* mutex), (cond, mutex), -1)
SDL_FAILING(int, SDL_CondWaitTimeout, (SDL_cond * cond, SDL_mutex* mutex, Uint32 time),
            (cond, mutex, time), -1)
SDL_FAILING(SDL_sem*, SDL_CreateSemaphore, (Uint32 value), (value), NULL)
SDL_FAILING(int, SDL_SemPost, (SDL_sem * semaphore), (semaphore), -1)
SDL_FAILING(int, SDL_SemTryWait, (SDL_sem * semaphore), (semaphore), -1)
SDL_FAILING(int, SDL_SemWait, (SDL_sem * semaphore), (semaphore), -1)
SDL_FAILING(int, SDL_SemWaitTimeout, (SDL_sem * semaphore, Uint32 time), (semaphore, time), -1)
SDL_FAILING(void*, SDL_LoadObject, (const char* name), (name), NULL)
SDL_FAILING(void*, SDL_LoadFunction, (void* object, const char* name), (object, name), NULL)

STAND_IN(int, SDL_PollEvent, (SDL_Event * event), EIO) {
    ENTER(SDL_PollEvent);
    const int found = way < 0 ? SDL_PollEvent_next(event) : 0;
    if (found || frames_left < 0 || frames_left-- > 0) return found;
    event->type = SDL_QUIT;
    return 1;
}
