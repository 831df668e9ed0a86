/* SPDX-License-Identifier: Zlib */
/* Another copy of the codecs and of the OpenGL loader, under the names that the library exports
 * too: in a host, or in a library that a host brings along. Whatever it takes from the heap it
 * counts, so that a call which went astray shows. */

#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

int codecs_taken = 0;

static void* counted(void* block) {
    codecs_taken++;
    return block;
}

#define malloc(size)         counted(malloc(size))
#define realloc(block, size) counted(realloc(block, size))
#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_WRITE_IMPLEMENTATION
#define DR_WAV_IMPLEMENTATION
#define DR_FLAC_IMPLEMENTATION
#include <dr_flac.h>
#include <dr_wav.h>
#include <stb_image.h>
#include <stb_image_write.h>

#include <gl.c>

#include <stb_vorbis.c>

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

/* Whether this copy has worked since it was asked before, and with success. */
static int worked(const void* result) {
    static int before = 0;
    const int has_worked = codecs_taken != before && result != NULL;
    before = codecs_taken;
    return has_worked;
}

/* Uses each codec; null, or the name of the one that isn't this copy. */
const char* use_codecs(const char* folder);
const char* use_codecs(const char* folder) {
    unsigned char pixels[12] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    int width = 0, height = 0, channels = 0, rate = 0;
    unsigned int wide_channels = 0, wide_rate = 0;
    unsigned long long frames = 0;
    short* samples = NULL;

    unsigned char* const png = stbi_write_png_to_mem(pixels, 6, 2, 2, 3, &width);
    if (!worked(png)) return "stb_image_write";
    unsigned char* const image = stbi_load_from_memory(png, width, &width, &height, &channels, 3);
    if (!worked(image) || memcmp(image, pixels, 12) != 0) return "stb_image";
    free(image);
    free(png);
    void* block = drwav_open_file_and_read_pcm_frames_s16(sound(folder, "s16.wav"), &wide_channels,
                                                          &wide_rate, &frames, NULL);
    if (!worked(block)) return "dr_wav";
    free(block);
    block = drflac_open_file_and_read_pcm_frames_s16(sound(folder, "s16.flac"), &wide_channels,
                                                     &wide_rate, &frames, NULL);
    if (!worked(block)) return "dr_flac";
    free(block);
    stb_vorbis_decode_filename(sound(folder, "stereo.ogg"), &channels, &rate, &samples);
    if (!worked(samples)) return "stb_vorbis";
    free(samples);

    if (gladLoadGL(find) == 0 || glad_glClear != clear_in_place_of_opengl) return "glad";
    const int before = clears;
    glClear(7);
    return clears == before + 7 ? NULL : "glad's pointers";
}
