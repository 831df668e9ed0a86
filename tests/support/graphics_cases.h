// SPDX-License-Identifier: Zlib
#pragma once

// The graphics calls and what each of them has to ask of OpenGL, in the order of the headers.

#include "api/graphics.h"

#include "support/common.h"
#include "support/recording_gl.h"

#include <bit>

namespace gl = recording_gl;

namespace graphics_cases {

using namespace recording_gl;

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

// As a host sees the function whose narrow parameters are as wide as the registers.
template <class Wide, class Function> Wide wide(Function function) {
    return reinterpret_cast<Wide>(reinterpret_cast<void (*)()>(function));
}

// clang-format off
#define WIDE(function, parameters, arguments, expected) \
    {#function, #arguments, [] { wide<void (*) parameters>(function) arguments; }, expected}
#define CALLS(function, arguments, expected) \
    {#function, #arguments, [] { static_cast<void>(function arguments); }, expected}
#define ARRAYS(size) \
    CALLS(shader_uniform##size##fa, (3, 5, values), Uniform##size##fv(3, 5, floats)), \
    CALLS(shader_uniform##size##ia, (3, -5, values), Uniform##size##iv(3, -5, integers)), \
    CALLS(shader_uniform##size##qa, (3, 5, values), Uniform##size##uiv(3, 5, unsigned_integers))
#define MATRICES(size) \
    CALLS(shader_uniform_matrix##size##fa, (3, -5, 0x80, values), \
          UniformMatrix##size##fv(3, -5, 1, floats))
// clang-format on

inline const gl_case shader_cases[] = {
    CALLS(shader_create, (), CreateProgram()),
    CALLS(shader_source, (&shader_result, 7, {}, {}),
          LinkProgram(7) + "\nglGetProgramiv(0x7, 0x8B82, pointer)"),
    CALLS(shader_destroy, (7), DeleteProgram(7)),
    CALLS(shader_bind, (7), UseProgram(7)),
    CALLS(shader_unbind, (), UseProgram(0)),
    CALLS(shader_get_attribute_location, (7, slice("position")), GetAttribLocation(7, "position")),
    CALLS(shader_get_output_location, (7, slice("color")), GetFragDataLocation(7, "color")),
    CALLS(shader_get_uniform_location, (7, slice("a[1].b")), GetUniformLocation(7, "a[1].b")),
    CALLS(shader_get_uniform_block_index, (7, slice("Lights")), GetUniformBlockIndex(7, "Lights")),
    CALLS(shader_uniform_block_binding, (7, 8, 9), UniformBlockBinding(7, 8, 9)),
    CALLS(shader_uniform1f, (-1, signaling_nan), Uniform1f(-1, value(signaling_nan))),
    CALLS(shader_uniform2f, (3, tiny, minus_zero), Uniform2f(3, value(tiny), value(minus_zero))),
    CALLS(shader_uniform3f, (3, one, half, tiny), Uniform3f(3, 1.0f, 0.5f, value(tiny))),
    CALLS(shader_uniform4f, (3, one, half, a_tenth, quiet_nan),
          Uniform4f(3, 1.0f, 0.5f, 0.1f, value(quiet_nan))),
    CALLS(shader_uniform1i, (3, -1), Uniform1i(3, -1)),
    CALLS(shader_uniform2i, (3, -1, 2), Uniform2i(3, -1, 2)),
    CALLS(shader_uniform3i, (3, -1, 2, -3), Uniform3i(3, -1, 2, -3)),
    CALLS(shader_uniform4i, (3, -1, 2, -3, 4), Uniform4i(3, -1, 2, -3, 4)),
    CALLS(shader_uniform1q, (3, 0xFFFFFFFF), Uniform1ui(3, 0xFFFFFFFF)),
    CALLS(shader_uniform2q, (3, 0xFFFFFFFF, 2), Uniform2ui(3, 0xFFFFFFFF, 2)),
    CALLS(shader_uniform3q, (3, 0xFFFFFFFF, 2, 3), Uniform3ui(3, 0xFFFFFFFF, 2, 3)),
    CALLS(shader_uniform4q, (3, 0xFFFFFFFF, 2, 3, 4), Uniform4ui(3, 0xFFFFFFFF, 2, 3, 4)),
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
    CALLS(texture_bind, (TEXTURE_TARGET_1D, 7), BindTexture(GL_TEXTURE_1D, 7)),
    CALLS(texture_bind, (0xFFFFFFFF, 7), BindTexture(0, 7)),
    CALLS(texture_unbind, (TEXTURE_TARGET_CUBE_MAP), BindTexture(GL_TEXTURE_CUBE_MAP, 0)),
    CALLS(texture_unit, (0xFFFFFFFF), ActiveTexture(0x84BF)),
    CALLS(texture_generate_mipmap, (TEXTURE_TARGET_3D), GenerateMipmap(GL_TEXTURE_3D)),
    CALLS(texture_image_1d, (0, 1, 0, 2, 0, 0, data),
          TexImage1D(GL_TEXTURE_1D, 1, GL_DEPTH_COMPONENT16, 2, 0, GL_DEPTH_COMPONENT,
                     GL_UNSIGNED_BYTE, data)),
    CALLS(texture_image_2d, (1, 1, 69, 2, 3, 14, 13, data),
          TexImage2D(GL_TEXTURE_2D, 1, 0, 2, 3, 0, GL_RGBA_INTEGER,
                     GL_FLOAT_32_UNSIGNED_INT_24_8_REV, data)),
    CALLS(texture_image_3d, (2, 1, 68, 2, 3, 4, 3, 6, data),
          TexImage3D(GL_TEXTURE_3D, 1, GL_SRGB8_ALPHA8, 2, 3, 4, 0, GL_RED, GL_FLOAT, data)),
    CALLS(texture_image_2d_multisample, (7, 4, 7, 2, 3, 0x80),
          TexImage2DMultisample(GL_TEXTURE_2D_MULTISAMPLE, 4, GL_R8, 2, 3, 1)),
    CALLS(texture_image_2d_multisample_array, (8, 4, 7, 2, 3, 5, 0x80),
          TexImage3DMultisample(GL_TEXTURE_2D_MULTISAMPLE_ARRAY, 4, GL_R8, 2, 3, 5, 1)),
    CALLS(texture_image_buffer, (4, 70, 7), TexBuffer(GL_TEXTURE_BUFFER, GL_COMPRESSED_RED, 7)),
    CALLS(texture_sub_image_1d, (0, 1, 2, 3, 14, 6, data),
          TexSubImage1D(GL_TEXTURE_1D, 1, 2, 3, GL_RGBA_INTEGER, GL_FLOAT, data)),
    CALLS(texture_sub_image_2d, (1, 1, 2, -3, 4, 5, 8, 0, data),
          TexSubImage2D(GL_TEXTURE_2D, 1, 2, -3, 4, 5, GL_RGBA, GL_UNSIGNED_BYTE, data)),
    CALLS(texture_sub_image_3d, (2, 1, 2, 3, 4, 5, 6, 7, 8, 1, data),
          TexSubImage3D(GL_TEXTURE_3D, 1, 2, 3, 4, 5, 6, 7, GL_RGBA, GL_UNSIGNED_SHORT, data)),
    CALLS(texture_compressed_image_1d, (0, 1, 80, 2, 16, data),
          CompressedTexImage1D(GL_TEXTURE_1D, 1, GL_COMPRESSED_RGB_S3TC_DXT1_EXT, 2, 0, 16, data)),
    CALLS(texture_compressed_image_2d, (1, 1, 83, 2, 3, 0x2FFFFFFFF, data),
          CompressedTexImage2D(GL_TEXTURE_2D, 1, GL_COMPRESSED_RGBA_S3TC_DXT5_EXT, 2, 3, 0, -1,
                               data)),
    CALLS(texture_compressed_image_3d, (2, 1, 76, 2, 3, 4, -16, data),
          CompressedTexImage3D(GL_TEXTURE_3D, 1, GL_COMPRESSED_RED_RGTC1, 2, 3, 4, 0, -16, data)),
    CALLS(texture_compressed_sub_image_1d, (0, 1, 2, 3, 81, 0x500000010, data),
          CompressedTexSubImage1D(GL_TEXTURE_1D, 1, 2, 3, GL_COMPRESSED_RGBA_S3TC_DXT1_EXT, 16,
                                  data)),
    CALLS(texture_compressed_sub_image_2d, (1, 1, 2, 3, 4, 5, 8, 16, data),
          CompressedTexSubImage2D(GL_TEXTURE_2D, 1, 2, 3, 4, 5, GL_R16, 16, data)),
    CALLS(texture_compressed_sub_image_3d, (2, 1, 2, 3, 4, 5, 6, 7, 82, 16, data),
          CompressedTexSubImage3D(GL_TEXTURE_3D, 1, 2, 3, 4, 5, 6, 7,
                                  GL_COMPRESSED_RGBA_S3TC_DXT3_EXT, 16, data)),
    CALLS(texture_copy_image_1d, (0, 1, 13, 10, 20, 64),
          CopyTexImage1D(GL_TEXTURE_1D, 1, GL_RGBA8, 10, 20, 64, 0)),
    CALLS(texture_copy_image_2d, (1, 1, 13, 10, 20, 64, 32),
          CopyTexImage2D(GL_TEXTURE_2D, 1, GL_RGBA8, 10, 20, 64, 32, 0)),
    CALLS(texture_copy_sub_image_1d, (0, 1, 10, 20, 30, 64),
          CopyTexSubImage1D(GL_TEXTURE_1D, 1, 30, 10, 20, 64)),
    CALLS(texture_copy_sub_image_2d, (1, 0, 10, 20, 30, 40, 64, 32),
          CopyTexSubImage2D(GL_TEXTURE_2D, 0, 30, 40, 10, 20, 64, 32)),
    CALLS(texture_copy_sub_image_3d, (2, 1, 10, 20, 30, 40, 50, 64, 32),
          CopyTexSubImage3D(GL_TEXTURE_3D, 1, 30, 40, 50, 10, 20, 64, 32)),
    CALLS(texture_get_image, (1, 2, 8, 0, data),
          GetTexImage(GL_TEXTURE_2D, 2, GL_RGBA, GL_UNSIGNED_BYTE, data)),
    CALLS(texture_parameter_wrap, (1, 2, 3),
          TexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_R, GL_CLAMP_TO_BORDER)),
    CALLS(texture_parameter_filter, (1, 3, 5),
          TexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR)),
    CALLS(texture_parameter_swizzle, (1, 5, 4, 3, 2),
          "glTexParameteriv(0xDE1, 0x8E46, pointer)" +
              list<GLint>({GL_ALPHA, GL_BLUE, GL_GREEN, GL_RED})),
    CALLS(texture_parameterf, (1, 9, a_tenth),
          TexParameterf(GL_TEXTURE_2D, GL_TEXTURE_MAX_LOD, 0.1f)),
    CALLS(texture_parameterfa, (1, 5, values),
          TexParameterfv(GL_TEXTURE_2D, GL_TEXTURE_BORDER_COLOR, floats)),
    CALLS(texture_parameteri, (1, 6, 4), TexParameteri(GL_TEXTURE_2D, GL_TEXTURE_BASE_LEVEL, 4)),
    CALLS(texture_parameteria, (1, 5, values),
          TexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_BORDER_COLOR, integers)),
    CALLS(texture_integer_parameteria, (1, 5, values),
          TexParameterIiv(GL_TEXTURE_2D, GL_TEXTURE_BORDER_COLOR, integers)),
    CALLS(texture_integer_parameterqa, (1, 5, values),
          TexParameterIuiv(GL_TEXTURE_2D, GL_TEXTURE_BORDER_COLOR, unsigned_integers)),
};

inline const gl_case frame_buffer_cases[] = {
    CALLS(frame_buffer_create, (), "glGenFramebuffers(1, pointer)"),
    CALLS(frame_buffer_destroy, (7), "glDeleteFramebuffers(1, pointer) [0x7]"),
    CALLS(frame_buffer_bind, (FRAME_BUFFER_TARGET_DRAW, 7),
          BindFramebuffer(GL_DRAW_FRAMEBUFFER, 7)),
    CALLS(frame_buffer_bind, (3, 7), BindFramebuffer(0, 7)),
    CALLS(frame_buffer_unbind, (1), BindFramebuffer(GL_READ_FRAMEBUFFER, 0)),
    CALLS(frame_buffer_texture, (0, 3, 2, 7, 5),
          FramebufferTexture(GL_DRAW_FRAMEBUFFER, GL_COLOR_ATTACHMENT2, 7, 5)),
    CALLS(frame_buffer_texture, (1, 0, 2, 7, 5),
          FramebufferTexture(GL_READ_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, 7, 5)),
    CALLS(frame_buffer_texture, (3, 1, -1, 7, -5),
          FramebufferTexture(0, GL_STENCIL_ATTACHMENT, 7, -5)),
    CALLS(frame_buffer_texture_face, (2, 3, 1, 7, 5, 1),
          FramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT1, GL_TEXTURE_CUBE_MAP_NEGATIVE_X,
                               7, 5)),
    CALLS(frame_buffer_texture_face, (2, 0xFFFFFFFF, 1, 7, 5, INT32_MAX),
          FramebufferTexture2D(GL_FRAMEBUFFER, 0, 0x80008514, 7, 5)),
    CALLS(frame_buffer_texture_layer, (2, 3, INT32_MAX, 7, 5, 6),
          FramebufferTextureLayer(GL_FRAMEBUFFER, 0x80008CDF, 7, 5, 6)),
    CALLS(frame_buffer_render_buffer, (0, 2, 1, 7),
          FramebufferRenderbuffer(GL_DRAW_FRAMEBUFFER, GL_DEPTH_STENCIL_ATTACHMENT, GL_RENDERBUFFER,
                                  7)),
    CALLS(frame_buffer_get_status, (1), CheckFramebufferStatus(GL_READ_FRAMEBUFFER)),
    CALLS(frame_buffer_blit, (10, 20, 100, 50, 30, 40, -200, -60, 5, 1),
          BlitFramebuffer(10, 20, 110, 70, 30, 40, -170, -20, 0x4100, GL_LINEAR)),
    CALLS(frame_buffer_blit, (INT32_MAX, INT32_MIN, 1, -1, -1, 1, INT32_MIN, INT32_MAX, 2, 5),
          BlitFramebuffer(INT32_MAX, INT32_MIN, INT32_MIN, INT32_MAX, -1, 1, INT32_MAX, INT32_MIN,
                          GL_STENCIL_BUFFER_BIT, GL_LINEAR_MIPMAP_LINEAR)),
    CALLS(render_buffer_create, (), "glGenRenderbuffers(1, pointer)"),
    CALLS(render_buffer_destroy, (7), "glDeleteRenderbuffers(1, pointer) [0x7]"),
    CALLS(render_buffer_bind, (7), BindRenderbuffer(GL_RENDERBUFFER, 7)),
    CALLS(render_buffer_unbind, (), BindRenderbuffer(GL_RENDERBUFFER, 0)),
    CALLS(render_buffer_storage, (5, 640, 480),
          RenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH24_STENCIL8, 640, 480)),
    CALLS(render_buffer_storage_multisample, (13, 640, 480, 4),
          RenderbufferStorageMultisample(GL_RENDERBUFFER, 4, GL_RGBA8, 640, 480)),
};

inline const gl_case geometry_cases[] = {
    CALLS(buffer_create, (), "glGenBuffers(1, pointer)"),
    CALLS(buffer_destroy, (7), "glDeleteBuffers(1, pointer) [0x7]"),
    CALLS(buffer_bind, (BUFFER_TARGET_UNIFORM, 7), BindBuffer(GL_UNIFORM_BUFFER, 7)),
    CALLS(buffer_bind, (8, 7), BindBuffer(0, 7)),
    CALLS(buffer_unbind, (4), BindBuffer(GL_PIXEL_PACK_BUFFER, 0)),
    CALLS(buffer_bind_base, (7, 2, 3), BindBufferBase(GL_UNIFORM_BUFFER, 2, 3)),
    CALLS(buffer_bind_range, (7, 2, 3, 0x100000004, 0x500000006),
          BindBufferRange(GL_UNIFORM_BUFFER, 2, 3, 0x100000004, 0x500000006)),
    CALLS(buffer_data, (0, 0x123456789, data, 8),
          BufferData(GL_ARRAY_BUFFER, 0x123456789, data, GL_STREAM_COPY)),
    CALLS(buffer_sub_data, (1, -2, 0x123456789, data),
          BufferSubData(GL_ELEMENT_ARRAY_BUFFER, -2, 0x123456789, data)),
    CALLS(buffer_map, (&slice_result, 1, 5, 0), MapBuffer(GL_ELEMENT_ARRAY_BUFFER, GL_WRITE_ONLY)),
    CALLS(buffer_unmap, (5), UnmapBuffer(GL_PIXEL_UNPACK_BUFFER)),
    CALLS(buffer_copy_sub_data, (3, 2, 0x100000001, 0x200000002, 0x300000003),
          CopyBufferSubData(GL_COPY_READ_BUFFER, GL_COPY_WRITE_BUFFER, 0x100000001, 0x200000002,
                            0x300000003)),
    CALLS(vertex_array_create, (), "glGenVertexArrays(1, pointer)"),
    CALLS(vertex_array_destroy, (7), "glDeleteVertexArrays(1, pointer) [0x7]"),
    CALLS(vertex_array_bind, (7), BindVertexArray(7)),
    CALLS(vertex_array_unbind, (), BindVertexArray(0)),
    CALLS(attribute_format, (3, 4, 6, 0x80, 32, -12),
          VertexAttribPointer(3, 4, GL_FLOAT, 1, 32, pointer(-12))),
    CALLS(attribute_integer_format, (3, 4, 6, 32, -12),
          VertexAttribIPointer(3, 4, GL_FLOAT, 32, pointer(-12))),
    CALLS(attribute_divisor, (3, 4), VertexAttribDivisor(3, 4)),
    CALLS(draw_arrays, (4, 5, 6, 1), DrawArrays(GL_TRIANGLES, 5, 6)),
    CALLS(draw_arrays, (4, 5, 6, 0), DrawArraysInstanced(GL_TRIANGLES, 5, 6, 0)),
    CALLS(draw_elements, (0xFFFFFFFF, 1, 6, 36, 0, 1),
          DrawElements(0xFFFFFFFF, 36, GL_UNSIGNED_SHORT, pointer(6))),
    CALLS(draw_elements, (4, 0, -4, 36, 0, 1),
          DrawElements(GL_TRIANGLES, 36, GL_UNSIGNED_BYTE, pointer(-4))),
    CALLS(draw_elements, (4, 14, 6, 36, 0, 0),
          DrawElementsInstanced(GL_TRIANGLES, 36, 0, pointer(6), 0)),
    CALLS(draw_elements, (4, 2, 6, 36, 5, 1),
          DrawElementsBaseVertex(GL_TRIANGLES, 36, GL_UNSIGNED_INT, pointer(6), 5)),
    CALLS(draw_elements, (4, 2, 6, 36, -5, 3),
          DrawElementsInstancedBaseVertex(GL_TRIANGLES, 36, GL_UNSIGNED_INT, pointer(6), 3, -5)),
};

inline const gl_case pipeline_cases[] = {
    CALLS(pipeline_clear, (7), Clear(0x4500)),
    CALLS(pipeline_clear, (0xFFFFFFFC), Clear(GL_COLOR_BUFFER_BIT)),
    CALLS(pipeline_clear_color, (one, half, a_tenth, quiet_nan),
          ClearColor(1.0f, 0.5f, 0.1f, value(quiet_nan))),
    WIDE(pipeline_clear_stencil, (u32), (0xFFFFFF85), ClearStencil(0x85)),
    CALLS(pipeline_clear_depth, (a_tenth), ClearDepth(0.100000001490116119384765625)),
    CALLS(pipeline_depth_func, (7), DepthFunc(GL_NOTEQUAL)),
    CALLS(pipeline_depth_range, (a_tenth, one), DepthRange(0.100000001490116119384765625, 1.0)),
    WIDE(pipeline_stencil_func, (u32, u32, u32), (2, 0xFFFFFF85, 0x1FE),
         StencilFunc(GL_LESS, 0x85, 0xFE)),
    CALLS(pipeline_stencil_op, (0, 0, 2), StencilOp(GL_KEEP, GL_KEEP, GL_REPLACE)),
    WIDE(pipeline_stencil_mask, (u32), (0x185), StencilMask(0x85)),
    WIDE(pipeline_stencil_func_separate, (u32, u32, u32, u32), (1, 2, 0xFFFFFF85, 0x1FE),
         StencilFuncSeparate(GL_BACK, GL_LESS, 0x85, 0xFE)),
    CALLS(pipeline_stencil_op_separate, (2, 3, 4, 5),
          StencilOpSeparate(GL_FRONT_AND_BACK, GL_INCR, GL_INCR_WRAP, GL_DECR)),
    WIDE(pipeline_stencil_mask_separate, (u32, u32), (3, 0xFFFFFF85), StencilMaskSeparate(0, 0x85)),
    CALLS(pipeline_blend_factor, (13, 14), BlendFunc(GL_ONE_MINUS_CONSTANT_ALPHA, GL_ZERO)),
    CALLS(pipeline_blend_factor, (0xFFFFFFFF, 3), BlendFunc(GL_ZERO, GL_SRC_ALPHA)),
    CALLS(pipeline_blend_equation, (4), BlendEquation(GL_MAX)),
    CALLS(pipeline_blend_factor_separate, (2, 3, 4, 5),
          BlendFuncSeparate(GL_SRC_COLOR, GL_SRC_ALPHA, GL_DST_COLOR, GL_DST_ALPHA)),
    CALLS(pipeline_blend_equation_separate, (1, 2),
          BlendEquationSeparate(GL_FUNC_SUBTRACT, GL_FUNC_REVERSE_SUBTRACT)),
    CALLS(pipeline_blend_color, (one, half, a_tenth, minus_zero),
          BlendColor(1.0f, 0.5f, 0.1f, -0.0f)),
    CALLS(pipeline_color_mask, (0, 1, 2, 0), ColorMask(0, 1, 1, 0)),
    CALLS(pipeline_logic_op, (15), LogicOp(GL_OR_INVERTED)),
    CALLS(pipeline_cull_face, (FACE_BACK), CullFace(GL_BACK)),
    CALLS(pipeline_polygon_mode, (2, 2), PolygonMode(GL_FRONT_AND_BACK, GL_POINT)),
    CALLS(pipeline_viewport, (-1, 2, 3, 4), Viewport(-1, 2, 3, 4)),
    CALLS(pipeline_scissor_rect, (-1, 2, 3, 4), Scissor(-1, 2, 3, 4)),
    CALLS(pipeline_point_size, (signaling_nan), PointSize(value(signaling_nan))),
    CALLS(pipeline_point_coord_origin, (0),
          PointParameteri(GL_POINT_SPRITE_COORD_ORIGIN, GL_UPPER_LEFT)),
    CALLS(pipeline_point_coord_origin, (5),
          PointParameteri(GL_POINT_SPRITE_COORD_ORIGIN, GL_LOWER_LEFT)),
    CALLS(pipeline_point_fade_threshold_size, (half),
          PointParameterf(GL_POINT_FADE_THRESHOLD_SIZE, 0.5f)),
    CALLS(pipeline_primitive_restart_index, (0xFFFFFFFF), PrimitiveRestartIndex(0xFFFFFFFF)),
    CALLS(pipeline_clip_plane_enable, (0x4000, 1), Enable(0x3000)),
    CALLS(pipeline_clip_plane_enable, (0xFFFFFFFF, 0), Disable(0x6FFF)),
    CALLS(pipeline_present, (), ""),
    CALLS(pipeline_draw_buffers, ({}), "glDrawBuffers(0, pointer) []"),
    CALLS(pipeline_get_error, (), GetError()),
    CALLS(pipeline_finish, (), Finish()),
    CALLS(pipeline_read_buffer, (-1), ReadBuffer(GL_NONE)),
    CALLS(pipeline_read_buffer, (0x7FFFFFFF), ReadBuffer(0x80008CDF)),
    CALLS(pipeline_pixel_store, (4, -1), PixelStorei(GL_PACK_SKIP_PIXELS, -1)),
    CALLS(pipeline_pixel_store, (15, 1), PixelStorei(GL_UNPACK_ALIGNMENT, 1)),
    CALLS(pipeline_read_pixels, (-1, 2, 3, 4, 8, 0, data),
          ReadPixels(-1, 2, 3, 4, GL_RGBA, GL_UNSIGNED_BYTE, data)),
};

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
    TRUTH(function, (u32), (truth), on ? Enable(capability) : Disable(capability))
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
          on ? Enable(GL_CLIP_DISTANCE2) : Disable(GL_CLIP_DISTANCE2)),
    TRUTH(pipeline_depth_mask, (u32), (truth), DepthMask(on)),
    TRUTH(pipeline_color_clamp, (u32), (truth), ClampColor(GL_CLAMP_READ_COLOR, on)),
    TRUTH(pipeline_color_mask, (u32, u32, u32, u32), (truth, 0x100, truth, 0xFF01),
          ColorMask(on, 0, on, 1)),
    TRUTH(pipeline_cull_orientation, (u32), (truth), FrontFace(on ? GL_CCW : GL_CW)),
    TRUTH(attribute_enable, (u32, u32), (3, truth),
          on ? EnableVertexAttribArray(3) : DisableVertexAttribArray(3)),
};

} // namespace graphics_cases
