/* SPDX-License-Identifier: Zlib */
/* Shows the first controller that is there: a square for each button, a bar for each axis, a point
 * for each hat. Its state is also printed, one line a change. It may come and go meanwhile.
 *
 * R rumbles, C copies the state to the clipboard, Escape or the close button ends. */

#include <halvorin_system/system.h>

#include <stdarg.h>
#include <stdio.h>
#include <string.h>

#define WIDTH  480
#define HEIGHT 200

static u32 picture[WIDTH * HEIGHT]; /* red in the low byte */
static void* pad;
static char state[2000], shown[2000];

static Slice text(const char* characters) {
    return (Slice){(void*)characters, (i64)strlen(characters)};
}

static void rectangle(i32 left, i32 top, i32 width, i32 height, u32 color) {
    for (i32 y = top < 0 ? 0 : top; y < top + height && y < HEIGHT; y++)
        for (i32 x = left < 0 ? 0 : left; x < left + width && x < WIDTH; x++)
            picture[y * WIDTH + x] = color;
}

static void add(const char* format, ...) {
    size_t length = strlen(state);
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(state + length, sizeof state - length, format, arguments);
    va_end(arguments);
}

/* What arrived or left in the poll. Handles are compared: another device may have left. */
static void find_pad(void) {
    i32 index;
    void* handle;
    if (controller_is_removed(&handle) && handle == pad) {
        controller_close(pad);
        pad = NULL;
    }
    if (controller_is_added(&index) && pad == NULL) pad = controller_open(index);
    if (pad == NULL && controller_num() > 0) pad = controller_open(0);
}

/* Puts the controller into the text and the picture. */
static void look(void) {
    static const char* const powers[] = {"unknown", "empty", "low", "medium",
                                         "full",    "wired", "max"};
    Slice name;
    rectangle(0, 0, WIDTH, HEIGHT, 0xFF302820);
    state[0] = 0;
    if (pad == NULL) {
        add("no controller");
        return;
    }
    controller_name(&name, pad);
    add("%.*s: buttons ", (int)name.count, (char*)name.data);
    for (i32 i = 0; i < controller_num_buttons(pad); i++) {
        const u8 down = controller_button(pad, i);
        rectangle(10 + 24 * i, 10, 20, 20, down ? 0xFF40C0FF : 0xFF605040);
        add("%d", down);
    }
    add(", axes");
    for (i32 i = 0; i < controller_num_axes(pad); i++) {
        const i32 at = controller_axis(pad, i) * 220 / 32768;
        rectangle(240 + (at < 0 ? at : 0), 44 + 14 * i, at < 0 ? 1 - at : at + 1, 10, 0xFF80D060);
        add(" %d", controller_axis(pad, i));
    }
    add(", hats");
    for (i32 i = 0; i < controller_num_hats(pad); i++) {
        const u8 hat = controller_hat(pad, i); /* 1 up, 2 right, 4 down, 8 left */
        const i32 x = (hat >> 1 & 1) - (hat >> 3 & 1), y = (hat >> 2 & 1) - (hat & 1);
        rectangle(10 + 50 * i, 150, 40, 40, 0xFF605040);
        rectangle(25 + 50 * i + 15 * x, 165 + 15 * y, 10, 10, 0xFF40C0FF);
        add(" %d", hat);
    }
    add(", power %s", powers[controller_power(pad)]);
}

static void rumble(void) {
    const f32_bits half = 0x3F000000;
    void* const haptic = pad != NULL ? haptic_open_controller(pad) : NULL;
    if (haptic == NULL || haptic_has_rumble(haptic) != 1 || !haptic_init_rumble(haptic) ||
        haptic_play_rumble(haptic, half, 300) != 0) {
        puts("it can't rumble");
    } else {
        system_sleep(300);
    }
    if (haptic != NULL) haptic_close(haptic);
}

int main(void) {
    system_init(SYSTEM_INIT_VIDEO | SYSTEM_INIT_EVENTS | SYSTEM_INIT_JOYSTICK | SYSTEM_INIT_HAPTIC);
    if (!display_open(WIDTH, HEIGHT, text("controller tester"), DISPLAY_SOFTWARE, 0)) return 1;
    setvbuf(stdout, NULL, _IOLBF, 0);
    do {
        input_poll();
        find_pad();
        look();
        if (strcmp(state, shown) != 0) puts(strcpy(shown, state));
        if (input_key_is_pressed(KEY_C)) clipboard_set(text(state));
        if (input_key_is_pressed(KEY_R)) rumble();
        display_set_content(WIDTH, HEIGHT, picture);
        system_sleep(10);
    } while (!display_is_closed() && !input_key_is_pressed(KEY_ESCAPE));
    controller_close(pad);
    system_release();
    return 0;
}
