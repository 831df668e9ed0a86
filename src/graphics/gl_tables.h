// SPDX-License-Identifier: Zlib
#pragma once

#include "api/graphics_enumerations.h"

#include <glad/gl.h>

#include <cstddef>

// Every mapping between the host's graphics numbers and OpenGL's. The tables bear the names of the
// enumerations, which are types outside this namespace.
namespace halvorin::gl {

// OpenGL's numbers in the order of the host's, from host number `first` on.
template <class Entry, u32 first, std::size_t count> struct table { Entry entries[count]; };

struct row {
    u32 host;
    u32 gl;
};

// No constant expression can call these, so a faulty row stops the build where it stands.
void row_out_of_order();
void entry_too_narrow();

template <class Entry = u32, u32 first = 0, std::size_t count>
consteval table<Entry, first, count> gl_table(const row (&rows)[count]) {
    table<Entry, first, count> result{};
    for (std::size_t i = 0; i < count; ++i) {
        if (rows[i].host != first + i) row_out_of_order();
        result.entries[i] = static_cast<Entry>(rows[i].gl);
        if (result.entries[i] != rows[i].gl) entry_too_narrow();
    }
    return result;
}

// A host number outside the table gives 0. The subtraction wraps, so that one comparison tests
// both ends.
template <class Entry, u32 first, std::size_t count>
inline u32 to_gl(const table<Entry, first, count>& numbers, u32 host) {
    const u32 index = host - first;
    if (index >= count) [[unlikely]]
        return 0;
    return numbers.entries[index];
}

// For the calls in which OpenGL takes a constant as a signed number.
template <class Entry, u32 first, std::size_t count>
inline GLint to_gl_int(const table<Entry, first, count>& numbers, u32 host) {
    return static_cast<GLint>(to_gl(numbers, host));
}

inline GLbitfield to_gl_mask(buffer_mask flags) {
    return (flags & BUFFER_MASK_DEPTH ? GL_DEPTH_BUFFER_BIT : 0u) |
           (flags & BUFFER_MASK_STENCIL ? GL_STENCIL_BUFFER_BIT : 0u) |
           (flags & BUFFER_MASK_COLOR ? GL_COLOR_BUFFER_BIT : 0u);
}

inline GLenum to_gl_color_buffer(color_buffer_number number) {
    return number < 0 ? GL_NONE : GL_COLOR_ATTACHMENT0 + static_cast<u32>(number);
}

inline GLenum to_gl_attachment(frame_buffer_attachment attachment, i32 color_index) {
    switch (attachment) {
    case FRAME_BUFFER_ATTACHMENT_DEPTH: return GL_DEPTH_ATTACHMENT;
    case FRAME_BUFFER_ATTACHMENT_STENCIL: return GL_STENCIL_ATTACHMENT;
    case FRAME_BUFFER_ATTACHMENT_DEPTH_STENCIL: return GL_DEPTH_STENCIL_ATTACHMENT;
    case FRAME_BUFFER_ATTACHMENT_COLOR: return GL_COLOR_ATTACHMENT0 + static_cast<u32>(color_index);
    default: return 0;
    }
}

// The other way round. What has no number of its own is no fault that the host can be told of.
inline frame_buffer_status from_gl_status(GLenum status) {
    switch (status) {
    case GL_FRAMEBUFFER_UNDEFINED: return FRAME_BUFFER_STATUS_UNDEFINED;
    case GL_FRAMEBUFFER_INCOMPLETE_ATTACHMENT: return FRAME_BUFFER_STATUS_INCOMPLETE_ATTACHMENT;
    case GL_FRAMEBUFFER_INCOMPLETE_MISSING_ATTACHMENT:
        return FRAME_BUFFER_STATUS_INCOMPLETE_MISSING_ATTACHMENT;
    case GL_FRAMEBUFFER_INCOMPLETE_DRAW_BUFFER: return FRAME_BUFFER_STATUS_INCOMPLETE_DRAW_BUFFER;
    case GL_FRAMEBUFFER_INCOMPLETE_READ_BUFFER: return FRAME_BUFFER_STATUS_INCOMPLETE_READ_BUFFER;
    case GL_FRAMEBUFFER_INCOMPLETE_MULTISAMPLE: return FRAME_BUFFER_STATUS_INCOMPLETE_MULTISAMPLE;
    case GL_FRAMEBUFFER_INCOMPLETE_LAYER_TARGETS:
        return FRAME_BUFFER_STATUS_INCOMPLETE_LAYER_TARGETS;
    case GL_FRAMEBUFFER_UNSUPPORTED: return FRAME_BUFFER_STATUS_UNSUPPORTED;
    default: return FRAME_BUFFER_STATUS_COMPLETE;
    }
}

// clang-format off
inline constexpr auto texture_target = gl_table({
    {TEXTURE_TARGET_1D,                   GL_TEXTURE_1D},
    {TEXTURE_TARGET_2D,                   GL_TEXTURE_2D},
    {TEXTURE_TARGET_3D,                   GL_TEXTURE_3D},
    {TEXTURE_TARGET_CUBE_MAP,             GL_TEXTURE_CUBE_MAP},
    {TEXTURE_TARGET_BUFFER,               GL_TEXTURE_BUFFER},
    {TEXTURE_TARGET_1D_ARRAY,             GL_TEXTURE_1D_ARRAY},
    {TEXTURE_TARGET_2D_ARRAY,             GL_TEXTURE_2D_ARRAY},
    {TEXTURE_TARGET_2D_MULTISAMPLE,       GL_TEXTURE_2D_MULTISAMPLE},
    {TEXTURE_TARGET_2D_MULTISAMPLE_ARRAY, GL_TEXTURE_2D_MULTISAMPLE_ARRAY},
});

inline constexpr auto data_type = gl_table({
    {DATA_TYPE_UNSIGNED_BYTE,                  GL_UNSIGNED_BYTE},
    {DATA_TYPE_UNSIGNED_SHORT,                 GL_UNSIGNED_SHORT},
    {DATA_TYPE_UNSIGNED_INT,                   GL_UNSIGNED_INT},
    {DATA_TYPE_BYTE,                           GL_BYTE},
    {DATA_TYPE_SHORT,                          GL_SHORT},
    {DATA_TYPE_INT,                            GL_INT},
    {DATA_TYPE_FLOAT,                          GL_FLOAT},
    {DATA_TYPE_UNSIGNED_BYTE_3_3_2,            GL_UNSIGNED_BYTE_3_3_2},
    {DATA_TYPE_UNSIGNED_SHORT_4_4_4_4,         GL_UNSIGNED_SHORT_4_4_4_4},
    {DATA_TYPE_UNSIGNED_SHORT_5_5_5_1,         GL_UNSIGNED_SHORT_5_5_5_1},
    {DATA_TYPE_UNSIGNED_INT_8_8_8_8,           GL_UNSIGNED_INT_8_8_8_8},
    {DATA_TYPE_UNSIGNED_INT_10_10_10_2,        GL_UNSIGNED_INT_10_10_10_2},
    {DATA_TYPE_UNSIGNED_INT_24_8,              GL_UNSIGNED_INT_24_8},
    {DATA_TYPE_FLOAT_32_UNSIGNED_INT_24_8_REV, GL_FLOAT_32_UNSIGNED_INT_24_8_REV},
});

inline constexpr auto pixel_format = gl_table({
    {PIXEL_FORMAT_DEPTH_COMPONENT, GL_DEPTH_COMPONENT},
    {PIXEL_FORMAT_STENCIL_INDEX,   GL_STENCIL_INDEX},
    {PIXEL_FORMAT_DEPTH_STENCIL,   GL_DEPTH_STENCIL},
    {PIXEL_FORMAT_RED,             GL_RED},
    {PIXEL_FORMAT_GREEN,           GL_GREEN},
    {PIXEL_FORMAT_BLUE,            GL_BLUE},
    {PIXEL_FORMAT_RG,              GL_RG},
    {PIXEL_FORMAT_RGB,             GL_RGB},
    {PIXEL_FORMAT_RGBA,            GL_RGBA},
    {PIXEL_FORMAT_RED_INTEGER,     GL_RED_INTEGER},
    {PIXEL_FORMAT_GREEN_INTEGER,   GL_GREEN_INTEGER},
    {PIXEL_FORMAT_BLUE_INTEGER,    GL_BLUE_INTEGER},
    {PIXEL_FORMAT_RG_INTEGER,      GL_RG_INTEGER},
    {PIXEL_FORMAT_RGB_INTEGER,     GL_RGB_INTEGER},
    {PIXEL_FORMAT_RGBA_INTEGER,    GL_RGBA_INTEGER},
});

// All numbers fit 16 bits, which halves the one long table.
inline constexpr auto internal_format = gl_table<u16>({
    {INTERNAL_FORMAT_DEPTH_COMPONENT16,             GL_DEPTH_COMPONENT16},
    {INTERNAL_FORMAT_DEPTH_COMPONENT24,             GL_DEPTH_COMPONENT24},
    {INTERNAL_FORMAT_DEPTH_COMPONENT32,             GL_DEPTH_COMPONENT32},
    {INTERNAL_FORMAT_DEPTH_COMPONENT32F,            GL_DEPTH_COMPONENT32F},
    {INTERNAL_FORMAT_STENCIL_INDEX8,                GL_STENCIL_INDEX8},
    {INTERNAL_FORMAT_DEPTH24_STENCIL8,              GL_DEPTH24_STENCIL8},
    {INTERNAL_FORMAT_DEPTH32F_STENCIL8,             GL_DEPTH32F_STENCIL8},
    {INTERNAL_FORMAT_R8,                            GL_R8},
    {INTERNAL_FORMAT_R16,                           GL_R16},
    {INTERNAL_FORMAT_RG8,                           GL_RG8},
    {INTERNAL_FORMAT_RG16,                          GL_RG16},
    {INTERNAL_FORMAT_RGB8,                          GL_RGB8},
    {INTERNAL_FORMAT_RGB16,                         GL_RGB16},
    {INTERNAL_FORMAT_RGBA8,                         GL_RGBA8},
    {INTERNAL_FORMAT_RGBA16,                        GL_RGBA16},
    {INTERNAL_FORMAT_R8_SNORM,                      GL_R8_SNORM},
    {INTERNAL_FORMAT_R16_SNORM,                     GL_R16_SNORM},
    {INTERNAL_FORMAT_RG8_SNORM,                     GL_RG8_SNORM},
    {INTERNAL_FORMAT_RG16_SNORM,                    GL_RG16_SNORM},
    {INTERNAL_FORMAT_RGB8_SNORM,                    GL_RGB8_SNORM},
    {INTERNAL_FORMAT_RGB16_SNORM,                   GL_RGB16_SNORM},
    {INTERNAL_FORMAT_RGBA8_SNORM,                   GL_RGBA8_SNORM},
    {INTERNAL_FORMAT_RGBA16_SNORM,                  GL_RGBA16_SNORM},
    {INTERNAL_FORMAT_R16F,                          GL_R16F},
    {INTERNAL_FORMAT_R32F,                          GL_R32F},
    {INTERNAL_FORMAT_RG16F,                         GL_RG16F},
    {INTERNAL_FORMAT_RG32F,                         GL_RG32F},
    {INTERNAL_FORMAT_RGB16F,                        GL_RGB16F},
    {INTERNAL_FORMAT_RGB32F,                        GL_RGB32F},
    {INTERNAL_FORMAT_RGBA16F,                       GL_RGBA16F},
    {INTERNAL_FORMAT_RGBA32F,                       GL_RGBA32F},
    {INTERNAL_FORMAT_R8I,                           GL_R8I},
    {INTERNAL_FORMAT_R16I,                          GL_R16I},
    {INTERNAL_FORMAT_R32I,                          GL_R32I},
    {INTERNAL_FORMAT_RG8I,                          GL_RG8I},
    {INTERNAL_FORMAT_RG16I,                         GL_RG16I},
    {INTERNAL_FORMAT_RG32I,                         GL_RG32I},
    {INTERNAL_FORMAT_RGB8I,                         GL_RGB8I},
    {INTERNAL_FORMAT_RGB16I,                        GL_RGB16I},
    {INTERNAL_FORMAT_RGB32I,                        GL_RGB32I},
    {INTERNAL_FORMAT_RGBA8I,                        GL_RGBA8I},
    {INTERNAL_FORMAT_RGBA16I,                       GL_RGBA16I},
    {INTERNAL_FORMAT_RGBA32I,                       GL_RGBA32I},
    {INTERNAL_FORMAT_R8UI,                          GL_R8UI},
    {INTERNAL_FORMAT_R16UI,                         GL_R16UI},
    {INTERNAL_FORMAT_R32UI,                         GL_R32UI},
    {INTERNAL_FORMAT_RG8UI,                         GL_RG8UI},
    {INTERNAL_FORMAT_RG16UI,                        GL_RG16UI},
    {INTERNAL_FORMAT_RG32UI,                        GL_RG32UI},
    {INTERNAL_FORMAT_RGB8UI,                        GL_RGB8UI},
    {INTERNAL_FORMAT_RGB16UI,                       GL_RGB16UI},
    {INTERNAL_FORMAT_RGB32UI,                       GL_RGB32UI},
    {INTERNAL_FORMAT_RGBA8UI,                       GL_RGBA8UI},
    {INTERNAL_FORMAT_RGBA16UI,                      GL_RGBA16UI},
    {INTERNAL_FORMAT_RGBA32UI,                      GL_RGBA32UI},
    {INTERNAL_FORMAT_R3_G3_B2,                      GL_R3_G3_B2},
    {INTERNAL_FORMAT_RGB4,                          GL_RGB4},
    {INTERNAL_FORMAT_RGBA4,                         GL_RGBA4},
    {INTERNAL_FORMAT_RGB5,                          GL_RGB5},
    {INTERNAL_FORMAT_RGB5_A1,                       GL_RGB5_A1},
    {INTERNAL_FORMAT_RGB10,                         GL_RGB10},
    {INTERNAL_FORMAT_RGB10_A2,                      GL_RGB10_A2},
    {INTERNAL_FORMAT_RGB10_A2UI,                    GL_RGB10_A2UI},
    {INTERNAL_FORMAT_RGB12,                         GL_RGB12},
    {INTERNAL_FORMAT_RGBA12,                        GL_RGBA12},
    {INTERNAL_FORMAT_R11F_G11F_B10F,                GL_R11F_G11F_B10F},
    {INTERNAL_FORMAT_RGB9_E5,                       GL_RGB9_E5},
    {INTERNAL_FORMAT_SRGB8,                         GL_SRGB8},
    {INTERNAL_FORMAT_SRGB8_ALPHA8,                  GL_SRGB8_ALPHA8},
    {69,                                            0}, // no format has this number
    {INTERNAL_FORMAT_COMPRESSED_RED,                GL_COMPRESSED_RED},
    {INTERNAL_FORMAT_COMPRESSED_RG,                 GL_COMPRESSED_RG},
    {INTERNAL_FORMAT_COMPRESSED_RGB,                GL_COMPRESSED_RGB},
    {INTERNAL_FORMAT_COMPRESSED_RGBA,               GL_COMPRESSED_RGBA},
    {INTERNAL_FORMAT_COMPRESSED_SRGB,               GL_COMPRESSED_SRGB},
    {INTERNAL_FORMAT_COMPRESSED_SRGB_ALPHA,         GL_COMPRESSED_SRGB_ALPHA},
    {INTERNAL_FORMAT_COMPRESSED_RED_RGTC1,          GL_COMPRESSED_RED_RGTC1},
    {INTERNAL_FORMAT_COMPRESSED_SIGNED_RED_RGTC1,   GL_COMPRESSED_SIGNED_RED_RGTC1},
    {INTERNAL_FORMAT_COMPRESSED_RG_RGTC2,           GL_COMPRESSED_RG_RGTC2},
    {INTERNAL_FORMAT_COMPRESSED_SIGNED_RG_RGTC2,    GL_COMPRESSED_SIGNED_RG_RGTC2},
    {INTERNAL_FORMAT_COMPRESSED_RGB_S3TC_DXT1_EXT,  GL_COMPRESSED_RGB_S3TC_DXT1_EXT},
    {INTERNAL_FORMAT_COMPRESSED_RGBA_S3TC_DXT1_EXT, GL_COMPRESSED_RGBA_S3TC_DXT1_EXT},
    {INTERNAL_FORMAT_COMPRESSED_RGBA_S3TC_DXT3_EXT, GL_COMPRESSED_RGBA_S3TC_DXT3_EXT},
    {INTERNAL_FORMAT_COMPRESSED_RGBA_S3TC_DXT5_EXT, GL_COMPRESSED_RGBA_S3TC_DXT5_EXT},
});

inline constexpr auto texture_wrap = gl_table({
    {TEXTURE_WRAP_REPEAT,          GL_REPEAT},
    {TEXTURE_WRAP_MIRRORED_REPEAT, GL_MIRRORED_REPEAT},
    {TEXTURE_WRAP_CLAMP_TO_EDGE,   GL_CLAMP_TO_EDGE},
    {TEXTURE_WRAP_CLAMP_TO_BORDER, GL_CLAMP_TO_BORDER},
});

inline constexpr auto texture_filter = gl_table({
    {TEXTURE_FILTER_NEAREST,                GL_NEAREST},
    {TEXTURE_FILTER_LINEAR,                 GL_LINEAR},
    {TEXTURE_FILTER_NEAREST_MIPMAP_NEAREST, GL_NEAREST_MIPMAP_NEAREST},
    {TEXTURE_FILTER_LINEAR_MIPMAP_NEAREST,  GL_LINEAR_MIPMAP_NEAREST},
    {TEXTURE_FILTER_NEAREST_MIPMAP_LINEAR,  GL_NEAREST_MIPMAP_LINEAR},
    {TEXTURE_FILTER_LINEAR_MIPMAP_LINEAR,   GL_LINEAR_MIPMAP_LINEAR},
});

// Number 0 has no row: its index wraps round, falls outside and gives 0, which is GL_ZERO.
inline constexpr auto texture_swizzle = gl_table<u32, 1>({
    {TEXTURE_SWIZZLE_ONE,   GL_ONE},
    {TEXTURE_SWIZZLE_RED,   GL_RED},
    {TEXTURE_SWIZZLE_GREEN, GL_GREEN},
    {TEXTURE_SWIZZLE_BLUE,  GL_BLUE},
    {TEXTURE_SWIZZLE_ALPHA, GL_ALPHA},
});

inline constexpr auto texture_parameter = gl_table({
    {TEXTURE_PARAMETER_WRAP_S,       GL_TEXTURE_WRAP_S},
    {TEXTURE_PARAMETER_WRAP_T,       GL_TEXTURE_WRAP_T},
    {TEXTURE_PARAMETER_WRAP_R,       GL_TEXTURE_WRAP_R},
    {TEXTURE_PARAMETER_MIN_FILTER,   GL_TEXTURE_MIN_FILTER},
    {TEXTURE_PARAMETER_MAG_FILTER,   GL_TEXTURE_MAG_FILTER},
    {TEXTURE_PARAMETER_BORDER_COLOR, GL_TEXTURE_BORDER_COLOR},
    {TEXTURE_PARAMETER_BASE_LEVEL,   GL_TEXTURE_BASE_LEVEL},
    {TEXTURE_PARAMETER_MAX_LEVEL,    GL_TEXTURE_MAX_LEVEL},
    {TEXTURE_PARAMETER_MIN_LOD,      GL_TEXTURE_MIN_LOD},
    {TEXTURE_PARAMETER_MAX_LOD,      GL_TEXTURE_MAX_LOD},
});

inline constexpr auto frame_buffer_target = gl_table({
    {FRAME_BUFFER_TARGET_DRAW, GL_DRAW_FRAMEBUFFER},
    {FRAME_BUFFER_TARGET_READ, GL_READ_FRAMEBUFFER},
    {FRAME_BUFFER_TARGET_BOTH, GL_FRAMEBUFFER},
});

inline constexpr auto buffer_target = gl_table({
    {BUFFER_TARGET_ARRAY,         GL_ARRAY_BUFFER},
    {BUFFER_TARGET_ELEMENT_ARRAY, GL_ELEMENT_ARRAY_BUFFER},
    {BUFFER_TARGET_COPY_WRITE,    GL_COPY_WRITE_BUFFER},
    {BUFFER_TARGET_COPY_READ,     GL_COPY_READ_BUFFER},
    {BUFFER_TARGET_PIXEL_PACK,    GL_PIXEL_PACK_BUFFER},
    {BUFFER_TARGET_PIXEL_UNPACK,  GL_PIXEL_UNPACK_BUFFER},
    {BUFFER_TARGET_TEXTURE,       GL_TEXTURE_BUFFER},
    {BUFFER_TARGET_UNIFORM,       GL_UNIFORM_BUFFER},
});

inline constexpr auto buffer_usage = gl_table({
    {BUFFER_USAGE_STATIC_DRAW,  GL_STATIC_DRAW},
    {BUFFER_USAGE_STATIC_READ,  GL_STATIC_READ},
    {BUFFER_USAGE_STATIC_COPY,  GL_STATIC_COPY},
    {BUFFER_USAGE_DYNAMIC_DRAW, GL_DYNAMIC_DRAW},
    {BUFFER_USAGE_DYNAMIC_READ, GL_DYNAMIC_READ},
    {BUFFER_USAGE_DYNAMIC_COPY, GL_DYNAMIC_COPY},
    {BUFFER_USAGE_STREAM_DRAW,  GL_STREAM_DRAW},
    {BUFFER_USAGE_STREAM_READ,  GL_STREAM_READ},
    {BUFFER_USAGE_STREAM_COPY,  GL_STREAM_COPY},
});

inline constexpr auto buffer_access = gl_table({
    {BUFFER_ACCESS_WRITE_ONLY, GL_WRITE_ONLY},
    {BUFFER_ACCESS_READ_ONLY,  GL_READ_ONLY},
    {BUFFER_ACCESS_READ_WRITE, GL_READ_WRITE},
});

inline constexpr auto compare_function = gl_table({
    {COMPARE_FUNCTION_NEVER,    GL_NEVER},
    {COMPARE_FUNCTION_ALWAYS,   GL_ALWAYS},
    {COMPARE_FUNCTION_LESS,     GL_LESS},
    {COMPARE_FUNCTION_LEQUAL,   GL_LEQUAL},
    {COMPARE_FUNCTION_GREATER,  GL_GREATER},
    {COMPARE_FUNCTION_GEQUAL,   GL_GEQUAL},
    {COMPARE_FUNCTION_EQUAL,    GL_EQUAL},
    {COMPARE_FUNCTION_NOTEQUAL, GL_NOTEQUAL},
});

inline constexpr auto face = gl_table({
    {FACE_FRONT,          GL_FRONT},
    {FACE_BACK,           GL_BACK},
    {FACE_FRONT_AND_BACK, GL_FRONT_AND_BACK},
});

inline constexpr auto stencil_operation = gl_table({
    {STENCIL_OPERATION_KEEP,      GL_KEEP},
    {STENCIL_OPERATION_ZERO,      GL_ZERO},
    {STENCIL_OPERATION_REPLACE,   GL_REPLACE},
    {STENCIL_OPERATION_INCR,      GL_INCR},
    {STENCIL_OPERATION_INCR_WRAP, GL_INCR_WRAP},
    {STENCIL_OPERATION_DECR,      GL_DECR},
    {STENCIL_OPERATION_DECR_WRAP, GL_DECR_WRAP},
    {STENCIL_OPERATION_INVERT,    GL_INVERT},
});

// Number 0 has no row, as in texture_swizzle.
inline constexpr auto blend_factor = gl_table<u32, 1>({
    {BLEND_FACTOR_ONE,                      GL_ONE},
    {BLEND_FACTOR_SRC_COLOR,                GL_SRC_COLOR},
    {BLEND_FACTOR_SRC_ALPHA,                GL_SRC_ALPHA},
    {BLEND_FACTOR_DST_COLOR,                GL_DST_COLOR},
    {BLEND_FACTOR_DST_ALPHA,                GL_DST_ALPHA},
    {BLEND_FACTOR_CONSTANT_COLOR,           GL_CONSTANT_COLOR},
    {BLEND_FACTOR_CONSTANT_ALPHA,           GL_CONSTANT_ALPHA},
    {BLEND_FACTOR_ONE_MINUS_SRC_COLOR,      GL_ONE_MINUS_SRC_COLOR},
    {BLEND_FACTOR_ONE_MINUS_SRC_ALPHA,      GL_ONE_MINUS_SRC_ALPHA},
    {BLEND_FACTOR_ONE_MINUS_DST_COLOR,      GL_ONE_MINUS_DST_COLOR},
    {BLEND_FACTOR_ONE_MINUS_DST_ALPHA,      GL_ONE_MINUS_DST_ALPHA},
    {BLEND_FACTOR_ONE_MINUS_CONSTANT_COLOR, GL_ONE_MINUS_CONSTANT_COLOR},
    {BLEND_FACTOR_ONE_MINUS_CONSTANT_ALPHA, GL_ONE_MINUS_CONSTANT_ALPHA},
});

inline constexpr auto blend_equation = gl_table({
    {BLEND_EQUATION_ADD,              GL_FUNC_ADD},
    {BLEND_EQUATION_SUBTRACT,         GL_FUNC_SUBTRACT},
    {BLEND_EQUATION_REVERSE_SUBTRACT, GL_FUNC_REVERSE_SUBTRACT},
    {BLEND_EQUATION_MIN,              GL_MIN},
    {BLEND_EQUATION_MAX,              GL_MAX},
});

inline constexpr auto logic_operation = gl_table({
    {LOGIC_OPERATION_CLEAR,         GL_CLEAR},
    {LOGIC_OPERATION_SET,           GL_SET},
    {LOGIC_OPERATION_COPY,          GL_COPY},
    {LOGIC_OPERATION_COPY_INVERTED, GL_COPY_INVERTED},
    {LOGIC_OPERATION_NOOP,          GL_NOOP},
    {LOGIC_OPERATION_INVERT,        GL_INVERT},
    {LOGIC_OPERATION_AND,           GL_AND},
    {LOGIC_OPERATION_NAND,          GL_NAND},
    {LOGIC_OPERATION_OR,            GL_OR},
    {LOGIC_OPERATION_NOR,           GL_NOR},
    {LOGIC_OPERATION_XOR,           GL_XOR},
    {LOGIC_OPERATION_EQUIV,         GL_EQUIV},
    {LOGIC_OPERATION_AND_REVERSE,   GL_AND_REVERSE},
    {LOGIC_OPERATION_AND_INVERTED,  GL_AND_INVERTED},
    {LOGIC_OPERATION_OR_REVERSE,    GL_OR_REVERSE},
    {LOGIC_OPERATION_OR_INVERTED,   GL_OR_INVERTED},
});

inline constexpr auto polygon_mode = gl_table({
    {POLYGON_MODE_FILL,  GL_FILL},
    {POLYGON_MODE_LINE,  GL_LINE},
    {POLYGON_MODE_POINT, GL_POINT},
});

inline constexpr auto pixel_store_parameter = gl_table({
    {PIXEL_STORE_PACK_SWAP_BYTES,     GL_PACK_SWAP_BYTES},
    {PIXEL_STORE_PACK_LSB_FIRST,      GL_PACK_LSB_FIRST},
    {PIXEL_STORE_PACK_ROW_LENGTH,     GL_PACK_ROW_LENGTH},
    {PIXEL_STORE_PACK_IMAGE_HEIGHT,   GL_PACK_IMAGE_HEIGHT},
    {PIXEL_STORE_PACK_SKIP_PIXELS,    GL_PACK_SKIP_PIXELS},
    {PIXEL_STORE_PACK_SKIP_ROWS,      GL_PACK_SKIP_ROWS},
    {PIXEL_STORE_PACK_SKIP_IMAGES,    GL_PACK_SKIP_IMAGES},
    {PIXEL_STORE_PACK_ALIGNMENT,      GL_PACK_ALIGNMENT},
    {PIXEL_STORE_UNPACK_SWAP_BYTES,   GL_UNPACK_SWAP_BYTES},
    {PIXEL_STORE_UNPACK_LSB_FIRST,    GL_UNPACK_LSB_FIRST},
    {PIXEL_STORE_UNPACK_ROW_LENGTH,   GL_UNPACK_ROW_LENGTH},
    {PIXEL_STORE_UNPACK_IMAGE_HEIGHT, GL_UNPACK_IMAGE_HEIGHT},
    {PIXEL_STORE_UNPACK_SKIP_PIXELS,  GL_UNPACK_SKIP_PIXELS},
    {PIXEL_STORE_UNPACK_SKIP_ROWS,    GL_UNPACK_SKIP_ROWS},
    {PIXEL_STORE_UNPACK_SKIP_IMAGES,  GL_UNPACK_SKIP_IMAGES},
    {PIXEL_STORE_UNPACK_ALIGNMENT,    GL_UNPACK_ALIGNMENT},
});
// clang-format on

} // namespace halvorin::gl
