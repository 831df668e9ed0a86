// SPDX-License-Identifier: Zlib
#include "api/graphics_pipeline.h"

#include "api/frame.h"
#include "display/window.h"
#include "frame/boundary.h"
#include "graphics/gl_tables.h"

#include <SDL.h>
#include <glad/gl.h>

#include <algorithm>
#include <cstring>

using namespace halvorin;

namespace {

void switch_capability(GLenum capability, b8 enable) {
    if (is_true(enable)) {
        glEnable(capability);
    } else {
        glDisable(capability);
    }
}

// The low 14 bits of a clip plane's number count.
constexpr u32 clip_plane_mask = 0x3FFF;

} // namespace

void pipeline_clear(buffer_mask flags) {
    glClear(gl::to_gl_mask(flags));
}

void pipeline_clear_color(f32_bits red, f32_bits green, f32_bits blue, f32_bits alpha) {
    glClearColor(value_of(red), value_of(green), value_of(blue), value_of(alpha));
}

void pipeline_clear_stencil(u8 value) {
    glClearStencil(low_bits(value));
}

// GL takes a double here. Widening keeps exactly the single-precision value that the host gave.
void pipeline_clear_depth(f32_bits depth) {
    glClearDepth(static_cast<double>(value_of(depth)));
}

void pipeline_depth_enable(b8 enable) {
    switch_capability(GL_DEPTH_TEST, enable);
}

void pipeline_depth_func(compare_function function) {
    glDepthFunc(to_gl(gl::compare_function, function));
}

void pipeline_depth_mask(b8 write) {
    glDepthMask(is_true(write));
}

void pipeline_depth_clamp(b8 enable) {
    switch_capability(GL_DEPTH_CLAMP, enable);
}

void pipeline_depth_range(f32_bits near_depth, f32_bits far_depth) {
    glDepthRange(static_cast<double>(value_of(near_depth)),
                 static_cast<double>(value_of(far_depth)));
}

void pipeline_stencil_enable(b8 enable) {
    switch_capability(GL_STENCIL_TEST, enable);
}

void pipeline_stencil_func(compare_function function, u8 reference, u8 mask) {
    glStencilFunc(to_gl(gl::compare_function, function), low_bits(reference), low_bits(mask));
}

void pipeline_stencil_op(stencil_operation stencil_fail, stencil_operation depth_fail,
                         stencil_operation pass) {
    glStencilOp(to_gl(gl::stencil_operation, stencil_fail),
                to_gl(gl::stencil_operation, depth_fail), to_gl(gl::stencil_operation, pass));
}

void pipeline_stencil_mask(u8 mask) {
    glStencilMask(low_bits(mask));
}

void pipeline_stencil_func_separate(face side, compare_function function, u8 reference, u8 mask) {
    glStencilFuncSeparate(to_gl(gl::face, side), to_gl(gl::compare_function, function),
                          low_bits(reference), low_bits(mask));
}

void pipeline_stencil_op_separate(face side, stencil_operation stencil_fail,
                                  stencil_operation depth_fail, stencil_operation pass) {
    glStencilOpSeparate(to_gl(gl::face, side), to_gl(gl::stencil_operation, stencil_fail),
                        to_gl(gl::stencil_operation, depth_fail),
                        to_gl(gl::stencil_operation, pass));
}

void pipeline_stencil_mask_separate(face side, u8 mask) {
    glStencilMaskSeparate(to_gl(gl::face, side), low_bits(mask));
}

void pipeline_blend_enable(b8 enable) {
    switch_capability(GL_BLEND, enable);
}

void pipeline_blend_factor(blend_factor source, blend_factor destination) {
    glBlendFunc(to_gl(gl::blend_factor, source), to_gl(gl::blend_factor, destination));
}

void pipeline_blend_equation(blend_equation equation) {
    glBlendEquation(to_gl(gl::blend_equation, equation));
}

void pipeline_blend_factor_separate(blend_factor source_rgb, blend_factor destination_rgb,
                                    blend_factor source_alpha, blend_factor destination_alpha) {
    glBlendFuncSeparate(
        to_gl(gl::blend_factor, source_rgb), to_gl(gl::blend_factor, destination_rgb),
        to_gl(gl::blend_factor, source_alpha), to_gl(gl::blend_factor, destination_alpha));
}

void pipeline_blend_equation_separate(blend_equation rgb, blend_equation alpha) {
    glBlendEquationSeparate(to_gl(gl::blend_equation, rgb), to_gl(gl::blend_equation, alpha));
}

void pipeline_blend_color(f32_bits red, f32_bits green, f32_bits blue, f32_bits alpha) {
    glBlendColor(value_of(red), value_of(green), value_of(blue), value_of(alpha));
}

void pipeline_color_clamp(b8 clamp) {
    glClampColor(GL_CLAMP_READ_COLOR, is_true(clamp) ? GL_TRUE : GL_FALSE);
}

void pipeline_color_mask(b8 red, b8 green, b8 blue, b8 alpha) {
    glColorMask(is_true(red), is_true(green), is_true(blue), is_true(alpha));
}

void pipeline_logic_enable(b8 enable) {
    switch_capability(GL_COLOR_LOGIC_OP, enable);
}

void pipeline_logic_op(logic_operation operation) {
    glLogicOp(to_gl(gl::logic_operation, operation));
}

void pipeline_cull_enable(b8 enable) {
    switch_capability(GL_CULL_FACE, enable);
}

void pipeline_cull_face(face side) {
    glCullFace(to_gl(gl::face, side));
}

void pipeline_cull_orientation(b8 counter_clockwise) {
    glFrontFace(is_true(counter_clockwise) ? GL_CCW : GL_CW);
}

void pipeline_polygon_mode(face side, polygon_mode mode) {
    glPolygonMode(to_gl(gl::face, side), to_gl(gl::polygon_mode, mode));
}

void pipeline_viewport(i32 x, i32 y, i32 width, i32 height) {
    glViewport(x, y, width, height);
}

void pipeline_scissor_enable(b8 enable) {
    switch_capability(GL_SCISSOR_TEST, enable);
}

void pipeline_scissor_rect(i32 x, i32 y, i32 width, i32 height) {
    glScissor(x, y, width, height);
}

void pipeline_point_shader_enable(b8 enable) {
    switch_capability(GL_PROGRAM_POINT_SIZE, enable);
}

void pipeline_point_size(f32_bits size) {
    glPointSize(value_of(size));
}

void pipeline_point_coord_origin(point_origin origin) {
    glPointParameteri(GL_POINT_SPRITE_COORD_ORIGIN,
                      origin == POINT_ORIGIN_UPPER_LEFT ? GL_UPPER_LEFT : GL_LOWER_LEFT);
}

void pipeline_point_fade_threshold_size(f32_bits size) {
    glPointParameterf(GL_POINT_FADE_THRESHOLD_SIZE, value_of(size));
}

void pipeline_primitive_restart_enable(b8 enable) {
    switch_capability(GL_PRIMITIVE_RESTART, enable);
}

void pipeline_primitive_restart_index(u32 index) {
    glPrimitiveRestartIndex(index);
}

void pipeline_clip_plane_enable(u32 plane, b8 enable) {
    switch_capability(GL_CLIP_DISTANCE0 + (plane & clip_plane_mask), enable);
}

void pipeline_multisample_enable(b8 enable) {
    switch_capability(GL_MULTISAMPLE, enable);
}

void pipeline_present(void) {
    SDL_GL_SwapWindow(live_window());
}

void pipeline_finish(void) {
    glFinish();
}

// The list is made at the front of the scratch array, whose position stays. GL is told the whole
// count, which it refuses when it is too large, but never more than the array holds.
void pipeline_draw_buffers(Slice buffers) {
    const auto* numbers = static_cast<const u8*>(buffers.data);
    for (i32 i = 0; i < static_cast<i8>(buffers.count); ++i) {
        color_buffer_number number;
        std::memcpy(&number, numbers + 4 * i, sizeof number);
        const GLenum buffer = gl::to_gl_color_buffer(number);
        std::memcpy(temporary_buffer + 4 * i, &buffer, sizeof buffer);
    }
    constexpr i32 room = sizeof temporary_buffer / sizeof(GLenum);
    glDrawBuffers(std::min(static_cast<i32>(buffers.count), room),
                  reinterpret_cast<const GLenum*>(temporary_buffer));
}

void pipeline_read_buffer(color_buffer_number buffer) {
    glReadBuffer(gl::to_gl_color_buffer(buffer));
}

void pipeline_pixel_store(pixel_store_parameter parameter, i32 value) {
    glPixelStorei(to_gl(gl::pixel_store_parameter, parameter), value);
}

void pipeline_read_pixels(i32 x, i32 y, i32 width, i32 height, pixel_format format, data_type type,
                          void* pixels) {
    glReadPixels(x, y, width, height, to_gl(gl::pixel_format, format), to_gl(gl::data_type, type),
                 pixels);
}

u32 pipeline_get_error(void) {
    const GLenum error = glGetError();
    return error == GL_NO_ERROR ? 0 : error + 1;
}
