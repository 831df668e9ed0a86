// SPDX-License-Identifier: Zlib
// The graphics family on a real OpenGL context: what reaches the pixels, and what OpenGL says of
// faults. That each call asks for the right thing is checked where OpenGL only writes it down.

#include "support/display.h"

#include <array>
#include <string>

namespace {

constexpr u32 red = 0xFF0000FF, green = 0xFF00FF00, blue = 0xFFFF0000, black = 0xFF000000,
              white = 0xFFFFFFFF;
constexpr frame_buffer_target drawing = FRAME_BUFFER_TARGET_DRAW,
                              reading = FRAME_BUFFER_TARGET_READ, both = FRAME_BUFFER_TARGET_BOTH;
constexpr frame_buffer_attachment color = FRAME_BUFFER_ATTACHMENT_COLOR;

u32 pixel(i32 x, i32 y) {
    u32 value = 0;
    pipeline_read_pixels(x, y, 1, 1, PIXEL_FORMAT_RGBA, DATA_TYPE_UNSIGNED_BYTE, &value);
    return value;
}

std::array<u32, 4> texels() {
    std::array<u32, 4> read = {};
    texture_get_image(TEXTURE_TARGET_2D, 0, PIXEL_FORMAT_RGBA, DATA_TYPE_UNSIGNED_BYTE,
                      read.data());
    return read;
}

// A rectangle of the frame buffer that is bound for drawing.
void fill(u32 colour, i32 x = 0, i32 y = 0, i32 width = 16, i32 height = 16) {
    pipeline_scissor_enable(1);
    pipeline_scissor_rect(x, y, width, height);
    draw_hardware(colour);
    pipeline_scissor_enable(0);
}

u32 texture_of(i32 size, const void* pixels = nullptr) {
    const u32 texture = texture_create();
    texture_bind(TEXTURE_TARGET_2D, texture);
    texture_image_2d(TEXTURE_TARGET_2D, 0, INTERNAL_FORMAT_RGBA8, size, size, PIXEL_FORMAT_RGBA,
                     DATA_TYPE_UNSIGNED_BYTE, pixels);
    return texture;
}

u32 frame_buffer_on(u32 texture) {
    const u32 frame_buffer = frame_buffer_create();
    frame_buffer_bind(both, frame_buffer);
    frame_buffer_texture(both, color, 0, texture, 0);
    return frame_buffer;
}

class GraphicsContextTest : public testing::Test {
protected:
    void SetUp() override {
        system_init(SYSTEM_INIT_VIDEO | SYSTEM_INIT_EVENTS);
        opengl_initialized = 0; // as in a fresh process, for a run of several tests in one
        ASSERT_TRUE(display_open(16, 16, slice("graphics"), DISPLAY_HIDDEN, 0));
        fill(black);
        ASSERT_EQ(pipeline_get_error(), 0u);
    }
    void TearDown() override {
        EXPECT_EQ(pipeline_get_error(), 0u);
        display_close();
        system_release();
    }
};

} // namespace

TEST_F(GraphicsContextTest, TexturesKeepPixelsAndCopyFromTheReadBuffer) {
    const u32 pixels[] = {red, green, blue, black};
    texture_of(2, pixels);
    texture_sub_image_2d(TEXTURE_TARGET_2D, 0, 1, 0, 1, 2, PIXEL_FORMAT_RGBA,
                         DATA_TYPE_UNSIGNED_BYTE, pixels + 2);
    EXPECT_EQ(texels(), (std::array{red, blue, blue, black}));
    fill(green, 5, 6, 1, 1);
    fill(red, 6, 6, 1, 1);
    texture_copy_sub_image_2d(TEXTURE_TARGET_2D, 0, 5, 6, 0, 1, 2, 1);
    EXPECT_EQ(texels(), (std::array{red, blue, green, red}));
    texture_copy_image_2d(TEXTURE_TARGET_2D, 0, INTERNAL_FORMAT_RGBA8, 4, 6, 2, 2);
    EXPECT_EQ(texels(), (std::array{black, green, black, black}));
}

TEST_F(GraphicsContextTest, BuffersAreWrittenCopiedAndMapped) {
    const buffer_target from = BUFFER_TARGET_COPY_READ, to = BUFFER_TARGET_COPY_WRITE;
    for (const buffer_target target : {from, to}) {
        buffer_bind(target, buffer_create());
        buffer_data(target, 10, target == from ? "0123456789" : "..........",
                    BUFFER_USAGE_STATIC_DRAW);
    }
    buffer_sub_data(from, 4, 2, "ab");
    buffer_copy_sub_data(from, to, 3, 1, 4);
    Slice mapped, second;
    buffer_map(&mapped, to, 0x123456789, BUFFER_ACCESS_READ_WRITE);
    ASSERT_NE(mapped.data, nullptr);
    EXPECT_EQ(mapped.count, 0x123456789) << "the host's word for it";
    EXPECT_EQ(std::string(static_cast<char*>(mapped.data), 10), ".3ab6.....");
    buffer_map(&second, to, 10, BUFFER_ACCESS_READ_ONLY);
    EXPECT_EQ(second.data, nullptr) << "a mapped buffer can't be mapped again";
    EXPECT_EQ(second.count, 10);
    EXPECT_EQ(pipeline_get_error(), 0x503u);
    EXPECT_EQ(buffer_unmap(to), 1);
    EXPECT_EQ(buffer_unmap(to), 0);
    EXPECT_EQ(pipeline_get_error(), 0x503u);
}

TEST_F(GraphicsContextTest, FailedShadersTellWhatIsWrongInTheOrderOfTheStages) {
    const auto source = [](const char* vertex_body, const char* fragment_body) {
        return std::string(
                   "#fragment\n#version 330 core\nout vec4 color; vec4 f();\nvoid main() {") +
               fragment_body + "}\n#vertex\n#version 330 core\nin vec4 tint;\nvoid main() {" +
               vertex_body + "}\n";
    };
    const u32 shader = shader_create();
    const auto log_of = [&](const std::string& text, i64 size = 4000) {
        std::string log(4000, '?');
        ShaderResult result;
        shader_source(&result, shader, slice(text), {log.data(), size});
        EXPECT_EQ(pipeline_get_error(), 0u);
        return result.success ? "" : text_of(result.log);
    };
    const std::string log = log_of(source("oops();", "eek"));
    const size_t fragment = log.find("failed to compile fragment stage\n");
    EXPECT_EQ(log.find("failed to compile vertex stage\n"), 0u) << log;
    ASSERT_NE(fragment, log.npos) << log;
    EXPECT_LT(log.find("oops"), fragment) << "the driver's text stands behind its line";
    EXPECT_GT(log.size(), fragment + 33) << log;
    EXPECT_EQ(log_of(source("oops();", "eek"), 33), log.substr(0, 32) + "f");
    const std::string unlinked = log_of(source("", "color = f();"));
    EXPECT_EQ(unlinked.find("failed to compile"), unlinked.npos) << unlinked;
    EXPECT_NE(unlinked, "");
    EXPECT_EQ(log_of(source("gl_Position = tint;", "color = vec4(1.0);")), "");
    EXPECT_EQ(shader_get_attribute_location(shader, slice("tint")), 0);
    EXPECT_EQ(shader_get_output_location(shader, slice("color")), 0);
}

TEST_F(GraphicsContextTest, DrawingAndReadingHaveTheirOwnBindings) {
    const u32 target = frame_buffer_on(texture_of(8));
    fill(blue);
    frame_buffer_unbind(drawing);
    fill(green);
    EXPECT_EQ(pixel(3, 3), blue);
    frame_buffer_unbind(reading);
    EXPECT_EQ(pixel(3, 3), green);
    frame_buffer_bind(drawing, target);
    fill(white);
    EXPECT_EQ(pixel(3, 3), green);
    frame_buffer_bind(reading, target);
    EXPECT_EQ(pixel(3, 3), white);

    // Outputs go where the draw buffers say.
    frame_buffer_texture(both, color, 2, texture_of(8), 0);
    i32 buffers[] = {2};
    pipeline_draw_buffers({buffers, 1});
    fill(red);
    EXPECT_EQ(pixel(3, 3), white);
    pipeline_read_buffer(2);
    EXPECT_EQ(pixel(3, 3), red);
    EXPECT_EQ(frame_buffer_get_status(both), u32{FRAME_BUFFER_STATUS_COMPLETE});
    frame_buffer_texture(both, color, 2, 0, 0);
    frame_buffer_texture(both, color, 0, 0, 0);
    EXPECT_EQ(frame_buffer_get_status(both),
              u32{FRAME_BUFFER_STATUS_INCOMPLETE_MISSING_ATTACHMENT});
}
