// SPDX-License-Identifier: Zlib
#include "api/graphics_geometry.h"

#include "frame/boundary.h"
#include "graphics/gl_tables.h"

#include <glad/gl.h>

using namespace halvorin;

namespace {

// OpenGL takes an offset into a buffer as a pointer. The sign goes along.
const void* offset_pointer(i32 offset) {
    return reinterpret_cast<const void*>(static_cast<intptr_t>(offset));
}

} // namespace

u32 buffer_create(void) {
    GLuint buffer = 0;
    glGenBuffers(1, &buffer);
    return buffer;
}

void buffer_destroy(u32 buffer) {
    glDeleteBuffers(1, &buffer);
}

void buffer_bind(buffer_target target, u32 buffer) {
    glBindBuffer(to_gl(gl::buffer_target, target), buffer);
}

void buffer_unbind(buffer_target target) {
    glBindBuffer(to_gl(gl::buffer_target, target), 0);
}

void buffer_bind_base(buffer_target target, u32 index, u32 buffer) {
    glBindBufferBase(to_gl(gl::buffer_target, target), index, buffer);
}

void buffer_bind_range(buffer_target target, u32 index, u32 buffer, i64 offset, i64 size) {
    glBindBufferRange(to_gl(gl::buffer_target, target), index, buffer, offset, size);
}

void buffer_data(buffer_target target, i64 size, const void* data, buffer_usage usage) {
    glBufferData(to_gl(gl::buffer_target, target), size, data, to_gl(gl::buffer_usage, usage));
}

void buffer_sub_data(buffer_target target, i64 offset, i64 size, const void* data) {
    glBufferSubData(to_gl(gl::buffer_target, target), offset, size, data);
}

void buffer_map(Slice* result, buffer_target target, i64 size, buffer_access access) {
    result->data = glMapBuffer(to_gl(gl::buffer_target, target), to_gl(gl::buffer_access, access));
    result->count = size;
}

b8 buffer_unmap(buffer_target target) {
    return glUnmapBuffer(to_gl(gl::buffer_target, target));
}

void buffer_copy_sub_data(buffer_target read_target, buffer_target write_target, i64 read_offset,
                          i64 write_offset, i64 size) {
    glCopyBufferSubData(to_gl(gl::buffer_target, read_target),
                        to_gl(gl::buffer_target, write_target), read_offset, write_offset, size);
}

u32 vertex_array_create(void) {
    GLuint vertex_array = 0;
    glGenVertexArrays(1, &vertex_array);
    return vertex_array;
}

void vertex_array_destroy(u32 vertex_array) {
    glDeleteVertexArrays(1, &vertex_array);
}

void vertex_array_bind(u32 vertex_array) {
    glBindVertexArray(vertex_array);
}

void vertex_array_unbind(void) {
    glBindVertexArray(0);
}

void attribute_enable(u32 index, b8 enable) {
    if (is_true(enable)) {
        glEnableVertexAttribArray(index);
    } else {
        glDisableVertexAttribArray(index);
    }
}

void attribute_format(u32 index, i32 size, data_type type, b8 normalized, i32 stride, i32 offset) {
    glVertexAttribPointer(index, size, to_gl(gl::data_type, type), is_true(normalized), stride,
                          offset_pointer(offset));
}

void attribute_integer_format(u32 index, i32 size, data_type type, i32 stride, i32 offset) {
    glVertexAttribIPointer(index, size, to_gl(gl::data_type, type), stride, offset_pointer(offset));
}

void attribute_divisor(u32 index, u32 divisor) {
    glVertexAttribDivisor(index, divisor);
}

void draw_arrays(u32 primitive, i32 first, i32 count, i32 instances) {
    if (instances == 1) {
        glDrawArrays(primitive, first, count);
    } else {
        glDrawArraysInstanced(primitive, first, count, instances);
    }
}

void draw_elements(u32 primitive, data_type type, i32 offset, i32 count, i32 base_vertex,
                   i32 instances) {
    const GLenum index_type = to_gl(gl::data_type, type);
    const void* indices = offset_pointer(offset);
    if (base_vertex == 0) {
        if (instances == 1) {
            glDrawElements(primitive, count, index_type, indices);
        } else {
            glDrawElementsInstanced(primitive, count, index_type, indices, instances);
        }
    } else if (instances == 1) {
        glDrawElementsBaseVertex(primitive, count, index_type, indices, base_vertex);
    } else {
        glDrawElementsInstancedBaseVertex(primitive, count, index_type, indices, instances,
                                          base_vertex);
    }
}
