// SPDX-License-Identifier: Zlib
// The graphics family on a real OpenGL context: what reaches the pixels, and what OpenGL says of
// faults. That each call asks for the right thing is checked where OpenGL only writes it down.

#include "api/display.h"
#include "api/frame.h"
#include "api/graphics.h"

#include "support/common.h"

#include <SDL.h>
#include <glad/gl.h>
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <string>
#include <utility>
#include <vector>

// OpenGL's own function, past the library.
#define OPENGL(function)                                                                           \
    reinterpret_cast<decltype(glad_gl##function)>(SDL_GL_GetProcAddress("gl" #function))

namespace {

constexpr i32 side = 16;
constexpr u32 red = 0xFF0000FF, green = 0xFF00FF00, blue = 0xFFFF0000, black = 0xFF000000,
              white = 0xFFFFFFFF, grey = 0xFF888888;
constexpr frame_buffer_target drawing = FRAME_BUFFER_TARGET_DRAW,
                              reading = FRAME_BUFFER_TARGET_READ, both = FRAME_BUFFER_TARGET_BOTH;
constexpr frame_buffer_attachment color = FRAME_BUFFER_ATTACHMENT_COLOR;

u32 pixel(i32 x, i32 y) {
    u32 value = 0;
    pipeline_read_pixels(x, y, 1, 1, PIXEL_FORMAT_RGBA, DATA_TYPE_UNSIGNED_BYTE, &value);
    return value;
}

template <size_t Count> std::array<u32, Count> texels(texture_target target, i32 level = 0) {
    std::array<u32, Count> read = {};
    texture_get_image(target, level, PIXEL_FORMAT_RGBA, DATA_TYPE_UNSIGNED_BYTE, read.data());
    return read;
}

// A rectangle of the frame buffer that is bound for drawing.
void fill(u32 pixel, i32 x, i32 y, i32 width, i32 height) {
    const auto part = [&](int shift) {
        return std::bit_cast<u32>(static_cast<float>((pixel >> shift) & 0xFF) / 255.0f);
    };
    pipeline_scissor_enable(1);
    pipeline_scissor_rect(x, y, width, height);
    pipeline_clear_color(part(0), part(8), part(16), part(24));
    pipeline_clear(BUFFER_MASK_COLOR);
    pipeline_scissor_enable(0);
}

std::string log_of(u32 shader, std::string_view source, size_t size, b8 success) {
    std::string log(size + 8, '?');
    ShaderResult result;
    shader_source(&result, shader, slice(source), {log.data(), static_cast<i64>(size)});
    const auto count = static_cast<size_t>(result.log.count);
    EXPECT_EQ(result.success, success) << log;
    EXPECT_LE(count, size);
    EXPECT_EQ(log.substr(size), "????????") << "nothing behind the room";
    GLint attached = -1;
    OPENGL(GetProgramiv)(shader, GL_ATTACHED_SHADERS, &attached);
    EXPECT_EQ(attached, 0) << "no stage stays";
    return success ? log : log.substr(0, count);
}

constexpr std::string_view plain_source = R"(#vertex
#version 330 core
layout(location = 0) in vec2 position;
layout(location = 1) in vec4 tint;
out vec4 passed;
void main() { gl_Position = vec4(position, 0.0, 1.0); passed = tint; }
#fragment
#version 330 core
in vec4 passed;
out vec4 color;
void main() { color = passed; }
)";

class GraphicsContextTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        system_init(SYSTEM_INIT_VIDEO | SYSTEM_INIT_EVENTS);
        ASSERT_TRUE(display_open(side, side, slice("graphics"), DISPLAY_HIDDEN, 0));
    }
    static void TearDownTestSuite() {
        display_close();
        system_release();
    }
    void SetUp() override {
        fill(black, 0, 0, side, side);
        ASSERT_EQ(pipeline_get_error(), 0u);
    }
    void TearDown() override {
        for (const auto& [destroy, object] : objects) {
            destroy(object);
        }
        EXPECT_EQ(pipeline_get_error(), 0u);
    }

    // Destroyed at the end of the test.
    u32 owned(u32 object, void (*destroy)(u32)) {
        objects.emplace_back(destroy, object);
        return object;
    }
    u32 buffer_of(buffer_target target, const void* data, size_t size) {
        const u32 buffer = owned(buffer_create(), buffer_destroy);
        buffer_bind(target, buffer);
        buffer_data(target, static_cast<i64>(size), data, BUFFER_USAGE_STATIC_DRAW);
        return buffer;
    }
    u32 texture_of(texture_target target, i32 size = 0, i32 layers = 0) {
        const u32 texture = owned(texture_create(), texture_destroy);
        texture_bind(target, texture);
        if (layers > 0) {
            texture_image_3d(target, 0, INTERNAL_FORMAT_RGBA8, size, size, layers,
                             PIXEL_FORMAT_RGBA, DATA_TYPE_UNSIGNED_BYTE, nullptr);
        } else if (size > 0) {
            texture_image_2d(target, 0, INTERNAL_FORMAT_RGBA8, size, size, PIXEL_FORMAT_RGBA,
                             DATA_TYPE_UNSIGNED_BYTE, nullptr);
        }
        return texture;
    }
    u32 frame_buffer_on(u32 texture) {
        const u32 frame_buffer = owned(frame_buffer_create(), frame_buffer_destroy);
        frame_buffer_bind(both, frame_buffer);
        frame_buffer_texture(both, color, 0, texture, 0);
        return frame_buffer;
    }

    std::vector<std::pair<void (*)(u32), u32>> objects;
};

TEST_F(GraphicsContextTest, TexturesKeepPixelsAndCopyFromTheReadBuffer) {
    texture_unit(3);
    texture_of(TEXTURE_TARGET_2D);
    const u32 pixels[] = {red, green, blue, black};
    texture_image_2d(TEXTURE_TARGET_2D, 0, INTERNAL_FORMAT_RGBA8, 2, 2, PIXEL_FORMAT_RGBA,
                     DATA_TYPE_UNSIGNED_BYTE, pixels);
    texture_sub_image_2d(TEXTURE_TARGET_2D, 0, 1, 0, 1, 2, PIXEL_FORMAT_RGBA,
                         DATA_TYPE_UNSIGNED_BYTE, pixels + 2);
    EXPECT_EQ(texels<4>(TEXTURE_TARGET_2D), (std::array{red, blue, blue, black}));

    fill(green, 5, 6, 1, 1);
    fill(red, 6, 6, 1, 1);
    texture_copy_sub_image_2d(TEXTURE_TARGET_2D, 0, 5, 6, 0, 1, 2, 1);
    EXPECT_EQ(texels<4>(TEXTURE_TARGET_2D), (std::array{red, blue, green, red}));
    texture_copy_image_2d(TEXTURE_TARGET_2D, 0, INTERNAL_FORMAT_RGBA8, 4, 6, 2, 2);
    EXPECT_EQ(texels<4>(TEXTURE_TARGET_2D), (std::array{black, green, black, black}));
    texture_unit(0);
}

TEST_F(GraphicsContextTest, BuffersAreWrittenCopiedAndMapped) {
    const u32 source = buffer_of(BUFFER_TARGET_COPY_READ, "0123456789", 10);
    buffer_sub_data(BUFFER_TARGET_COPY_READ, 4, 2, "ab");
    buffer_of(BUFFER_TARGET_COPY_WRITE, "..........", 10);
    buffer_copy_sub_data(BUFFER_TARGET_COPY_READ, BUFFER_TARGET_COPY_WRITE, 3, 1, 4);
    Slice mapped, second;
    buffer_map(&mapped, BUFFER_TARGET_COPY_WRITE, 0x123456789, BUFFER_ACCESS_READ_WRITE);
    ASSERT_NE(mapped.data, nullptr);
    EXPECT_EQ(mapped.count, 0x123456789) << "the host's word for it";
    EXPECT_EQ(std::string(static_cast<char*>(mapped.data), 10), ".3ab6.....");

    buffer_map(&second, BUFFER_TARGET_COPY_WRITE, 10, BUFFER_ACCESS_READ_ONLY);
    EXPECT_EQ(second.data, nullptr) << "a mapped buffer can't be mapped again";
    EXPECT_EQ(second.count, 10);
    EXPECT_EQ(pipeline_get_error(), 0x503u);
    EXPECT_EQ(buffer_unmap(BUFFER_TARGET_COPY_WRITE), 1);
    EXPECT_EQ(buffer_unmap(BUFFER_TARGET_COPY_WRITE), 0);
    EXPECT_EQ(pipeline_get_error(), 0x503u);
    buffer_bind(8, source);
    EXPECT_EQ(pipeline_get_error(), 0x501u) << "no such target";
    EXPECT_EQ(pipeline_get_error(), 0u);
}

TEST_F(GraphicsContextTest, FailedShadersTellWhatIsWrongInTheOrderOfTheStages) {
    const std::string bad = "#fragment\n#version 330 core\nvoid main() { eek }\n"
                            "#vertex\n#version 330 core\nvoid main() { oops(); }\n";
    const u32 shader = owned(shader_create(), shader_destroy);
    const std::string log = log_of(shader, bad, 4000, 0);
    const size_t fragment = log.find("failed to compile fragment stage\n");
    EXPECT_EQ(log.find("failed to compile vertex stage\n"), 0u) << log;
    ASSERT_NE(fragment, log.npos) << log;
    EXPECT_LT(log.find("oops"), fragment) << "the driver's text stands behind its line";
    EXPECT_GT(log.size(), fragment + 33) << log;
    for (size_t size : {0u, 1u, 30u, 31u, 32u, 33u, 100u}) {
        const std::string part = log_of(shader, bad, size, 0);
        EXPECT_GE(part.size() + 1, size);
        EXPECT_EQ(part.substr(0, 31), log.substr(0, std::min<size_t>(size, 31)));
    }
    EXPECT_EQ(pipeline_get_error(), 0u) << "a log without room leaves no error behind";

    const std::string unlinked = log_of(
        shader, "#fragment\n#version 330 core\nvec4 f(); out vec4 c; void main() { c = f(); }\n",
        4000, 0);
    EXPECT_EQ(unlinked.find("failed to compile"), unlinked.npos) << unlinked;
    EXPECT_GT(unlinked.size(), 0u);

    EXPECT_EQ(log_of(shader, plain_source, 20, 1), std::string(28, '?')) << "no text on success";
    EXPECT_EQ(shader_get_attribute_location(shader, slice("tint")), 1);
    EXPECT_EQ(shader_get_output_location(shader, slice("color")), 0);
}

TEST_F(GraphicsContextTest, DrawingAndReadingHaveTheirOwnBindings) {
    const u32 target = frame_buffer_on(texture_of(TEXTURE_TARGET_2D, 8));
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

    // Outputs go where the draw buffers say.
    frame_buffer_texture(both, color, 2, texture_of(TEXTURE_TARGET_2D, 8), 0);
    i32 buffers[] = {2};
    pipeline_draw_buffers({buffers, 1});
    fill(red, 0, 0, 8, 8);
    EXPECT_EQ(pixel(3, 3), white);
    pipeline_read_buffer(2);
    EXPECT_EQ(pixel(3, 3), red);
    EXPECT_EQ(frame_buffer_get_status(both), u32{FRAME_BUFFER_STATUS_COMPLETE});
    frame_buffer_texture(both, color, 2, 0, 0);
    frame_buffer_texture(both, color, 0, 0, 0);
    EXPECT_EQ(frame_buffer_get_status(both),
              u32{FRAME_BUFFER_STATUS_INCOMPLETE_MISSING_ATTACHMENT});
}

TEST_F(GraphicsContextTest, LayersAndLevelsAreDrawnToOneByOne) {
    frame_buffer_on(0);
    const u32 colors[] = {red, green, blue};
    const u32 layers = texture_of(TEXTURE_TARGET_2D_ARRAY, 1, 3);
    for (i32 layer = 0; layer < 3; ++layer) {
        frame_buffer_texture_layer(both, color, 0, layers, 0, layer);
        fill(colors[layer], 0, 0, 1, 1);
    }
    EXPECT_EQ(texels<3>(TEXTURE_TARGET_2D_ARRAY), (std::array{red, green, blue}));
    // A clear of a whole texture reaches every layer.
    frame_buffer_texture(both, color, 0, layers, 0);
    fill(white, 0, 0, 1, 1);
    EXPECT_EQ(texels<3>(TEXTURE_TARGET_2D_ARRAY), (std::array{white, white, white}));

    const u32 leveled = texture_of(TEXTURE_TARGET_2D, 8);
    texture_generate_mipmap(TEXTURE_TARGET_2D);
    frame_buffer_texture(both, color, 0, leveled, 2);
    fill(green, 0, 0, 8, 8);
    EXPECT_EQ(texels<4>(TEXTURE_TARGET_2D, 2).back(), green);
}

TEST_F(GraphicsContextTest, ABlitMovesStretchesAndTurnsOver) {
    // Four pixels: red and green below, blue and white above.
    const u32 source = frame_buffer_on(texture_of(TEXTURE_TARGET_2D, 16));
    fill(red, 4, 6, 1, 1);
    fill(green, 5, 6, 1, 1);
    fill(blue, 4, 7, 1, 1);
    fill(white, 5, 7, 1, 1);
    const u32 target = frame_buffer_on(texture_of(TEXTURE_TARGET_2D, 16));
    const struct {
        std::array<i32, 4> from, to;
        std::array<u32, 4> corners;
    } cases[] = {
        {{4, 6, 2, 2}, {2, 3, 6, 8}, {red, green, blue, white}},
        {{4, 6, 2, 2}, {8, 3, -6, 8}, {green, red, white, blue}},
        {{4, 6, 2, 2}, {2, 11, 6, -8}, {blue, white, red, green}},
        {{6, 8, -2, -2}, {2, 3, 6, 8}, {white, blue, green, red}},
        {{4, 6, 1, 1}, {2, 3, 1, 1}, {red, grey, grey, grey}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.to));
        frame_buffer_bind(drawing, target);
        fill(grey, 0, 0, 16, 16);
        frame_buffer_bind(reading, source);
        const auto [x, y, width, height] = c.from;
        const auto [to_x, to_y, to_width, to_height] = c.to;
        frame_buffer_blit(x, y, width, height, to_x, to_y, to_width, to_height, BUFFER_MASK_COLOR,
                          TEXTURE_FILTER_NEAREST);
        frame_buffer_bind(reading, target);
        EXPECT_EQ((std::array{pixel(2, 3), pixel(7, 3), pixel(2, 10), pixel(7, 10)}), c.corners);
        EXPECT_EQ((std::array{pixel(1, 3), pixel(8, 10)}), (std::array{grey, grey}));
    }
}

} // namespace
