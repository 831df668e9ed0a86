/* SPDX-License-Identifier: Zlib */
/* A host beside whose own code the library has to live: it has functions and variables under the
 * library's names, and another copy of the codecs, in itself (HOST_HAS_CODECS) or in a library of
 * its own. Each side has to call and read what is its own, whoever comes first.
 *
 * binding_host LIBRARY SAMPLES              codecs in the host; the library is linked
 * binding_host LIBRARY SAMPLES MODE         codecs in the host; the library is loaded
 * binding_host LIBRARY SAMPLES MODE CODECS [first]
 *                                           two libraries; the codecs come second, or first
 * MODE is local, global, or linked, which finds what the program was linked against. */

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
IMPOSTOR(append_character)
IMPOSTOR(system_allocate)
IMPOSTOR(print_failure_line)
IMPOSTOR(init_opengl_renderer)
IMPOSTOR(live_window)
IMPOSTOR(file_open)
IMPOSTOR(image_get_buffer_position)
IMPOSTOR(audio_stream_read)
IMPOSTOR(system_sleep)

EXPORTED int32_t temporary_pos = -5;
EXPORTED void* sdl_window = (void*)1;
EXPORTED uint8_t fullscreen = 9;
EXPORTED uint32_t sdl_window_id = 0xFFFFFFFF;
EXPORTED char selectors[100], audio_streams[100];

static int failures;

static void check(int holds, const char* what) {
    if (holds) return;
    fprintf(stderr, "not so: %s\n", what);
    failures++;
}

static void find(void* library, const char* name, void* function_pointer) {
    void* found = dlsym(library, name);
    if (found == NULL) {
        fprintf(stderr, "not exported: %s\n", name);
        exit(2);
    }
    memcpy(function_pointer, &found, sizeof(found));
}

static void* load(const char* path, const char* mode) {
    int how = RTLD_LOCAL;
    if (strcmp(mode, "global") == 0) how = RTLD_GLOBAL;
    if (strcmp(mode, "linked") == 0) how = RTLD_NOLOAD;
    void* library = dlopen(path, RTLD_NOW | how);
    if (library == NULL) {
        fprintf(stderr, "%s: %s\n", path, dlerror());
        exit(2);
    }
    return library;
}

static _Alignas(16) unsigned char memory[1 << 20];

static int is_lent(const void* data) {
    const unsigned char* byte = data;
    return byte >= memory && byte < memory + sizeof(memory);
}

static void use_images(void* library) {
    void (*image_set_buffer)(int64_t, void*);
    uint8_t (*image_save)(Image, Slice, int8_t);
    void (*image_load)(Image*, Slice, int8_t);
    find(library, "image_set_buffer", &image_set_buffer);
    find(library, "image_save", &image_save);
    find(library, "image_load", &image_load);
    unsigned char pixels[3] = {1, 2, 3};
    char path[64];
    snprintf(path, sizeof(path), "/tmp/binding-%d.png", (int)getpid());
    const Slice file = {path, (int64_t)strlen(path)};
    const Image picture = {pixels, 1, 1};
    Image loaded = {NULL, 0, 0};
    image_set_buffer(sizeof(memory), memory);
    check(image_save(picture, file, 3) == 1, "image_save writes");
    image_load(&loaded, file, 3);
    check(is_lent(loaded.data) && memcmp(loaded.data, pixels, 3) == 0, "image_load reads");
    remove(path);
}

static void use_sounds(void* library, const char* samples) {
    void (*audio_set_buffer)(int64_t, void*);
    void (*audio_wave_load)(Wave*, uint8_t, Slice);
    find(library, "audio_set_buffer", &audio_set_buffer);
    find(library, "audio_wave_load", &audio_wave_load);
    const char* const names[] = {"s16.wav", "s16.flac", "stereo.ogg"};
    for (int i = 0; i < 3; i++) {
        char path[4096];
        const Slice file = {path, snprintf(path, sizeof(path), "%s/%s", samples, names[i])};
        Wave wave = {0, 0, 0, 0, NULL};
        audio_set_buffer(sizeof(memory), memory);
        audio_wave_load(&wave, 2, file);
        check(is_lent(wave.data) && wave.size > 0, names[i]);
    }
}

static void use_display(void* library) {
    void (*system_init)(uint32_t);
    void (*system_release)(void);
    uint8_t (*display_open)(int32_t, int32_t, Slice, uint16_t, int32_t);
    void (*display_close)(void);
    void (*pipeline_clear_color)(uint32_t, uint32_t, uint32_t, uint32_t);
    void (*pipeline_clear)(uint32_t);
    void (*pipeline_read_pixels)(int32_t, int32_t, int32_t, int32_t, uint32_t, uint32_t, void*);
    find(library, "system_init", &system_init);
    find(library, "system_release", &system_release);
    find(library, "display_open", &display_open);
    find(library, "display_close", &display_close);
    find(library, "pipeline_clear_color", &pipeline_clear_color);
    find(library, "pipeline_clear", &pipeline_clear);
    find(library, "pipeline_read_pixels", &pipeline_read_pixels);
    const Slice title = {"binding", 7};
    const uint32_t one = 0x3F800000;
    uint32_t pixel = 0;
    system_init(4 | 8);
    check(display_open(32, 32, title, 1, 0) == 1, "display_open opens");
    check(*(void**)dlsym(library, "sdl_window") != NULL, "the library's sdl_window is set");
    check(*(int32_t*)dlsym(library, "temporary_pos") > 0, "the library's temporary_pos moves");
    pipeline_clear_color(one, 0, one, one);
    pipeline_clear(4);
    pipeline_read_pixels(1, 1, 1, 1, 8, 0, &pixel);
    check(pixel == 0xFFFF00FF, "the library clears by OpenGL");
    display_close();
    system_release();
}

int main(int argc, char** argv) {
    if (argc < 3) return 2;
    const char* const samples = argv[2];
    const char* const mode = argc > 3 ? argv[3] : "linked";
    void *library = NULL, *codecs = NULL;
    if (argc > 5) codecs = load(argv[4], mode);
    library = load(argv[1], mode);
    if (argc == 5) codecs = load(argv[4], mode);
#ifdef HOST_HAS_CODECS
    codecs = dlopen(NULL, RTLD_NOW);
#endif
    const char* (*use_codecs)(const char*);
    int* codecs_taken;
    find(codecs, "use_codecs", &use_codecs);
    find(codecs, "codecs_taken", &codecs_taken);

    for (int round = 0; round < 2; round++) {
        const char* const astray = use_codecs(samples);
        if (astray != NULL) fprintf(stderr, "not the host's: %s\n", astray);
        failures += astray != NULL;
        const int before = *codecs_taken;
        use_images(library);
        use_sounds(library, samples);
        use_display(library);
        check(*codecs_taken == before, "the library uses its own codecs");
        if (strcmp(mode, "local") != 0) continue;
        check(dlclose(library) == 0 && dlopen(argv[1], RTLD_NOW | RTLD_NOLOAD) == NULL,
              "the library goes");
        library = load(argv[1], mode); /* and comes again, as new */
        check(*(void**)dlsym(library, "opengl_context") == NULL,
              "nothing is left of its first life");
    }

    check(taken == 0, "the library calls its own functions");
    check(temporary_pos == -5 && sdl_window == (void*)1 && fullscreen == 9 &&
              sdl_window_id == 0xFFFFFFFF,
          "the host's variables stay the host's");
    return failures != 0;
}
