// SPDX-License-Identifier: Zlib
#define STBIWDEF __attribute__((visibility("default"))) extern
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include "stb_image_write.h"
