/* SPDX-License-Identifier: Zlib */
#pragma once

/**
 * Frame buffers and render buffers: drawing into textures and off-screen storage.
 *
 * A frame buffer is a set of images to draw into and to read from: textures, or render buffers,
 * which are storage that can't be sampled. It holds no pixels of its own. Images are attached at a
 * point, which is named by two arguments: a frame_buffer_attachment and a color index. The color
 * index counts for FRAME_BUFFER_ATTACHMENT_COLOR alone, but stands in every call.
 *
 * There are two bindings, one to draw into and one to read and blit from; FRAME_BUFFER_TARGET_BOTH
 * sets the two at once. Frame buffer 0 is the window's. Which color attachments are drawn to is
 * said by pipeline_draw_buffers, for each frame buffer on its own.
 *
 * Thread, failure and the rest: as for all graphics calls (graphics.h).
 */

#include "graphics_enumerations.h"

/**
 * Makes a frame buffer with nothing attached.
 *
 * @lifetime  until frame_buffer_destroy
 * @failure   0
 */
HALVORIN_API u32 frame_buffer_create(void);

/** Destroys a frame buffer, whose images stay; where it was bound, the window's is. 0 does nothing.
 */
HALVORIN_API void frame_buffer_destroy(u32 frame_buffer);
HALVORIN_API void frame_buffer_bind(frame_buffer_target target, u32 frame_buffer);
/** Binds the window's frame buffer. */
HALVORIN_API void frame_buffer_unbind(frame_buffer_target target);

/*
 * Attach an image to the bound frame buffer in place of the one that was there. Texture or render
 * buffer 0 takes it off. `level` is the mipmap level.
 */

/** A whole level of a texture; of arrays, 3D textures and cube maps, all layers or faces. */
HALVORIN_API void frame_buffer_texture(frame_buffer_target target,
                                       frame_buffer_attachment attachment, i32 color_index,
                                       u32 texture, i32 level);

/**
 * One face of a cube map.
 *
 * @param cube_face  0 to 5: +X, -X, +Y, -Y, +Z, -Z.
 */
HALVORIN_API void frame_buffer_texture_face(frame_buffer_target target,
                                            frame_buffer_attachment attachment, i32 color_index,
                                            u32 texture, i32 level, i32 cube_face);

/** One layer of an array, or one slice of a 3D texture. */
HALVORIN_API void frame_buffer_texture_layer(frame_buffer_target target,
                                             frame_buffer_attachment attachment, i32 color_index,
                                             u32 texture, i32 level, i32 layer);

HALVORIN_API void frame_buffer_render_buffer(frame_buffer_target target,
                                             frame_buffer_attachment attachment, i32 color_index,
                                             u32 render_buffer);

/**
 * Tells whether the bound frame buffer can be used.
 *
 * @return   FRAME_BUFFER_STATUS_COMPLETE, or what is missing.
 * @failure  OpenGL: a target outside its enumeration gives FRAME_BUFFER_STATUS_COMPLETE too.
 */
HALVORIN_API frame_buffer_status frame_buffer_get_status(frame_buffer_target target);

/**
 * Copies a rectangle of the frame buffer that is bound for reading into the one for drawing.
 *
 * The rectangles are origin and size, in pixels from the lower left corner. The picture is
 * stretched where their sizes differ; a negative size turns it over. A source with several samples
 * a pixel is put together into one on the way, in a rectangle of the same size.
 *
 * @param flags   which buffers.
 * @param filter  TEXTURE_FILTER_NEAREST, or TEXTURE_FILTER_LINEAR, which is for color alone.
 */
HALVORIN_API void frame_buffer_blit(i32 x, i32 y, i32 width, i32 height, i32 to_x, i32 to_y,
                                    i32 to_width, i32 to_height, buffer_mask flags,
                                    texture_filter filter);

/**
 * Makes a render buffer without storage.
 *
 * @lifetime  until render_buffer_destroy
 * @failure   0
 */
HALVORIN_API u32 render_buffer_create(void);

/** Destroys a render buffer, and takes it off the bound frame buffers. 0 does nothing. */
HALVORIN_API void render_buffer_destroy(u32 render_buffer);

/** Binds the render buffer that the storage calls work on. There is one binding. */
HALVORIN_API void render_buffer_bind(u32 render_buffer);
HALVORIN_API void render_buffer_unbind(void);

/** Gives the bound render buffer storage of this size in pixels; its content is open. */
HALVORIN_API void render_buffer_storage(internal_format format, i32 width, i32 height);
/** The same with several samples a pixel. They stand last, unlike in the texture calls. */
HALVORIN_API void render_buffer_storage_multisample(internal_format format, i32 width, i32 height,
                                                    i32 samples);
