/* SPDX-License-Identifier: Zlib */
/* A host that has functions and variables under the library's own names, and exports them. What the
 * library calls and reads inside must be its own all the same, linked or loaded, and the host's
 * must stay the host's. */

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

static int taken; /* calls that the library should have kept to itself */

#define IMPOSTOR(name)                                                                             \
    EXPORTED void* name(void);                                                                     \
    void* name(void) {                                                                             \
        fprintf(stderr, "the library called the host's " #name "\n");                              \
        taken++;                                                                                   \
        return NULL;                                                                               \
    }

IMPOSTOR(stbi_load_from_file)
IMPOSTOR(stbi_load_from_memory)
IMPOSTOR(stbi_set_flip_vertically_on_load)
IMPOSTOR(stbi_flip_vertically_on_write)
IMPOSTOR(stbi_write_bmp)
IMPOSTOR(gladLoadGL)
IMPOSTOR(image_memory_allocate)
IMPOSTOR(append_character)
IMPOSTOR(system_allocate)
IMPOSTOR(add_string)
IMPOSTOR(print_failure_line)
IMPOSTOR(init_opengl_renderer)
IMPOSTOR(live_window)

EXPORTED int32_t temporary_pos = -5;
EXPORTED void* sdl_window = (void*)1;
EXPORTED uint8_t fullscreen = 9;
EXPORTED uint32_t sdl_window_id = 0xFFFFFFFF;
EXPORTED void* glad_glEnable = (void*)1;
EXPORTED void* glad_glClear = (void*)1;

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

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    const int mode = strcmp(argv[2], "global") == 0 ? RTLD_GLOBAL : RTLD_LOCAL;
    void* library = dlopen(argv[1], RTLD_NOW | mode);
    if (library == NULL) {
        fprintf(stderr, "%s\n", dlerror());
        return 2;
    }
    void (*system_init)(uint32_t);
    void (*system_release)(void);
    uint8_t (*display_open)(int32_t, int32_t, Slice, uint16_t, int32_t);
    void (*display_close)(void);
    void (*pipeline_clear)(uint32_t);
    void (*image_set_buffer)(int64_t, void*);
    uint8_t (*image_save)(Image, Slice, int8_t);
    void (*image_load)(Image*, Slice, int8_t);
    find(library, "system_init", &system_init);
    find(library, "system_release", &system_release);
    find(library, "display_open", &display_open);
    find(library, "display_close", &display_close);
    find(library, "pipeline_clear", &pipeline_clear);
    find(library, "image_set_buffer", &image_set_buffer);
    find(library, "image_save", &image_save);
    find(library, "image_load", &image_load);

    static unsigned char memory[1 << 16];
    unsigned char pixels[3] = {1, 2, 3};
    char path[64];
    snprintf(path, sizeof(path), "/tmp/binding-%d.bmp", (int)getpid());
    const Slice file = {path, (int64_t)strlen(path)};
    const Image picture = {pixels, 1, 1};
    Image loaded = {NULL, 0, 0};
    image_set_buffer(sizeof(memory), memory);
    check(image_save(picture, file, 3) == 1, "image_save writes");
    image_load(&loaded, file, 3);
    check(loaded.data != NULL && memcmp(loaded.data, pixels, 3) == 0, "image_load reads");
    remove(path);

    const Slice title = {"binding", 7};
    system_init(4 | 8);
    check(display_open(32, 32, title, 1, 0) == 1, "display_open opens");
    check(*(void**)dlsym(library, "sdl_window") != NULL, "the library's sdl_window is set");
    check(*(int32_t*)dlsym(library, "temporary_pos") > 0, "the library's temporary_pos moves");
    pipeline_clear(4);
    display_close();
    system_release();

    check(taken == 0, "the library calls its own functions");
    check(temporary_pos == -5 && sdl_window == (void*)1 && fullscreen == 9 &&
              sdl_window_id == 0xFFFFFFFF,
          "the host's variables stay the host's");
    return failures != 0;
}
