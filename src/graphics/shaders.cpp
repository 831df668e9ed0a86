// SPDX-License-Identifier: Zlib
#include "api/graphics_shaders.h"

#include "frame/boundary.h"
#include "frame/scratch.h"
#include "graphics/shader_scan.h"

#include <glad/gl.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

using namespace halvorin;

static_assert(sizeof(ShaderResult) == 24 && offsetof(ShaderResult, log) == 8);

namespace {

// The host's buffer for the failure text, filled from its front. Size 0: no text is wanted.
struct failure_log {
    char* data;
    i64 size;
    i64 position;
};

struct stage_kind {
    GLenum number;
    const char* failure_line;
    i64 line_length;
};

template <size_t size> constexpr stage_kind stage(GLenum number, const char (&failure_line)[size]) {
    return {number, failure_line, size - 1};
}

constexpr stage_kind stage_kinds[shader_stages] = {
    stage(GL_VERTEX_SHADER, "failed to compile vertex stage\n"),
    stage(GL_FRAGMENT_SHADER, "failed to compile fragment stage\n"),
    stage(GL_GEOMETRY_SHADER, "failed to compile geometry stage\n"),
};

failure_log open_log(Slice buffer) {
    const i32 size = static_cast<i32>(buffer.count);
    return {static_cast<char*>(buffer.data), buffer.data && size > 0 ? size : 0, 0};
}

void add_line(failure_log& log, const stage_kind& kind) {
    const i64 length = std::min(kind.line_length, log.size - log.position);
    if (length <= 0) return;
    std::memcpy(log.data + log.position, kind.failure_line, static_cast<size_t>(length));
    log.position += length;
}

// OpenGL refuses to write into no room at all, and would keep the error for the host to find.
void add_gl_log(failure_log& log, PFNGLGETSHADERINFOLOGPROC get_log, GLuint object) {
    const i64 room = log.size - log.position;
    if (room <= 0) return;
    GLsizei length = 0;
    get_log(object, static_cast<GLsizei>(room), &length, log.data + log.position);
    log.position += std::min<i64>(std::max(length, 0), room);
}

// Stores the object only when it compiled.
bool stage_compile(const stage_kind& kind, GLuint* shader, const stage_text& text,
                   failure_log& log) {
    const GLuint object = glCreateShader(kind.number);
    glShaderSource(object, 1, &text.data, &text.length);
    glCompileShader(object);
    GLint status = 0;
    glGetShaderiv(object, GL_COMPILE_STATUS, &status);
    if (status != 0) {
        *shader = object;
        return true;
    }
    add_line(log, kind);
    add_gl_log(log, glGetShaderInfoLog, object);
    glDeleteShader(object);
    return false;
}

bool link(u32 program, failure_log& log) {
    glLinkProgram(program);
    GLint status = 0;
    glGetProgramiv(program, GL_LINK_STATUS, &status);
    if (status == 0) add_gl_log(log, glGetProgramInfoLog, program);
    return status != 0;
}

const GLfloat* floats(Slice values) {
    return static_cast<const GLfloat*>(values.data);
}

const GLint* integers(Slice values) {
    return static_cast<const GLint*>(values.data);
}

const GLuint* unsigned_integers(Slice values) {
    return static_cast<const GLuint*>(values.data);
}

} // namespace

u32 shader_create(void) {
    return glCreateProgram();
}

// A failed stage stops neither the other stages nor the link: one call tells all that is wrong.
void shader_source(ShaderResult* result, u32 program, Slice source, Slice log) {
    const shader_texts texts =
        split_stages(static_cast<const char*>(source.data), static_cast<i32>(source.count),
                     __builtin_cpu_supports("avx2"));
    failure_log failures = open_log(log);
    GLuint shaders[shader_stages] = {};
    bool success = true;
    for (u32 i = 0; i < shader_stages; ++i) {
        if (texts.of[i].length <= 0) continue;
        success &= stage_compile(stage_kinds[i], &shaders[i], texts.of[i], failures);
    }
    for (GLuint shader : shaders) {
        if (shader != 0) glAttachShader(program, shader);
    }
    success &= link(program, failures);
    for (GLuint shader : shaders) {
        if (shader == 0) continue;
        glDetachShader(program, shader);
        glDeleteShader(shader);
    }
    result->success = success;
    result->log = success ? Slice{nullptr, 0} : Slice{log.data, failures.position};
}

void shader_destroy(u32 program) {
    glDeleteProgram(program);
}

void shader_bind(u32 program) {
    glUseProgram(program);
}

void shader_unbind(void) {
    glUseProgram(0);
}

i32 shader_get_attribute_location(u32 program, Slice name) {
    if (!append_character(name)) return -1;
    return glGetAttribLocation(program, c_string(name));
}

i32 shader_get_output_location(u32 program, Slice name) {
    if (!append_character(name)) return -1;
    return glGetFragDataLocation(program, c_string(name));
}

i32 shader_get_uniform_location(u32 program, Slice name) {
    if (!append_character(name)) return -1;
    return glGetUniformLocation(program, c_string(name));
}

u32 shader_get_uniform_block_index(u32 program, Slice name) {
    if (!append_character(name)) return GL_INVALID_INDEX;
    return glGetUniformBlockIndex(program, c_string(name));
}

void shader_uniform_block_binding(u32 program, u32 block, u32 binding) {
    glUniformBlockBinding(program, block, binding);
}

void shader_uniform1f(i32 location, f32_bits x) {
    glUniform1f(location, value_of(x));
}

void shader_uniform2f(i32 location, f32_bits x, f32_bits y) {
    glUniform2f(location, value_of(x), value_of(y));
}

void shader_uniform3f(i32 location, f32_bits x, f32_bits y, f32_bits z) {
    glUniform3f(location, value_of(x), value_of(y), value_of(z));
}

void shader_uniform4f(i32 location, f32_bits x, f32_bits y, f32_bits z, f32_bits w) {
    glUniform4f(location, value_of(x), value_of(y), value_of(z), value_of(w));
}

void shader_uniform1i(i32 location, i32 x) {
    glUniform1i(location, x);
}

void shader_uniform2i(i32 location, i32 x, i32 y) {
    glUniform2i(location, x, y);
}

void shader_uniform3i(i32 location, i32 x, i32 y, i32 z) {
    glUniform3i(location, x, y, z);
}

void shader_uniform4i(i32 location, i32 x, i32 y, i32 z, i32 w) {
    glUniform4i(location, x, y, z, w);
}

void shader_uniform1q(i32 location, u32 x) {
    glUniform1ui(location, x);
}

void shader_uniform2q(i32 location, u32 x, u32 y) {
    glUniform2ui(location, x, y);
}

void shader_uniform3q(i32 location, u32 x, u32 y, u32 z) {
    glUniform3ui(location, x, y, z);
}

void shader_uniform4q(i32 location, u32 x, u32 y, u32 z, u32 w) {
    glUniform4ui(location, x, y, z, w);
}

void shader_uniform1fa(i32 location, i32 count, Slice values) {
    glUniform1fv(location, count, floats(values));
}

void shader_uniform2fa(i32 location, i32 count, Slice values) {
    glUniform2fv(location, count, floats(values));
}

void shader_uniform3fa(i32 location, i32 count, Slice values) {
    glUniform3fv(location, count, floats(values));
}

void shader_uniform4fa(i32 location, i32 count, Slice values) {
    glUniform4fv(location, count, floats(values));
}

void shader_uniform1ia(i32 location, i32 count, Slice values) {
    glUniform1iv(location, count, integers(values));
}

void shader_uniform2ia(i32 location, i32 count, Slice values) {
    glUniform2iv(location, count, integers(values));
}

void shader_uniform3ia(i32 location, i32 count, Slice values) {
    glUniform3iv(location, count, integers(values));
}

void shader_uniform4ia(i32 location, i32 count, Slice values) {
    glUniform4iv(location, count, integers(values));
}

void shader_uniform1qa(i32 location, i32 count, Slice values) {
    glUniform1uiv(location, count, unsigned_integers(values));
}

void shader_uniform2qa(i32 location, i32 count, Slice values) {
    glUniform2uiv(location, count, unsigned_integers(values));
}

void shader_uniform3qa(i32 location, i32 count, Slice values) {
    glUniform3uiv(location, count, unsigned_integers(values));
}

void shader_uniform4qa(i32 location, i32 count, Slice values) {
    glUniform4uiv(location, count, unsigned_integers(values));
}

void shader_uniform_matrix2fa(i32 location, i32 count, b8 transpose, Slice values) {
    glUniformMatrix2fv(location, count, is_true(transpose), floats(values));
}

void shader_uniform_matrix3fa(i32 location, i32 count, b8 transpose, Slice values) {
    glUniformMatrix3fv(location, count, is_true(transpose), floats(values));
}

void shader_uniform_matrix4fa(i32 location, i32 count, b8 transpose, Slice values) {
    glUniformMatrix4fv(location, count, is_true(transpose), floats(values));
}

void shader_uniform_matrix2x3fa(i32 location, i32 count, b8 transpose, Slice values) {
    glUniformMatrix2x3fv(location, count, is_true(transpose), floats(values));
}

void shader_uniform_matrix3x2fa(i32 location, i32 count, b8 transpose, Slice values) {
    glUniformMatrix3x2fv(location, count, is_true(transpose), floats(values));
}

void shader_uniform_matrix2x4fa(i32 location, i32 count, b8 transpose, Slice values) {
    glUniformMatrix2x4fv(location, count, is_true(transpose), floats(values));
}

void shader_uniform_matrix4x2fa(i32 location, i32 count, b8 transpose, Slice values) {
    glUniformMatrix4x2fv(location, count, is_true(transpose), floats(values));
}

void shader_uniform_matrix3x4fa(i32 location, i32 count, b8 transpose, Slice values) {
    glUniformMatrix3x4fv(location, count, is_true(transpose), floats(values));
}

void shader_uniform_matrix4x3fa(i32 location, i32 count, b8 transpose, Slice values) {
    glUniformMatrix4x3fv(location, count, is_true(transpose), floats(values));
}
