// SPDX-License-Identifier: Zlib
#pragma once

namespace halvorin {

// Destroys software renderer, OpenGL context and window. The exported variables keep their values.
void release_display();

} // namespace halvorin
