/* SPDX-License-Identifier: Zlib */
#pragma once

/**
 * Shaders and uniforms.
 *
 * A shader is an OpenGL program object. All of its stages come from one text, in which directives
 * mark where each stage starts:
 *
 *     #vertex
 *     #version 330 core
 *     layout(location = 0) in vec2 position;
 *     void main() { gl_Position = vec4(position, 0.0, 1.0); }
 *     #fragment
 *     #version 330 core
 *     out vec4 color;
 *     void main() { color = vec4(1.0); }
 *
 * Uniforms are set on the shader in use (shader_bind). A setter is named for the number of
 * components and their type, f for f32, i for i32 and q for u32; an `a` behind it means an array.
 *
 * Thread, failure and the rest: as for all graphics calls (graphics.h).
 */

#include "types.h"

/** What shader_source gives. */
typedef struct ShaderResult {
    b8 success; /**< 1 when every stage in the text compiled and the shader linked, else 0 */
    Slice log;  /**< bytes; the failure text in the buffer that the host passed. Null on success */
} ShaderResult;

/**
 * Makes a shader without any stage.
 *
 * @lifetime  until shader_destroy
 * @failure   0
 */
HALVORIN_API u32 shader_create(void);

/**
 * Compiles the stages in a text and links the shader.
 *
 * A directive is #vertex, #fragment or #geometry with a space, a tab, a line feed or a carriage
 * return behind it, and at least one more byte. It may stand anywhere, even in the middle of a
 * line or in a comment. Its stage's text runs from behind that one white byte to the next
 * directive or to the end. The last of several texts for a stage counts, text ahead of the first
 * directive belongs to no stage, and a stage whose text is empty is left out.
 *
 * The shader may have been linked before. Linking it again starts its uniforms at 0, and their
 * locations may change.
 *
 * @param result   success, or the failure text.
 * @param program  from shader_create. It is neither made nor destroyed here, whatever happens.
 * @param source   the text. Its `count` is taken as a 32-bit number. Nothing of it is copied or
 *                 kept.
 * @param log      room for a failure text; its `count` is the size in bytes, taken as a 32-bit
 *                 number. Untouched on success. Null or a size of 0 means that no text is wanted.
 * @lifetime  as long as `log`: the text stands there.
 * @failure   `success` 0. The text holds for each stage that doesn't compile the line "failed to
 *            compile vertex stage" (or fragment, or geometry) and the driver's message, in the
 *            order vertex, fragment, geometry, and then the driver's message on the link. It is
 *            cut where the room ends, and has no terminator that counts.
 * @waits     for the driver's compiler
 */
HALVORIN_API void shader_source(ShaderResult* result, u32 program, Slice source, Slice log);

/** Destroys a shader, which stays alive for as long as it is in use. 0 does nothing. */
HALVORIN_API void shader_destroy(u32 program);

/** Puts a shader in use for draw calls and for the uniform setters. */
HALVORIN_API void shader_bind(u32 program);
HALVORIN_API void shader_unbind(void);

/*
 * Lookups by name. The answer stays the same until the shader is linked again: look up once, not in
 * each frame.
 *
 * @memory    text
 * @lifetime  until the shader is linked again
 * @failure   -1: the linked shader has no such name in use. A name of more than 16383 bytes is
 *            looked up nowhere.
 */

/** The index of a vertex attribute, for the attribute_ calls. */
HALVORIN_API i32 shader_get_attribute_location(u32 program, Slice name);
/** The color number that a fragment output writes. */
HALVORIN_API i32 shader_get_output_location(u32 program, Slice name);
/** The location of a uniform, for the setters. Members are named "light[2].color". */
HALVORIN_API i32 shader_get_uniform_location(u32 program, Slice name);

/** The index of a uniform block. @failure 0xFFFFFFFF */
HALVORIN_API u32 shader_get_uniform_block_index(u32 program, Slice name);
/* Uniforms by block. */

/** Ties a uniform block to a binding point of buffer_bind_base or buffer_bind_range. */
HALVORIN_API void shader_uniform_block_binding(u32 program, u32 block, u32 binding);

/*
 * Uniforms, one value of 1 to 4 components. A location of -1 does nothing. Samplers and bools take
 * the i forms; a sampler's value is a texture unit.
 */

HALVORIN_API void shader_uniform1f(i32 location, f32_bits x);
HALVORIN_API void shader_uniform2f(i32 location, f32_bits x, f32_bits y);
HALVORIN_API void shader_uniform3f(i32 location, f32_bits x, f32_bits y, f32_bits z);
HALVORIN_API void shader_uniform4f(i32 location, f32_bits x, f32_bits y, f32_bits z, f32_bits w);

HALVORIN_API void shader_uniform1i(i32 location, i32 x);
HALVORIN_API void shader_uniform2i(i32 location, i32 x, i32 y);
HALVORIN_API void shader_uniform3i(i32 location, i32 x, i32 y, i32 z);
HALVORIN_API void shader_uniform4i(i32 location, i32 x, i32 y, i32 z, i32 w);

HALVORIN_API void shader_uniform1q(i32 location, u32 x);
HALVORIN_API void shader_uniform2q(i32 location, u32 x, u32 y);
HALVORIN_API void shader_uniform3q(i32 location, u32 x, u32 y, u32 z);
HALVORIN_API void shader_uniform4q(i32 location, u32 x, u32 y, u32 z, u32 w);

/*
 * Uniforms, an array. `count` is the number of vectors; `values` holds count times 1 to 4 numbers
 * of the letter's type. `values.count` is not read: the memory has to be long enough.
 */

HALVORIN_API void shader_uniform1fa(i32 location, i32 count, Slice values);
HALVORIN_API void shader_uniform2fa(i32 location, i32 count, Slice values);
HALVORIN_API void shader_uniform3fa(i32 location, i32 count, Slice values);
HALVORIN_API void shader_uniform4fa(i32 location, i32 count, Slice values);

HALVORIN_API void shader_uniform1ia(i32 location, i32 count, Slice values);
HALVORIN_API void shader_uniform2ia(i32 location, i32 count, Slice values);
HALVORIN_API void shader_uniform3ia(i32 location, i32 count, Slice values);
HALVORIN_API void shader_uniform4ia(i32 location, i32 count, Slice values);

HALVORIN_API void shader_uniform1qa(i32 location, i32 count, Slice values);
HALVORIN_API void shader_uniform2qa(i32 location, i32 count, Slice values);
HALVORIN_API void shader_uniform3qa(i32 location, i32 count, Slice values);
HALVORIN_API void shader_uniform4qa(i32 location, i32 count, Slice values);

/*
 * Uniforms, an array of `count` matrices of f32 (1 for a single matrix). In 2x3 the first number is
 * the columns and the second the rows, as in GLSL. The numbers stand column by column, or row by
 * row where `transpose` is true. `values.count` is not read.
 */

HALVORIN_API void shader_uniform_matrix2fa(i32 location, i32 count, b8 transpose, Slice values);
HALVORIN_API void shader_uniform_matrix3fa(i32 location, i32 count, b8 transpose, Slice values);
HALVORIN_API void shader_uniform_matrix4fa(i32 location, i32 count, b8 transpose, Slice values);
HALVORIN_API void shader_uniform_matrix2x3fa(i32 location, i32 count, b8 transpose, Slice values);
HALVORIN_API void shader_uniform_matrix3x2fa(i32 location, i32 count, b8 transpose, Slice values);
HALVORIN_API void shader_uniform_matrix2x4fa(i32 location, i32 count, b8 transpose, Slice values);
HALVORIN_API void shader_uniform_matrix4x2fa(i32 location, i32 count, b8 transpose, Slice values);
HALVORIN_API void shader_uniform_matrix3x4fa(i32 location, i32 count, b8 transpose, Slice values);
HALVORIN_API void shader_uniform_matrix4x3fa(i32 location, i32 count, b8 transpose, Slice values);
