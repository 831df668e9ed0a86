/* SPDX-License-Identifier: Zlib */
/* A host as they come: C, knows the library by file name alone, finds everything by name, and
 * leaves rubbish wherever the boundary says that it doesn't count: every argument below that is
 * narrower than a register is passed through a prototype that is wider. It has functions and
 * variables under the library's names, and other copies of the codecs, in itself and in a library
 * of its own. Each side has to call and read what is its own, whoever comes first.
 *
 * binding_host LIBRARY SAMPLES CODECS local|global ours_first|theirs_first */

#include <dlfcn.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#define EXPORTED __attribute__((visibility("default")))

typedef struct Slice {
    const void* data;
    int64_t count;
} Slice;

typedef struct Image {
    void* data;
    int32_t width, height;
} Image;

typedef struct Wave {
    uint8_t format;
    int32_t channels, sample_rate;
    int64_t size;
    void* data;
} Wave;

static int taken; /* calls that the library should have kept to itself */

#define IMPOSTOR(name)                                                                             \
    EXPORTED void* name(void);                                                                     \
    void* name(void) {                                                                             \
        fprintf(stderr, "the library called the host's " #name "\n");                              \
        taken++;                                                                                   \
        return NULL;                                                                               \
    }

IMPOSTOR(image_memory_allocate)
IMPOSTOR(audio_memory_allocate)
IMPOSTOR(file_open)
IMPOSTOR(image_get_buffer_position)
IMPOSTOR(audio_wave_convert)

EXPORTED int32_t temporary_pos = -5;
EXPORTED void* sdl_window = (void*)1;
EXPORTED uint8_t fullscreen = 9;

static const uint64_t above = 0x7777777700000000u;   /* rubbish above 32 bits ... */
static const uint64_t rubbish = 0xA5A5A5A5A5A5A500u; /* ... and above 8 */
static void* library;
static int failures;

static void check(int holds, const char* what) {
    if (holds) return;
    fprintf(stderr, "not so: %s\n", what);
    failures++;
}

static void find(void* from, const char* name, void* pointer) {
    void* const found = dlsym(from, name);
    if (found == NULL) {
        fprintf(stderr, "not exported: %s\n", name);
        exit(2);
    }
    memcpy(pointer, &found, sizeof(found));
}

/* A function of the library's, under a prototype of ours. */
#define FUNCTION(result, name, ...)                                                                \
    result (*name)(__VA_ARGS__);                                                                   \
    find(library, #name, &name)

static void* load(const char* path, const char* mode) {
    const int scope = strcmp(mode, "global") == 0 ? RTLD_GLOBAL : RTLD_LOCAL;
    void* const loaded = dlopen(path, RTLD_NOW | scope);
    if (loaded == NULL) {
        fprintf(stderr, "%s: %s\n", path, dlerror());
        exit(2);
    }
    return loaded;
}

static unsigned char memory[1 << 20] __attribute__((aligned(16)));

static int is_lent(const void* data) {
    const unsigned char* byte = data;
    return byte >= memory && byte < memory + sizeof(memory);
}

static void use_images(Slice path) {
    FUNCTION(void, image_set_buffer, int64_t, void*);
    FUNCTION(void, image_set_flip, uint64_t);
    FUNCTION(uint8_t, image_save, Image, Slice, uint64_t);
    FUNCTION(void, image_load, Image*, Slice, uint64_t);
    unsigned char pixels[6] = {10, 20, 30, 40, 50, 60};
    const Image picture = {pixels, 1, 2};
    const uint64_t flips[] = {rubbish | 0x80, rubbish};
    image_set_buffer(sizeof(memory), memory);
    check(image_save(picture, path, rubbish | 3) == 1, "image_save writes");
    for (int i = 0; i < 2; i++) {
        struct {
            uint64_t before;
            Image image;
            uint64_t behind;
        } loaded = {rubbish, {NULL, 0, 0}, rubbish};
        image_set_flip(flips[i]);
        image_load(&loaded.image, path, rubbish | 3);
        check(is_lent(loaded.image.data) && memcmp(loaded.image.data, pixels + 3 - 3 * i, 3) == 0,
              "image_load reads");
        check(loaded.image.width == 1 && loaded.image.height == 2, "the picture has its size");
        check(loaded.before == rubbish && loaded.behind == rubbish,
              "nothing but the record is set");
    }
}

static void use_sounds(const char* samples) {
    FUNCTION(void, audio_set_buffer, int64_t, void*);
    FUNCTION(void, audio_wave_load, Wave*, uint64_t, Slice);
    const char* const names[] = {"s16.wav", "s16.flac", "stereo.ogg"};
    for (int i = 0; i < 3; i++) {
        char path[4096];
        const Slice file = {path, snprintf(path, sizeof(path), "%s/%s", samples, names[i])};
        Wave wave = {0, 0, 0, 0, NULL};
        audio_set_buffer(sizeof(memory), memory);
        audio_wave_load(&wave, rubbish | 2, file);
        check(is_lent(wave.data) && wave.size > 0, names[i]);
    }
}

static void use_display(void) {
    FUNCTION(void, system_init, uint64_t);
    FUNCTION(void, system_release, void);
    FUNCTION(uint8_t, display_open, uint64_t, uint64_t, Slice, uint64_t, uint64_t);
    FUNCTION(void, display_close, void);
    FUNCTION(void, pipeline_clear_color, uint64_t, uint64_t, uint64_t, uint64_t);
    FUNCTION(void, pipeline_color_mask, uint64_t, uint64_t, uint64_t, uint64_t);
    FUNCTION(void, pipeline_clear, uint64_t);
    FUNCTION(void, pipeline_read_pixels, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t,
             void*);
    const Slice title = {"binding", 7};
    const uint64_t one = above | 0x3F800000;
    uint32_t pixel = 0;
    system_init(above | 4 | 8);
    check(display_open(above | 32, above | 32, title, 0xCCCCCCCCCCCC0001u, above) == 1,
          "display_open opens");
    check(*(void**)dlsym(library, "sdl_window") != NULL, "the library's sdl_window is set");
    check(*(uint8_t*)dlsym(library, "is_software_rendering") == 0, "it draws by OpenGL");
    check(*(int32_t*)dlsym(library, "temporary_pos") > 0, "the library's temporary_pos moves");
    pipeline_clear_color(one, above, one, one);
    pipeline_color_mask(rubbish | 1, rubbish | 2, rubbish | 0x80, rubbish | 1);
    pipeline_clear(above | 4);
    pipeline_color_mask(rubbish, rubbish, 0x200, 0);
    pipeline_clear_color(0, 0, 0, 0);
    pipeline_clear(4);
    pipeline_read_pixels(above | 1, above | 1, above | 1, above | 1, above | 8, above, &pixel);
    check(pixel == 0xFFFF00FF, "the first colour is written, the second masked off");
    display_close();
    system_release();
}

int main(int argc, char** argv) {
    char path[] = "/tmp/binding-XXXXXX.png";
    const Slice file = {path, sizeof(path) - 1};
    if (argc != 6 || mkstemps(path, 4) < 0) return 2;
    const char *const samples = argv[2], *const mode = argv[4];
    void* copies[2] = {dlopen(NULL, RTLD_NOW), NULL};
    if (strcmp(argv[5], "theirs_first") == 0) copies[1] = load(argv[3], mode);
    library = load(argv[1], mode);
    copies[1] = load(argv[3], mode);

    for (int round = 0; round < 2; round++) {
        const char* (*use_codecs)(const char*);
        int *codecs_taken[2], before[2];
        for (int i = 0; i < 2; i++) {
            find(copies[i], "use_codecs", &use_codecs);
            find(copies[i], "codecs_taken", &codecs_taken[i]);
            const char* const astray = use_codecs(samples);
            check(astray == NULL, astray);
        }
        memcpy(before, (int[]){*codecs_taken[0], *codecs_taken[1]}, sizeof(before));
        use_images(file);
        use_sounds(samples);
        use_display();
        check(*codecs_taken[0] == before[0] && *codecs_taken[1] == before[1],
              "the library uses its own codecs");
        if (strcmp(mode, "local") != 0) continue;
        check(dlclose(library) == 0 && dlopen(argv[1], RTLD_NOW | RTLD_NOLOAD) == NULL,
              "the library goes");
        library = load(argv[1], mode); /* and comes again, as new */
        check(*(void**)dlsym(library, "opengl_context") == NULL,
              "nothing is left of its first life");
    }

    remove(path);
    check(taken == 0, "the library calls its own functions");
    check(temporary_pos == -5 && sdl_window == (void*)1 && fullscreen == 9,
          "the host's variables stay the host's");
    return failures != 0;
}
