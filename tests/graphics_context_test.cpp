// SPDX-License-Identifier: Zlib
// The graphics family on a real OpenGL context: what calls leave in OpenGL's state, and pixels.

#include "api/display.h"
#include "api/frame.h"
#include "api/graphics.h"

#include <SDL.h>
#include <glad/gl.h>
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <numeric>
#include <string>
#include <vector>

// OpenGL's own function, past the library.
#define OPENGL(function)                                                                           \
    reinterpret_cast<decltype(glad_gl##function)>(SDL_GL_GetProcAddress("gl" #function))

namespace {

constexpr i32 side = 16;
constexpr u32 red = 0xFF0000FF, green = 0xFF00FF00, blue = 0xFFFF0000, black = 0xFF000000;

u32 bits(float value) {
    return std::bit_cast<u32>(value);
}

Slice slice_of(std::string_view text) {
    return {const_cast<char*>(text.data()), static_cast<i64>(text.size())};
}

u32 pixel(i32 x, i32 y) {
    u32 value = 0;
    pipeline_read_pixels(x, y, 1, 1, PIXEL_FORMAT_RGBA, DATA_TYPE_UNSIGNED_BYTE, &value);
    return value;
}

void clear(float r, float g, float b) {
    pipeline_clear_color(bits(r), bits(g), bits(b), bits(1));
    pipeline_clear(BUFFER_MASK_COLOR);
}

std::string log_of(u32 shader, std::string_view source, size_t size, b8 success) {
    std::string log(size + 8, '?');
    ShaderResult result;
    shader_source(&result, shader, slice_of(source), {log.data(), static_cast<i64>(size)});
    const auto count = static_cast<size_t>(result.log.count);
    EXPECT_EQ(result.success, success) << log;
    EXPECT_LE(count, size);
    EXPECT_EQ(log.substr(size), "????????") << "nothing behind the room";
    GLint attached = -1;
    OPENGL(GetProgramiv)(shader, GL_ATTACHED_SHADERS, &attached);
    EXPECT_EQ(attached, 0) << "no stage stays";
    return success ? log : log.substr(0, count);
}

u32 shader_of(std::string_view source) {
    const u32 shader = shader_create();
    log_of(shader, source, 2000, 1);
    return shader;
}

u32 buffer_of(buffer_target target, const void* data, size_t size) {
    const u32 buffer = buffer_create();
    buffer_bind(target, buffer);
    buffer_data(target, static_cast<i64>(size), data, BUFFER_USAGE_STATIC_DRAW);
    return buffer;
}

u32 texture_of(texture_target target) {
    const u32 texture = texture_create();
    texture_bind(target, texture);
    return texture;
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
        ASSERT_TRUE(display_open(side, side, slice_of("graphics"), DISPLAY_HIDDEN, 0));
    }
    static void TearDownTestSuite() {
        display_close();
        system_release();
    }
    void SetUp() override {
        clear(0, 0, 0);
        ASSERT_EQ(pipeline_get_error(), 0u);
    }
    void TearDown() override {
        EXPECT_EQ(pipeline_get_error(), 0u);
    }
};

TEST_F(GraphicsContextTest, DrawsFromBuffersByEachWayOfDrawing) {
    const u32 shader = shader_of(plain_source);
    shader_bind(shader);
    const u32 vertex_array = vertex_array_create();
    vertex_array_bind(vertex_array);
    // A strip for each quadrant: left bottom, right bottom, left top, right top.
    const float points[] = {-1, -1, 0, -1, -1, 0, 0, 0, 0, -1, 1, -1, 0, 0, 1, 0,
                            -1, 0,  0, 0,  -1, 1, 0, 1, 0, 0,  1, 0,  0, 1, 1, 1};
    const u32 positions = buffer_of(BUFFER_TARGET_ARRAY, points, sizeof points);
    attribute_format(0, 2, DATA_TYPE_FLOAT, 0, 8, 0);
    attribute_enable(0, 1);
    // Behind one byte that doesn't count, a color for each instance.
    const u8 tints[] = {0, 255, 0, 0, 255, 0, 255, 0, 255, 0, 0, 255, 255};
    const u32 colors = buffer_of(BUFFER_TARGET_ARRAY, tints, sizeof tints);
    attribute_format(1, 4, DATA_TYPE_UNSIGNED_BYTE, 0x80, 4, 1);
    attribute_enable(1, 2);
    attribute_divisor(1, 1);
    const u16 indices[] = {99, 0, 1, 2, 3};
    const u32 elements = buffer_of(BUFFER_TARGET_ELEMENT_ARRAY, indices, sizeof indices);

    constexpr u32 strip = 5;
    const auto draw = [](i32 base_vertex, i32 instances) {
        draw_elements(strip, DATA_TYPE_UNSIGNED_SHORT, 2, 4, base_vertex, instances);
    };
    const auto seen = [] {
        return std::array{pixel(3, 3), pixel(12, 3), pixel(3, 12), pixel(12, 12)};
    };
    draw_arrays(strip, 4, 4, 1);
    EXPECT_EQ(seen(), (std::array{black, red, black, black}));
    draw(8, 1);
    EXPECT_EQ(seen(), (std::array{black, red, red, black}));
    draw(12, 3);
    EXPECT_EQ(seen(), (std::array{black, red, red, blue})) << "the last instance is on top";
    draw(0, 2);
    EXPECT_EQ(seen(), (std::array{green, red, red, blue}));
    draw_arrays(strip, 4, 4, 3);
    EXPECT_EQ(seen(), (std::array{green, blue, red, blue}));
    draw_arrays(strip, 4, 4, 0);
    draw(0, 0);
    EXPECT_EQ(seen(), (std::array{green, blue, red, blue})) << "no instances draw nothing";
    draw(0, 1);
    EXPECT_EQ(seen(), (std::array{red, blue, red, blue}));

    pipeline_present();
    for (u32 buffer : {positions, colors, elements}) {
        buffer_destroy(buffer);
    }
    vertex_array_destroy(vertex_array);
    shader_destroy(shader);
}

// Sets a uniform array of each type and asks OpenGL for its last element.
TEST_F(GraphicsContextTest, UniformsOfEachTypeHoldWhatWasSet) {
    const std::string types[] = {"float",  "vec2",   "vec3",  "vec4",   "int",    "ivec2",
                                 "ivec3",  "ivec4",  "uint",  "uvec2",  "uvec3",  "uvec4",
                                 "mat2",   "mat3",   "mat4",  "mat2x3", "mat3x2", "mat2x4",
                                 "mat4x2", "mat3x4", "mat4x3"};
    std::string declarations, sum;
    for (const std::string& type : types) {
        declarations += "uniform " + type + " u_" + type + "[2];\n";
        const bool scalar = type.find_first_of("1234") == type.npos;
        const std::string part = type[0] == 'm' ? "[1][1]" : scalar ? "" : ".y";
        sum += " + float(u_" + type + "[0]" + part + ") + float(u_" + type + "[1]" + part + ")";
    }
    const u32 shader = shader_of("#vertex\n#version 330 core\n" + declarations +
                                 "void main() { gl_Position = vec4(0.0" + sum + "); }\n");
    shader_bind(shader);
    EXPECT_EQ(shader_get_uniform_location(shader, slice_of("u_none")), -1);

    std::array<float, 32> floats;
    std::array<i32, 32> integers;
    std::iota(floats.begin(), floats.end(), -1.5f);
    std::iota(integers.begin(), integers.end(), -1);
    const auto all = [&](size_t type) {
        return shader_get_uniform_location(shader, slice_of("u_" + types[type]));
    };
    const auto last = [&](size_t type) {
        return shader_get_uniform_location(shader, slice_of("u_" + types[type] + "[1]"));
    };
    // Number k of the element is the one at place(k) of the list.
    const auto expect_last = [&](size_t type, size_t size, auto place) {
        SCOPED_TRACE(types[type]);
        float as_floats[16] = {};
        i32 as_integers[16] = {};
        OPENGL(GetUniformfv)(shader, last(type), as_floats);
        OPENGL(GetUniformiv)(shader, last(type), as_integers);
        const bool is_float = type < 4 || type >= 12;
        for (size_t k = 0; k < size; ++k) {
            if (is_float) {
                EXPECT_EQ(as_floats[k], floats[place(k)]);
            } else {
                EXPECT_EQ(as_integers[k], integers[place(k)]);
            }
        }
    };

    using array_setter = void (*)(i32, i32, Slice);
    const array_setter arrays[] = {shader_uniform1fa, shader_uniform2fa, shader_uniform3fa,
                                   shader_uniform4fa, shader_uniform1ia, shader_uniform2ia,
                                   shader_uniform3ia, shader_uniform4ia, shader_uniform1qa,
                                   shader_uniform2qa, shader_uniform3qa, shader_uniform4qa};
    for (size_t type = 0; type < 12; ++type) {
        const size_t size = type % 4 + 1;
        void* const list = type < 4 ? static_cast<void*>(floats.data()) : integers.data();
        arrays[type](all(type), 2, {list, 0});
        expect_last(type, size, [&](size_t k) { return size + k; });
    }
    const u32 a = bits(-1.5f), b = bits(-0.5f), c = bits(0.5f), d = bits(1.5f);
    shader_uniform1f(last(0), a);
    shader_uniform2f(last(1), a, b);
    shader_uniform3f(last(2), a, b, c);
    shader_uniform4f(last(3), a, b, c, d);
    shader_uniform1i(last(4), -1);
    shader_uniform2i(last(5), -1, 0);
    shader_uniform3i(last(6), -1, 0, 1);
    shader_uniform4i(last(7), -1, 0, 1, 2);
    shader_uniform1q(last(8), 0xFFFFFFFF);
    shader_uniform2q(last(9), 0xFFFFFFFF, 0);
    shader_uniform3q(last(10), 0xFFFFFFFF, 0, 1);
    shader_uniform4q(last(11), 0xFFFFFFFF, 0, 1, 2);
    for (size_t type = 0; type < 12; ++type) {
        expect_last(type, type % 4 + 1, [](size_t k) { return k; });
    }

    const struct {
        void (*set)(i32, i32, b8, Slice);
        size_t columns, rows;
    } matrices[] = {
        {shader_uniform_matrix2fa, 2, 2},   {shader_uniform_matrix3fa, 3, 3},
        {shader_uniform_matrix4fa, 4, 4},   {shader_uniform_matrix2x3fa, 2, 3},
        {shader_uniform_matrix3x2fa, 3, 2}, {shader_uniform_matrix2x4fa, 2, 4},
        {shader_uniform_matrix4x2fa, 4, 2}, {shader_uniform_matrix3x4fa, 3, 4},
        {shader_uniform_matrix4x3fa, 4, 3},
    };
    size_t type = 12;
    for (const auto& m : matrices) {
        const size_t size = m.columns * m.rows;
        m.set(all(type), 2, 0, {floats.data(), 0});
        expect_last(type, size, [&](size_t k) { return size + k; });
        m.set(all(type), 2, 0x80, {floats.data(), 0});
        expect_last(type, size,
                    [&](size_t k) { return size + k % m.rows * m.columns + k / m.rows; });
        ++type;
    }
    shader_destroy(shader);
}

TEST_F(GraphicsContextTest, TexturesKeepPixelsAndCopyFromTheReadBuffer) {
    texture_unit(3);
    const u32 texture = texture_of(TEXTURE_TARGET_2D);
    const u32 pixels[] = {red, green, blue, black};
    texture_image_2d(TEXTURE_TARGET_2D, 0, INTERNAL_FORMAT_RGBA8, 2, 2, PIXEL_FORMAT_RGBA,
                     DATA_TYPE_UNSIGNED_BYTE, pixels);
    texture_sub_image_2d(TEXTURE_TARGET_2D, 0, 1, 0, 1, 2, PIXEL_FORMAT_RGBA,
                         DATA_TYPE_UNSIGNED_BYTE, pixels + 2);
    const auto image = [] {
        std::array<u32, 4> read = {};
        texture_get_image(TEXTURE_TARGET_2D, 0, PIXEL_FORMAT_RGBA, DATA_TYPE_UNSIGNED_BYTE,
                          read.data());
        return read;
    };
    EXPECT_EQ(image(), (std::array{red, blue, blue, black}));

    // Two pixels of their own at 5, 6 and 6, 6.
    pipeline_scissor_enable(1);
    pipeline_scissor_rect(5, 6, 1, 1);
    clear(0, 1, 0);
    pipeline_scissor_rect(6, 6, 1, 1);
    clear(1, 0, 0);
    pipeline_scissor_enable(0);
    texture_copy_sub_image_2d(TEXTURE_TARGET_2D, 0, 5, 6, 0, 1, 2, 1);
    EXPECT_EQ(image(), (std::array{red, blue, green, red}));
    texture_copy_image_2d(TEXTURE_TARGET_2D, 0, INTERNAL_FORMAT_RGBA8, 4, 6, 2, 2);
    EXPECT_EQ(image(), (std::array{black, green, black, black}));
    texture_destroy(texture);
    texture_unit(0);
}

TEST_F(GraphicsContextTest, CompressedBlocksDecodeToTheirColors) {
    if (!SDL_GL_ExtensionSupported("GL_EXT_texture_compression_s3tc")) {
        GTEST_SKIP() << "the driver has no S3TC";
    }
    // Two colors of 5:6:5 bits, then two bits a texel: all texels take the first color.
    const u8 blocks[] = {0x00, 0xF8, 0, 0, 0, 0, 0, 0, 0xE0, 0x07, 0, 0, 0, 0, 0, 0};
    const internal_format format = INTERNAL_FORMAT_COMPRESSED_RGB_S3TC_DXT1_EXT;
    const u32 texture = texture_of(TEXTURE_TARGET_2D);
    const auto last_texel = [] {
        std::array<u32, 32> texels = {};
        texture_get_image(TEXTURE_TARGET_2D, 0, PIXEL_FORMAT_RGBA, DATA_TYPE_UNSIGNED_BYTE,
                          texels.data());
        return texels[31];
    };
    texture_compressed_image_2d(TEXTURE_TARGET_2D, 0, format, 8, 4, 0x700000010, blocks);
    EXPECT_EQ(last_texel(), green);
    texture_compressed_sub_image_2d(TEXTURE_TARGET_2D, 0, 4, 0, 4, 4, format, 8, blocks);
    EXPECT_EQ(last_texel(), red);
    texture_compressed_image_2d(TEXTURE_TARGET_2D, 0, format, 8, 4, 15, blocks);
    EXPECT_EQ(pipeline_get_error(), 0x502u) << "the size counts";
    texture_destroy(texture);
}

TEST_F(GraphicsContextTest, MultisampleTexturesGetTheirSamples) {
    const auto level = [](GLenum target, GLenum name) {
        GLint value = -1;
        OPENGL(GetTexLevelParameteriv)(target, 0, name, &value);
        return value;
    };
    const u32 flat = texture_of(TEXTURE_TARGET_2D_MULTISAMPLE);
    texture_image_2d_multisample(TEXTURE_TARGET_2D_MULTISAMPLE, 4, INTERNAL_FORMAT_RGBA8, 8, 2,
                                 0x80);
    EXPECT_EQ(level(GL_TEXTURE_2D_MULTISAMPLE, GL_TEXTURE_SAMPLES), 4);
    EXPECT_EQ(level(GL_TEXTURE_2D_MULTISAMPLE, GL_TEXTURE_HEIGHT), 2);
    EXPECT_EQ(level(GL_TEXTURE_2D_MULTISAMPLE, GL_TEXTURE_FIXED_SAMPLE_LOCATIONS), 1);
    const u32 array = texture_of(TEXTURE_TARGET_2D_MULTISAMPLE_ARRAY);
    texture_image_2d_multisample_array(TEXTURE_TARGET_2D_MULTISAMPLE_ARRAY, 4,
                                       INTERNAL_FORMAT_RGBA8, 8, 2, 3, 1);
    EXPECT_EQ(level(GL_TEXTURE_2D_MULTISAMPLE_ARRAY, GL_TEXTURE_DEPTH), 3);
    texture_destroy(flat);
    texture_destroy(array);
}

TEST_F(GraphicsContextTest, BuffersAreWrittenCopiedAndMapped) {
    const u32 source = buffer_of(BUFFER_TARGET_COPY_READ, "0123456789", 10);
    buffer_sub_data(BUFFER_TARGET_COPY_READ, 4, 2, "ab");
    const u32 target = buffer_of(BUFFER_TARGET_COPY_WRITE, "..........", 10);
    buffer_copy_sub_data(BUFFER_TARGET_COPY_READ, BUFFER_TARGET_COPY_WRITE, 3, 1, 4);
    Slice mapped, second;
    buffer_map(&mapped, BUFFER_TARGET_COPY_WRITE, 10, BUFFER_ACCESS_READ_WRITE);
    ASSERT_NE(mapped.data, nullptr);
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
    buffer_destroy(source);
    buffer_destroy(target);
}

TEST_F(GraphicsContextTest, FailedShadersTellWhatIsWrongInTheOrderOfTheStages) {
    const std::string bad = "#fragment\n#version 330 core\nvoid main() { eek }\n"
                            "#vertex\n#version 330 core\nvoid main() { oops(); }\n";
    const u32 shader = shader_create();
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
    shader_bind(shader);
    EXPECT_EQ(shader_get_attribute_location(shader, slice_of("tint")), 1);
    EXPECT_EQ(shader_get_output_location(shader, slice_of("color")), 0);
    shader_unbind();
    shader_destroy(shader);
}

} // namespace
