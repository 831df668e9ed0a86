/* SPDX-License-Identifier: Zlib */
#define _GNU_SOURCE

#include "faults/host.h"

#include <stdlib.h>

static u64 lent[1 << 19];
static u8 expected[1 << 20];

static Slice sample(const char* folder, const char* name) {
    static char path[4096];
    snprintf(path, sizeof path, "%s/%s", folder, name);
    return text(path);
}

static size_t pixel_bytes(const Image* image) {
    return (size_t)image->width * (size_t)image->height * 4;
}

/* Pictures come whole or not at all. */
void images_job(void) {
    static const char* const names[] = {"rgba8.png",   "420.jpg", "progressive.jpg",
                                        "24.bmp",      "raw.psd", "plain.gif",
                                        "rgb-rle.tga", "8.ppm",   "16.ppm"};
    image_set_buffer(sizeof lent, lent);
    for (size_t i = 0; i < sizeof names / sizeof *names; i++) {
        Image image, reference;
        faults_pause(1);
        image_load(&reference, sample(image_samples, names[i]), 4);
        if (!reference.data || pixel_bytes(&reference) > sizeof expected) exit(3);
        memcpy(expected, reference.data, pixel_bytes(&reference));
        image_set_buffer_position(0);
        faults_pause(0);
        step();
        image_load(&image, sample(image_samples, names[i]), 4);
        if (WENT(image.data != NULL)) {
            CHECK(image.width == reference.width && image.height == reference.height);
            CHECK(memcmp(image.data, expected, pixel_bytes(&image)) == 0);
        }
        image_set_buffer_position(0);
    }
}

static int is_near(const u8* a, const u8* b, size_t size) {
    size_t difference = 0;
    for (size_t i = 0; i < size; i++)
        difference += (size_t)abs(a[i] - b[i]);
    return difference < size * 8;
}

/* A picture that counts as written is one. */
void pictures_job(void) {
    static u8 pixels[64 * 48 * 4];
    static const char* const names[] = {"a.bmp", "a.png", "a.tga", "a.jpg"};
    static const char* const full[] = {"full.bmp", "full.png", "full.tga", "full.jpg"};
    const Image image = {pixels, 64, 48};
    for (int i = 0; i < 64 * 48; i++) {
        pixels[4 * i] = (u8)(i % 64 * 4);
        pixels[4 * i + 1] = (u8)(i / 64 * 5);
        pixels[4 * i + 2] = (u8)((i * i) >> 8);
        pixels[4 * i + 3] = 255;
    }
    image_set_buffer(sizeof lent, lent);
    for (int i = 0; i < 4; i++) {
        put(names[i], "old", 3);
        make_link("/dev/full", full[i]);
        step();
        if (WENT(image_save(image, text(names[i]), 4))) {
            Image again;
            faults_pause(1);
            image_load(&again, text(names[i]), 4);
            CHECK(again.data && again.width == 64 && again.height == 48);
            CHECK(again.data && is_near(again.data, pixels, sizeof pixels));
            image_set_buffer_position(0);
            faults_pause(0);
        } else {
            CHECK(news_is("fwrite") || news_is("fclose") || holds(names[i], "old", 3));
        }
        CHECK(!image_save(image, text(full[i]), 4));
    }
}

static const char* const sounds[] = {"s16.wav",        "s24.wav",     "u8.wav",    "s24.flac",
                                     "no-length.flac", "in-ogg.flac", "stereo.ogg"};
enum {
    SOUNDS = sizeof sounds / sizeof *sounds
};

static i64 load_reference(Wave* wave, sample_format format, const char* name) {
    faults_pause(1);
    audio_set_buffer(sizeof lent, lent);
    audio_wave_load(wave, format, sample(sound_samples, name));
    if (!wave->data || wave->size > (i64)sizeof expected) exit(3);
    memcpy(expected, wave->data, (size_t)wave->size);
    audio_set_buffer_position(0);
    faults_pause(0);
    return wave->size;
}

/* Sounds come whole or not at all, as pictures do. */
void waves_job(void) {
    static const sample_format formats[] = {SAMPLE_FORMAT_S16, SAMPLE_FORMAT_F32};
    for (int i = 0; i < 2 * SOUNDS; i++) {
        const char* const name = sounds[i / 2];
        Wave wave, reference;
        load_reference(&reference, formats[i % 2], name);
        step();
        audio_wave_load(&wave, formats[i % 2], sample(sound_samples, name));
        if (WENT(wave.data != NULL)) {
            CHECK(wave.size == reference.size && wave.channels == reference.channels);
            CHECK(memcmp(wave.data, expected, (size_t)reference.size) == 0);
        } else {
            CHECK(wave.size == 0 && wave.channels == 0 && wave.sample_rate == 0);
        }
        audio_set_buffer_position(0);
    }
}

enum {
    HEADER = 44,
    FRAMES = 20000,
    SAMPLE_BYTES = 4 * FRAMES
};

static i16 samples[2 * FRAMES];
static char file_bytes[HEADER + SAMPLE_BYTES + 10];

static void make_samples(void) {
    for (int i = 0; i < 2 * FRAMES; i++)
        samples[i] = (i16)(i * 7);
}

/* How many of the samples are at the front of the file, in bytes; -1 without a header. */
static long samples_in(const char* name) {
    const long size = get(name, file_bytes, sizeof file_bytes);
    if (size < HEADER || memcmp(file_bytes, "RIFF", 4) != 0) return -1;
    if (memcmp(file_bytes + HEADER - 8, "data", 4) != 0) return -1;
    const long found = size - HEADER;
    return memcmp(file_bytes + HEADER, samples, (size_t)found) == 0 ? found : -1;
}

void sounds_job(void) {
    const Wave wave = {SAMPLE_FORMAT_S16, 2, 44100, SAMPLE_BYTES, samples};
    const Wave byte = {SAMPLE_FORMAT_U8, 1, 44100, 1, samples};
    make_samples();
    put("out.wav", "old", 3);
    make_link("/dev/full", "full.wav");
    step();
    if (WENT(audio_wave_save(wave, text("out.wav")))) {
        const long found = samples_in("out.wav");
        CHECK(found >= 4);
        CHECK(found == SAMPLE_BYTES || news_is("fwrite"));
    } else {
        CHECK(!news_is("fopen") || holds("out.wav", "old", 3));
    }
    step();
    WENT(audio_wave_save(byte, text("byte.wav")));
    CHECK(!audio_wave_save(wave, text("full.wav")));
    CHECK(!audio_wave_save(byte, text("full.wav")));
    CHECK(!audio_wave_save(wave, text("none/out.wav")));
}

static void read_stream(const char* name) {
    static i16 block[1000 * 8];
    Wave reference;
    AudioInfo info;
    load_reference(&reference, SAMPLE_FORMAT_S16, name);
    step();
    const i32 stream = audio_stream_open(SAMPLE_FORMAT_S16, sample(sound_samples, name), 0);
    audio_stream_read_info(&info, stream);
    if (WENT(info.channels != 0)) {
        const i64 frame = 2 * info.channels;
        const u8* next = expected;
        i64 count = 0;
        do {
            count = audio_stream_read(stream, 1000, block);
            CHECK(count >= 0 && count * frame <= expected + reference.size - next);
            CHECK(memcmp(block, next, (size_t)(count * frame)) == 0);
            next += count * frame;
        } while (count == 1000);
        WENT(next == expected + reference.size);
        if (WENT(audio_stream_seek(stream, 10) != 0)) {
            count = audio_stream_read(stream, 100, block);
            WENT(count == 100);
            CHECK(memcmp(block, expected + 10 * frame, (size_t)(count * frame)) == 0);
        }
    } else {
        CHECK(info.sample_rate == 0 && info.size == 0);
        CHECK(audio_stream_read(stream, 10, block) == 0 && audio_stream_seek(stream, 0) == 0);
    }
    audio_stream_close(stream);
    audio_set_buffer_position(0);
}

/* The frames that count as written are in the file before its end. */
static void write_stream(const char* name, i64 size, int can_succeed) {
    const AudioInfo info = {SAMPLE_FORMAT_S16, 2, 44100, size};
    static i16 block[2 * FRAMES];
    i64 count = 0;
    audio_set_buffer(sizeof lent, lent);
    step();
    const i32 stream = audio_stream_open(SAMPLE_FORMAT_S16, text(name), 1);
    audio_stream_write_info(stream, info);
    for (int i = 0; i < 4; i++) {
        memcpy(block, samples + i * FRAMES / 2, FRAMES);
        count += (i64)audio_stream_write(stream, FRAMES / 4, block);
    }
    if (can_succeed) {
        WENT(count == FRAMES);
        CHECK(count == 0 || samples_in(name) / 4 == count);
    } else {
        CHECK(count == 0);
    }
    audio_stream_close(stream);
    if (can_succeed && !news()) {
        Wave wave;
        CHECK(samples_in(name) == SAMPLE_BYTES);
        audio_set_buffer_position(0);
        audio_wave_load(&wave, SAMPLE_FORMAT_S16, text(name));
        CHECK(wave.size == SAMPLE_BYTES || faults_struck());
    }
    audio_set_buffer_position(0);
}

void streams_job(void) {
    make_samples();
    make_link("/dev/full", "full.wav");
    for (int i = 0; i < SOUNDS; i++)
        read_stream(sounds[i]);
    write_stream("announced.wav", SAMPLE_BYTES, 1);
    write_stream("open.wav", 0, 1);
    write_stream("full.wav", SAMPLE_BYTES, 0);
    write_stream("full.wav", 0, 0);
}
