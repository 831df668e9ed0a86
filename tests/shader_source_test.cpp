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
constexpr GLenum vertex = GL_VERTEX_SHADER, fragment = GL_FRAGMENT_SHADER,
                 geometry = GL_GEOMETRY_SHADER;

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
        };
        gl::GetShaderiv.behaviour = [this](GLuint object, GLenum, GLint* status) {
            *status = stage_logs.count(stages[object - 101]) == 0;
        };
        gl::GetShaderInfoLog.behaviour = [this](GLuint object, GLsizei room, GLsizei* length,
                                                GLchar* log) {
            write_log(stage_logs[stages[object - 101]], room, length, log);
        };
        gl::GetProgramiv.behaviour = [this](GLuint, GLenum, GLint* status) { *status = links; };
        gl::GetProgramInfoLog.behaviour = [](GLuint, GLsizei room, GLsizei* length, GLchar* log) {
            write_log("nothing to link", room, length, log);
        };
    }

    // As OpenGL does: the text cut down, and a terminator within the room that doesn't count.
    static void write_log(const std::string& text, GLsizei room, GLsizei* length, GLchar* log) {
        ASSERT_GT(room, 0);
        *length = std::min(static_cast<GLsizei>(text.size()), room - 1);
        std::copy_n(text.begin(), *length, log);
        log[*length] = '\0';
    }

    ShaderResult compile(Slice source, Slice log) {
        ShaderResult result = {2, {&result, -1}};
        stages.clear();
        given.clear();
        shader_source(&result, 7, source, log);
        return result;
    }

    std::vector<GLenum> stages; // of object 101, 102 and so on
    stage_texts given;
    std::map<GLenum, std::string> stage_logs; // of the stages that fail
    bool links = true;
};

TEST_F(ShaderSourceTest, DirectivesMarkTheStages) {
    const struct {
        std::string_view source;
        stage_texts texts;
    } cases[] = {
        {"#vertex\nV;\n#fragment\nF;\n", {{vertex, "V;\n"}, {fragment, "F;\n"}}},
        {"#geometry\tG#fragment\rF#vertex V", {{vertex, "V"}, {fragment, "F"}, {geometry, "G"}}},
        {"none at all", {}},
        {"ahead #vertex\r\nV", {{vertex, "\nV"}}},
        {"#vertex\n", {}},
        {"#geometry", {}},
        {"#geometry  ", {{geometry, " "}}},
        {"#vertex V#vertices #Vertex #vertex\f#v #",
         {{vertex, "V#vertices #Vertex #vertex\f#v #"}}},
        {"#vertex // #fragment in a comment", {{vertex, "// "}, {fragment, "in a comment"}}},
        {"#vertex 1#vertex #fragment 2#vertex 3", {{vertex, "3"}, {fragment, "2"}}},
        {"#vertex 1#vertex #fragment 2", {{fragment, "2"}}},
        {{"#vertex a\0b#fragment \0", 22}, {{vertex, {"a\0b", 3}}, {fragment, {"\0", 1}}}},
    };
    char log[] = "????????";
    for (const auto& c : cases) {
        SCOPED_TRACE(c.source);
        const ShaderResult result = compile(slice(c.source), {log, 8});
        EXPECT_EQ(given, c.texts);
        EXPECT_EQ(result.success, 1);
        EXPECT_EQ(result.log.data, nullptr);
        EXPECT_EQ(result.log.count, 0);
        EXPECT_STREQ(log, "????????");
    }
    // The text's count has 32 bits.
    char source[] = "#vertex V#fragment F";
    for (const i64 count : {i64{0x100000009}, i64{0x100000000}, i64{0x80000014}, i64{-1}}) {
        compile({source, count}, {});
        EXPECT_EQ(given, count == 0x100000009 ? stage_texts({{vertex, "V"}}) : stage_texts());
    }
}

TEST_F(ShaderSourceTest, AFailedStageIsDeletedAndTheRestGoesOn) {
    stage_logs[vertex] = "bad vertex";
    char log[200];
    const ShaderResult result =
        compile(slice("#fragment F#vertex V#geometry G"), {log, sizeof log});
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
    EXPECT_EQ(text_of(result.log), "failed to compile vertex stage\nbad vertex");
}

TEST_F(ShaderSourceTest, ALogOfAnySizeIsFilledAndNeverOverrun) {
    stage_logs = {{vertex, "0:1: bad vertex\n"}, {fragment, ""}, {geometry, "0:2: bad geometry\n"}};
    links = false;
    const std::pair<std::string, std::string> texts[] = {
        {"failed to compile vertex stage\n", stage_logs[vertex]},
        {"failed to compile fragment stage\n", ""},
        {"failed to compile geometry stage\n", stage_logs[geometry]},
        {"", "nothing to link"},
    };
    // What fits: lines of our own are cut at the end, and OpenGL keeps a byte for its terminator.
    const auto fitting = [&](size_t size) {
        std::string log;
        for (const auto& [line, driver_text] : texts) {
            log += line.substr(0, size - log.size());
            if (log.size() < size) log += driver_text.substr(0, size - log.size() - 1);
        }
        return log;
    };
    std::vector<i64> sizes = {-1, INT64_MIN, 0x80000000, 0x100000000, 0x700000004};
    for (i64 size = 0; size <= 154; ++size) {
        sizes.push_back(size);
    }
    for (const i64 size : sizes) {
        SCOPED_TRACE(size);
        const auto room = static_cast<size_t>(std::max(static_cast<i32>(size), 0));
        std::string block(room + 32, '?');
        const ShaderResult result =
            compile(slice("#vertex V#fragment F#geometry G"), {block.data() + 16, size});
        EXPECT_EQ(result.success, 0);
        EXPECT_EQ(result.log.data, block.data() + 16);
        EXPECT_EQ(text_of(result.log), fitting(room));
        EXPECT_EQ(block.substr(0, 16), std::string(16, '?'));
        EXPECT_EQ(block.substr(16 + room), std::string(16, '?'));
    }
    EXPECT_EQ(fitting(154).size(), 146u);
    EXPECT_EQ(compile(slice("#vertex V"), {nullptr, 100}).log.count, 0);
}

} // namespace
