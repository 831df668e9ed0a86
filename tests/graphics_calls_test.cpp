// SPDX-License-Identifier: Zlib
// Every graphics call against an OpenGL that writes down what it is asked: the function, and each
// argument to the bit.

#include "api/frame.h"
#include "api/graphics.h"

#include "support/graphics_cases.h"
#include "support/recording_gl.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>

using namespace graphics_cases;

namespace {

class GraphicsCallsTest : public testing::Test {
protected:
    void SetUp() override {
        gl::load_into_library();
    }
};

std::set<std::string> declared_functions() {
    std::set<std::string> declared;
    for (const auto& entry : std::filesystem::directory_iterator(SOURCE_DIR "/src/api")) {
        if (!entry.path().filename().string().starts_with("graphics")) continue;
        std::ifstream file(entry.path());
        const std::string header(std::istreambuf_iterator<char>(file), {});
        const std::regex declaration("\nHALVORIN_API[^;(]*[ *]([a-z0-9_]+)\\(");
        for (std::sregex_iterator i(header.begin(), header.end(), declaration), end; i != end;
             ++i) {
            declared.insert((*i)[1]);
        }
    }
    return declared;
}

// A graphics function that the headers declare and no table calls is a hole in this test.
TEST_F(GraphicsCallsTest, EveryGraphicsFunctionReachesOpenGlWithItsArguments) {
    std::set<std::string> called;
    const auto expect_calls = [&](const auto& cases) {
        for (const gl_case& c : cases) {
            SCOPED_TRACE(std::string(c.function) + c.arguments);
            c.call();
            EXPECT_EQ(gl::take(), c.expected);
            called.insert(c.function);
        }
    };
    expect_calls(shader_cases);
    expect_calls(texture_cases);
    expect_calls(frame_buffer_cases);
    expect_calls(geometry_cases);
    expect_calls(pipeline_cases);
    // Truth is any non-zero byte, whatever stands above it.
    for (const truth_case& c : truth_cases) {
        for (u32 truth : {0u, 0x80u, 0x100u, 0xFFFFFF01u}) {
            SCOPED_TRACE(c.function + gl::text_of(truth));
            c.call(truth);
            EXPECT_EQ(gl::take(), c.expected((truth & 0xFF) != 0));
        }
        called.insert(c.function);
    }
    EXPECT_EQ(called, declared_functions());
}

TEST_F(GraphicsCallsTest, AStatusWithoutANumberIsComplete) {
    // In the order of our numbers; then one that is none, and a fault from before OpenGL 3.
    const GLenum statuses[] = {GL_FRAMEBUFFER_COMPLETE,
                               GL_FRAMEBUFFER_UNDEFINED,
                               GL_FRAMEBUFFER_INCOMPLETE_ATTACHMENT,
                               GL_FRAMEBUFFER_INCOMPLETE_MISSING_ATTACHMENT,
                               GL_FRAMEBUFFER_INCOMPLETE_DRAW_BUFFER,
                               GL_FRAMEBUFFER_INCOMPLETE_READ_BUFFER,
                               GL_FRAMEBUFFER_INCOMPLETE_MULTISAMPLE,
                               GL_FRAMEBUFFER_INCOMPLETE_LAYER_TARGETS,
                               GL_FRAMEBUFFER_UNSUPPORTED,
                               0,
                               0x8CD9};
    for (u32 i = 0; i < std::size(statuses); ++i) {
        gl::CheckFramebufferStatus.behaviour = [&](GLenum) { return statuses[i]; };
        EXPECT_EQ(frame_buffer_get_status(0), i < 9 ? i : u32{FRAME_BUFFER_STATUS_COMPLETE});
    }
}

TEST_F(GraphicsCallsTest, OverLongNamesAreNotLookedUp) {
    gl::GetUniformBlockIndex.behaviour = [](GLuint, const GLchar*) { return 5; };
    gl::GetUniformLocation.behaviour = [](GLuint, const GLchar*) { return 6; };
    std::string name(16384, 'n');
    for (i64 count : {i64{16383}, i64{16384}, INT64_MAX}) {
        const bool fits = count == 16383;
        const Slice text = {name.data(), count};
        EXPECT_EQ(shader_get_uniform_location(7, text), fits ? 6 : -1);
        EXPECT_EQ(shader_get_uniform_block_index(7, text), fits ? 5 : 0xFFFFFFFF);
        EXPECT_EQ(shader_get_attribute_location(7, text), fits - 1);
        EXPECT_EQ(shader_get_output_location(7, text), fits - 1);
        EXPECT_EQ(gl::take() != "", fits);
    }
}

TEST_F(GraphicsCallsTest, DrawBuffersMapsAtMost127EntriesAndNeverPointsBehindTheScratch) {
    const struct {
        i64 count;
        GLsizei gl_count;
        size_t mapped;
    } cases[] = {
        {0, 0, 0},       {3, 3, 3},       {127, 127, 127},     {128, 128, 0}, // -128 as a byte
        {258, 258, 2},   {4096, 4096, 0}, {4099, 4096, 3},     {0x7FFFFFFF, 4096, 0},
        {-254, -254, 2}, {-1, -1, 0},     {0x100000002, 2, 2},
    };
    const i32 position = temporary_pos;
    std::vector<i32> numbers(4200);
    for (size_t i = 0; i < numbers.size(); ++i) {
        numbers[i] = i % 3 == 1 ? -1 - static_cast<i32>(i) : static_cast<i32>(i);
    }
    for (const auto& c : cases) {
        SCOPED_TRACE(c.count);
        std::fill_n(temporary_buffer, sizeof temporary_buffer, u8{0xA5});
        gl::DrawBuffers.behaviour = [&](GLsizei size, const GLenum* buffers) {
            EXPECT_EQ(size, c.gl_count);
            EXPECT_EQ(static_cast<const void*>(buffers), temporary_buffer);
            for (u32 i = 0; i < sizeof temporary_buffer / 4; ++i) {
                const GLenum number = i % 3 == 1 ? GL_NONE : GL_COLOR_ATTACHMENT0 + i;
                ASSERT_EQ(buffers[i], i < c.mapped ? number : 0xA5A5A5A5) << "entry " << i;
            }
        };
        pipeline_draw_buffers({numbers.data(), c.count});
        EXPECT_NE(gl::take(), "");
    }
    EXPECT_EQ(temporary_pos, position);
    // From a list at any address, and to the last number.
    gl::load_into_library();
    const i32 extremes[] = {INT32_MIN, INT32_MAX};
    u8 bytes[1 + sizeof extremes];
    std::memcpy(bytes + 1, extremes, sizeof extremes);
    pipeline_draw_buffers({bytes + 1, 2});
    EXPECT_EQ(gl::take(), "glDrawBuffers(2, pointer) [0x0, 0x80008CDF]");
}

} // namespace
