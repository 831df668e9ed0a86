// SPDX-License-Identifier: Zlib
#include "fuzzing.h"

#include "api/graphics.h"
#include "support/plain_scan.h"
#include "support/recording_gl.h"

// Shader texts of any kind over an OpenGL that says what the input tells it to: which stages
// compile, whether they link, how long its logs are and how long it says that they are.

using namespace fuzzing;
namespace gl = recording_gl;

namespace {

enum : u8 {
    link_fails = 8,
    lies_about_length = 16,
    without_log = 32,
};

struct plan {
    u8 flags; // and a bit for each stage that fails
    i32 claimed;
    i64 log_size;
    bytes log; // what OpenGL has to say
    bytes text;
};

plan current;
plain_scan::stages given;
bytes written; // what the log must hold, as far as it reaches
std::vector<GLenum> objects;

size_t index_of(GLenum stage) {
    return stage == GL_VERTEX_SHADER ? 0 : stage == GL_FRAGMENT_SHADER ? 1 : 2;
}

size_t stage_of(GLuint object) {
    require(object > 100 && object <= 100 + objects.size(), "objects are those handed out");
    return index_of(objects[object - 101]);
}

// As OpenGL does: the text cut down, and a terminator within the room that doesn't count. The
// length that it gives may be anything.
void write_log(GLsizei room, GLsizei* length, GLchar* log) {
    require(room > 0, "OpenGL is asked for a log only where there is room");
    const auto count = std::min(current.log.size(), static_cast<size_t>(room - 1));
    std::copy_n(current.log.begin(), count, log);
    log[count] = 0;
    *length = (current.flags & lies_about_length) != 0 ? current.claimed : static_cast<i32>(count);
    const auto kept = std::min(std::max(*length, 0), room);
    written.insert(written.end(), log, log + kept);
}

void add_line(GLenum stage) {
    static const char* const lines[] = {"failed to compile vertex stage\n",
                                        "failed to compile fragment stage\n",
                                        "failed to compile geometry stage\n"};
    const std::string line = lines[index_of(stage)];
    const i64 room = (current.flags & without_log) != 0
                         ? 0
                         : current.log_size - static_cast<i64>(written.size());
    const auto count = static_cast<size_t>(std::clamp<i64>(room, 0, static_cast<i64>(line.size())));
    written.insert(written.end(), line.begin(), line.begin() + static_cast<i64>(count));
}

void load_gl() {
    gl::load_into_library();
    gl::CreateShader.behaviour = [](GLenum stage) {
        objects.push_back(stage);
        return static_cast<GLuint>(100 + objects.size());
    };
    gl::ShaderSource.behaviour = [](GLuint object, GLsizei count, const GLchar* const* text,
                                    const GLint* length) {
        require(count == 1 && *length > 0, "a stage has one text");
        given[stage_of(object)].assign(*text, static_cast<size_t>(*length));
    };
    gl::GetShaderiv.behaviour = [](GLuint object, GLenum, GLint* status) {
        const bool fails = (current.flags >> stage_of(object) & 1) != 0;
        *status = !fails;
        if (fails) add_line(objects[object - 101]);
    };
    gl::GetShaderInfoLog.behaviour = [](GLuint, GLsizei room, GLsizei* length, GLchar* log) {
        write_log(room, length, log);
    };
    gl::GetProgramiv.behaviour = [](GLuint, GLenum, GLint* status) {
        *status = (current.flags & link_fails) == 0;
    };
    gl::GetProgramInfoLog.behaviour = [](GLuint, GLsizei room, GLsizei* length, GLchar* log) {
        write_log(room, length, log);
    };
}

plan plan_of(input from) {
    plan p = {};
    p.flags = from.byte();
    p.log_size = from.byte();
    if (p.log_size > 200) p.log_size = (p.log_size - 200) * 97;
    p.claimed = from.number<i32>();
    if ((p.flags & 64) != 0) p.claimed &= 0x3FF;
    p.log = from.block(from.byte());
    p.text = from.rest();
    return p;
}

plain_scan::stages scan(const bytes& text, bool wide) {
    const halvorin::shader_texts texts = halvorin::split_stages(
        reinterpret_cast<const char*>(text.data()), static_cast<i32>(text.size()), wide);
    plain_scan::stages found;
    for (size_t i = 0; i < found.size(); ++i) {
        const auto& stage = texts.of[i];
        if (stage.length > 0) found[i].assign(stage.data, static_cast<size_t>(stage.length));
    }
    return found;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool loaded = (load_gl(), true);
    require(loaded, "there is an OpenGL");
    current = plan_of({data, size});
    given = {};
    written.clear();
    objects.clear();
    const plain_scan::stages expected = plain_scan::split_plainly(
        {reinterpret_cast<const char*>(current.text.data()), current.text.size()});
    require(scan(current.text, false) == expected, "the search finds what there is");
    if (__builtin_cpu_supports("avx2")) {
        require(scan(current.text, true) == expected, "the wide search finds what there is");
    }
    bytes log(static_cast<size_t>(current.log_size));
    const bool has_log = (current.flags & without_log) == 0;
    ShaderResult result = {2, {&result, -1}};
    shader_source(&result, 7, {current.text.data(), static_cast<i64>(current.text.size())},
                  {has_log ? log.data() : nullptr, current.log_size});
    gl::calls.clear();
    require(given == expected, "OpenGL gets the stages that there are");
    bool success = (current.flags & link_fails) == 0;
    for (const GLenum stage : objects) {
        success &= (current.flags >> index_of(stage) & 1) == 0;
    }
    require(result.success == success, "it is a success when all of it is one");
    const auto count = static_cast<size_t>(result.log.count);
    require(count == (success ? 0 : written.size()), "the log is as long as what was written");
    if (count > 0) {
        require(result.log.data == log.data() && count <= log.size(), "the log lies in the buffer");
        require(std::equal(written.begin(), written.end(), log.begin()),
                "the log is what was said");
    }
    return 0;
}
