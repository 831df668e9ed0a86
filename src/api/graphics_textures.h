/* SPDX-License-Identifier: Zlib */
#pragma once

/**
 * Textures: objects, images in all their shapes, and sampling parameters.
 *
 * Apart from texture_create and texture_destroy, a call works on the texture that is bound to its
 * target in the active unit (texture_bind, texture_unit).
 *
 * Pixels. `pixels` points at rows from the bottom of the image up, with the layout that `format`
 * and `type` tell, each row starting at a multiple of 4 bytes unless pipeline_pixel_store says
 * otherwise. OpenGL works the size out from the extent, and the memory has to be that long. Null
 * gives the image its store and leaves what is in it open. While a buffer is bound to
 * BUFFER_TARGET_PIXEL_UNPACK (for uploads) or BUFFER_TARGET_PIXEL_PACK (for texture_get_image) the
 * pointer is an offset in bytes into that buffer.
 *
 * Cube maps are bound, sampled and given parameters and mipmaps like other textures. The image
 * calls take no single face as target: a host that uploads faces calls OpenGL itself for that.
 *
 * Extents and offsets are in texels, `level` is the mipmap level, 0 the largest.
 *
 * Thread, failure and the rest: as for all graphics calls (graphics.h).
 */

#include "graphics_enumerations.h"

/**
 * Makes a texture. It gets its kind from the first target that it is bound to.
 *
 * @lifetime  until texture_destroy
 * @failure   0
 */
HALVORIN_API u32 texture_create(void);

/** Destroys a texture and unbinds it everywhere. 0 does nothing. */
HALVORIN_API void texture_destroy(u32 texture);
HALVORIN_API void texture_bind(texture_target target, u32 texture);
HALVORIN_API void texture_unbind(texture_target target);

/** Selects the texture unit, from 0, that the other calls work on and that samplers name. */
HALVORIN_API void texture_unit(u32 unit);

/** Fills all levels above the base level from the base level. */
HALVORIN_API void texture_generate_mipmap(texture_target target);

/*
 * Images: make a level anew, with the given storage, extent and pixels. For the 1D array target
 * `height` of the 2D form is the number of layers, for the 2D array target `depth` of the 3D form.
 */

HALVORIN_API void texture_image_1d(texture_target target, i32 level, internal_format storage,
                                   i32 width, pixel_format format, data_type type,
                                   const void* pixels);
HALVORIN_API void texture_image_2d(texture_target target, i32 level, internal_format storage,
                                   i32 width, i32 height, pixel_format format, data_type type,
                                   const void* pixels);
HALVORIN_API void texture_image_3d(texture_target target, i32 level, internal_format storage,
                                   i32 width, i32 height, i32 depth, pixel_format format,
                                   data_type type, const void* pixels);

/** Makes a buffer the texels of the texture bound to TEXTURE_TARGET_BUFFER. Nothing is copied. */
HALVORIN_API void texture_image_buffer(texture_target target, internal_format storage, u32 buffer);

/**
 * Storage with several samples a texel, which is filled by drawing alone.
 *
 * @param fixed_sample_locations  true when the samples have to lie at the same places in every
 *                                texel, which a frame buffer needs that also has render buffers.
 */
HALVORIN_API void texture_image_2d_multisample(texture_target target, i32 samples,
                                               internal_format storage, i32 width, i32 height,
                                               b8 fixed_sample_locations);
HALVORIN_API void texture_image_2d_multisample_array(texture_target target, i32 samples,
                                                     internal_format storage, i32 width, i32 height,
                                                     i32 depth, b8 fixed_sample_locations);

/*
 * Sub-images: write pixels into a level that exists, from texel x, y, z on.
 */

HALVORIN_API void texture_sub_image_1d(texture_target target, i32 level, i32 x, i32 width,
                                       pixel_format format, data_type type, const void* pixels);
HALVORIN_API void texture_sub_image_2d(texture_target target, i32 level, i32 x, i32 y, i32 width,
                                       i32 height, pixel_format format, data_type type,
                                       const void* pixels);
HALVORIN_API void texture_sub_image_3d(texture_target target, i32 level, i32 x, i32 y, i32 z,
                                       i32 width, i32 height, i32 depth, pixel_format format,
                                       data_type type, const void* pixels);

/*
 * Compressed images: `data` holds `size` bytes of blocks in the given format. OpenGL takes the low
 * 32 bits of the size. A sub-image names the format of the blocks where other sub-images name the
 * layout of their pixels; it has to be the texture's own.
 */

HALVORIN_API void texture_compressed_image_1d(texture_target target, i32 level,
                                              internal_format storage, i32 width, i64 size,
                                              const void* data);
HALVORIN_API void texture_compressed_image_2d(texture_target target, i32 level,
                                              internal_format storage, i32 width, i32 height,
                                              i64 size, const void* data);
HALVORIN_API void texture_compressed_image_3d(texture_target target, i32 level,
                                              internal_format storage, i32 width, i32 height,
                                              i32 depth, i64 size, const void* data);
HALVORIN_API void texture_compressed_sub_image_1d(texture_target target, i32 level, i32 x,
                                                  i32 width, internal_format format, i64 size,
                                                  const void* data);
HALVORIN_API void texture_compressed_sub_image_2d(texture_target target, i32 level, i32 x, i32 y,
                                                  i32 width, i32 height, internal_format format,
                                                  i64 size, const void* data);
HALVORIN_API void texture_compressed_sub_image_3d(texture_target target, i32 level, i32 x, i32 y,
                                                  i32 z, i32 width, i32 height, i32 depth,
                                                  internal_format format, i64 size,
                                                  const void* data);

/*
 * Copies from the read buffer (pipeline_read_buffer). The rectangle's origin in the read buffer, x
 * and y, always comes ahead of the place in the texture, to_x, to_y and to_z. OpenGL has the two
 * the other way round.
 */

HALVORIN_API void texture_copy_image_1d(texture_target target, i32 level, internal_format storage,
                                        i32 x, i32 y, i32 width);
HALVORIN_API void texture_copy_image_2d(texture_target target, i32 level, internal_format storage,
                                        i32 x, i32 y, i32 width, i32 height);
HALVORIN_API void texture_copy_sub_image_1d(texture_target target, i32 level, i32 x, i32 y,
                                            i32 to_x, i32 width);
HALVORIN_API void texture_copy_sub_image_2d(texture_target target, i32 level, i32 x, i32 y,
                                            i32 to_x, i32 to_y, i32 width, i32 height);
HALVORIN_API void texture_copy_sub_image_3d(texture_target target, i32 level, i32 x, i32 y,
                                            i32 to_x, i32 to_y, i32 to_z, i32 width, i32 height);

/**
 * Reads a whole level back. `pixels` has to hold all of it in the given layout.
 *
 * @waits  for the pixels: not while a buffer is bound to BUFFER_TARGET_PIXEL_PACK.
 */
HALVORIN_API void texture_get_image(texture_target target, i32 level, pixel_format format,
                                    data_type type, void* pixels);

/** Sets one of the TEXTURE_PARAMETER_WRAP_ parameters; each direction takes a call of its own. */
HALVORIN_API void texture_parameter_wrap(texture_target target, texture_parameter parameter,
                                         texture_wrap wrap);

/** Sets TEXTURE_PARAMETER_MIN_FILTER or TEXTURE_PARAMETER_MAG_FILTER. */
HALVORIN_API void texture_parameter_filter(texture_target target, texture_parameter parameter,
                                           texture_filter filter);

/** Says for each channel that a shader reads where it comes from. */
HALVORIN_API void texture_parameter_swizzle(texture_target target, texture_swizzle red,
                                            texture_swizzle green, texture_swizzle blue,
                                            texture_swizzle alpha);

/*
 * Parameters with plain values. Numbers go to OpenGL as they are, without any enumeration, and are
 * right for levels, levels of detail and the border color. The forms with an `a` read as many
 * numbers from `values` as the parameter has, 4 for the border color, whatever `values.count` says.
 */

HALVORIN_API void texture_parameterf(texture_target target, texture_parameter parameter,
                                     f32_bits value);
HALVORIN_API void texture_parameterfa(texture_target target, texture_parameter parameter,
                                      Slice values);
HALVORIN_API void texture_parameteri(texture_target target, texture_parameter parameter, i32 value);
/** Integers; in a border color they stand for fractions, the greatest i32 for 1. */
HALVORIN_API void texture_parameteria(texture_target target, texture_parameter parameter,
                                      Slice values);
/** Integers that stay integers: the border color of textures with integer formats, i32 or u32. */
HALVORIN_API void texture_integer_parameteria(texture_target target, texture_parameter parameter,
                                              Slice values);
HALVORIN_API void texture_integer_parameterqa(texture_target target, texture_parameter parameter,
                                              Slice values);
