/* SPDX-License-Identifier: Zlib */
#pragma once

/**
 * Geometry: buffers, vertex arrays, vertex attributes and the draw calls.
 *
 * Vertices and indices always come from buffers. A vertex array remembers for each attribute its
 * format and the buffer that was bound to BUFFER_TARGET_ARRAY when attribute_format was called,
 * and also the buffer bound to BUFFER_TARGET_ELEMENT_ARRAY. Drawing needs one to be bound.
 *
 * Sizes and offsets are in bytes everywhere.
 *
 * Thread, failure and the rest: as for all graphics calls (graphics.h).
 */

#include "graphics_enumerations.h"

/**
 * Makes a buffer without a store.
 *
 * @lifetime  until buffer_destroy
 * @failure   0
 */
HALVORIN_API u32 buffer_create(void);

/** Destroys a buffer and unbinds it. 0 does nothing. */
HALVORIN_API void buffer_destroy(u32 buffer);
HALVORIN_API void buffer_bind(buffer_target target, u32 buffer);
HALVORIN_API void buffer_unbind(buffer_target target);

/** Binds a buffer to a numbered binding point, and to the target itself as well. */
HALVORIN_API void buffer_bind_base(buffer_target target, u32 index, u32 buffer);
/** The same with `size` bytes of the buffer from `offset` on. */
HALVORIN_API void buffer_bind_range(buffer_target target, u32 index, u32 buffer, i64 offset,
                                    i64 size);

/** Gives the bound buffer a new store and fills it. Null `data` leaves its content open. */
HALVORIN_API void buffer_data(buffer_target target, i64 size, const void* data, buffer_usage usage);
/** Overwrites a part of the store. */
HALVORIN_API void buffer_sub_data(buffer_target target, i64 offset, i64 size, const void* data);

/**
 * Maps the whole store of the bound buffer into memory.
 *
 * @param result  `data` is the store's first byte; `count` is `size`, also on failure.
 * @param size    how many bytes the host is going to use. OpenGL isn't told, and it isn't compared
 *                with the buffer's size.
 * @lifetime  until buffer_unmap on the same target.
 * @failure   null `data`
 * @waits     OpenGL: until what it does with the store is done.
 */
HALVORIN_API void buffer_map(Slice* result, buffer_target target, i64 size, buffer_access access);

/** Ends a mapping. @failure false: the store was lost meanwhile and has to be filled anew. */
HALVORIN_API b8 buffer_unmap(buffer_target target);

/** Copies between two bound buffers, or within one. The read target comes first. */
HALVORIN_API void buffer_copy_sub_data(buffer_target read_target, buffer_target write_target,
                                       i64 read_offset, i64 write_offset, i64 size);

/**
 * Makes a vertex array with all attributes off.
 *
 * @lifetime  until vertex_array_destroy
 * @failure   0
 */
HALVORIN_API u32 vertex_array_create(void);

/** Destroys a vertex array and unbinds it. 0 does nothing. */
HALVORIN_API void vertex_array_destroy(u32 vertex_array);
HALVORIN_API void vertex_array_bind(u32 vertex_array);
HALVORIN_API void vertex_array_unbind(void);

/** Lets an attribute be read from its buffer (true), or be one value for all vertices (false). */
HALVORIN_API void attribute_enable(u32 index, b8 enable);

/**
 * Says how an attribute that the shader sees as floats lies in the buffer bound to
 * BUFFER_TARGET_ARRAY.
 *
 * @param size        components, 1 to 4.
 * @param normalized  true when integers stand for 0 to 1 (unsigned) or -1 to 1 (signed).
 * @param stride      bytes from one vertex to the next; 0 when they lie side by side.
 * @param offset      bytes from the buffer's start to the first vertex.
 */
HALVORIN_API void attribute_format(u32 index, i32 size, data_type type, b8 normalized, i32 stride,
                                   i32 offset);
/** The same for an attribute that the shader sees as integers. */
HALVORIN_API void attribute_integer_format(u32 index, i32 size, data_type type, i32 stride,
                                           i32 offset);

/** The attribute goes on every `divisor` instances; 0 means with every vertex. */
HALVORIN_API void attribute_divisor(u32 index, u32 divisor);

/**
 * Draws vertices in the order in which they stand in the buffers.
 *
 * @param primitive  OpenGL's own number: 0 points, 1 lines, 2 line loop, 3 line strip,
 *                   4 triangles, 5 triangle strip, 6 triangle fan; with adjacency 10 lines,
 *                   11 line strip, 12 triangles, 13 triangle strip.
 * @param first      the first vertex.
 * @param count      vertices.
 * @param instances  1 for a plain draw call; any other number is an instanced one, and 0 draws
 *                   nothing.
 */
HALVORIN_API void draw_arrays(u32 primitive, i32 first, i32 count, i32 instances);

/**
 * Draws vertices by the indices in the buffer bound to BUFFER_TARGET_ELEMENT_ARRAY.
 *
 * The order of the arguments is not OpenGL's: type and offset come ahead of the count.
 *
 * @param primitive    as for draw_arrays.
 * @param type         DATA_TYPE_UNSIGNED_BYTE, DATA_TYPE_UNSIGNED_SHORT or DATA_TYPE_UNSIGNED_INT.
 * @param offset       bytes, not indices, from the buffer's start to the first index.
 * @param count        indices.
 * @param base_vertex  added to every index.
 * @param instances    as for draw_arrays.
 */
HALVORIN_API void draw_elements(u32 primitive, data_type type, i32 offset, i32 count,
                                i32 base_vertex, i32 instances);
