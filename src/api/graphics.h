/* SPDX-License-Identifier: Zlib */
#pragma once

/**
 * Graphics: OpenGL 3.3 core with the library's numbers in place of OpenGL's constants.
 *
 * Nearly every call here is one OpenGL call of the same meaning: shaders, textures, buffers, draw
 * calls and pipeline state are OpenGL's, and so are their rules. What differs:
 *  - Constants are the small numbers of graphics_enumerations.h. A number outside its enumeration
 *    reaches OpenGL as 0.
 *  - Floats passed by value travel as their bits (f32_bits).
 *  - Arguments stand in an order of their own where a function's comment says so.
 *  - shader_source takes all stages of a shader in one text.
 *
 * Objects. Shaders, textures, buffers, vertex arrays, frame buffers and render buffers are OpenGL
 * names: u32 numbers from a _create call, good until the matching _destroy. 0 is no object. The
 * library keeps no list of them, caches no state and never binds or unbinds anything by itself. The
 * one setting that it makes is seamless cube map sampling, which is on from the start.
 *
 * Memory. OpenGL reads or writes the host's memory during the call and keeps no pointer to it. No
 * call allocates; what the driver does behind OpenGL is its own matter, and so is where it waits.
 *
 * Calls, where nothing else is said, of all the headers below:
 *
 * @thread   display: behind a display_open for hardware graphics. Before it, and on any other
 *           thread, they must not be made.
 * @memory   none
 * @failure  OpenGL: nothing is checked and nothing is refused. What is wrong with a call shows in
 *           OpenGL's error state, which pipeline_get_error reads.
 * @heap     OpenGL
 * @waits    OpenGL
 */

#include "graphics_enumerations.h"
#include "graphics_frame_buffers.h"
#include "graphics_geometry.h"
#include "graphics_pipeline.h"
#include "graphics_shaders.h"
#include "graphics_textures.h"
