// SPDX-License-Identifier: Zlib
#include "gl.c"

// The loader's name of the generation before, for hosts that look it up.
GLAD_API_CALL int gladLoadGLLoader(GLADloadfunc load);

int gladLoadGLLoader(GLADloadfunc load) {
    return gladLoadGL(load);
}
