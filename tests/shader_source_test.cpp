// SPDX-License-Identifier: Zlib
// shader_source over an OpenGL that compiles nothing: which stages it finds in a text, what it asks
// of OpenGL and in which order, and what it writes into the log buffer.

#include "api/graphics.h"

#include "support/common.h"
#include "support/recording_gl.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

namespace gl = recording_gl;

namespace {

using stage_texts = std::map<GLenum, std::string>;

class ShaderSourceTest : public testing::Test {
protected:
    void SetUp() override {
        gl::load_into_library();
        gl::CreateShader.behaviour = [this](GLenum stage) {
            stages.push_back(stage);
            return static_cast<GLuint>(100 + stages.size());
        };
        gl::ShaderSource.behaviour = [this](GLuint object, GLsizei count, const GLchar* const* text,
                                            const GLint* length) {
            EXPECT_EQ(count, 1);
            given[stages[object - 101]].assign(*text, static_cast<size_t>(*length));
            addresses.push_back(*text);
        };
        gl::GetShaderiv.behaviour = [this](GLuint object, GLenum, GLint* status) {
            *status = stage_logs.count(stages[object - 101]) == 0;
        };
        gl::GetShaderInfoLog.behaviour = [this](GLuint object, GLsizei room, GLsizei* length,
                                                GLchar* log) {
            write_log(stage_logs[stages[object - 101]], room, length, log);
        };
        gl::GetProgramiv.behaviour = [this](GLuint, GLenum, GLint* status) { *status = links; };
        gl::GetProgramInfoLog.behaviour = [this](GLuint, GLsizei room, GLsizei* length,
                                                 GLchar* log) {
            write_log(link_log, room, length, log);
        };
    }

    // As OpenGL does: the text cut down, and a terminator within the room that doesn't count.
    static void write_log(const std::string& text, GLsizei room, GLsizei* length, GLchar* log) {
        ASSERT_GT(room, 0);
        *length = std::min(static_cast<GLsizei>(text.size()), room - 1);
        std::copy_n(text.begin(), *length, log);
        log[*length] = '\0';
    }

    stage_texts split(Slice source) {
        stages.clear();
        given.clear();
        shader_source(&result, 7, source, {});
        return given;
    }

    std::vector<GLenum> stages; // of object 101, 102 and so on
    stage_texts given;
    std::vector<const char*> addresses;
    std::map<GLenum, std::string> stage_logs; // of the stages that fail
    bool links = true;
    std::string link_log;
    ShaderResult result = {};
};

constexpr GLenum vertex = GL_VERTEX_SHADER, fragment = GL_FRAGMENT_SHADER,
                 geometry = GL_GEOMETRY_SHADER;

TEST_F(ShaderSourceTest, DirectivesMarkTheStages) {
    const struct {
        std::string_view source;
        stage_texts texts;
    } cases[] = {
        {"#vertex\nV;\n#fragment\nF;\n", {{vertex, "V;\n"}, {fragment, "F;\n"}}},
        {"#geometry G#fragment F#vertex V", {{vertex, "V"}, {fragment, "F"}, {geometry, "G"}}},
        {"none at all", {}},
        {"", {}},
        {"ahead #vertex\tV", {{vertex, "V"}}},
        {"#vertex\r\nV", {{vertex, "\nV"}}},
        {"#vertex\n", {}},
        {"#vertex\nV", {{vertex, "V"}}},
        {"#vertex", {}},
        {"#fragment\r", {}},
        {"#fragment\rF", {{fragment, "F"}}},
        {"#geometry ", {}},
        {"#geometry  ", {{geometry, " "}}},
        {"#vertex\n#fragment\nF", {{fragment, "F"}}},
        {"#vertex V#vertices #Vertex #vertex\f#v #",
         {{vertex, "V#vertices #Vertex #vertex\f#v #"}}},
        {"#vertex // #fragment in a comment", {{vertex, "// "}, {fragment, "in a comment"}}},
        {"#vertex 1#fragment 2#vertex 3", {{vertex, "3"}, {fragment, "2"}}},
        {"#vertex 1#vertex #fragment 2", {{fragment, "2"}}},
        {"#vertex #version 330\n#define X #\n##vertex 2", {{vertex, "2"}}},
        {"#vertex ##fragment F", {{vertex, "#"}, {fragment, "F"}}},
        {"#fragment #vertex ", {{fragment, "#vertex "}}},
        {{"#vertex a\0b#fragment \0", 22}, {{vertex, {"a\0b", 3}}, {fragment, {"\0", 1}}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.source);
        EXPECT_EQ(split(slice(c.source)), c.texts);
    }
}

TEST_F(ShaderSourceTest, TheCountOfTheTextHas32Bits) {
    const std::string_view source = "#vertex V#fragment F";
    const auto count = [&](i64 value) { return Slice{const_cast<char*>(source.data()), value}; };
    EXPECT_EQ(split(count(0x100000009)), (stage_texts{{vertex, "V"}}));
    EXPECT_EQ(split(count(0x7FFFFFFF00000009)), (stage_texts{{vertex, "V"}}));
    EXPECT_EQ(split(count(0x100000000)), stage_texts());
    EXPECT_EQ(split(count(0x80000014)), stage_texts());
    EXPECT_EQ(split(count(-1)), stage_texts());
    EXPECT_EQ(split({nullptr, 0}), stage_texts());
}

TEST_F(ShaderSourceTest, SuccessLeavesTheLogAloneAndCopiesNothing) {
    const std::string_view source = "#geometry G#fragment FF#vertex VVV";
    char log[] = "????????";
    shader_source(&result, 7, slice(source), {log, 8});
    EXPECT_EQ(stages, (std::vector<GLenum>{vertex, fragment, geometry}));
    EXPECT_EQ(addresses, (std::vector<const char*>{&source[31], &source[21], &source[10]}));
    EXPECT_EQ(result.success, 1);
    EXPECT_EQ(result.log.data, nullptr);
    EXPECT_EQ(result.log.count, 0);
    EXPECT_STREQ(log, "????????");
}

TEST_F(ShaderSourceTest, AFailedStageIsDeletedAndTheRestGoesOn) {
    stage_logs[vertex] = "bad vertex";
    char log[200];
    shader_source(&result, 7, slice("#vertex V#fragment F#geometry G"), {log, sizeof log});
    const auto compiled = [](GLuint object, GLenum stage) {
        const std::string name = gl::text_of(object);
        return gl::CreateShader(stage) + "\nglShaderSource(" + name + ", 1, pointer, pointer)\n" +
               gl::CompileShader(object) + "\nglGetShaderiv(" + name + ", 0x8B81, pointer)\n";
    };
    const auto left = [](GLuint object) {
        return "\n" + gl::DetachShader(7, object) + "\n" + gl::DeleteShader(object);
    };
    EXPECT_EQ(gl::take(), compiled(101, vertex) +
                              "glGetShaderInfoLog(0x65, 169, pointer, pointer)\n" +
                              gl::DeleteShader(101) + "\n" + compiled(102, fragment) +
                              compiled(103, geometry) + gl::AttachShader(7, 102) + "\n" +
                              gl::AttachShader(7, 103) + "\n" + gl::LinkProgram(7) +
                              "\nglGetProgramiv(0x7, 0x8B82, pointer)" + left(102) + left(103));
    EXPECT_EQ(result.success, 0) << "a good link doesn't repair a failed stage";
    EXPECT_EQ(std::string(log, static_cast<size_t>(result.log.count)),
              "failed to compile vertex stage\nbad vertex");
}

// What a buffer of this size holds in the end: lines of our own are cut at its end, and OpenGL
// keeps a byte for its terminator.
std::string fitting_log(const std::vector<std::pair<std::string, std::string>>& texts,
                        size_t size) {
    std::string log;
    for (const auto& [line, driver_text] : texts) {
        log += line.substr(0, size - log.size());
        if (log.size() < size) log += driver_text.substr(0, size - log.size() - 1);
    }
    return log;
}

TEST_F(ShaderSourceTest, ALogOfAnySizeIsFilledAndNeverOverrun) {
    stage_logs = {{vertex, "0:1: bad vertex\n"}, {fragment, ""}, {geometry, "0:2: bad geometry\n"}};
    links = false;
    link_log = "nothing to link";
    const std::vector<std::pair<std::string, std::string>> texts = {
        {"failed to compile vertex stage\n", stage_logs[vertex]},
        {"failed to compile fragment stage\n", stage_logs[fragment]},
        {"failed to compile geometry stage\n", stage_logs[geometry]},
        {"", link_log},
    };
    const size_t whole = fitting_log(texts, 1000).size();
    ASSERT_EQ(whole, 31u + 16 + 33 + 33 + 18 + 15);
    for (size_t size = 0; size <= whole + 8; ++size) {
        SCOPED_TRACE(size);
        std::string block(size + 32, '?');
        shader_source(&result, 7, slice("#vertex V#fragment F#geometry G"),
                      {block.data() + 16, static_cast<i64>(size)});
        const std::string expected = fitting_log(texts, size);
        EXPECT_EQ(result.success, 0);
        EXPECT_EQ(result.log.data, block.data() + 16);
        ASSERT_EQ(result.log.count, static_cast<i64>(expected.size()));
        EXPECT_EQ(block.substr(16, expected.size()), expected);
        EXPECT_EQ(block.substr(0, 16), std::string(16, '?'));
        EXPECT_EQ(block.substr(16 + size), std::string(16, '?'));
        stages.clear();
    }
}

TEST_F(ShaderSourceTest, ALogWithoutRoomIsLeftAlone) {
    stage_logs = {{vertex, "bad"}};
    links = false;
    link_log = "bad too";
    char log[8];
    std::fill_n(log, sizeof log, '?');
    const Slice rooms[] = {{log, 0},          {log, -1},          {log, INT64_MIN},
                           {log, 0x80000000}, {log, 0x100000000}, {nullptr, 100}};
    for (const Slice& room : rooms) {
        SCOPED_TRACE(room.count);
        stages.clear();
        shader_source(&result, 7, slice("#vertex V"), room);
        EXPECT_EQ(result.success, 0);
        EXPECT_EQ(result.log.data, room.data);
        EXPECT_EQ(result.log.count, 0);
    }
    EXPECT_EQ(std::string(log, sizeof log), "????????");
    stages.clear();
    shader_source(&result, 7, slice("#vertex V"), {log, 0x700000004});
    EXPECT_EQ(std::string(log, sizeof log), "fail????") << "the size has 32 bits";
    EXPECT_EQ(result.log.count, 4);
}

} // namespace
