// SPDX-License-Identifier: Zlib
#include "api/graphics_textures.h"

#include "frame/boundary.h"
#include "graphics/gl_tables.h"

#include <glad/gl.h>

using namespace halvorin;

namespace {

// OpenGL's sizes of compressed data have 32 bits.
GLsizei gl_size(i64 size) {
    return static_cast<GLsizei>(size);
}

} // namespace

u32 texture_create(void) {
    GLuint texture = 0;
    glGenTextures(1, &texture);
    return texture;
}

void texture_destroy(u32 texture) {
    glDeleteTextures(1, &texture);
}

void texture_bind(texture_target target, u32 texture) {
    glBindTexture(to_gl(gl::texture_target, target), texture);
}

void texture_unbind(texture_target target) {
    glBindTexture(to_gl(gl::texture_target, target), 0);
}

void texture_unit(u32 unit) {
    glActiveTexture(GL_TEXTURE0 + unit);
}

void texture_generate_mipmap(texture_target target) {
    glGenerateMipmap(to_gl(gl::texture_target, target));
}

void texture_image_1d(texture_target target, i32 level, internal_format storage, i32 width,
                      pixel_format format, data_type type, const void* pixels) {
    glTexImage1D(to_gl(gl::texture_target, target), level, to_gl_int(gl::internal_format, storage),
                 width, 0, to_gl(gl::pixel_format, format), to_gl(gl::data_type, type), pixels);
}

void texture_image_2d(texture_target target, i32 level, internal_format storage, i32 width,
                      i32 height, pixel_format format, data_type type, const void* pixels) {
    glTexImage2D(to_gl(gl::texture_target, target), level, to_gl_int(gl::internal_format, storage),
                 width, height, 0, to_gl(gl::pixel_format, format), to_gl(gl::data_type, type),
                 pixels);
}

void texture_image_3d(texture_target target, i32 level, internal_format storage, i32 width,
                      i32 height, i32 depth, pixel_format format, data_type type,
                      const void* pixels) {
    glTexImage3D(to_gl(gl::texture_target, target), level, to_gl_int(gl::internal_format, storage),
                 width, height, depth, 0, to_gl(gl::pixel_format, format),
                 to_gl(gl::data_type, type), pixels);
}

void texture_image_buffer(texture_target target, internal_format storage, u32 buffer) {
    glTexBuffer(to_gl(gl::texture_target, target), to_gl(gl::internal_format, storage), buffer);
}

void texture_image_2d_multisample(texture_target target, i32 samples, internal_format storage,
                                  i32 width, i32 height, b8 fixed_sample_locations) {
    glTexImage2DMultisample(to_gl(gl::texture_target, target), samples,
                            to_gl(gl::internal_format, storage), width, height,
                            is_true(fixed_sample_locations));
}

void texture_image_2d_multisample_array(texture_target target, i32 samples, internal_format storage,
                                        i32 width, i32 height, i32 depth,
                                        b8 fixed_sample_locations) {
    glTexImage3DMultisample(to_gl(gl::texture_target, target), samples,
                            to_gl(gl::internal_format, storage), width, height, depth,
                            is_true(fixed_sample_locations));
}

void texture_sub_image_1d(texture_target target, i32 level, i32 x, i32 width, pixel_format format,
                          data_type type, const void* pixels) {
    glTexSubImage1D(to_gl(gl::texture_target, target), level, x, width,
                    to_gl(gl::pixel_format, format), to_gl(gl::data_type, type), pixels);
}

void texture_sub_image_2d(texture_target target, i32 level, i32 x, i32 y, i32 width, i32 height,
                          pixel_format format, data_type type, const void* pixels) {
    glTexSubImage2D(to_gl(gl::texture_target, target), level, x, y, width, height,
                    to_gl(gl::pixel_format, format), to_gl(gl::data_type, type), pixels);
}

void texture_sub_image_3d(texture_target target, i32 level, i32 x, i32 y, i32 z, i32 width,
                          i32 height, i32 depth, pixel_format format, data_type type,
                          const void* pixels) {
    glTexSubImage3D(to_gl(gl::texture_target, target), level, x, y, z, width, height, depth,
                    to_gl(gl::pixel_format, format), to_gl(gl::data_type, type), pixels);
}

void texture_compressed_image_1d(texture_target target, i32 level, internal_format storage,
                                 i32 width, i64 size, const void* data) {
    glCompressedTexImage1D(to_gl(gl::texture_target, target), level,
                           to_gl(gl::internal_format, storage), width, 0, gl_size(size), data);
}

void texture_compressed_image_2d(texture_target target, i32 level, internal_format storage,
                                 i32 width, i32 height, i64 size, const void* data) {
    glCompressedTexImage2D(to_gl(gl::texture_target, target), level,
                           to_gl(gl::internal_format, storage), width, height, 0, gl_size(size),
                           data);
}

void texture_compressed_image_3d(texture_target target, i32 level, internal_format storage,
                                 i32 width, i32 height, i32 depth, i64 size, const void* data) {
    glCompressedTexImage3D(to_gl(gl::texture_target, target), level,
                           to_gl(gl::internal_format, storage), width, height, depth, 0,
                           gl_size(size), data);
}

void texture_compressed_sub_image_1d(texture_target target, i32 level, i32 x, i32 width,
                                     internal_format format, i64 size, const void* data) {
    glCompressedTexSubImage1D(to_gl(gl::texture_target, target), level, x, width,
                              to_gl(gl::internal_format, format), gl_size(size), data);
}

void texture_compressed_sub_image_2d(texture_target target, i32 level, i32 x, i32 y, i32 width,
                                     i32 height, internal_format format, i64 size,
                                     const void* data) {
    glCompressedTexSubImage2D(to_gl(gl::texture_target, target), level, x, y, width, height,
                              to_gl(gl::internal_format, format), gl_size(size), data);
}

void texture_compressed_sub_image_3d(texture_target target, i32 level, i32 x, i32 y, i32 z,
                                     i32 width, i32 height, i32 depth, internal_format format,
                                     i64 size, const void* data) {
    glCompressedTexSubImage3D(to_gl(gl::texture_target, target), level, x, y, z, width, height,
                              depth, to_gl(gl::internal_format, format), gl_size(size), data);
}

void texture_copy_image_1d(texture_target target, i32 level, internal_format storage, i32 x, i32 y,
                           i32 width) {
    glCopyTexImage1D(to_gl(gl::texture_target, target), level, to_gl(gl::internal_format, storage),
                     x, y, width, 0);
}

void texture_copy_image_2d(texture_target target, i32 level, internal_format storage, i32 x, i32 y,
                           i32 width, i32 height) {
    glCopyTexImage2D(to_gl(gl::texture_target, target), level, to_gl(gl::internal_format, storage),
                     x, y, width, height, 0);
}

void texture_copy_sub_image_1d(texture_target target, i32 level, i32 x, i32 y, i32 to_x,
                               i32 width) {
    glCopyTexSubImage1D(to_gl(gl::texture_target, target), level, to_x, x, y, width);
}

void texture_copy_sub_image_2d(texture_target target, i32 level, i32 x, i32 y, i32 to_x, i32 to_y,
                               i32 width, i32 height) {
    glCopyTexSubImage2D(to_gl(gl::texture_target, target), level, to_x, to_y, x, y, width, height);
}

void texture_copy_sub_image_3d(texture_target target, i32 level, i32 x, i32 y, i32 to_x, i32 to_y,
                               i32 to_z, i32 width, i32 height) {
    glCopyTexSubImage3D(to_gl(gl::texture_target, target), level, to_x, to_y, to_z, x, y, width,
                        height);
}

void texture_get_image(texture_target target, i32 level, pixel_format format, data_type type,
                       void* pixels) {
    glGetTexImage(to_gl(gl::texture_target, target), level, to_gl(gl::pixel_format, format),
                  to_gl(gl::data_type, type), pixels);
}

void texture_parameter_wrap(texture_target target, texture_parameter parameter, texture_wrap wrap) {
    glTexParameteri(to_gl(gl::texture_target, target), to_gl(gl::texture_parameter, parameter),
                    to_gl_int(gl::texture_wrap, wrap));
}

void texture_parameter_filter(texture_target target, texture_parameter parameter,
                              texture_filter filter) {
    glTexParameteri(to_gl(gl::texture_target, target), to_gl(gl::texture_parameter, parameter),
                    to_gl_int(gl::texture_filter, filter));
}

void texture_parameter_swizzle(texture_target target, texture_swizzle red, texture_swizzle green,
                               texture_swizzle blue, texture_swizzle alpha) {
    const GLint channels[] = {
        to_gl_int(gl::texture_swizzle, red),
        to_gl_int(gl::texture_swizzle, green),
        to_gl_int(gl::texture_swizzle, blue),
        to_gl_int(gl::texture_swizzle, alpha),
    };
    glTexParameteriv(to_gl(gl::texture_target, target), GL_TEXTURE_SWIZZLE_RGBA, channels);
}

void texture_parameterf(texture_target target, texture_parameter parameter, f32_bits value) {
    glTexParameterf(to_gl(gl::texture_target, target), to_gl(gl::texture_parameter, parameter),
                    value_of(value));
}

void texture_parameterfa(texture_target target, texture_parameter parameter, Slice values) {
    glTexParameterfv(to_gl(gl::texture_target, target), to_gl(gl::texture_parameter, parameter),
                     static_cast<const GLfloat*>(values.data));
}

void texture_parameteri(texture_target target, texture_parameter parameter, i32 value) {
    glTexParameteri(to_gl(gl::texture_target, target), to_gl(gl::texture_parameter, parameter),
                    value);
}

void texture_parameteria(texture_target target, texture_parameter parameter, Slice values) {
    glTexParameteriv(to_gl(gl::texture_target, target), to_gl(gl::texture_parameter, parameter),
                     static_cast<const GLint*>(values.data));
}

void texture_integer_parameteria(texture_target target, texture_parameter parameter, Slice values) {
    glTexParameterIiv(to_gl(gl::texture_target, target), to_gl(gl::texture_parameter, parameter),
                      static_cast<const GLint*>(values.data));
}

void texture_integer_parameterqa(texture_target target, texture_parameter parameter, Slice values) {
    glTexParameterIuiv(to_gl(gl::texture_target, target), to_gl(gl::texture_parameter, parameter),
                       static_cast<const GLuint*>(values.data));
}
