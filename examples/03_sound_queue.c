/* SPDX-License-Identifier: Zlib */
/* Plays two seconds of notes, without a callback: a player that is opened without one takes its
 * sound from a queue, and the program's own loop keeps the queue filled. Nothing runs on another
 * thread but SDL2's own work.
 *
 * The queue's functions are SDL2's. The library hands out the player's id and finds functions by
 * name, so a host in any language gets at them the same way. */

#include <halvorin_system/system.h>

#include <stdio.h>
#include <string.h>

#define RATE  44100
#define AHEAD (RATE / 10) /* frames in the queue: a tenth of a second */

typedef int (*queue_audio)(u32 device, const void* data, u32 size);
typedef u32 (*queued_size)(u32 device);

static Slice text(const char* characters) {
    Slice slice = {(void*)characters, (i64)strlen(characters)};
    return slice;
}

static void* load_sdl(void) {
    static const char* const names[] = {"libSDL2-2.0.so.0", "libSDL2.so", "SDL2.dll"};
    void* sdl = NULL;
    for (size_t i = 0; i < sizeof names / sizeof *names && sdl == NULL; i++) {
        sdl = system_load_library(text(names[i]));
    }
    return sdl;
}

/* The next frames of an arpeggio, a soft triangle a note, each fading out. */
static void play_notes(float* frames, int count, int* time) {
    static const float pitches[] = {262, 330, 392, 523, 659, 523, 392, 330};
    const int length = RATE / 4;
    for (int i = 0; i < count; i++, ++*time) {
        const int since = *time % length;
        const float turns = pitches[*time / length % 8] * (float)since / RATE;
        const float saw = turns - (float)(int)turns;
        const float triangle = saw < 0.5f ? 4 * saw - 1 : 3 - 4 * saw;
        frames[i] = 0.2f * triangle * (float)(length - since) / (float)length;
    }
}

int main(void) {
    system_init(SYSTEM_INIT_AUDIO);
    void* const sdl = load_sdl();
    void* const queue_address = system_load_function(sdl, text("SDL_QueueAudio"));
    void* const size_address = system_load_function(sdl, text("SDL_GetQueuedAudioSize"));
    queue_audio queue;
    queued_size size_of_queue;
    memcpy(&queue, &queue_address, sizeof queue);
    memcpy(&size_of_queue, &size_address, sizeof size_of_queue);

    if (queue_address == NULL || size_address == NULL ||
        !audio_open(SAMPLE_FORMAT_F32, 1, RATE, 1024, NULL, NULL)) {
        fprintf(stderr, "no sound device\n");
        system_release();
        return 1;
    }
    audio_play();

    int time = 0;
    while (time < 2 * RATE) {
        float frames[1024];
        if (size_of_queue(audio_player_id) < AHEAD * sizeof *frames) {
            play_notes(frames, 1024, &time);
            queue(audio_player_id, frames, sizeof frames);
        } else {
            system_sleep(5); /* a program with a window would draw a frame instead */
        }
    }
    while (size_of_queue(audio_player_id) > 0) {
        system_sleep(5);
    }
    audio_close();
    system_unload_library(sdl);
    system_release();
    printf("played %d frames\n", time);
    return 0;
}
