/* SPDX-License-Identifier: Zlib */
/* Turns a WAV, FLAC or Ogg Vorbis file into a WAV file, block by block: however long the sound is,
 * a block of it is in memory, and the decoder.
 *
 *     02_sound_converter in.flac out.wav [u16 | u32 | s16 | s32 | f32]
 *
 * The last word is the sample format of the blocks, s16 if it isn't given. A WAV file holds 16 or
 * 32 bits with a sign: the library converts on the way out. Prints how far it has come. */

#include <halvorin_system/system.h>

#include <stdio.h>
#include <string.h>

#define BLOCK_FRAMES  4096
#define MOST_CHANNELS 16

static char audio_buffer[1 << 20];                             /* for decoder and encoder */
static char block[BLOCK_FRAMES * MOST_CHANNELS * sizeof(i32)]; /* as wide as samples get */

static Slice text(char* characters) {
    Slice slice = {characters, (i64)strlen(characters)};
    return slice;
}

static int find_format(const char* name, sample_format* format, i32* width) {
    static const struct {
        const char* name;
        sample_format format;
        i32 width;
    } names[] = {{"u16", SAMPLE_FORMAT_U16, 2},
                 {"u32", SAMPLE_FORMAT_U32, 4},
                 {"s16", SAMPLE_FORMAT_S16, 2},
                 {"s32", SAMPLE_FORMAT_S32, 4},
                 {"f32", SAMPLE_FORMAT_F32, 4}};
    for (size_t i = 0; i < sizeof names / sizeof *names; i++) {
        if (strcmp(name, names[i].name) == 0) {
            *format = names[i].format;
            *width = names[i].width;
            return 1;
        }
    }
    return 0;
}

/* Copies the sound, and returns how many frames came through. */
static i64 convert(i32 from, i32 to, i64 total) {
    i64 done = 0;
    for (;;) {
        const i64 count = audio_stream_read(from, BLOCK_FRAMES, block);
        if ((i64)audio_stream_write(to, (u64)count, block) < count) return -1;
        done += count;
        /* A file may not say how long it is. */
        if (total > 0) printf("\r%3d %%", (int)(done * 100 / total));
        fflush(stdout);
        if (count < BLOCK_FRAMES) break;
    }
    printf("\r%lld frames\n", (long long)done);
    return done;
}

int main(int count, char** words) {
    sample_format format;
    i32 width;
    if (count < 3 || !find_format(count > 3 ? words[3] : "s16", &format, &width)) {
        fprintf(stderr, "%s in.{wav,flac,ogg} out.wav [u16 | u32 | s16 | s32 | f32]\n", words[0]);
        return 2;
    }
    audio_set_buffer(sizeof audio_buffer, audio_buffer);

    /* The open notes the name; the first question for the info opens the file. */
    const i32 from = audio_stream_open(format, text(words[1]), 0);
    AudioInfo info;
    audio_stream_read_info(&info, from);
    if (info.channels < 1 || info.channels > MOST_CHANNELS) {
        fprintf(stderr, "can't read %s\n", words[1]);
        return 1;
    }
    const i64 total = info.size / (info.channels * width);
    printf("%d channels, %d frames a second\n", (int)info.channels, (int)info.sample_rate);

    /* Without a size the length is written at the close: it is then the one that came through. */
    const i32 to = audio_stream_open(format, text(words[2]), 1);
    info.size = 0;
    audio_stream_write_info(to, info);
    const i64 frames = convert(from, to, total);
    audio_stream_close(to);
    audio_stream_close(from);
    if (frames < 0) fprintf(stderr, "can't write %s\n", words[2]);
    return frames < 0;
}
