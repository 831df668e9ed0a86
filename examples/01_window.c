/* SPDX-License-Identifier: Zlib */
/* A window whose colour changes slowly. Escape or the close button ends it. */

#include <halvorin_system/system.h>

#include <string.h>

/* A float by value travels as its bits. */
static f32_bits bits(float number) {
    f32_bits result;
    memcpy(&result, &number, sizeof result);
    return result;
}

/* Up from 0 to 1 and down again, once in so many milliseconds. */
static float wave(u64 milliseconds, u64 period) {
    float part = (float)(milliseconds % period) / (float)period;
    return part < 0.5f ? 2.0f * part : 2.0f - 2.0f * part;
}

int main(void) {
    char name[] = "a window";
    Slice title = {name, sizeof name - 1};

    system_init(SYSTEM_INIT_VIDEO | SYSTEM_INIT_EVENTS);
    if (!display_open(640, 360, title, DISPLAY_RESIZABLE | DISPLAY_VSYNC, 0)) return 1;

    do {
        u64 now = system_ticks();
        input_poll();
        pipeline_clear_color(bits(0.1f + 0.5f * wave(now, 7000)),
                             bits(0.2f + 0.3f * wave(now, 11000)),
                             bits(0.4f + 0.4f * wave(now, 5000)), bits(1.0f));
        pipeline_clear(BUFFER_MASK_COLOR);
        pipeline_present();
    } while (!display_is_closed() && !input_key_is_pressed(KEY_ESCAPE));

    system_release();
    return 0;
}
