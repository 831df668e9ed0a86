/* SPDX-License-Identifier: Zlib */
/* Another copy of the codecs and of the OpenGL loader, under the names that the library exports
 * too: in a host, or in a library that a host brings along. Whatever it takes from the heap it
 * counts, so that a call which went astray shows. */

#include <stdlib.h>

void* codecs_allocate(size_t size);
void* codecs_resize(void* block, size_t size);
extern int codecs_taken;

#define STBI_MALLOC(size)           codecs_allocate(size)
#define STBI_REALLOC(block, size)   codecs_resize(block, size)
#define STBI_FREE(block)            free(block)
#define STBIW_MALLOC(size)          codecs_allocate(size)
#define STBIW_REALLOC(block, size)  codecs_resize(block, size)
#define STBIW_FREE(block)           free(block)
#define DRWAV_MALLOC(size)          codecs_allocate(size)
#define DRWAV_REALLOC(block, size)  codecs_resize(block, size)
#define DRWAV_FREE(block)           free(block)
#define DRFLAC_MALLOC(size)         codecs_allocate(size)
#define DRFLAC_REALLOC(block, size) codecs_resize(block, size)
#define DRFLAC_FREE(block)          free(block)
#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_WRITE_IMPLEMENTATION
#define DR_WAV_IMPLEMENTATION
#define DR_FLAC_IMPLEMENTATION
#include <dr_flac.h>
#include <dr_wav.h>
#include <stb_image.h>
#include <stb_image_write.h>

#include <gl.c>

#define malloc(size)         codecs_allocate(size)
#define realloc(block, size) codecs_resize(block, size)
#include <stb_vorbis.c>
#undef malloc
#undef realloc

int codecs_taken = 0;

void* codecs_allocate(size_t size) {
    codecs_taken++;
    return malloc(size);
}

void* codecs_resize(void* block, size_t size) {
    codecs_taken++;
    return realloc(block, size);
}

static int clears;

static void clear_in_place_of_opengl(GLbitfield mask) {
    clears += (int)mask;
}

static const GLubyte* version(GLenum name) {
    (void)name;
    return (const GLubyte*)"3.3.0 of the host";
}

static void number(GLenum name, GLint* value) {
    *value = name == GL_NUM_EXTENSIONS ? 1 : 3;
}

static const GLubyte* extension(GLenum name, GLuint index) {
    (void)name, (void)index;
    return (const GLubyte*)"none";
}

static GLADapiproc find(const char* name) {
    if (strcmp(name, "glGetString") == 0) return (GLADapiproc)version;
    if (strcmp(name, "glGetIntegerv") == 0) return (GLADapiproc)number;
    if (strcmp(name, "glGetStringi") == 0) return (GLADapiproc)extension;
    return (GLADapiproc)clear_in_place_of_opengl;
}

static const char* sound(const char* folder, const char* name) {
    static char path[4096];
    snprintf(path, sizeof path, "%s/%s", folder, name);
    return path;
}

/* Uses each codec; null, or the name of the one that isn't this copy. */
const char* use_codecs(const char* folder);
const char* use_codecs(const char* folder) {
    unsigned char pixels[12] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    int width = 0, height = 0, channels = 0, rate = 0, taken = codecs_taken;
    unsigned int wide_channels = 0, wide_rate = 0;
    drwav_uint64 frames = 0;
    drflac_uint64 flac_frames = 0;
    short* samples = NULL;

    unsigned char* const png = stbi_write_png_to_mem(pixels, 6, 2, 2, 3, &width);
    if (codecs_taken == taken || png == NULL) return "stb_image_write";
    taken = codecs_taken;
    unsigned char* const image = stbi_load_from_memory(png, width, &width, &height, &channels, 3);
    if (codecs_taken == taken || image == NULL || memcmp(image, pixels, 12) != 0)
        return "stb_image";
    if (stbi_load_from_memory(pixels, 12, &width, &height, &channels, 3) != NULL ||
        stbi_failure_reason() == NULL)
        return "stb_image's reasons";
    stbi_image_free(image);
    free(png);

    taken = codecs_taken;
    void* block = drwav_open_file_and_read_pcm_frames_s16(sound(folder, "s16.wav"), &wide_channels,
                                                          &wide_rate, &frames, NULL);
    if (codecs_taken == taken || block == NULL) return "dr_wav";
    drwav_free(block, NULL);
    taken = codecs_taken;
    block = drflac_open_file_and_read_pcm_frames_s16(sound(folder, "s16.flac"), &wide_channels,
                                                     &wide_rate, &flac_frames, NULL);
    if (codecs_taken == taken || block == NULL) return "dr_flac";
    drflac_free(block, NULL);
    taken = codecs_taken;
    if (stb_vorbis_decode_filename(sound(folder, "stereo.ogg"), &channels, &rate, &samples) <= 0 ||
        codecs_taken == taken)
        return "stb_vorbis";
    free(samples);

    if (gladLoadGL(find) == 0 || glad_glClear != clear_in_place_of_opengl) return "glad";
    const int before = clears;
    glClear(7);
    return clears == before + 7 ? NULL : "glad's pointers";
}
