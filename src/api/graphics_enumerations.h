/* SPDX-License-Identifier: Zlib */
#pragma once

/**
 * The numbers of the graphics family.
 *
 * A host program passes these small numbers where OpenGL has constants of its own; the library
 * turns them into OpenGL's at the moment of the call. Each enumeration starts at 0 and has its own
 * order, which is not OpenGL's. A parameter carries its enumeration as its type, which is a u32
 * for all of them but color_buffer_number.
 *
 * A number outside its enumeration reaches OpenGL as 0. For blend_factor, stencil_operation and
 * texture_swizzle that is GL_ZERO; what OpenGL makes of the others shows in pipeline_get_error.
 */

#include "types.h"

/** Texture binding points, for every texture_ call that works on the bound texture. */
enum {
    TEXTURE_TARGET_1D = 0,
    TEXTURE_TARGET_2D = 1,
    TEXTURE_TARGET_3D = 2,
    TEXTURE_TARGET_CUBE_MAP = 3,
    TEXTURE_TARGET_BUFFER = 4,
    TEXTURE_TARGET_1D_ARRAY = 5,
    TEXTURE_TARGET_2D_ARRAY = 6,
    TEXTURE_TARGET_2D_MULTISAMPLE = 7,
    TEXTURE_TARGET_2D_MULTISAMPLE_ARRAY = 8
};
typedef u32 texture_target;

/**
 * Element types of pixels, vertex attributes and indices. The packed ones (7 and up) are for
 * pixels alone.
 */
enum {
    DATA_TYPE_UNSIGNED_BYTE = 0,
    DATA_TYPE_UNSIGNED_SHORT = 1,
    DATA_TYPE_UNSIGNED_INT = 2,
    DATA_TYPE_BYTE = 3,
    DATA_TYPE_SHORT = 4,
    DATA_TYPE_INT = 5,
    DATA_TYPE_FLOAT = 6,
    DATA_TYPE_UNSIGNED_BYTE_3_3_2 = 7,
    DATA_TYPE_UNSIGNED_SHORT_4_4_4_4 = 8,
    DATA_TYPE_UNSIGNED_SHORT_5_5_5_1 = 9,
    DATA_TYPE_UNSIGNED_INT_8_8_8_8 = 10,
    DATA_TYPE_UNSIGNED_INT_10_10_10_2 = 11,
    DATA_TYPE_UNSIGNED_INT_24_8 = 12,
    DATA_TYPE_FLOAT_32_UNSIGNED_INT_24_8_REV = 13
};
typedef u32 data_type;

/** Channels of pixels in host memory and their order there. */
enum {
    PIXEL_FORMAT_DEPTH_COMPONENT = 0,
    PIXEL_FORMAT_STENCIL_INDEX = 1,
    PIXEL_FORMAT_DEPTH_STENCIL = 2,
    PIXEL_FORMAT_RED = 3,
    PIXEL_FORMAT_GREEN = 4,
    PIXEL_FORMAT_BLUE = 5,
    PIXEL_FORMAT_RG = 6,
    PIXEL_FORMAT_RGB = 7,
    PIXEL_FORMAT_RGBA = 8,
    PIXEL_FORMAT_RED_INTEGER = 9,
    PIXEL_FORMAT_GREEN_INTEGER = 10,
    PIXEL_FORMAT_BLUE_INTEGER = 11,
    PIXEL_FORMAT_RG_INTEGER = 12,
    PIXEL_FORMAT_RGB_INTEGER = 13,
    PIXEL_FORMAT_RGBA_INTEGER = 14
};
typedef u32 pixel_format;

/** Storage formats of textures and render buffers. 69 is a hole: no format has that number. */
enum {
    /* Depth and stencil. */
    INTERNAL_FORMAT_DEPTH_COMPONENT16 = 0,
    INTERNAL_FORMAT_DEPTH_COMPONENT24 = 1,
    INTERNAL_FORMAT_DEPTH_COMPONENT32 = 2,
    INTERNAL_FORMAT_DEPTH_COMPONENT32F = 3,
    INTERNAL_FORMAT_STENCIL_INDEX8 = 4,
    INTERNAL_FORMAT_DEPTH24_STENCIL8 = 5,
    INTERNAL_FORMAT_DEPTH32F_STENCIL8 = 6,
    /* Unsigned, read as 0 to 1. */
    INTERNAL_FORMAT_R8 = 7,
    INTERNAL_FORMAT_R16 = 8,
    INTERNAL_FORMAT_RG8 = 9,
    INTERNAL_FORMAT_RG16 = 10,
    INTERNAL_FORMAT_RGB8 = 11,
    INTERNAL_FORMAT_RGB16 = 12,
    INTERNAL_FORMAT_RGBA8 = 13,
    INTERNAL_FORMAT_RGBA16 = 14,
    /* Signed, read as -1 to 1. */
    INTERNAL_FORMAT_R8_SNORM = 15,
    INTERNAL_FORMAT_R16_SNORM = 16,
    INTERNAL_FORMAT_RG8_SNORM = 17,
    INTERNAL_FORMAT_RG16_SNORM = 18,
    INTERNAL_FORMAT_RGB8_SNORM = 19,
    INTERNAL_FORMAT_RGB16_SNORM = 20,
    INTERNAL_FORMAT_RGBA8_SNORM = 21,
    INTERNAL_FORMAT_RGBA16_SNORM = 22,
    /* Floating point. */
    INTERNAL_FORMAT_R16F = 23,
    INTERNAL_FORMAT_R32F = 24,
    INTERNAL_FORMAT_RG16F = 25,
    INTERNAL_FORMAT_RG32F = 26,
    INTERNAL_FORMAT_RGB16F = 27,
    INTERNAL_FORMAT_RGB32F = 28,
    INTERNAL_FORMAT_RGBA16F = 29,
    INTERNAL_FORMAT_RGBA32F = 30,
    /* Signed integers. */
    INTERNAL_FORMAT_R8I = 31,
    INTERNAL_FORMAT_R16I = 32,
    INTERNAL_FORMAT_R32I = 33,
    INTERNAL_FORMAT_RG8I = 34,
    INTERNAL_FORMAT_RG16I = 35,
    INTERNAL_FORMAT_RG32I = 36,
    INTERNAL_FORMAT_RGB8I = 37,
    INTERNAL_FORMAT_RGB16I = 38,
    INTERNAL_FORMAT_RGB32I = 39,
    INTERNAL_FORMAT_RGBA8I = 40,
    INTERNAL_FORMAT_RGBA16I = 41,
    INTERNAL_FORMAT_RGBA32I = 42,
    /* Unsigned integers. */
    INTERNAL_FORMAT_R8UI = 43,
    INTERNAL_FORMAT_R16UI = 44,
    INTERNAL_FORMAT_R32UI = 45,
    INTERNAL_FORMAT_RG8UI = 46,
    INTERNAL_FORMAT_RG16UI = 47,
    INTERNAL_FORMAT_RG32UI = 48,
    INTERNAL_FORMAT_RGB8UI = 49,
    INTERNAL_FORMAT_RGB16UI = 50,
    INTERNAL_FORMAT_RGB32UI = 51,
    INTERNAL_FORMAT_RGBA8UI = 52,
    INTERNAL_FORMAT_RGBA16UI = 53,
    INTERNAL_FORMAT_RGBA32UI = 54,
    /* Packed, and sRGB. */
    INTERNAL_FORMAT_R3_G3_B2 = 55,
    INTERNAL_FORMAT_RGB4 = 56,
    INTERNAL_FORMAT_RGBA4 = 57,
    INTERNAL_FORMAT_RGB5 = 58,
    INTERNAL_FORMAT_RGB5_A1 = 59,
    INTERNAL_FORMAT_RGB10 = 60,
    INTERNAL_FORMAT_RGB10_A2 = 61,
    INTERNAL_FORMAT_RGB10_A2UI = 62,
    INTERNAL_FORMAT_RGB12 = 63,
    INTERNAL_FORMAT_RGBA12 = 64,
    INTERNAL_FORMAT_R11F_G11F_B10F = 65,
    INTERNAL_FORMAT_RGB9_E5 = 66,
    INTERNAL_FORMAT_SRGB8 = 67,
    INTERNAL_FORMAT_SRGB8_ALPHA8 = 68,
    /* Compressed in a way that the driver chooses. */
    INTERNAL_FORMAT_COMPRESSED_RED = 70,
    INTERNAL_FORMAT_COMPRESSED_RG = 71,
    INTERNAL_FORMAT_COMPRESSED_RGB = 72,
    INTERNAL_FORMAT_COMPRESSED_RGBA = 73,
    INTERNAL_FORMAT_COMPRESSED_SRGB = 74,
    INTERNAL_FORMAT_COMPRESSED_SRGB_ALPHA = 75,
    /* RGTC: one and two channels in blocks of 4 x 4. */
    INTERNAL_FORMAT_COMPRESSED_RED_RGTC1 = 76,
    INTERNAL_FORMAT_COMPRESSED_SIGNED_RED_RGTC1 = 77,
    INTERNAL_FORMAT_COMPRESSED_RG_RGTC2 = 78,
    INTERNAL_FORMAT_COMPRESSED_SIGNED_RG_RGTC2 = 79,
    /* S3TC: blocks of 4 x 4, where the driver has GL_EXT_texture_compression_s3tc. */
    INTERNAL_FORMAT_COMPRESSED_RGB_S3TC_DXT1_EXT = 80,
    INTERNAL_FORMAT_COMPRESSED_RGBA_S3TC_DXT1_EXT = 81,
    INTERNAL_FORMAT_COMPRESSED_RGBA_S3TC_DXT3_EXT = 82,
    INTERNAL_FORMAT_COMPRESSED_RGBA_S3TC_DXT5_EXT = 83
};
typedef u32 internal_format;

/** What a sampler does with coordinates outside 0 to 1. */
enum {
    TEXTURE_WRAP_REPEAT = 0,
    TEXTURE_WRAP_MIRRORED_REPEAT = 1,
    TEXTURE_WRAP_CLAMP_TO_EDGE = 2,
    TEXTURE_WRAP_CLAMP_TO_BORDER = 3
};
typedef u32 texture_wrap;

/** Sampling filters. Magnifying and a frame buffer blit take the first two alone. */
enum {
    TEXTURE_FILTER_NEAREST = 0,
    TEXTURE_FILTER_LINEAR = 1,
    TEXTURE_FILTER_NEAREST_MIPMAP_NEAREST = 2,
    TEXTURE_FILTER_LINEAR_MIPMAP_NEAREST = 3,
    TEXTURE_FILTER_NEAREST_MIPMAP_LINEAR = 4,
    TEXTURE_FILTER_LINEAR_MIPMAP_LINEAR = 5
};
typedef u32 texture_filter;

/** Where a channel of a sampled texel comes from. */
enum {
    TEXTURE_SWIZZLE_ZERO = 0,
    TEXTURE_SWIZZLE_ONE = 1,
    TEXTURE_SWIZZLE_RED = 2,
    TEXTURE_SWIZZLE_GREEN = 3,
    TEXTURE_SWIZZLE_BLUE = 4,
    TEXTURE_SWIZZLE_ALPHA = 5
};
typedef u32 texture_swizzle;

/** Names of texture parameters. */
enum {
    TEXTURE_PARAMETER_WRAP_S = 0,
    TEXTURE_PARAMETER_WRAP_T = 1,
    TEXTURE_PARAMETER_WRAP_R = 2,
    TEXTURE_PARAMETER_MIN_FILTER = 3,
    TEXTURE_PARAMETER_MAG_FILTER = 4,
    TEXTURE_PARAMETER_BORDER_COLOR = 5,
    TEXTURE_PARAMETER_BASE_LEVEL = 6,
    TEXTURE_PARAMETER_MAX_LEVEL = 7,
    TEXTURE_PARAMETER_MIN_LOD = 8,
    TEXTURE_PARAMETER_MAX_LOD = 9
};
typedef u32 texture_parameter;

/** Frame buffer binding points. */
enum {
    FRAME_BUFFER_TARGET_DRAW = 0,
    FRAME_BUFFER_TARGET_READ = 1,
    FRAME_BUFFER_TARGET_BOTH = 2 /**< draw and read at once */
};
typedef u32 frame_buffer_target;

/**
 * Attachment points of a frame buffer. They travel with a color index beside them, which counts for
 * FRAME_BUFFER_ATTACHMENT_COLOR alone.
 */
enum {
    FRAME_BUFFER_ATTACHMENT_DEPTH = 0,
    FRAME_BUFFER_ATTACHMENT_STENCIL = 1,
    FRAME_BUFFER_ATTACHMENT_DEPTH_STENCIL = 2,
    FRAME_BUFFER_ATTACHMENT_COLOR = 3
};
typedef u32 frame_buffer_attachment;

/** What frame_buffer_get_status finds. 0 also stands for any state that has no number here. */
enum {
    FRAME_BUFFER_STATUS_COMPLETE = 0,
    FRAME_BUFFER_STATUS_UNDEFINED = 1,
    FRAME_BUFFER_STATUS_INCOMPLETE_ATTACHMENT = 2,
    FRAME_BUFFER_STATUS_INCOMPLETE_MISSING_ATTACHMENT = 3,
    FRAME_BUFFER_STATUS_INCOMPLETE_DRAW_BUFFER = 4,
    FRAME_BUFFER_STATUS_INCOMPLETE_READ_BUFFER = 5,
    FRAME_BUFFER_STATUS_INCOMPLETE_MULTISAMPLE = 6,
    FRAME_BUFFER_STATUS_INCOMPLETE_LAYER_TARGETS = 7,
    FRAME_BUFFER_STATUS_UNSUPPORTED = 8
};
typedef u32 frame_buffer_status;

/** Buffers to clear or to copy: a set of these bits. Higher bits are ignored. */
enum {
    BUFFER_MASK_DEPTH = 1,
    BUFFER_MASK_STENCIL = 2,
    BUFFER_MASK_COLOR = 4 /**< all color buffers that are drawn to */
};
typedef u32 buffer_mask;

/** Buffer binding points. */
enum {
    BUFFER_TARGET_ARRAY = 0,
    BUFFER_TARGET_ELEMENT_ARRAY = 1,
    BUFFER_TARGET_COPY_WRITE = 2,
    BUFFER_TARGET_COPY_READ = 3,
    BUFFER_TARGET_PIXEL_PACK = 4,
    BUFFER_TARGET_PIXEL_UNPACK = 5,
    BUFFER_TARGET_TEXTURE = 6,
    BUFFER_TARGET_UNIFORM = 7
};
typedef u32 buffer_target;

/** How a buffer's store is going to be used: who writes it and how often. A hint to the driver. */
enum {
    BUFFER_USAGE_STATIC_DRAW = 0,
    BUFFER_USAGE_STATIC_READ = 1,
    BUFFER_USAGE_STATIC_COPY = 2,
    BUFFER_USAGE_DYNAMIC_DRAW = 3,
    BUFFER_USAGE_DYNAMIC_READ = 4,
    BUFFER_USAGE_DYNAMIC_COPY = 5,
    BUFFER_USAGE_STREAM_DRAW = 6,
    BUFFER_USAGE_STREAM_READ = 7,
    BUFFER_USAGE_STREAM_COPY = 8
};
typedef u32 buffer_usage;

/** What a mapped buffer may be used for. */
enum {
    BUFFER_ACCESS_WRITE_ONLY = 0,
    BUFFER_ACCESS_READ_ONLY = 1,
    BUFFER_ACCESS_READ_WRITE = 2 /**< both; the slowest where one of the others would do */
};
typedef u32 buffer_access;

/** Depth and stencil tests: the test passes when the new value stands so to the stored one. */
enum {
    COMPARE_FUNCTION_NEVER = 0,
    COMPARE_FUNCTION_ALWAYS = 1,
    COMPARE_FUNCTION_LESS = 2,
    COMPARE_FUNCTION_LEQUAL = 3,
    COMPARE_FUNCTION_GREATER = 4,
    COMPARE_FUNCTION_GEQUAL = 5,
    COMPARE_FUNCTION_EQUAL = 6,
    COMPARE_FUNCTION_NOTEQUAL = 7
};
typedef u32 compare_function;

/** Sides of a polygon. */
enum {
    FACE_FRONT = 0,
    FACE_BACK = 1,
    FACE_FRONT_AND_BACK = 2 /**< the only one that polygons can be given a mode for */
};
typedef u32 face;

/** What happens to a stored stencil value. INCR and DECR stop at the ends of the range. */
enum {
    STENCIL_OPERATION_KEEP = 0,
    STENCIL_OPERATION_ZERO = 1,
    STENCIL_OPERATION_REPLACE = 2,
    STENCIL_OPERATION_INCR = 3,
    STENCIL_OPERATION_INCR_WRAP = 4,
    STENCIL_OPERATION_DECR = 5,
    STENCIL_OPERATION_DECR_WRAP = 6,
    STENCIL_OPERATION_INVERT = 7
};
typedef u32 stencil_operation;

/** What a color is multiplied with before blending. */
enum {
    BLEND_FACTOR_ZERO = 0,
    BLEND_FACTOR_ONE = 1,
    BLEND_FACTOR_SRC_COLOR = 2,
    BLEND_FACTOR_SRC_ALPHA = 3,
    BLEND_FACTOR_DST_COLOR = 4,
    BLEND_FACTOR_DST_ALPHA = 5,
    BLEND_FACTOR_CONSTANT_COLOR = 6,
    BLEND_FACTOR_CONSTANT_ALPHA = 7,
    BLEND_FACTOR_ONE_MINUS_SRC_COLOR = 8,
    BLEND_FACTOR_ONE_MINUS_SRC_ALPHA = 9,
    BLEND_FACTOR_ONE_MINUS_DST_COLOR = 10,
    BLEND_FACTOR_ONE_MINUS_DST_ALPHA = 11,
    BLEND_FACTOR_ONE_MINUS_CONSTANT_COLOR = 12,
    BLEND_FACTOR_ONE_MINUS_CONSTANT_ALPHA = 13
};
typedef u32 blend_factor;

/** How source and destination are put together. MIN and MAX leave the blend factors out. */
enum {
    BLEND_EQUATION_ADD = 0,
    BLEND_EQUATION_SUBTRACT = 1,
    BLEND_EQUATION_REVERSE_SUBTRACT = 2,
    BLEND_EQUATION_MIN = 3,
    BLEND_EQUATION_MAX = 4
};
typedef u32 blend_equation;

/** How the bits of a written color and of the stored one are put together. */
enum {
    LOGIC_OPERATION_CLEAR = 0,
    LOGIC_OPERATION_SET = 1,
    LOGIC_OPERATION_COPY = 2,
    LOGIC_OPERATION_COPY_INVERTED = 3,
    LOGIC_OPERATION_NOOP = 4,
    LOGIC_OPERATION_INVERT = 5,
    LOGIC_OPERATION_AND = 6,
    LOGIC_OPERATION_NAND = 7,
    LOGIC_OPERATION_OR = 8,
    LOGIC_OPERATION_NOR = 9,
    LOGIC_OPERATION_XOR = 10,
    LOGIC_OPERATION_EQUIV = 11,
    LOGIC_OPERATION_AND_REVERSE = 12,
    LOGIC_OPERATION_AND_INVERTED = 13,
    LOGIC_OPERATION_OR_REVERSE = 14,
    LOGIC_OPERATION_OR_INVERTED = 15
};
typedef u32 logic_operation;

/** How polygons are drawn. */
enum {
    POLYGON_MODE_FILL = 0,
    POLYGON_MODE_LINE = 1, /**< its edges */
    POLYGON_MODE_POINT = 2 /**< its vertices */
};
typedef u32 polygon_mode;

/** How pixels lie in host memory: PACK for reads into it, UNPACK for uploads from it. */
enum {
    PIXEL_STORE_PACK_SWAP_BYTES = 0,
    PIXEL_STORE_PACK_LSB_FIRST = 1,
    PIXEL_STORE_PACK_ROW_LENGTH = 2,
    PIXEL_STORE_PACK_IMAGE_HEIGHT = 3,
    PIXEL_STORE_PACK_SKIP_PIXELS = 4,
    PIXEL_STORE_PACK_SKIP_ROWS = 5,
    PIXEL_STORE_PACK_SKIP_IMAGES = 6,
    PIXEL_STORE_PACK_ALIGNMENT = 7,
    PIXEL_STORE_UNPACK_SWAP_BYTES = 8,
    PIXEL_STORE_UNPACK_LSB_FIRST = 9,
    PIXEL_STORE_UNPACK_ROW_LENGTH = 10,
    PIXEL_STORE_UNPACK_IMAGE_HEIGHT = 11,
    PIXEL_STORE_UNPACK_SKIP_PIXELS = 12,
    PIXEL_STORE_UNPACK_SKIP_ROWS = 13,
    PIXEL_STORE_UNPACK_SKIP_IMAGES = 14,
    PIXEL_STORE_UNPACK_ALIGNMENT = 15
};
typedef u32 pixel_store_parameter;
/** Where the texture coordinates of a point sprite start. */
enum {
    POINT_ORIGIN_UPPER_LEFT = 0,
    POINT_ORIGIN_LOWER_LEFT = 1 /**< also every other number */
};
typedef u32 point_origin;

/**
 * A color buffer of the bound frame buffer: n is color attachment n, and any negative number is
 * none. The buffers of the window have no number.
 */
typedef i32 color_buffer_number;
