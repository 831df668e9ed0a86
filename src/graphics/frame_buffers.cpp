// SPDX-License-Identifier: Zlib
#include "api/graphics_frame_buffers.h"

#include "frame/boundary.h"
#include "graphics/gl_tables.h"

#include <glad/gl.h>

using namespace halvorin;

u32 frame_buffer_create(void) {
    u32 frame_buffer = 0;
    glGenFramebuffers(1, &frame_buffer);
    return frame_buffer;
}

void frame_buffer_destroy(u32 frame_buffer) {
    glDeleteFramebuffers(1, &frame_buffer);
}

void frame_buffer_bind(frame_buffer_target target, u32 frame_buffer) {
    glBindFramebuffer(to_gl(gl::frame_buffer_target, target), frame_buffer);
}

void frame_buffer_unbind(frame_buffer_target target) {
    glBindFramebuffer(to_gl(gl::frame_buffer_target, target), 0);
}

void frame_buffer_texture(frame_buffer_target target, frame_buffer_attachment attachment,
                          i32 color_index, u32 texture, i32 level) {
    glFramebufferTexture(to_gl(gl::frame_buffer_target, target),
                         gl::to_gl_attachment(attachment, color_index), texture, level);
}

void frame_buffer_texture_face(frame_buffer_target target, frame_buffer_attachment attachment,
                               i32 color_index, u32 texture, i32 level, i32 cube_face) {
    glFramebufferTexture2D(
        to_gl(gl::frame_buffer_target, target), gl::to_gl_attachment(attachment, color_index),
        GL_TEXTURE_CUBE_MAP_POSITIVE_X + static_cast<u32>(cube_face), texture, level);
}

void frame_buffer_texture_layer(frame_buffer_target target, frame_buffer_attachment attachment,
                                i32 color_index, u32 texture, i32 level, i32 layer) {
    glFramebufferTextureLayer(to_gl(gl::frame_buffer_target, target),
                              gl::to_gl_attachment(attachment, color_index), texture, level, layer);
}

void frame_buffer_render_buffer(frame_buffer_target target, frame_buffer_attachment attachment,
                                i32 color_index, u32 render_buffer) {
    glFramebufferRenderbuffer(to_gl(gl::frame_buffer_target, target),
                              gl::to_gl_attachment(attachment, color_index), GL_RENDERBUFFER,
                              render_buffer);
}

frame_buffer_status frame_buffer_get_status(frame_buffer_target target) {
    return gl::from_gl_status(glCheckFramebufferStatus(to_gl(gl::frame_buffer_target, target)));
}

void frame_buffer_blit(i32 x, i32 y, i32 width, i32 height, i32 to_x, i32 to_y, i32 to_width,
                       i32 to_height, buffer_mask flags, texture_filter filter) {
    glBlitFramebuffer(x, y, wrapping_sum(x, width), wrapping_sum(y, height), to_x, to_y,
                      wrapping_sum(to_x, to_width), wrapping_sum(to_y, to_height),
                      gl::to_gl_mask(flags), to_gl(gl::texture_filter, filter));
}

u32 render_buffer_create(void) {
    u32 render_buffer = 0;
    glGenRenderbuffers(1, &render_buffer);
    return render_buffer;
}

void render_buffer_destroy(u32 render_buffer) {
    glDeleteRenderbuffers(1, &render_buffer);
}

void render_buffer_bind(u32 render_buffer) {
    glBindRenderbuffer(GL_RENDERBUFFER, render_buffer);
}

void render_buffer_unbind(void) {
    glBindRenderbuffer(GL_RENDERBUFFER, 0);
}

void render_buffer_storage(internal_format format, i32 width, i32 height) {
    glRenderbufferStorage(GL_RENDERBUFFER, to_gl(gl::internal_format, format), width, height);
}

void render_buffer_storage_multisample(internal_format format, i32 width, i32 height, i32 samples) {
    glRenderbufferStorageMultisample(GL_RENDERBUFFER, samples, to_gl(gl::internal_format, format),
                                     width, height);
}
