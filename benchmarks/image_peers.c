// SPDX-License-Identifier: Zlib
#include "image_peers.h"

#define STBI_NO_HDR
#define STBI_NO_LINEAR
#define STBI_NO_FAILURE_STRINGS
#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#include <stb_image.h>

#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb_image_write.h>

int peer_load(const unsigned char* file, int size, int channels) {
    int width, height, own_channels;
    unsigned char* pixels =
        stbi_load_from_memory(file, size, &width, &height, &own_channels, channels);
    const int first = pixels ? pixels[0] : -1;
    stbi_image_free(pixels);
    return first;
}

int peer_save(int format, const char* path, int width, int height, int channels, const void* data) {
    switch (format) {
    case 0: return stbi_write_bmp(path, width, height, channels, data);
    case 1: return stbi_write_png(path, width, height, channels, data, width * channels);
    case 2: return stbi_write_tga(path, width, height, channels, data);
    default: return stbi_write_jpg(path, width, height, channels, data, 100);
    }
}
