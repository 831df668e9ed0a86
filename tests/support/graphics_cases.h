// SPDX-License-Identifier: Zlib
#pragma once

// The graphics calls and what each of them has to ask of OpenGL, in the order of the headers.

#include "api/graphics.h"

#include "support/common.h"
#include "support/recording_gl.h"

#include <bit>

namespace gl = recording_gl;

namespace graphics_cases {

inline constexpr u32 one = 0x3F800000, half = 0x3F000000, a_tenth = 0x3DCCCCCD;
inline constexpr u32 quiet_nan = 0x7FC12345, signaling_nan = 0x7F812345, tiny = 1,
                     minus_zero = 0x80000000;

inline GLfloat value(u32 bits) {
    return std::bit_cast<GLfloat>(bits);
}

// Addresses that nobody looks at.
inline const auto data = reinterpret_cast<u8*>(0x7654321098);
inline const auto floats = reinterpret_cast<GLfloat*>(data);
inline const auto integers = reinterpret_cast<GLint*>(data);
inline const auto unsigned_integers = reinterpret_cast<GLuint*>(data);

inline const void* pointer(intptr_t offset) {
    return reinterpret_cast<const void*>(offset);
}

// A list whose count nobody may look at either.
inline const Slice values = {data, -5};

// Where results go that no table looks at.
inline ShaderResult shader_result;
inline Slice slice_result;

struct gl_case {
    const char* function;
    const char* arguments;
    void (*call)();
    std::string expected;
};

// clang-format off
#define CALLS(function, arguments, expected) \
    {#function, #arguments, [] { static_cast<void>(function arguments); }, expected}
#define ARRAYS(size) \
    CALLS(shader_uniform##size##fa, (3, 5, values), gl::Uniform##size##fv(3, 5, floats)), \
    CALLS(shader_uniform##size##ia, (3, -5, values), gl::Uniform##size##iv(3, -5, integers)), \
    CALLS(shader_uniform##size##qa, (3, 5, values), gl::Uniform##size##uiv(3, 5, unsigned_integers))
#define MATRICES(size) \
    CALLS(shader_uniform_matrix##size##fa, (3, 5, 0x80, values), \
          gl::UniformMatrix##size##fv(3, 5, 1, floats)), \
    CALLS(shader_uniform_matrix##size##fa, (-1, -5, 0, values), \
          gl::UniformMatrix##size##fv(-1, -5, 0, floats))
// clang-format on

inline const gl_case shader_cases[] = {
    CALLS(shader_create, (), gl::CreateProgram()),
    CALLS(shader_source, (&shader_result, 7, {}, {}),
          gl::LinkProgram(7) + "\nglGetProgramiv(0x7, 0x8B82, pointer)"),
    CALLS(shader_destroy, (7), gl::DeleteProgram(7)),
    CALLS(shader_bind, (7), gl::UseProgram(7)),
    CALLS(shader_unbind, (), gl::UseProgram(0)),
    CALLS(shader_get_attribute_location, (7, slice("position")),
          gl::GetAttribLocation(7, "position")),
    CALLS(shader_get_output_location, (7, slice("color")), gl::GetFragDataLocation(7, "color")),
    CALLS(shader_get_uniform_location, (7, slice("a[1].b")), gl::GetUniformLocation(7, "a[1].b")),
    CALLS(shader_get_uniform_block_index, (7, slice("Lights")),
          gl::GetUniformBlockIndex(7, "Lights")),
    CALLS(shader_uniform_block_binding, (7, 8, 9), gl::UniformBlockBinding(7, 8, 9)),
    CALLS(shader_uniform1f, (3, quiet_nan), gl::Uniform1f(3, value(quiet_nan))),
    CALLS(shader_uniform1f, (-1, signaling_nan), gl::Uniform1f(-1, value(signaling_nan))),
    CALLS(shader_uniform2f, (3, tiny, minus_zero),
          gl::Uniform2f(3, value(tiny), value(minus_zero))),
    CALLS(shader_uniform3f, (3, one, half, tiny), gl::Uniform3f(3, 1.0f, 0.5f, value(tiny))),
    CALLS(shader_uniform4f, (3, one, half, a_tenth, quiet_nan),
          gl::Uniform4f(3, 1.0f, 0.5f, 0.1f, value(quiet_nan))),
    CALLS(shader_uniform1i, (3, -1), gl::Uniform1i(3, -1)),
    CALLS(shader_uniform2i, (3, -1, 2), gl::Uniform2i(3, -1, 2)),
    CALLS(shader_uniform3i, (3, -1, 2, -3), gl::Uniform3i(3, -1, 2, -3)),
    CALLS(shader_uniform4i, (3, -1, 2, -3, 4), gl::Uniform4i(3, -1, 2, -3, 4)),
    CALLS(shader_uniform1q, (3, 0xFFFFFFFF), gl::Uniform1ui(3, 0xFFFFFFFF)),
    CALLS(shader_uniform2q, (3, 0xFFFFFFFF, 2), gl::Uniform2ui(3, 0xFFFFFFFF, 2)),
    CALLS(shader_uniform3q, (3, 0xFFFFFFFF, 2, 3), gl::Uniform3ui(3, 0xFFFFFFFF, 2, 3)),
    CALLS(shader_uniform4q, (3, 0xFFFFFFFF, 2, 3, 4), gl::Uniform4ui(3, 0xFFFFFFFF, 2, 3, 4)),
    ARRAYS(1),
    ARRAYS(2),
    ARRAYS(3),
    ARRAYS(4),
    MATRICES(2),
    MATRICES(3),
    MATRICES(4),
    MATRICES(2x3),
    MATRICES(3x2),
    MATRICES(2x4),
    MATRICES(4x2),
    MATRICES(3x4),
    MATRICES(4x3),
};

inline const gl_case texture_cases[] = {
    CALLS(texture_create, (), "glGenTextures(1, pointer)"),
    CALLS(texture_destroy, (7), "glDeleteTextures(1, pointer) [0x7]"),
    CALLS(texture_bind, (TEXTURE_TARGET_1D, 7), gl::BindTexture(GL_TEXTURE_1D, 7)),
    CALLS(texture_bind, (9, 7), gl::BindTexture(0, 7)),
    CALLS(texture_bind, (0xFFFFFFFF, 7), gl::BindTexture(0, 7)),
    CALLS(texture_unbind, (TEXTURE_TARGET_CUBE_MAP), gl::BindTexture(GL_TEXTURE_CUBE_MAP, 0)),
    CALLS(texture_unit, (0xFFFFFFFF), gl::ActiveTexture(0x84BF)),
    CALLS(texture_generate_mipmap, (TEXTURE_TARGET_3D), gl::GenerateMipmap(GL_TEXTURE_3D)),
    CALLS(texture_image_1d, (0, 1, 0, 2, 0, 0, data),
          gl::TexImage1D(GL_TEXTURE_1D, 1, GL_DEPTH_COMPONENT16, 2, 0, GL_DEPTH_COMPONENT,
                         GL_UNSIGNED_BYTE, data)),
    CALLS(texture_image_2d, (1, 1, 13, 2, 3, 8, 0, nullptr),
          gl::TexImage2D(GL_TEXTURE_2D, 1, GL_RGBA8, 2, 3, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr)),
    CALLS(texture_image_2d, (1, 1, 69, 2, 3, 14, 13, data),
          gl::TexImage2D(GL_TEXTURE_2D, 1, 0, 2, 3, 0, GL_RGBA_INTEGER,
                         GL_FLOAT_32_UNSIGNED_INT_24_8_REV, data)),
    CALLS(texture_image_2d, (1, 1, 84, 2, 3, 15, 14, data),
          gl::TexImage2D(GL_TEXTURE_2D, 1, 0, 2, 3, 0, 0, 0, data)),
    CALLS(texture_image_3d, (2, 1, 68, 2, 3, 4, 3, 6, data),
          gl::TexImage3D(GL_TEXTURE_3D, 1, GL_SRGB8_ALPHA8, 2, 3, 4, 0, GL_RED, GL_FLOAT, data)),
    CALLS(texture_image_buffer, (4, 70, 7), gl::TexBuffer(GL_TEXTURE_BUFFER, GL_COMPRESSED_RED, 7)),
    CALLS(texture_sub_image_1d, (0, 1, 2, 3, 15, 6, data),
          gl::TexSubImage1D(GL_TEXTURE_1D, 1, 2, 3, 0, GL_FLOAT, data)),
    CALLS(texture_sub_image_2d, (1, 1, 2, -3, 4, 5, 8, 0, data),
          gl::TexSubImage2D(GL_TEXTURE_2D, 1, 2, -3, 4, 5, GL_RGBA, GL_UNSIGNED_BYTE, data)),
    CALLS(texture_sub_image_3d, (2, 1, 2, 3, 4, 5, 6, 7, 8, 1, data),
          gl::TexSubImage3D(GL_TEXTURE_3D, 1, 2, 3, 4, 5, 6, 7, GL_RGBA, GL_UNSIGNED_SHORT, data)),
    CALLS(texture_compressed_image_1d, (0, 1, 80, 2, 16, data),
          gl::CompressedTexImage1D(GL_TEXTURE_1D, 1, GL_COMPRESSED_RGB_S3TC_DXT1_EXT, 2, 0, 16,
                                   data)),
    CALLS(texture_compressed_image_2d, (1, 1, 83, 2, 3, 0x100000001, data),
          gl::CompressedTexImage2D(GL_TEXTURE_2D, 1, GL_COMPRESSED_RGBA_S3TC_DXT5_EXT, 2, 3, 0, 1,
                                   data)),
    CALLS(texture_compressed_image_2d, (1, 1, 83, 2, 3, 0x2FFFFFFFF, data),
          gl::CompressedTexImage2D(GL_TEXTURE_2D, 1, GL_COMPRESSED_RGBA_S3TC_DXT5_EXT, 2, 3, 0, -1,
                                   data)),
    CALLS(
        texture_compressed_image_3d, (2, 1, 76, 2, 3, 4, -16, data),
        gl::CompressedTexImage3D(GL_TEXTURE_3D, 1, GL_COMPRESSED_RED_RGTC1, 2, 3, 4, 0, -16, data)),
    CALLS(texture_compressed_sub_image_1d, (0, 1, 2, 3, 81, 0x500000010, data),
          gl::CompressedTexSubImage1D(GL_TEXTURE_1D, 1, 2, 3, GL_COMPRESSED_RGBA_S3TC_DXT1_EXT, 16,
                                      data)),
    CALLS(texture_compressed_sub_image_2d, (1, 1, 2, 3, 4, 5, 8, 16, data),
          gl::CompressedTexSubImage2D(GL_TEXTURE_2D, 1, 2, 3, 4, 5, GL_R16, 16, data)),
    CALLS(texture_compressed_sub_image_3d, (2, 1, 2, 3, 4, 5, 6, 7, 82, 16, data),
          gl::CompressedTexSubImage3D(GL_TEXTURE_3D, 1, 2, 3, 4, 5, 6, 7,
                                      GL_COMPRESSED_RGBA_S3TC_DXT3_EXT, 16, data)),
    CALLS(texture_copy_image_1d, (0, 1, 13, 10, 20, 64),
          gl::CopyTexImage1D(GL_TEXTURE_1D, 1, GL_RGBA8, 10, 20, 64, 0)),
    CALLS(texture_copy_image_2d, (1, 1, 13, 10, 20, 64, 32),
          gl::CopyTexImage2D(GL_TEXTURE_2D, 1, GL_RGBA8, 10, 20, 64, 32, 0)),
    CALLS(texture_copy_sub_image_1d, (0, 1, 10, 20, 30, 64),
          gl::CopyTexSubImage1D(GL_TEXTURE_1D, 1, 30, 10, 20, 64)),
    CALLS(texture_copy_sub_image_2d, (1, 0, 10, 20, 30, 40, 64, 32),
          gl::CopyTexSubImage2D(GL_TEXTURE_2D, 0, 30, 40, 10, 20, 64, 32)),
    CALLS(texture_copy_sub_image_3d, (2, 1, 10, 20, 30, 40, 50, 64, 32),
          gl::CopyTexSubImage3D(GL_TEXTURE_3D, 1, 30, 40, 50, 10, 20, 64, 32)),
    CALLS(texture_get_image, (1, 2, 8, 0, data),
          gl::GetTexImage(GL_TEXTURE_2D, 2, GL_RGBA, GL_UNSIGNED_BYTE, data)),
    CALLS(texture_parameter_wrap, (1, 2, 3),
          gl::TexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_R, GL_CLAMP_TO_BORDER)),
    CALLS(texture_parameter_wrap, (1, 10, 4), gl::TexParameteri(GL_TEXTURE_2D, 0, 0)),
    CALLS(texture_parameter_filter, (1, 3, 5),
          gl::TexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR)),
    CALLS(texture_parameter_filter, (1, 4, 6),
          gl::TexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, 0)),
    CALLS(texture_parameter_swizzle, (1, 5, 4, 3, 2),
          "glTexParameteriv(0xDE1, 0x8E46, pointer)" +
              gl::list<GLint>({GL_ALPHA, GL_BLUE, GL_GREEN, GL_RED})),
    CALLS(texture_parameter_swizzle, (1, 0, 1, 6, 0xFFFFFFFF),
          "glTexParameteriv(0xDE1, 0x8E46, pointer)" +
              gl::list<GLint>({GL_ZERO, GL_ONE, GL_ZERO, GL_ZERO})),
    CALLS(texture_parameterf, (1, 9, a_tenth),
          gl::TexParameterf(GL_TEXTURE_2D, GL_TEXTURE_MAX_LOD, 0.1f)),
    CALLS(texture_parameterfa, (1, 5, values),
          gl::TexParameterfv(GL_TEXTURE_2D, GL_TEXTURE_BORDER_COLOR, floats)),
    CALLS(texture_parameteri, (1, 6, 4),
          gl::TexParameteri(GL_TEXTURE_2D, GL_TEXTURE_BASE_LEVEL, 4)),
    CALLS(texture_parameteria, (1, 5, values),
          gl::TexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_BORDER_COLOR, integers)),
    CALLS(texture_integer_parameteria, (1, 5, values),
          gl::TexParameterIiv(GL_TEXTURE_2D, GL_TEXTURE_BORDER_COLOR, integers)),
    CALLS(texture_integer_parameterqa, (1, 5, values),
          gl::TexParameterIuiv(GL_TEXTURE_2D, GL_TEXTURE_BORDER_COLOR, unsigned_integers)),
};

inline const gl_case frame_buffer_cases[] = {
    CALLS(frame_buffer_create, (), "glGenFramebuffers(1, pointer)"),
    CALLS(frame_buffer_destroy, (7), "glDeleteFramebuffers(1, pointer) [0x7]"),
    CALLS(frame_buffer_bind, (FRAME_BUFFER_TARGET_DRAW, 7),
          gl::BindFramebuffer(GL_DRAW_FRAMEBUFFER, 7)),
    CALLS(frame_buffer_bind, (2, 7), gl::BindFramebuffer(GL_FRAMEBUFFER, 7)),
    CALLS(frame_buffer_bind, (3, 7), gl::BindFramebuffer(0, 7)),
    CALLS(frame_buffer_unbind, (1), gl::BindFramebuffer(GL_READ_FRAMEBUFFER, 0)),
    CALLS(frame_buffer_texture, (0, 3, 2, 7, 5),
          gl::FramebufferTexture(GL_DRAW_FRAMEBUFFER, GL_COLOR_ATTACHMENT2, 7, 5)),
    CALLS(frame_buffer_texture, (1, 0, 2, 7, 5),
          gl::FramebufferTexture(GL_READ_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, 7, 5)),
    CALLS(frame_buffer_texture, (3, 1, -1, 7, -5),
          gl::FramebufferTexture(0, GL_STENCIL_ATTACHMENT, 7, -5)),
    CALLS(frame_buffer_texture, (2, 4, 2, 7, 5), gl::FramebufferTexture(GL_FRAMEBUFFER, 0, 7, 5)),
    CALLS(frame_buffer_texture_face, (2, 3, 1, 7, 5, 1),
          gl::FramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT1,
                                   GL_TEXTURE_CUBE_MAP_NEGATIVE_X, 7, 5)),
    CALLS(frame_buffer_texture_face, (2, 2, 1, 7, 5, 5),
          gl::FramebufferTexture2D(GL_FRAMEBUFFER, GL_DEPTH_STENCIL_ATTACHMENT,
                                   GL_TEXTURE_CUBE_MAP_NEGATIVE_Z, 7, 5)),
    CALLS(frame_buffer_texture_face, (2, 0xFFFFFFFF, 1, 7, 5, INT32_MAX),
          gl::FramebufferTexture2D(GL_FRAMEBUFFER, 0, 0x80008514, 7, 5)),
    CALLS(frame_buffer_texture_layer, (2, 3, INT32_MAX, 7, 5, 6),
          gl::FramebufferTextureLayer(GL_FRAMEBUFFER, 0x80008CDF, 7, 5, 6)),
    CALLS(frame_buffer_texture_layer, (1, 3, -1, 7, 5, -6),
          gl::FramebufferTextureLayer(GL_READ_FRAMEBUFFER, 0x8CDF, 7, 5, -6)),
    CALLS(frame_buffer_render_buffer, (0, 2, 1, 7),
          gl::FramebufferRenderbuffer(GL_DRAW_FRAMEBUFFER, GL_DEPTH_STENCIL_ATTACHMENT,
                                      GL_RENDERBUFFER, 7)),
    CALLS(frame_buffer_render_buffer, (2, 4, 1, 7),
          gl::FramebufferRenderbuffer(GL_FRAMEBUFFER, 0, GL_RENDERBUFFER, 7)),
    CALLS(frame_buffer_get_status, (1), gl::CheckFramebufferStatus(GL_READ_FRAMEBUFFER)),
    CALLS(frame_buffer_get_status, (3), gl::CheckFramebufferStatus(0)),
    CALLS(frame_buffer_blit, (10, 20, 100, 50, 30, 40, -200, -60, 5, 1),
          gl::BlitFramebuffer(10, 20, 110, 70, 30, 40, -170, -20, 0x4100, GL_LINEAR)),
    CALLS(frame_buffer_blit, (INT32_MAX, INT32_MIN, 1, -1, -1, 1, INT32_MIN, INT32_MAX, 2, 5),
          gl::BlitFramebuffer(INT32_MAX, INT32_MIN, INT32_MIN, INT32_MAX, -1, 1, INT32_MAX,
                              INT32_MIN, GL_STENCIL_BUFFER_BIT, GL_LINEAR_MIPMAP_LINEAR)),
    CALLS(frame_buffer_blit, (0, 0, 0, 0, 0, 0, 0, 0, 0, 6),
          gl::BlitFramebuffer(0, 0, 0, 0, 0, 0, 0, 0, 0, 0)),
    CALLS(render_buffer_create, (), "glGenRenderbuffers(1, pointer)"),
    CALLS(render_buffer_destroy, (7), "glDeleteRenderbuffers(1, pointer) [0x7]"),
    CALLS(render_buffer_bind, (7), gl::BindRenderbuffer(GL_RENDERBUFFER, 7)),
    CALLS(render_buffer_unbind, (), gl::BindRenderbuffer(GL_RENDERBUFFER, 0)),
    CALLS(render_buffer_storage, (5, 640, 480),
          gl::RenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH24_STENCIL8, 640, 480)),
    CALLS(render_buffer_storage, (69, -1, 480),
          gl::RenderbufferStorage(GL_RENDERBUFFER, 0, -1, 480)),
    CALLS(render_buffer_storage_multisample, (13, 640, 480, 4),
          gl::RenderbufferStorageMultisample(GL_RENDERBUFFER, 4, GL_RGBA8, 640, 480)),
};

inline const gl_case geometry_cases[] = {
    CALLS(buffer_create, (), "glGenBuffers(1, pointer)"),
    CALLS(buffer_destroy, (7), "glDeleteBuffers(1, pointer) [0x7]"),
    CALLS(buffer_bind, (BUFFER_TARGET_UNIFORM, 7), gl::BindBuffer(GL_UNIFORM_BUFFER, 7)),
    CALLS(buffer_bind, (8, 7), gl::BindBuffer(0, 7)),
    CALLS(buffer_unbind, (4), gl::BindBuffer(GL_PIXEL_PACK_BUFFER, 0)),
    CALLS(buffer_bind_base, (7, 2, 3), gl::BindBufferBase(GL_UNIFORM_BUFFER, 2, 3)),
    CALLS(buffer_bind_range, (7, 2, 3, 0x100000004, 0x500000006),
          gl::BindBufferRange(GL_UNIFORM_BUFFER, 2, 3, 0x100000004, 0x500000006)),
    CALLS(buffer_data, (0, 0x123456789, data, 8),
          gl::BufferData(GL_ARRAY_BUFFER, 0x123456789, data, GL_STREAM_COPY)),
    CALLS(buffer_data, (6, 5, nullptr, 9), gl::BufferData(GL_TEXTURE_BUFFER, 5, nullptr, 0)),
    CALLS(buffer_sub_data, (1, -2, 0x123456789, data),
          gl::BufferSubData(GL_ELEMENT_ARRAY_BUFFER, -2, 0x123456789, data)),
    CALLS(buffer_map, (&slice_result, 1, 5, 0),
          gl::MapBuffer(GL_ELEMENT_ARRAY_BUFFER, GL_WRITE_ONLY)),
    CALLS(buffer_map, (&slice_result, 8, 5, 3), gl::MapBuffer(0, 0)),
    CALLS(buffer_unmap, (5), gl::UnmapBuffer(GL_PIXEL_UNPACK_BUFFER)),
    CALLS(buffer_copy_sub_data, (3, 2, 0x100000001, 0x200000002, 0x300000003),
          gl::CopyBufferSubData(GL_COPY_READ_BUFFER, GL_COPY_WRITE_BUFFER, 0x100000001, 0x200000002,
                                0x300000003)),
    CALLS(vertex_array_create, (), "glGenVertexArrays(1, pointer)"),
    CALLS(vertex_array_destroy, (7), "glDeleteVertexArrays(1, pointer) [0x7]"),
    CALLS(vertex_array_bind, (7), gl::BindVertexArray(7)),
    CALLS(vertex_array_unbind, (), gl::BindVertexArray(0)),
    CALLS(attribute_format, (3, 4, 6, 0, 32, 12),
          gl::VertexAttribPointer(3, 4, GL_FLOAT, 0, 32, pointer(12))),
    CALLS(attribute_format, (3, 4, 14, 1, 32, -1),
          gl::VertexAttribPointer(3, 4, 0, 1, 32, pointer(-1))),
    CALLS(attribute_integer_format, (3, 4, 6, 32, -12),
          gl::VertexAttribIPointer(3, 4, GL_FLOAT, 32, pointer(-12))),
    CALLS(attribute_divisor, (3, 4), gl::VertexAttribDivisor(3, 4)),
    CALLS(draw_arrays, (4, 5, 6, 1), gl::DrawArrays(GL_TRIANGLES, 5, 6)),
    CALLS(draw_arrays, (4, 5, 6, 0), gl::DrawArraysInstanced(GL_TRIANGLES, 5, 6, 0)),
    CALLS(draw_arrays, (13, 5, 6, 2), gl::DrawArraysInstanced(13, 5, 6, 2)),
    CALLS(draw_elements, (0xFFFFFFFF, 1, 6, 36, 0, 1),
          gl::DrawElements(0xFFFFFFFF, 36, GL_UNSIGNED_SHORT, pointer(6))),
    CALLS(draw_elements, (4, 0, -4, 36, 0, 1),
          gl::DrawElements(GL_TRIANGLES, 36, GL_UNSIGNED_BYTE, pointer(-4))),
    CALLS(draw_elements, (4, 14, 6, 36, 0, 0),
          gl::DrawElementsInstanced(GL_TRIANGLES, 36, 0, pointer(6), 0)),
    CALLS(draw_elements, (4, 2, 6, 36, 5, 1),
          gl::DrawElementsBaseVertex(GL_TRIANGLES, 36, GL_UNSIGNED_INT, pointer(6), 5)),
    CALLS(
        draw_elements, (4, 2, 6, 36, -5, 3),
        gl::DrawElementsInstancedBaseVertex(GL_TRIANGLES, 36, GL_UNSIGNED_INT, pointer(6), 3, -5)),
};

inline const gl_case pipeline_cases[] = {
    CALLS(pipeline_clear, (7), gl::Clear(0x4500)),
    CALLS(pipeline_clear, (0xFFFFFFFC), gl::Clear(GL_COLOR_BUFFER_BIT)),
    CALLS(pipeline_clear, (8), gl::Clear(0)),
    CALLS(pipeline_clear_color, (one, half, a_tenth, quiet_nan),
          gl::ClearColor(1.0f, 0.5f, 0.1f, value(quiet_nan))),
    CALLS(pipeline_clear_stencil, (0xFF), gl::ClearStencil(255)),
    CALLS(pipeline_clear_depth, (a_tenth), gl::ClearDepth(0.100000001490116119384765625)),
    CALLS(pipeline_depth_func, (COMPARE_FUNCTION_NEVER), gl::DepthFunc(GL_NEVER)),
    CALLS(pipeline_depth_func, (7), gl::DepthFunc(GL_NOTEQUAL)),
    CALLS(pipeline_depth_func, (8), gl::DepthFunc(0)),
    CALLS(pipeline_depth_range, (a_tenth, one), gl::DepthRange(0.100000001490116119384765625, 1.0)),
    CALLS(pipeline_stencil_func, (2, 0xFE, 0x7F), gl::StencilFunc(GL_LESS, 254, 127)),
    CALLS(pipeline_stencil_op, (0, 0, 2), gl::StencilOp(GL_KEEP, GL_KEEP, GL_REPLACE)),
    CALLS(pipeline_stencil_op, (1, 8, 7), gl::StencilOp(GL_ZERO, GL_ZERO, GL_INVERT)),
    CALLS(pipeline_stencil_mask, (0xF0), gl::StencilMask(0xF0)),
    CALLS(pipeline_stencil_func_separate, (1, 2, 0xFE, 0x7F),
          gl::StencilFuncSeparate(GL_BACK, GL_LESS, 254, 127)),
    CALLS(pipeline_stencil_op_separate, (2, 3, 4, 5),
          gl::StencilOpSeparate(GL_FRONT_AND_BACK, GL_INCR, GL_INCR_WRAP, GL_DECR)),
    CALLS(pipeline_stencil_mask_separate, (3, 0xF0), gl::StencilMaskSeparate(0, 0xF0)),
    CALLS(pipeline_blend_factor, (0, 1), gl::BlendFunc(GL_ZERO, GL_ONE)),
    CALLS(pipeline_blend_factor, (13, 14), gl::BlendFunc(GL_ONE_MINUS_CONSTANT_ALPHA, GL_ZERO)),
    CALLS(pipeline_blend_factor, (0xFFFFFFFF, 3), gl::BlendFunc(GL_ZERO, GL_SRC_ALPHA)),
    CALLS(pipeline_blend_equation, (4), gl::BlendEquation(GL_MAX)),
    CALLS(pipeline_blend_equation, (5), gl::BlendEquation(0)),
    CALLS(pipeline_blend_factor_separate, (2, 3, 4, 5),
          gl::BlendFuncSeparate(GL_SRC_COLOR, GL_SRC_ALPHA, GL_DST_COLOR, GL_DST_ALPHA)),
    CALLS(pipeline_blend_equation_separate, (1, 2),
          gl::BlendEquationSeparate(GL_FUNC_SUBTRACT, GL_FUNC_REVERSE_SUBTRACT)),
    CALLS(pipeline_blend_color, (one, half, a_tenth, minus_zero),
          gl::BlendColor(1.0f, 0.5f, 0.1f, -0.0f)),
    CALLS(pipeline_color_mask, (0, 1, 2, 0), gl::ColorMask(0, 1, 1, 0)),
    CALLS(pipeline_logic_op, (15), gl::LogicOp(GL_OR_INVERTED)),
    CALLS(pipeline_logic_op, (16), gl::LogicOp(0)),
    CALLS(pipeline_cull_face, (FACE_BACK), gl::CullFace(GL_BACK)),
    CALLS(pipeline_polygon_mode, (2, 2), gl::PolygonMode(GL_FRONT_AND_BACK, GL_POINT)),
    CALLS(pipeline_polygon_mode, (0, 3), gl::PolygonMode(GL_FRONT, 0)),
    CALLS(pipeline_viewport, (-1, 2, 3, 4), gl::Viewport(-1, 2, 3, 4)),
    CALLS(pipeline_scissor_rect, (-1, 2, 3, 4), gl::Scissor(-1, 2, 3, 4)),
    CALLS(pipeline_point_size, (signaling_nan), gl::PointSize(value(signaling_nan))),
    CALLS(pipeline_point_coord_origin, (0),
          gl::PointParameteri(GL_POINT_SPRITE_COORD_ORIGIN, GL_UPPER_LEFT)),
    CALLS(pipeline_point_coord_origin, (5),
          gl::PointParameteri(GL_POINT_SPRITE_COORD_ORIGIN, GL_LOWER_LEFT)),
    CALLS(pipeline_point_fade_threshold_size, (half),
          gl::PointParameterf(GL_POINT_FADE_THRESHOLD_SIZE, 0.5f)),
    CALLS(pipeline_primitive_restart_index, (0xFFFFFFFF), gl::PrimitiveRestartIndex(0xFFFFFFFF)),
    CALLS(pipeline_clip_plane_enable, (0x4000, 1), gl::Enable(0x3000)),
    CALLS(pipeline_clip_plane_enable, (0xFFFFFFFF, 0), gl::Disable(0x6FFF)),
    CALLS(pipeline_present, (), ""),
    CALLS(pipeline_draw_buffers, ({}), "glDrawBuffers(0, pointer) []"),
    CALLS(pipeline_get_error, (), gl::GetError()),
    CALLS(pipeline_finish, (), gl::Finish()),
    CALLS(pipeline_read_buffer, (-1), gl::ReadBuffer(GL_NONE)),
    CALLS(pipeline_read_buffer, (3), gl::ReadBuffer(GL_COLOR_ATTACHMENT3)),
    CALLS(pipeline_read_buffer, (0x7FFFFFFF), gl::ReadBuffer(0x80008CDF)),
    CALLS(pipeline_pixel_store, (4, -1), gl::PixelStorei(GL_PACK_SKIP_PIXELS, -1)),
    CALLS(pipeline_pixel_store, (15, 1), gl::PixelStorei(GL_UNPACK_ALIGNMENT, 1)),
    CALLS(pipeline_pixel_store, (16, 1), gl::PixelStorei(0, 1)),
    CALLS(pipeline_read_pixels, (-1, 2, 3, 4, 8, 0, data),
          gl::ReadPixels(-1, 2, 3, 4, GL_RGBA, GL_UNSIGNED_BYTE, data)),
};

// As a host sees the function whose narrow parameters are as wide as the registers.
template <class Wide, class Function> Wide wide(Function function) {
    return reinterpret_cast<Wide>(reinterpret_cast<void (*)()>(function));
}

struct truth_case {
    const char* function;
    std::function<void(u32)> call;
    std::string (*expected)(bool on);
};

// clang-format off
#define TRUTH(function, parameters, arguments, expected) \
    {#function, [](u32 truth) { wide<void (*) parameters>(function) arguments; }, \
     [](bool on) { return expected; }}
#define SWITCHES(function, capability) \
    TRUTH(function, (u32), (truth), on ? gl::Enable(capability) : gl::Disable(capability))
// clang-format on

inline const truth_case truth_cases[] = {
    SWITCHES(pipeline_depth_enable, GL_DEPTH_TEST),
    SWITCHES(pipeline_depth_clamp, GL_DEPTH_CLAMP),
    SWITCHES(pipeline_stencil_enable, GL_STENCIL_TEST),
    SWITCHES(pipeline_blend_enable, GL_BLEND),
    SWITCHES(pipeline_logic_enable, GL_COLOR_LOGIC_OP),
    SWITCHES(pipeline_cull_enable, GL_CULL_FACE),
    SWITCHES(pipeline_scissor_enable, GL_SCISSOR_TEST),
    SWITCHES(pipeline_point_shader_enable, GL_PROGRAM_POINT_SIZE),
    SWITCHES(pipeline_primitive_restart_enable, GL_PRIMITIVE_RESTART),
    SWITCHES(pipeline_multisample_enable, GL_MULTISAMPLE),
    TRUTH(pipeline_clip_plane_enable, (u32, u32), (2, truth),
          on ? gl::Enable(GL_CLIP_DISTANCE2) : gl::Disable(GL_CLIP_DISTANCE2)),
    TRUTH(pipeline_depth_mask, (u32), (truth), gl::DepthMask(on)),
    TRUTH(pipeline_color_clamp, (u32), (truth), gl::ClampColor(GL_CLAMP_READ_COLOR, on)),
    TRUTH(pipeline_color_mask, (u32, u32, u32, u32), (truth, 0x100, truth, 0xFF01),
          gl::ColorMask(on, 0, on, 1)),
    TRUTH(pipeline_cull_orientation, (u32), (truth), gl::FrontFace(on ? GL_CCW : GL_CW)),
    TRUTH(attribute_enable, (u32, u32), (3, truth),
          on ? gl::EnableVertexAttribArray(3) : gl::DisableVertexAttribArray(3)),
    TRUTH(attribute_format, (u32, i32, u32, u32, i32, i32), (3, 4, 0, truth, 8, 0),
          gl::VertexAttribPointer(3, 4, GL_UNSIGNED_BYTE, on, 8, nullptr)),
    TRUTH(texture_image_2d_multisample, (u32, i32, u32, i32, i32, u32), (7, 4, 7, 2, 3, truth),
          gl::TexImage2DMultisample(GL_TEXTURE_2D_MULTISAMPLE, 4, GL_R8, 2, 3, on)),
    TRUTH(texture_image_2d_multisample_array, (u32, i32, u32, i32, i32, i32, u32),
          (8, 4, 7, 2, 3, 5, truth),
          gl::TexImage3DMultisample(GL_TEXTURE_2D_MULTISAMPLE_ARRAY, 4, GL_R8, 2, 3, 5, on)),
    TRUTH(shader_uniform_matrix4fa, (i32, i32, u32, Slice), (3, 5, truth, values),
          gl::UniformMatrix4fv(3, 5, on, floats)),
    TRUTH(shader_uniform_matrix2x3fa, (i32, i32, u32, Slice), (3, 5, truth, values),
          gl::UniformMatrix2x3fv(3, 5, on, floats)),
};

} // namespace graphics_cases
