// SPDX-License-Identifier: Zlib
// Frame buffers on a real OpenGL context: what is attached, what a blit leaves, what a status
// tells.

#include "api/display.h"
#include "api/frame.h"
#include "api/graphics.h"

#include <SDL.h>
#include <glad/gl.h>
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <vector>

// OpenGL's own function, past the library.
#define OPENGL(function)                                                                           \
    reinterpret_cast<decltype(glad_gl##function)>(SDL_GL_GetProcAddress("gl" #function))

namespace {

constexpr frame_buffer_target drawing = FRAME_BUFFER_TARGET_DRAW,
                              reading = FRAME_BUFFER_TARGET_READ, both = FRAME_BUFFER_TARGET_BOTH;
constexpr frame_buffer_attachment color = FRAME_BUFFER_ATTACHMENT_COLOR;
constexpr u32 red = 0xFF0000FF, green = 0xFF00FF00, blue = 0xFFFF0000, white = 0xFFFFFFFF;

u32 bits(float value) {
    return std::bit_cast<u32>(value);
}

// A rectangle of the frame buffer that is bound for drawing.
void fill(u32 pixel, i32 x, i32 y, i32 width, i32 height) {
    const auto part = [&](int shift) {
        return bits(static_cast<float>((pixel >> shift) & 0xFF) / 255.0f);
    };
    pipeline_scissor_enable(1);
    pipeline_scissor_rect(x, y, width, height);
    pipeline_clear_color(part(0), part(8), part(16), part(24));
    pipeline_clear(BUFFER_MASK_COLOR);
    pipeline_scissor_enable(0);
}

u32 pixel(i32 x, i32 y) {
    u32 value = 0;
    pipeline_read_pixels(x, y, 1, 1, PIXEL_FORMAT_RGBA, DATA_TYPE_UNSIGNED_BYTE, &value);
    return value;
}

u32 bound_frame_buffer() {
    const u32 frame_buffer = frame_buffer_create();
    frame_buffer_bind(both, frame_buffer);
    return frame_buffer;
}

u32 render_buffer_of(internal_format format, i32 side, i32 samples = 0) {
    const u32 render_buffer = render_buffer_create();
    render_buffer_bind(render_buffer);
    if (samples > 0) {
        render_buffer_storage_multisample(format, side, side, samples);
    } else {
        render_buffer_storage(format, side, side);
    }
    return render_buffer;
}

u32 texture_of(internal_format storage, i32 side) {
    const bool depth = storage == INTERNAL_FORMAT_DEPTH24_STENCIL8;
    const u32 texture = texture_create();
    texture_bind(TEXTURE_TARGET_2D, texture);
    texture_image_2d(TEXTURE_TARGET_2D, 0, storage, side, side,
                     depth ? PIXEL_FORMAT_DEPTH_STENCIL : PIXEL_FORMAT_RGBA,
                     depth ? DATA_TYPE_UNSIGNED_INT_24_8 : DATA_TYPE_UNSIGNED_BYTE, nullptr);
    return texture;
}

u32 array_texture_of(texture_target target, i32 side, i32 layers) {
    const u32 texture = texture_create();
    texture_bind(target, texture);
    texture_image_3d(target, 0, INTERNAL_FORMAT_RGBA8, side, side, layers, PIXEL_FORMAT_RGBA,
                     DATA_TYPE_UNSIGNED_BYTE, nullptr);
    texture_parameter_filter(target, TEXTURE_PARAMETER_MIN_FILTER, TEXTURE_FILTER_NEAREST);
    return texture;
}

GLint attached(GLenum attachment, GLenum what) {
    GLint value = -1;
    OPENGL(GetFramebufferAttachmentParameteriv)(GL_FRAMEBUFFER, attachment, what, &value);
    return value;
}

GLint name_at(GLenum attachment) {
    if (attached(attachment, GL_FRAMEBUFFER_ATTACHMENT_OBJECT_TYPE) == GL_NONE) return 0;
    return attached(attachment, GL_FRAMEBUFFER_ATTACHMENT_OBJECT_NAME);
}

class FrameBuffersTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        char name[] = "frame buffers";
        system_init(SYSTEM_INIT_VIDEO | SYSTEM_INIT_EVENTS);
        ASSERT_TRUE(display_open(16, 16, {name, 13}, DISPLAY_HIDDEN, 0));
    }
    static void TearDownTestSuite() {
        display_close();
        system_release();
    }
    void SetUp() override {
        ASSERT_EQ(pipeline_get_error(), 0u);
    }
    void TearDown() override {
        frame_buffer_unbind(both);
        render_buffer_unbind();
        EXPECT_EQ(pipeline_get_error(), 0u);
    }
};

} // namespace

TEST_F(FrameBuffersTest, EachKindOfAttachmentHasItsPointAndOnlyColorsHaveAnIndex) {
    const u32 frame_buffer = bound_frame_buffer();
    const u32 depth_stencil = render_buffer_of(INTERNAL_FORMAT_DEPTH24_STENCIL8, 8);
    const u32 texture = texture_of(INTERNAL_FORMAT_RGBA8, 8);
    const struct {
        frame_buffer_attachment attachment;
        bool depth, stencil;
    } cases[] = {
        {FRAME_BUFFER_ATTACHMENT_DEPTH, true, false},
        {FRAME_BUFFER_ATTACHMENT_STENCIL, false, true},
        {FRAME_BUFFER_ATTACHMENT_DEPTH_STENCIL, true, true},
    };
    const auto expected = [&](bool there) { return there ? static_cast<GLint>(depth_stencil) : 0; };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.attachment);
        frame_buffer_render_buffer(both, c.attachment, 5, depth_stencil);
        EXPECT_EQ(name_at(GL_DEPTH_ATTACHMENT), expected(c.depth));
        EXPECT_EQ(name_at(GL_STENCIL_ATTACHMENT), expected(c.stencil));
        frame_buffer_render_buffer(both, c.attachment, 0, 0);
        EXPECT_EQ(name_at(GL_DEPTH_ATTACHMENT) + name_at(GL_STENCIL_ATTACHMENT), 0);
    }
    frame_buffer_texture(both, color, 2, texture, 0);
    EXPECT_EQ(name_at(GL_COLOR_ATTACHMENT2), static_cast<GLint>(texture));
    EXPECT_EQ(name_at(GL_COLOR_ATTACHMENT0), 0);
    frame_buffer_render_buffer(both, 4, 0, depth_stencil);
    EXPECT_EQ(pipeline_get_error(), 0x501u) << "no such attachment";

    // Outputs go where the draw buffers say, in the host's order.
    const u32 second = texture_of(INTERNAL_FORMAT_RGBA8, 8);
    frame_buffer_texture(both, color, 0, second, 0);
    i32 buffers[] = {2};
    pipeline_draw_buffers({buffers, 1});
    fill(red, 0, 0, 8, 8);
    buffers[0] = 0;
    pipeline_draw_buffers({buffers, 1});
    fill(green, 0, 0, 8, 8);
    pipeline_read_buffer(2);
    EXPECT_EQ(pixel(7, 7), red);
    pipeline_read_buffer(0);
    EXPECT_EQ(pixel(7, 7), green);
    render_buffer_destroy(depth_stencil);
    texture_destroy(texture);
    texture_destroy(second);
    frame_buffer_destroy(frame_buffer);
}

TEST_F(FrameBuffersTest, DrawingAndReadingHaveTheirOwnBindings) {
    const u32 target = bound_frame_buffer();
    const u32 drawn = texture_of(INTERNAL_FORMAT_RGBA8, 8);
    frame_buffer_texture(both, color, 0, drawn, 0);
    fill(blue, 0, 0, 8, 8);
    frame_buffer_unbind(drawing);
    fill(green, 0, 0, 16, 16);
    EXPECT_EQ(pixel(3, 3), blue);
    frame_buffer_unbind(reading);
    EXPECT_EQ(pixel(3, 3), green);
    frame_buffer_bind(drawing, target);
    fill(white, 0, 0, 8, 8);
    EXPECT_EQ(pixel(3, 3), green);
    frame_buffer_bind(reading, target);
    EXPECT_EQ(pixel(3, 3), white);
    texture_destroy(drawn);
    frame_buffer_destroy(target);
    GLint bound = -1;
    OPENGL(GetIntegerv)(GL_DRAW_FRAMEBUFFER_BINDING, &bound);
    EXPECT_EQ(bound, 0) << "the window's takes the place of a destroyed one";
}

TEST_F(FrameBuffersTest, FacesLayersAndLevelsAreDrawnToOneByOne) {
    const u32 frame_buffer = bound_frame_buffer();
    const u32 colors[] = {red, green, blue, white, 0xFF102030, 0xFF405060};

    // The library has no upload of a face, so the cube map gets its store past it.
    const u32 cube = texture_create();
    texture_bind(TEXTURE_TARGET_CUBE_MAP, cube);
    for (u32 side = 0; side < 6; ++side) {
        OPENGL(TexImage2D)
        (GL_TEXTURE_CUBE_MAP_POSITIVE_X + side, 0, GL_RGBA8, 4, 4, 0, GL_RGBA, GL_UNSIGNED_BYTE,
         nullptr);
    }
    for (i32 side = 0; side < 6; ++side) {
        frame_buffer_texture_face(both, color, 0, cube, 0, side);
        fill(colors[side], 0, 0, 4, 4);
        EXPECT_EQ(attached(GL_COLOR_ATTACHMENT0, GL_FRAMEBUFFER_ATTACHMENT_TEXTURE_CUBE_MAP_FACE),
                  GL_TEXTURE_CUBE_MAP_POSITIVE_X + side);
    }
    for (u32 side = 0; side < 6; ++side) {
        std::array<u32, 16> texels = {};
        OPENGL(GetTexImage)
        (GL_TEXTURE_CUBE_MAP_POSITIVE_X + side, 0, GL_RGBA, GL_UNSIGNED_BYTE, texels.data());
        EXPECT_EQ(texels[15], colors[side]) << side;
    }
    frame_buffer_texture_face(both, color, 0, cube, 0, 6);
    EXPECT_NE(pipeline_get_error(), 0u) << "a cube has six faces";

    for (const texture_target target : {TEXTURE_TARGET_2D_ARRAY, TEXTURE_TARGET_3D}) {
        SCOPED_TRACE(target);
        const u32 layers = array_texture_of(target, 2, 3);
        for (i32 layer = 0; layer < 3; ++layer) {
            frame_buffer_texture_layer(both, color, 0, layers, 0, layer);
            fill(colors[layer], 0, 0, 2, 2);
        }
        std::array<u32, 12> texels = {};
        texture_get_image(target, 0, PIXEL_FORMAT_RGBA, DATA_TYPE_UNSIGNED_BYTE, texels.data());
        EXPECT_EQ(texels[3], red);
        EXPECT_EQ(texels[4], green);
        EXPECT_EQ(texels[11], blue);

        // A clear of a whole texture reaches every layer.
        frame_buffer_texture(both, color, 0, layers, 0);
        EXPECT_EQ(attached(GL_COLOR_ATTACHMENT0, GL_FRAMEBUFFER_ATTACHMENT_LAYERED), 1);
        fill(white, 0, 0, 2, 2);
        texture_get_image(target, 0, PIXEL_FORMAT_RGBA, DATA_TYPE_UNSIGNED_BYTE, texels.data());
        for (const u32 texel : texels) {
            EXPECT_EQ(texel, white);
        }
        texture_destroy(layers);
    }

    const u32 leveled = texture_of(INTERNAL_FORMAT_RGBA8, 8);
    texture_generate_mipmap(TEXTURE_TARGET_2D);
    frame_buffer_texture(both, color, 0, leveled, 2);
    fill(green, 0, 0, 8, 8);
    std::array<u32, 4> level = {};
    texture_get_image(TEXTURE_TARGET_2D, 2, PIXEL_FORMAT_RGBA, DATA_TYPE_UNSIGNED_BYTE,
                      level.data());
    EXPECT_EQ(level[3], green);
    texture_destroy(leveled);
    texture_destroy(cube);
    frame_buffer_destroy(frame_buffer);
}

TEST_F(FrameBuffersTest, ABlitMovesStretchesAndTurnsOver) {
    const u32 source = bound_frame_buffer();
    const u32 from = texture_of(INTERNAL_FORMAT_RGBA8, 16);
    frame_buffer_texture(both, color, 0, from, 0);
    // Four pixels: red and green below, blue and white above.
    fill(red, 4, 6, 1, 1);
    fill(green, 5, 6, 1, 1);
    fill(blue, 4, 7, 1, 1);
    fill(white, 5, 7, 1, 1);
    const u32 target = bound_frame_buffer();
    const u32 to = texture_of(INTERNAL_FORMAT_RGBA8, 16);
    frame_buffer_texture(both, color, 0, to, 0);
    const auto corners = [&](i32 x, i32 y, i32 width, i32 height, i32 to_x, i32 to_y, i32 to_width,
                             i32 to_height, texture_filter filter = TEXTURE_FILTER_NEAREST) {
        frame_buffer_bind(drawing, target);
        fill(0xFF888888, 0, 0, 16, 16);
        frame_buffer_bind(reading, source);
        frame_buffer_blit(x, y, width, height, to_x, to_y, to_width, to_height, BUFFER_MASK_COLOR,
                          filter);
        frame_buffer_bind(reading, target);
        return std::array{pixel(2, 3), pixel(7, 3), pixel(2, 10), pixel(7, 10)};
    };
    const u32 grey = 0xFF888888;
    EXPECT_EQ(corners(4, 6, 2, 2, 2, 3, 6, 8), (std::array{red, green, blue, white}));
    EXPECT_EQ(pixel(1, 3), grey);
    EXPECT_EQ(pixel(8, 10), grey);
    EXPECT_EQ(pixel(4, 6), red);
    EXPECT_EQ(pixel(5, 7), white);
    EXPECT_EQ(corners(4, 6, 2, 2, 8, 3, -6, 8), (std::array{green, red, white, blue}));
    EXPECT_EQ(corners(4, 6, 2, 2, 2, 11, 6, -8), (std::array{blue, white, red, green}));
    EXPECT_EQ(corners(6, 8, -2, -2, 2, 3, 6, 8), (std::array{white, blue, green, red}));
    EXPECT_EQ(corners(4, 6, 1, 1, 2, 3, 1, 1), (std::array{red, grey, grey, grey}));
    corners(4, 6, 2, 1, 0, 0, 16, 1, TEXTURE_FILTER_LINEAR);
    EXPECT_NE(pixel(8, 0), red);
    EXPECT_NE(pixel(8, 0), green) << "in between";
    frame_buffer_bind(reading, source);
    frame_buffer_blit(4, 6, 2, 2, 2, 3, 6, 8, BUFFER_MASK_COLOR,
                      TEXTURE_FILTER_LINEAR_MIPMAP_LINEAR);
    EXPECT_EQ(pipeline_get_error(), 0x501u) << "no filter for a blit";
    texture_destroy(from);
    texture_destroy(to);
    frame_buffer_destroy(source);
    frame_buffer_destroy(target);
}

TEST_F(FrameBuffersTest, ABlitTakesTheBuffersThatItIsTold) {
    std::array<u32, 2> frame_buffers = {}, colors = {}, depths = {};
    for (size_t i = 0; i < 2; ++i) {
        frame_buffers[i] = bound_frame_buffer();
        colors[i] = render_buffer_of(INTERNAL_FORMAT_RGBA8, 8);
        depths[i] = render_buffer_of(INTERNAL_FORMAT_DEPTH24_STENCIL8, 8);
        frame_buffer_render_buffer(both, color, 0, colors[i]);
        frame_buffer_render_buffer(both, FRAME_BUFFER_ATTACHMENT_DEPTH_STENCIL, 0, depths[i]);
        ASSERT_EQ(frame_buffer_get_status(both), u32{FRAME_BUFFER_STATUS_COMPLETE});
    }
    const auto clear_to = [](u32 frame_buffer, u32 pixel, float depth, u8 stencil) {
        frame_buffer_bind(both, frame_buffer);
        pipeline_clear_depth(bits(depth));
        pipeline_clear_stencil(stencil);
        pipeline_clear(BUFFER_MASK_DEPTH | BUFFER_MASK_STENCIL);
        fill(pixel, 0, 0, 8, 8);
    };
    for (u32 flags = 0; flags < 8; ++flags) {
        SCOPED_TRACE(flags);
        clear_to(frame_buffers[0], red, 0.25f, 77);
        clear_to(frame_buffers[1], blue, 0.75f, 11);
        frame_buffer_bind(reading, frame_buffers[0]);
        frame_buffer_blit(0, 0, 8, 8, 0, 0, 8, 8, flags, TEXTURE_FILTER_NEAREST);
        frame_buffer_bind(reading, frame_buffers[1]);
        float depth = -1;
        u8 stencil = 0;
        pipeline_read_pixels(5, 5, 1, 1, PIXEL_FORMAT_DEPTH_COMPONENT, DATA_TYPE_FLOAT, &depth);
        pipeline_read_pixels(5, 5, 1, 1, PIXEL_FORMAT_STENCIL_INDEX, DATA_TYPE_UNSIGNED_BYTE,
                             &stencil);
        EXPECT_NEAR(depth, flags & BUFFER_MASK_DEPTH ? 0.25f : 0.75f, 0.001f);
        EXPECT_EQ(stencil, flags & BUFFER_MASK_STENCIL ? 77 : 11);
        EXPECT_EQ(pixel(5, 5), flags & BUFFER_MASK_COLOR ? red : blue);
    }
    for (size_t i = 0; i < 2; ++i) {
        frame_buffer_destroy(frame_buffers[i]);
        render_buffer_destroy(colors[i]);
        render_buffer_destroy(depths[i]);
    }
    pipeline_clear_depth(bits(1));
    pipeline_clear_stencil(0);
}

TEST_F(FrameBuffersTest, SamplesComeTogetherInABlit) {
    const u32 sampled = bound_frame_buffer();
    const u32 samples = render_buffer_of(INTERNAL_FORMAT_RGBA8, 8, 4);
    frame_buffer_render_buffer(both, color, 0, samples);
    ASSERT_EQ(frame_buffer_get_status(both), u32{FRAME_BUFFER_STATUS_COMPLETE});
    GLint count = 0;
    OPENGL(GetRenderbufferParameteriv)(GL_RENDERBUFFER, GL_RENDERBUFFER_SAMPLES, &count);
    EXPECT_EQ(count, 4);
    fill(blue, 0, 0, 8, 8);
    // The lower left half, up to a slanted edge.
    char source[] = "#vertex\n#version 330 core\n"
                    "void main() { gl_Position = vec4(gl_VertexID == 1 ? 0.9 : -1.0,"
                    " gl_VertexID == 2 ? 1.0 : -1.0, 0.0, 1.0); }\n"
                    "#fragment\n#version 330 core\nout vec4 c; void main() { c = vec4(1.0); }\n";
    const u32 shader = shader_create();
    ShaderResult result;
    shader_source(&result, shader, {source, sizeof source - 1}, {nullptr, 0});
    ASSERT_EQ(result.success, 1);
    shader_bind(shader);
    const u32 vertex_array = vertex_array_create();
    vertex_array_bind(vertex_array);
    pipeline_viewport(0, 0, 8, 8);
    draw_arrays(4, 0, 3, 1);

    const u32 plain = bound_frame_buffer();
    const u32 texture = texture_of(INTERNAL_FORMAT_RGBA8, 8);
    frame_buffer_texture(both, color, 0, texture, 0);
    frame_buffer_bind(reading, sampled);
    frame_buffer_blit(0, 0, 8, 8, 0, 0, 8, 8, BUFFER_MASK_COLOR, TEXTURE_FILTER_NEAREST);
    frame_buffer_bind(reading, plain);
    EXPECT_EQ(pixel(0, 0), white);
    EXPECT_EQ(pixel(7, 7), blue);
    bool blended = false;
    for (i32 y = 0; y < 8; ++y) {
        for (i32 x = 0; x < 8; ++x) {
            const u32 part = pixel(x, y) & 0xFF;
            blended |= part != 0 && part != 0xFF;
        }
    }
    EXPECT_TRUE(blended) << "the edge has pixels of which only some samples are covered";

    frame_buffer_bind(reading, sampled);
    frame_buffer_blit(0, 0, 8, 8, 0, 0, 4, 4, BUFFER_MASK_COLOR, TEXTURE_FILTER_NEAREST);
    EXPECT_EQ(pipeline_get_error(), 0x503u) << "samples aren't stretched";
    shader_destroy(shader);
    vertex_array_destroy(vertex_array);
    texture_destroy(texture);
    render_buffer_destroy(samples);
    frame_buffer_destroy(sampled);
    frame_buffer_destroy(plain);
    pipeline_viewport(0, 0, 16, 16);
}

TEST_F(FrameBuffersTest, TheStatusTellsWhatIsMissing) {
    const auto status = [] { return frame_buffer_get_status(both); };
    EXPECT_EQ(status(), u32{FRAME_BUFFER_STATUS_COMPLETE}) << "the window's";
    const u32 frame_buffer = bound_frame_buffer();
    EXPECT_EQ(status(), u32{FRAME_BUFFER_STATUS_INCOMPLETE_MISSING_ATTACHMENT});

    const u32 texture = texture_create();
    texture_bind(TEXTURE_TARGET_2D, texture);
    frame_buffer_texture(both, color, 0, texture, 0);
    EXPECT_EQ(status(), u32{FRAME_BUFFER_STATUS_INCOMPLETE_ATTACHMENT}) << "no store";
    texture_image_2d(TEXTURE_TARGET_2D, 0, INTERNAL_FORMAT_RGBA8, 8, 8, PIXEL_FORMAT_RGBA,
                     DATA_TYPE_UNSIGNED_BYTE, nullptr);
    EXPECT_EQ(status(), u32{FRAME_BUFFER_STATUS_COMPLETE});

    const u32 samples = render_buffer_of(INTERNAL_FORMAT_RGBA8, 8, 4);
    frame_buffer_render_buffer(both, color, 1, samples);
    EXPECT_EQ(status(), u32{FRAME_BUFFER_STATUS_INCOMPLETE_MULTISAMPLE});
    frame_buffer_render_buffer(both, color, 1, 0);

    const u32 layers = array_texture_of(TEXTURE_TARGET_2D_ARRAY, 8, 2);
    frame_buffer_texture(both, color, 1, layers, 0);
    EXPECT_EQ(status(), u32{FRAME_BUFFER_STATUS_INCOMPLETE_LAYER_TARGETS}) << "some are layered";
    frame_buffer_texture_layer(both, color, 1, layers, 0, 1);
    EXPECT_EQ(status(), u32{FRAME_BUFFER_STATUS_COMPLETE});

    // What drivers differ in: the library says what this one does.
    const auto expect_what_the_driver_says = [&](GLenum fault, u32 number) {
        const GLenum said = OPENGL(CheckFramebufferStatus)(GL_FRAMEBUFFER);
        EXPECT_TRUE(said == fault || said == GL_FRAMEBUFFER_COMPLETE) << said;
        EXPECT_EQ(status(), said == fault ? number : u32{FRAME_BUFFER_STATUS_COMPLETE});
    };
    i32 buffers[] = {3};
    pipeline_draw_buffers({buffers, 1});
    expect_what_the_driver_says(GL_FRAMEBUFFER_INCOMPLETE_DRAW_BUFFER,
                                FRAME_BUFFER_STATUS_INCOMPLETE_DRAW_BUFFER);
    buffers[0] = 0;
    pipeline_draw_buffers({buffers, 1});
    pipeline_read_buffer(3);
    expect_what_the_driver_says(GL_FRAMEBUFFER_INCOMPLETE_READ_BUFFER,
                                FRAME_BUFFER_STATUS_INCOMPLETE_READ_BUFFER);
    pipeline_read_buffer(0);
    const u32 depth = render_buffer_of(INTERNAL_FORMAT_DEPTH24_STENCIL8, 8);
    const u32 stencil = render_buffer_of(INTERNAL_FORMAT_DEPTH24_STENCIL8, 8);
    frame_buffer_render_buffer(both, FRAME_BUFFER_ATTACHMENT_DEPTH, 0, depth);
    frame_buffer_render_buffer(both, FRAME_BUFFER_ATTACHMENT_STENCIL, 0, stencil);
    expect_what_the_driver_says(GL_FRAMEBUFFER_UNSUPPORTED, FRAME_BUFFER_STATUS_UNSUPPORTED);

    EXPECT_EQ(frame_buffer_get_status(3), u32{FRAME_BUFFER_STATUS_COMPLETE}) << "the failed call";
    EXPECT_EQ(pipeline_get_error(), 0x501u);
    texture_destroy(texture);
    texture_destroy(layers);
    render_buffer_destroy(samples);
    render_buffer_destroy(depth);
    render_buffer_destroy(stencil);
    frame_buffer_destroy(frame_buffer);
}
