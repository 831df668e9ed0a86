// SPDX-License-Identifier: Zlib
// Every graphics call against an OpenGL that writes down what it is asked: the function, and each
// argument to the bit.

#include "api/frame.h"
#include "api/graphics.h"

#include "support/declarations.h"
#include "support/graphics_cases.h"
#include "support/recording_gl.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

using namespace graphics_cases;

namespace {

class GraphicsCallsTest : public testing::Test {
protected:
    void SetUp() override {
        gl::load_into_library();
    }
};

template <class Cases> void expect_calls(const Cases& cases) {
    for (const gl_case& c : cases) {
        SCOPED_TRACE(std::string(c.function) + c.arguments);
        c.call();
        EXPECT_EQ(gl::take(), c.expected);
    }
}

TEST_F(GraphicsCallsTest, EveryCallReachesOpenGlWithItsArguments) {
    expect_calls(shader_cases);
    expect_calls(texture_cases);
    expect_calls(frame_buffer_cases);
    expect_calls(geometry_cases);
    expect_calls(pipeline_cases);
}

TEST_F(GraphicsCallsTest, TruthIsAnyNonZeroByteWhateverStandsAboveIt) {
    for (const truth_case& c : truth_cases) {
        for (u32 truth :
             {0x00u, 0x01u, 0x02u, 0x80u, 0x100u, 0xFFFFFF00u, 0xFFFFFF01u, 0x12345680u}) {
            SCOPED_TRACE(c.function + gl::text_of(truth));
            c.call(truth);
            EXPECT_EQ(gl::take(), c.expected((truth & 0xFF) != 0));
        }
    }
}

TEST_F(GraphicsCallsTest, StencilValuesAreBytesWhateverStandsAboveThem) {
    wide<void (*)(u32)>(pipeline_clear_stencil)(0xFFFFFF85);
    EXPECT_EQ(gl::take(), gl::ClearStencil(0x85));
    wide<void (*)(u32)>(pipeline_stencil_mask)(0x185);
    EXPECT_EQ(gl::take(), gl::StencilMask(0x85));
    wide<void (*)(u32, u32, u32)>(pipeline_stencil_func)(0, 0xFFFFFF85, 0x1FE);
    EXPECT_EQ(gl::take(), gl::StencilFunc(GL_NEVER, 0x85, 0xFE));
    wide<void (*)(u32, u32, u32, u32)>(pipeline_stencil_func_separate)(0, 0, 0xFFFFFF85, 0x1FE);
    EXPECT_EQ(gl::take(), gl::StencilFuncSeparate(GL_FRONT, GL_NEVER, 0x85, 0xFE));
    wide<void (*)(u32, u32)>(pipeline_stencil_mask_separate)(0, 0xFFFFFF85);
    EXPECT_EQ(gl::take(), gl::StencilMaskSeparate(GL_FRONT, 0x85));
}

TEST_F(GraphicsCallsTest, ResultsAreWhatOpenGlGives) {
    const auto give_name = [](GLsizei, GLuint* name) { *name = 0xFFFFFFF0; };
    gl::GenBuffers.behaviour = gl::GenTextures.behaviour = gl::GenVertexArrays.behaviour =
        gl::GenFramebuffers.behaviour = gl::GenRenderbuffers.behaviour = give_name;
    EXPECT_EQ(buffer_create(), 0xFFFFFFF0);
    EXPECT_EQ(texture_create(), 0xFFFFFFF0);
    EXPECT_EQ(vertex_array_create(), 0xFFFFFFF0);
    EXPECT_EQ(frame_buffer_create(), 0xFFFFFFF0);
    EXPECT_EQ(render_buffer_create(), 0xFFFFFFF0);
    gl::CreateProgram.behaviour = [] { return 0x80000001; };
    EXPECT_EQ(shader_create(), 0x80000001);

    const auto give_location = [](GLuint, const GLchar*) { return -1; };
    gl::GetAttribLocation.behaviour = give_location;
    gl::GetFragDataLocation.behaviour = give_location;
    gl::GetUniformLocation.behaviour = give_location;
    gl::GetUniformBlockIndex.behaviour = [](GLuint, const GLchar*) { return GL_INVALID_INDEX; };
    EXPECT_EQ(shader_get_attribute_location(1, slice("a")), -1);
    EXPECT_EQ(shader_get_output_location(1, slice("a")), -1);
    EXPECT_EQ(shader_get_uniform_location(1, slice("a")), -1);
    EXPECT_EQ(shader_get_uniform_block_index(1, slice("a")), 0xFFFFFFFF);

    gl::UnmapBuffer.behaviour = [](GLenum target) { return GLboolean(target == GL_ARRAY_BUFFER); };
    EXPECT_EQ(buffer_unmap(BUFFER_TARGET_ARRAY), 1);
    EXPECT_EQ(buffer_unmap(BUFFER_TARGET_UNIFORM), 0);
}

TEST_F(GraphicsCallsTest, AnErrorIsOpenGlsCodePlusOneAndIsAskedForOnce) {
    for (GLenum code : {0x0500u, 0x0501u, 0x0502u, 0x0505u, 0x0506u}) {
        gl::GetError.behaviour = [code] { return code; };
        EXPECT_EQ(pipeline_get_error(), code + 1);
    }
    gl::GetError.behaviour = [] { return GL_NO_ERROR; };
    EXPECT_EQ(pipeline_get_error(), 0u);
    EXPECT_EQ(gl::calls.size(), 6u);
}

TEST_F(GraphicsCallsTest, AStatusWithoutANumberIsComplete) {
    const struct {
        GLenum gl;
        u32 status;
    } cases[] = {
        {GL_FRAMEBUFFER_COMPLETE, FRAME_BUFFER_STATUS_COMPLETE},
        {GL_FRAMEBUFFER_UNDEFINED, FRAME_BUFFER_STATUS_UNDEFINED},
        {GL_FRAMEBUFFER_INCOMPLETE_ATTACHMENT, FRAME_BUFFER_STATUS_INCOMPLETE_ATTACHMENT},
        {GL_FRAMEBUFFER_INCOMPLETE_MISSING_ATTACHMENT,
         FRAME_BUFFER_STATUS_INCOMPLETE_MISSING_ATTACHMENT},
        {GL_FRAMEBUFFER_INCOMPLETE_DRAW_BUFFER, FRAME_BUFFER_STATUS_INCOMPLETE_DRAW_BUFFER},
        {GL_FRAMEBUFFER_INCOMPLETE_READ_BUFFER, FRAME_BUFFER_STATUS_INCOMPLETE_READ_BUFFER},
        {GL_FRAMEBUFFER_INCOMPLETE_MULTISAMPLE, FRAME_BUFFER_STATUS_INCOMPLETE_MULTISAMPLE},
        {GL_FRAMEBUFFER_INCOMPLETE_LAYER_TARGETS, FRAME_BUFFER_STATUS_INCOMPLETE_LAYER_TARGETS},
        {GL_FRAMEBUFFER_UNSUPPORTED, FRAME_BUFFER_STATUS_UNSUPPORTED},
        {0, FRAME_BUFFER_STATUS_COMPLETE},
        {0x8CD9, FRAME_BUFFER_STATUS_COMPLETE}, // differing sizes, a fault before OpenGL 3
        {0xFFFFFFFF, FRAME_BUFFER_STATUS_COMPLETE},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.gl);
        gl::CheckFramebufferStatus.behaviour = [&](GLenum) { return c.gl; };
        EXPECT_EQ(frame_buffer_get_status(FRAME_BUFFER_TARGET_BOTH), c.status);
    }
}

TEST_F(GraphicsCallsTest, NamesOfLookupsMayFillTheScratchAndNoMore) {
    std::string name(16383, 'n');
    const Slice longest = {name.data(), 16383};
    shader_get_attribute_location(7, longest);
    EXPECT_EQ(gl::take(), gl::GetAttribLocation(7, name.c_str()));

    name += 'n';
    for (i64 count : {i64{16384}, i64{1} << 32, INT64_MAX}) {
        const Slice too_long = {name.data(), count};
        EXPECT_EQ(shader_get_attribute_location(7, too_long), -1);
        EXPECT_EQ(shader_get_output_location(7, too_long), -1);
        EXPECT_EQ(shader_get_uniform_location(7, too_long), -1);
        EXPECT_EQ(shader_get_uniform_block_index(7, too_long), 0xFFFFFFFF);
    }
    EXPECT_EQ(gl::take(), "") << "an over-long name must not be looked up";
}

// What glDrawBuffers is to get: GL's count, and as many entries as are looked at here.
void expect_draw_buffers(i64 count, GLsizei gl_count, size_t mapped) {
    SCOPED_TRACE(count);
    std::vector<i32> numbers(4200);
    for (size_t i = 0; i < numbers.size(); ++i) {
        numbers[i] = i % 3 == 1 ? -1 - static_cast<i32>(i) : static_cast<i32>(i);
    }
    std::fill_n(temporary_buffer, sizeof temporary_buffer, u8{0xA5});
    bool called = false;
    gl::DrawBuffers.behaviour = [&](GLsizei size, const GLenum* buffers) {
        called = true;
        EXPECT_EQ(size, gl_count);
        EXPECT_EQ(static_cast<const void*>(buffers), temporary_buffer);
        for (size_t i = 0; i < sizeof temporary_buffer / 4; ++i) {
            const GLenum number = i % 3 == 1 ? GL_NONE : GL_COLOR_ATTACHMENT0 + static_cast<u32>(i);
            ASSERT_EQ(buffers[i], i < mapped ? number : 0xA5A5A5A5) << "entry " << i;
        }
    };
    pipeline_draw_buffers({numbers.data(), count});
    EXPECT_TRUE(called);
}

TEST_F(GraphicsCallsTest, DrawBuffersMapsAtMost127EntriesAndNeverPointsBehindTheScratch) {
    const i32 position = temporary_pos;
    expect_draw_buffers(0, 0, 0);
    expect_draw_buffers(3, 3, 3);
    expect_draw_buffers(127, 127, 127);
    expect_draw_buffers(128, 128, 0); // -128 as a byte
    expect_draw_buffers(255, 255, 0);
    expect_draw_buffers(256, 256, 0);
    expect_draw_buffers(258, 258, 2);
    expect_draw_buffers(4096, 4096, 0);
    expect_draw_buffers(4099, 4096, 3);
    expect_draw_buffers(0x7FFFFFFF, 4096, 0);
    expect_draw_buffers(0x100000002, 2, 2);
    expect_draw_buffers(-1, -1, 0);
    expect_draw_buffers(-254, -254, 2);
    EXPECT_EQ(temporary_pos, position);

    const i32 extremes[] = {INT32_MIN, INT32_MAX};
    u8 bytes[1 + sizeof extremes];
    std::memcpy(bytes + 1, extremes, sizeof extremes);
    gl::load_into_library();
    pipeline_draw_buffers({bytes + 1, 2});
    EXPECT_EQ(gl::take(), "glDrawBuffers(2, pointer)" + gl::list<GLuint>({0, 0x80008CDF}));
}

// A graphics function that the headers declare and no table calls is a hole in this test.
TEST_F(GraphicsCallsTest, EveryGraphicsFunctionIsCalled) {
    std::set<std::string> called;
    const auto add = [&](const auto& cases) {
        for (const auto& c : cases) {
            called.insert(c.function);
        }
    };
    add(shader_cases);
    add(texture_cases);
    add(frame_buffer_cases);
    add(geometry_cases);
    add(pipeline_cases);
    add(truth_cases);

    const std::set<std::string> declared = declared_functions("graphics");
    EXPECT_GE(declared.size(), 164u);
    EXPECT_EQ(called, declared);
}

} // namespace
