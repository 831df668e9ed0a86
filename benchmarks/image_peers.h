/* SPDX-License-Identifier: Zlib */
#pragma once

/* The decoder and the encoder as a host would build them into itself: -O2, on the heap. */

#ifdef __cplusplus
extern "C" {
#endif

/* Decodes and frees. The pixels' first byte, or -1. */
int peer_load(const unsigned char* file, int size, int channels);

/* The format by its place among bmp, png, tga, jpg. */
int peer_save(int format, const char* path, int width, int height, int channels, const void* data);

#ifdef __cplusplus
}
#endif
