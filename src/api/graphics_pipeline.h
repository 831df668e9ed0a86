/* SPDX-License-Identifier: Zlib */
#pragma once

/**
 * Pipeline state: clearing, depth, stencil, blending, faces, viewport, pixel reads, the end of a
 * frame and the error state.
 *
 * Each call sets one thing and reaches OpenGL every time, whether or not anything changes. State
 * lasts as long as the OpenGL context and starts with OpenGL's own defaults. The calls named
 * _enable switch a capability on (true) or off (false).
 *
 * Thread, failure and the rest: as for all graphics calls (graphics.h).
 */

#include "graphics_enumerations.h"

/** Clears the chosen buffers, inside the scissor rectangle and as far as the masks allow. */
HALVORIN_API void pipeline_clear(buffer_mask flags);
HALVORIN_API void pipeline_clear_color(f32_bits red, f32_bits green, f32_bits blue, f32_bits alpha);
HALVORIN_API void pipeline_clear_stencil(u8 value);
/** The depth that a clear writes, 0 (near) to 1 (far). */
HALVORIN_API void pipeline_clear_depth(f32_bits depth);

HALVORIN_API void pipeline_depth_enable(b8 enable);
HALVORIN_API void pipeline_depth_func(compare_function function);
/** Whether drawing and clearing write depth. */
HALVORIN_API void pipeline_depth_mask(b8 write);
/** On: what lies in front of the near plane or behind the far plane is drawn at that plane. */
HALVORIN_API void pipeline_depth_clamp(b8 enable);
/** The depths, 0 to 1, that the near and the far plane map to. */
HALVORIN_API void pipeline_depth_range(f32_bits near_depth, f32_bits far_depth);

/* Stencil values are bytes, as the display's stencil buffer has 8 bits. */

HALVORIN_API void pipeline_stencil_enable(b8 enable);
/**
 * The stencil test: `reference` compared with the stored value, both cut down by `mask`.
 * COMPARE_FUNCTION_LESS passes when the reference is less than the stored value.
 */
HALVORIN_API void pipeline_stencil_func(compare_function function, u8 reference, u8 mask);
/** What becomes of the stored value: stencil test failed, depth test failed, both passed. */
HALVORIN_API void pipeline_stencil_op(stencil_operation stencil_fail, stencil_operation depth_fail,
                                      stencil_operation pass);
/** The bits that drawing and clearing may write. */
HALVORIN_API void pipeline_stencil_mask(u8 mask);
/* The same three for front faces, back faces or both. */
HALVORIN_API void pipeline_stencil_func_separate(face side, compare_function function, u8 reference,
                                                 u8 mask);
HALVORIN_API void pipeline_stencil_op_separate(face side, stencil_operation stencil_fail,
                                               stencil_operation depth_fail,
                                               stencil_operation pass);
HALVORIN_API void pipeline_stencil_mask_separate(face side, u8 mask);

HALVORIN_API void pipeline_blend_enable(b8 enable);
HALVORIN_API void pipeline_blend_factor(blend_factor source, blend_factor destination);
HALVORIN_API void pipeline_blend_equation(blend_equation equation);
HALVORIN_API void pipeline_blend_factor_separate(blend_factor source_rgb,
                                                 blend_factor destination_rgb,
                                                 blend_factor source_alpha,
                                                 blend_factor destination_alpha);
HALVORIN_API void pipeline_blend_equation_separate(blend_equation rgb, blend_equation alpha);
/** The color of the BLEND_FACTOR_CONSTANT_ factors. */
HALVORIN_API void pipeline_blend_color(f32_bits red, f32_bits green, f32_bits blue, f32_bits alpha);

/** Whether pipeline_read_pixels clamps colors to 0 to 1, float formats included. */
HALVORIN_API void pipeline_color_clamp(b8 clamp);
/** The channels that drawing and clearing may write. */
HALVORIN_API void pipeline_color_mask(b8 red, b8 green, b8 blue, b8 alpha);
/** Takes the place of blending while it is on. */
HALVORIN_API void pipeline_logic_enable(b8 enable);
HALVORIN_API void pipeline_logic_op(logic_operation operation);

HALVORIN_API void pipeline_cull_enable(b8 enable);
/** The side that is not drawn. */
HALVORIN_API void pipeline_cull_face(face side);
/** Which polygons are front faces: those that run counter-clockwise (true) or clockwise. */
HALVORIN_API void pipeline_cull_orientation(b8 counter_clockwise);
HALVORIN_API void pipeline_polygon_mode(face side, polygon_mode mode);

/* Rectangles in pixels; x and y are the lower left corner, counted from the lower left. */

HALVORIN_API void pipeline_viewport(i32 x, i32 y, i32 width, i32 height);
HALVORIN_API void pipeline_scissor_enable(b8 enable);
HALVORIN_API void pipeline_scissor_rect(i32 x, i32 y, i32 width, i32 height);

/** On: the size of a point comes from the shader (gl_PointSize), not from pipeline_point_size. */
HALVORIN_API void pipeline_point_shader_enable(b8 enable);
/** In pixels. */
HALVORIN_API void pipeline_point_size(f32_bits size);
HALVORIN_API void pipeline_point_coord_origin(point_origin origin);
/** With multisampling, smaller points fade out instead of shrinking. */
HALVORIN_API void pipeline_point_fade_threshold_size(f32_bits size);

HALVORIN_API void pipeline_primitive_restart_enable(b8 enable);
/** The index that ends a strip, fan or loop and starts a new one. */
HALVORIN_API void pipeline_primitive_restart_index(u32 index);

/** Switches gl_ClipDistance[plane]. Only the low 14 bits of the number count. */
HALVORIN_API void pipeline_clip_plane_enable(u32 plane, b8 enable);
HALVORIN_API void pipeline_multisample_enable(b8 enable);

/**
 * Ends a frame: shows what has been drawn, at the next vertical sync where that is on. Not for
 * software graphics, whose frames are shown by display_set_content.
 *
 * Where there is no screen (SDL2's offscreen driver) nothing waits for the frame, nor even begins
 * with it: drawing is queued, and what the queue takes grows. A host that draws there for long
 * calls pipeline_finish in each frame.
 *
 * @failure  not told
 * @heap     SDL2, OpenGL
 * @waits    vertical sync
 */
HALVORIN_API void pipeline_present(void);

/** Returns when all that was asked of OpenGL so far has been done. @waits until then */
HALVORIN_API void pipeline_finish(void);

/**
 * Says which color buffer of the bound frame buffer each output of the fragment shader goes to.
 *
 * @param buffers  i32 values, each a color_buffer_number: entry i is for output i. At most 127.
 *                 The list passes through the front of `temporary_buffer` (frame.h).
 * @memory  text
 */
HALVORIN_API void pipeline_draw_buffers(Slice buffers);

/** The color buffer that pixel reads and copies come from. */
HALVORIN_API void pipeline_read_buffer(color_buffer_number buffer);

/**
 * Sets how pixels lie in host memory. Lengths and skips are in pixels or rows; alignment is 1, 2,
 * 4 (the default) or 8 bytes for the start of each row.
 */
HALVORIN_API void pipeline_pixel_store(pixel_store_parameter parameter, i32 value);

/**
 * Reads a rectangle of the read buffer into memory and waits for it.
 *
 * @param x, y    the lower left corner.
 * @param pixels  room for all of it: rows from the bottom up, as pipeline_pixel_store says. While
 *                a buffer is bound to BUFFER_TARGET_PIXEL_PACK it is an offset in bytes into that
 *                buffer, and the call doesn't wait.
 * @waits         for the pixels
 */
HALVORIN_API void pipeline_read_pixels(i32 x, i32 y, i32 width, i32 height, pixel_format format,
                                       data_type type, void* pixels);

/**
 * Takes one error out of OpenGL's error state.
 *
 * @return  0 when there is none. Otherwise OpenGL's code plus one: 0x501 unknown number, 0x502
 *          value out of range, 0x503 not allowed in this state, 0x506 out of memory, 0x507 frame
 *          buffer not complete. Several may be pending: ask until 0.
 * @failure none
 */
HALVORIN_API u32 pipeline_get_error(void);
