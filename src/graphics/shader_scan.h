// SPDX-License-Identifier: Zlib
#pragma once

#include "api/types.h"

// The stages of a shader text, in the order in which they are compiled, attached and detached.
namespace halvorin {

enum shader_stage : u32 {
    vertex_stage,
    fragment_stage,
    geometry_stage,
    shader_stages
};

// A piece of the host's text. Length 0: the stage has no text.
struct stage_text {
    const char* data;
    i32 length;
};

struct shader_texts {
    stage_text of[shader_stages];
};

// Splits a shader text at its directives. Nothing outside the text is read. `wide` looks at 32
// bytes at a time instead of 16, which takes a processor with AVX2.
shader_texts split_stages(const char* text, i32 count, bool wide);

} // namespace halvorin
