/* SPDX-License-Identifier: Zlib */
/* Hands and a controller for a program in which this is linked: lines on its standard input attach
 * a virtual controller of SDL2's, press its buttons and take it away. Rumble is printed. */

#define _GNU_SOURCE

#include <SDL.h>

#include <dlfcn.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

static int haptic; /* only its address counts */
static SDL_Joystick* joystick;

static void attach(void) {
    SDL_VirtualJoystickDesc device = {0};
    device.version = SDL_VIRTUAL_JOYSTICK_DESC_VERSION;
    device.type = SDL_JOYSTICK_TYPE_GAMECONTROLLER;
    device.name = "scripted pad";
    device.naxes = 2;
    device.nbuttons = 4;
    device.nhats = 1;
    joystick = SDL_JoystickOpen(SDL_JoystickAttachVirtualEx(&device));
}

static void detach(void) {
    SDL_JoystickDetachVirtual(SDL_NumJoysticks() - 1);
    SDL_JoystickClose(joystick);
}

static void obey(const char* line) {
    int number = 0, value = 0;
    if (strncmp(line, "attach", 6) == 0) attach();
    if (strncmp(line, "detach", 6) == 0) detach();
    if (sscanf(line, "button %d %d", &number, &value) == 2)
        SDL_JoystickSetVirtualButton(joystick, number, (Uint8)value);
    if (sscanf(line, "axis %d %d", &number, &value) == 2)
        SDL_JoystickSetVirtualAxis(joystick, number, (Sint16)value);
    if (sscanf(line, "hat %d %d", &number, &value) == 2)
        SDL_JoystickSetVirtualHat(joystick, number, (Uint8)value);
}

/* The library's event poll comes here first. Whoever writes the lines writes each in one go. */
int SDL_PollEvent(SDL_Event* event) {
    int (*next)(SDL_Event*);
    void* const address = dlsym(RTLD_NEXT, "SDL_PollEvent");
    char line[200];
    memcpy(&next, &address, sizeof next);
    fcntl(0, F_SETFL, O_NONBLOCK);
    const ssize_t length = read(0, line, sizeof line - 1);
    if (length > 0) {
        line[length] = 0;
        obey(line);
    }
    return next(event);
}

SDL_Haptic* SDL_HapticOpenFromJoystick(SDL_Joystick* of) {
    return of == joystick ? (SDL_Haptic*)(void*)&haptic : NULL;
}

int SDL_HapticRumbleSupported(SDL_Haptic* device) {
    return (void*)device == &haptic;
}

int SDL_HapticRumbleInit(SDL_Haptic* device) {
    return (void*)device == &haptic ? 0 : -1;
}

int SDL_HapticRumblePlay(SDL_Haptic* device, float strength, Uint32 length) {
    printf("rumble %g for %u ms\n", (double)strength, length);
    return (void*)device == &haptic ? 0 : -1;
}

void SDL_HapticClose(SDL_Haptic* device) {
    printf("rumble is %s\n", (void*)device == &haptic ? "closed" : "strange");
}
