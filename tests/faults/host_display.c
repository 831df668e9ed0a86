/* SPDX-License-Identifier: Zlib */
#define _GNU_SOURCE

#include "faults/host.h"

#include <stdlib.h>

static f32_bits bits(float number) {
    f32_bits result;
    memcpy(&result, &number, sizeof result);
    return result;
}

static void draw(void) {
    u32 pixel = 0;
    pipeline_clear_color(bits(1), bits(0), bits(0), bits(1));
    pipeline_clear(BUFFER_MASK_COLOR);
    pipeline_read_pixels(1, 1, 1, 1, PIXEL_FORMAT_RGBA, DATA_TYPE_UNSIGNED_BYTE, &pixel);
    CHECK(pixel == 0xFF0000FF);
    input_poll();
    pipeline_present();
}

/* The window's other calls: whatever becomes of them, the picture is the same. */
static void use_window(void) {
    static u32 icon[16 * 16];
    DisplayInfo info;
    display_set_title(text("another"));
    display_set_icon(16, 16, icon);
    display_set_size(100, 80);
    display_set_vsync(1);
    display_set_fullscreen(1);
    display_set_fullscreen(0);
    display_get_info(&info);
    CHECK(info.width >= 0 && info.height >= 0);
    input_mouse_set_cursor(2);
    input_mouse_set_position(3, 3);
    show_simple_message_box(MESSAGE_BOX_ERROR, text("title"), text("message"));
}

/* Without a window or OpenGL for it, the process ends in display_open, and says so. */
void hardware_job(void) {
    static u32 picture[64 * 48];
    system_init(SYSTEM_INIT_VIDEO | SYSTEM_INIT_EVENTS);
    CHECK(display_open(64, 48, text("window"), DISPLAY_VSYNC, 0));
    CHECK(!display_open(64, 48, text("window"), 0, 0));
    draw();
    use_window();
    draw();
    display_set_software_graphics(1);
    display_set_content(64, 48, picture);
    display_set_software_graphics(0);
    draw();
    display_close();
    CHECK(display_open(64, 48, text("window"), 0, 0));
    draw();
    display_close();
    system_release();
    system_release();
}

void software_job(void) {
    static u32 picture[64 * 48];
    system_init(SYSTEM_INIT_VIDEO | SYSTEM_INIT_EVENTS);
    for (int round = 0; round < 2; round++) {
        step();
        const int is_open = WENT(display_open(64, 48, text("window"), DISPLAY_SOFTWARE, 0));
        CHECK(is_open == (sdl_window != NULL) && is_open != news_is("SDL_CreateWindow"));
        display_set_content(64, 48, picture);
        use_window();
        display_set_content(64, 48, picture);
        CHECK(sdl_renderer != NULL || faults_struck());
        CHECK(sdl_texture != NULL || faults_struck());
        input_poll();
        display_close();
    }
    system_release();
}

void desktop_job(void) {
    Slice found = {0};
    i32 index = 0;
    system_init(SYSTEM_INIT_VIDEO | SYSTEM_INIT_EVENTS | SYSTEM_INIT_JOYSTICK | SYSTEM_INIT_HAPTIC |
                SYSTEM_INIT_TIMER);
    step();
    clipboard_set(text("copied"));
    clipboard_get(&found);
    CHECK(WENT(found.count == 6 && memcmp(found.data, "copied", 6) == 0) ||
          (found.count == 0 && !found.data));
    for (int i = 0; i < 3; i++)
        input_poll();
    WENT(controller_num() == 0);
    controller_is_added(&index);
    CHECK(!controller_open(99));
    controller_name_for_index(&found, 99);
    CHECK(found.count == 0);
    haptic_open_mouse();
    input_mouse_set_relative(1);
    input_mouse_set_relative(0);
    screensaver_enable(1);
    system_release();
}

static void silence(void* count, u8* block, i32 size) {
    memset(block, 0, (size_t)size);
    atomic_add(count, 1);
}

void devices_job(void) {
    static i32 count;
    system_init(SYSTEM_INIT_AUDIO);
    step();
    if (WENT(audio_open(SAMPLE_FORMAT_S16, 2, 44100, 256, silence, &count))) {
        audio_play();
        for (int i = 0; i < 1000 && atomic_get(&count) < 2; i++)
            system_sleep(1);
        CHECK(atomic_get(&count) >= 2);
        audio_lock();
        audio_unlock();
        audio_pause();
    } else {
        CHECK(audio_player_id == 0);
    }
    audio_close();
    step();
    if (WENT(audio_recorder_open(SAMPLE_FORMAT_S16, 1, 44100, 256, silence, &count))) {
        audio_recorder_record();
        audio_recorder_pause();
    } else {
        CHECK(audio_recorder_id == 0);
    }
    audio_recorder_close();
    system_release();
}
