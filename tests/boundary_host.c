/* SPDX-License-Identifier: Zlib */
/* A host as they come: C99, knows the library by file name alone, finds everything by name, and
 * leaves rubbish wherever the boundary says that it doesn't count. Every argument below that is
 * narrower than a register is passed through a prototype that is wider. */

#include <dlfcn.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

typedef struct Slice {
    const void* data;
    int64_t count;
} Slice;

typedef struct Image {
    void* data;
    int32_t width, height;
} Image;

typedef struct DisplayInfo {
    int32_t width, height, refresh_rate;
} DisplayInfo;

static const uint64_t rubbish = 0xA5A5A5A5A5A5A500u;
static void* library;
static int failures;

#define CHECK(condition)                                                                           \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition);                        \
            failures++;                                                                            \
        }                                                                                          \
    } while (0)

/* ISO C has no cast from an object pointer to a function pointer; the bytes are the same. */
#define FIND(name, result, parameters)                                                             \
    result(*name) parameters;                                                                      \
    do {                                                                                           \
        void* found = dlsym(library, #name);                                                       \
        if (found == NULL) {                                                                       \
            fprintf(stderr, "not exported: %s\n", #name);                                          \
            exit(2);                                                                               \
        }                                                                                          \
        memcpy(&name, &found, sizeof(found));                                                      \
    } while (0)

static Slice text(const char* string) {
    Slice slice = {string, (int64_t)strlen(string)};
    return slice;
}

static char folder[] = "/tmp/boundary-XXXXXX";

static Slice in_folder(const char* name) {
    static char paths[4][128];
    static int next;
    char* path = paths[next++ % 4];
    if (snprintf(path, sizeof(paths[0]), "%s/%s", folder, name) >= (int)sizeof(paths[0])) exit(2);
    return text(path);
}

/* The address of a wide text may be odd. */
static int is_empty_wide(const unsigned char* wide) {
    return wide[0] == 0 && wide[1] == 0;
}

static void empty_slices_are_not_looked_at(void) {
    FIND(to_wide_cstr, unsigned char*, (Slice));
    FIND(file_exists, uint8_t, (Slice));
    const Slice empties[] = {
        {NULL, 0}, {(void*)1, 0}, {(void*)~(uintptr_t)0, -1}, {(void*)1, INT64_MIN}};
    const int32_t* position = dlsym(library, "temporary_pos");
    for (size_t i = 0; i < sizeof(empties) / sizeof(empties[0]); i++) {
        const int32_t before = *position;
        CHECK(is_empty_wide(to_wide_cstr(empties[i])));
        CHECK(*position == before + 2);
        CHECK(file_exists(empties[i]) == 0);
    }
    const Slice huge = {"a", INT64_MAX};
    CHECK(is_empty_wide(to_wide_cstr(huge)));
    CHECK(file_exists(huge) == 0);
    CHECK(*position >= 0 && *position <= 16384);
}

static void bytes_and_positions(void) {
    FIND(file_open, void*, (Slice, uint64_t mode));
    FIND(file_close, void, (void*));
    FIND(file_failed, uint8_t, (void*));
    FIND(file_write_byte, void, (void*, uint64_t));
    FIND(file_read_byte, uint8_t, (void*));
    FIND(file_seek, uint8_t, (void*, int64_t));
    FIND(file_size, int64_t, (void*));

    CHECK(file_failed(NULL) == 1);
    CHECK(file_open(in_folder("bytes"), rubbish | 0) == NULL);
    void* file = file_open(in_folder("bytes"), rubbish | 1);
    CHECK(file_failed(file) == 0);
    file_write_byte(file, rubbish | 0x12);
    file_write_byte(file, rubbish | 0x7F);
    file_close(file);
    file = file_open(in_folder("bytes"), rubbish | 2);
    CHECK(file_size(file) == 2);
    CHECK(file_seek(file, 0x100000001) == 1);
    CHECK(file_read_byte(file) == 0x7F);
    CHECK(file_seek(file, 0xFFFFFFFF) == 0);
    file_close(file);
}

static void truth_channels_and_records_by_value(void) {
    FIND(image_set_buffer, void, (int64_t, void*));
    FIND(image_get_buffer_position, int64_t, (void));
    FIND(image_set_buffer_position, void, (int64_t));
    FIND(image_set_flip, void, (uint64_t));
    FIND(image_load, void, (Image*, Slice, uint64_t));
    FIND(image_save, uint8_t, (Image, Slice, uint64_t));

    static unsigned char memory[1 << 20];
    unsigned char pixels[] = {10, 20, 30, 40, 50, 60};
    const Image picture = {pixels, 1, 2};
    struct {
        uint64_t before;
        Image image;
        uint64_t behind;
    } result = {rubbish, {NULL, 0, 0}, rubbish};

    image_set_buffer(sizeof(memory), memory);
    CHECK(image_save(picture, in_folder("two.bmp"), rubbish | 3) == 1);
    const uint64_t flips[] = {rubbish | 0x80, rubbish};
    for (int i = 0; i < 2; i++) {
        image_set_flip(flips[i]);
        image_load(&result.image, in_folder("two.bmp"), rubbish | 3);
        CHECK(result.image.data != NULL && result.image.width == 1 && result.image.height == 2);
        CHECK(result.image.data != NULL && *(unsigned char*)result.image.data == pixels[3 - 3 * i]);
    }
    CHECK(result.before == rubbish && result.behind == rubbish);
    image_set_buffer_position(0x123456789ABC);
    CHECK(image_get_buffer_position() == 0x123456789ABC);
    image_set_buffer(0, NULL);
}

static void flags_floats_and_results_through_pointers(void) {
    FIND(system_init, void, (uint64_t));
    FIND(system_release, void, (void));
    FIND(system_time, int64_t, (void));
    FIND(display_open, uint8_t, (uint64_t, uint64_t, Slice, uint64_t, uint64_t));
    FIND(display_close, void, (void));
    FIND(display_get_info, void, (DisplayInfo*));
    FIND(input_key_is_held, uint8_t, (uint64_t));
    FIND(input_key_held_state, void, (Slice*));
    FIND(pipeline_clear_color, void, (uint64_t, uint64_t, uint64_t, uint64_t));
    FIND(pipeline_clear, void, (uint64_t));
    FIND(pipeline_color_mask, void, (uint64_t, uint64_t, uint64_t, uint64_t));
    FIND(pipeline_read_pixels, void,
         (uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, void*));
    FIND(pipeline_get_error, uint32_t, (void));
    FIND(texture_bind, void, (uint64_t, uint64_t));

    const uint64_t above = 0x7777777700000000u; /* rubbish above 32 bits */
    const uint8_t* is_software = dlsym(library, "is_software_rendering");
    void** window = dlsym(library, "sdl_window");

    system_init(above | 4 | 8);
    CHECK(system_time() > 1700000000);
    CHECK(display_open(above | 64, above | 32, text("host"), 0xCCCCCCCCCCCC0081u, above | 0) == 1);
    CHECK(*is_software == 1 && *window != NULL);
    display_close();
    CHECK(display_open(64, 32, text("host"), 0xCCCCCCCCCCCC0001u, 1) == 1);
    CHECK(*is_software == 0);
    struct {
        DisplayInfo info;
        int32_t behind;
    } told = {{0, 0, 0}, 77};
    display_get_info(&told.info);
    CHECK(told.info.width == 64 && told.info.height == 32 && told.behind == 77);
    Slice keys = {NULL, 0};
    input_key_held_state(&keys);
    CHECK(keys.count == 108);
    ((unsigned char*)(uintptr_t)keys.data)[2] = 1; /* as if the key A were down */
    CHECK(input_key_is_held(rubbish | 2) == 1 && input_key_is_held(rubbish | 3) == 0);
    ((unsigned char*)(uintptr_t)keys.data)[2] = 0;

    /* 1.0, 0.5, 0.25 and 0.0 as bits */
    pipeline_clear_color(above | 0x3F800000, above | 0x3F000000, above | 0x3E800000, above);
    pipeline_color_mask(rubbish | 1, rubbish | 2, rubbish | 0x80, rubbish | 1);
    pipeline_clear(above | 0xFFFFFFF8u | 4);
    unsigned char pixel[4] = {0};
    pipeline_read_pixels(above | 1, above | 1, above | 1, above | 1, above | 8, above | 0, pixel);
    CHECK(pixel[0] == 255 && pixel[1] >= 127 && pixel[1] <= 128 && pixel[2] >= 63 &&
          pixel[2] <= 64);
    texture_bind(above | 1, above);
    CHECK(pipeline_get_error() == 0);
    texture_bind(above | 9, above);
    CHECK(pipeline_get_error() == 0x0501);
    pipeline_color_mask(0x100, 0x200, rubbish, 0);
    pipeline_clear_color(0, 0, 0, 0);
    pipeline_clear(4);
    pipeline_read_pixels(1, 1, 1, 1, 8, 0, pixel);
    CHECK(pixel[0] == 255); /* all four masked off: the earlier colour stays */
    display_close();
    system_release();
}

int main(int argc, char** argv) {
    if (argc != 2 || mkdtemp(folder) == NULL) return 2;
    library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    if (library == NULL) {
        fprintf(stderr, "%s\n", dlerror());
        return 2;
    }
    empty_slices_are_not_looked_at();
    bytes_and_positions();
    truth_channels_and_records_by_value();
    flags_floats_and_results_through_pointers();
    remove((const char*)in_folder("bytes").data);
    remove((const char*)in_folder("two.bmp").data);
    rmdir(folder);
    printf("%d failures\n", failures);
    return failures != 0;
}
