// SPDX-License-Identifier: Zlib
// What the library adds to an OpenGL that does nothing: wrappers against the bare call through the
// loader's pointer, and shader_source against a search and a loop over the same text. Every row
// gives the ratio of our median to the peer's (`of_`) beside its goal (`goal_`).
#include <halvorin_system/graphics.h>

#include "in_turn.h"

#include <dlfcn.h>
#include <glad/gl.h>

#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace {

// An OpenGL whose functions return at once.
template <class Pointer> struct nothing;
template <class Result, class... Parameters> struct nothing<Result (*)(Parameters...)> {
    static Result call(Parameters...) {
        return Result();
    }
};

void succeed(GLuint, GLenum, GLint* status) {
    *status = 1;
}

GLuint create_shader(GLenum) {
    return 1;
}

const GLubyte* version(GLenum) {
    return reinterpret_cast<const GLubyte*>("3.3.0 nothing");
}

template <class Function> GLADapiproc as_loaded(Function* function) {
    return reinterpret_cast<GLADapiproc>(function);
}

GLADapiproc find(const char* name) {
#define NOTHING(function)                                                                          \
    if (std::strcmp(name, "gl" #function) == 0)                                                    \
        return as_loaded(nothing<decltype(glad_gl##function)>::call);
    NOTHING(BindBuffer)
    NOTHING(UseProgram)
    NOTHING(Uniform4f)
    NOTHING(UniformMatrix4fv)
    NOTHING(DrawElements)
    NOTHING(ShaderSource)
    NOTHING(CompileShader)
    NOTHING(AttachShader)
    NOTHING(LinkProgram)
    NOTHING(DetachShader)
    NOTHING(DeleteShader)
    NOTHING(GetIntegerv)
#undef NOTHING
    if (std::strcmp(name, "glGetString") == 0) return as_loaded(version);
    if (std::strcmp(name, "glCreateShader") == 0) return as_loaded(create_shader);
    if (std::strcmp(name, "glGetShaderiv") == 0) return as_loaded(succeed);
    if (std::strcmp(name, "glGetProgramiv") == 0) return as_loaded(succeed);
    return nullptr;
}

// The loader's pointers and the library's exports, as a host finds them: by name, to be called
// through a variable.
template <class Pointer> Pointer exported(const char* name) {
    return reinterpret_cast<Pointer>(dlsym(RTLD_DEFAULT, name));
}
#define LOADED(function)   (*exported<decltype(&glad_gl##function)>("glad_gl" #function))
#define EXPORTED(function) exported<decltype(&function)>(#function)

// Both calls take the same time whatever their arguments are, as long as all are mapped.
template <class Ours, class Bare>
void compare_calls(benchmark::State& state, const Ours& ours, const Bare& bare) {
    constexpr u32 repeats = 10000;
    const auto repeated = [](const auto& call) {
        return [&call] {
            for (u32 i = 0; i < repeats; ++i) {
                call(i);
            }
        };
    };
    const auto [our_time, bare_time] = medians_in_turn(state, repeated(ours), repeated(bare));
    state.counters["ns"] = our_time / repeats * 1e9;
    show(state, "pointer_call", our_time / bare_time, 3.0);
}

void bind_shader(benchmark::State& state) {
    gladLoadGL(find);
    const auto ours = EXPORTED(shader_bind);
    const auto& bare = LOADED(UseProgram);
    compare_calls(
        state, [&](u32 i) { ours(i); }, [&](u32 i) { bare(i); });
}

void set_vector(benchmark::State& state) {
    gladLoadGL(find);
    const auto ours = EXPORTED(shader_uniform4f);
    const auto& bare = LOADED(Uniform4f);
    const u32 one = 0x3F800000;
    compare_calls(
        state, [&](u32) { ours(1, one, one, one, one); }, [&](u32) { bare(1, 1, 1, 1, 1); });
}

void set_matrix(benchmark::State& state) {
    gladLoadGL(find);
    const auto ours = EXPORTED(shader_uniform_matrix4fa);
    const auto& bare = LOADED(UniformMatrix4fv);
    float matrix[16] = {};
    compare_calls(
        state,
        [&](u32) {
            ours(1, 1, 0, {matrix, 16});
        },
        [&](u32) { bare(1, 1, 0, matrix); });
}

void bind_buffer(benchmark::State& state) {
    gladLoadGL(find);
    const auto ours = EXPORTED(buffer_bind);
    const auto& bare = LOADED(BindBuffer);
    compare_calls(
        state, [&](u32 i) { ours(i & 7, 1); }, [&](u32 i) { bare(i & 7, 1); });
}

void draw(benchmark::State& state) {
    gladLoadGL(find);
    const auto ours = EXPORTED(draw_elements);
    const auto& bare = LOADED(DrawElements);
    compare_calls(
        state, [&](u32) { ours(4, DATA_TYPE_UNSIGNED_SHORT, 6, 36, 0, 1); },
        [&](u32) { bare(4, 36, GL_UNSIGNED_SHORT, reinterpret_cast<const void*>(6)); });
}

// A text of two stages, with a # on every third line or on the directives alone.
std::string shader_text(size_t size, bool dense) {
    std::string text;
    for (const char* directive : {"#vertex\n", "#fragment\n"}) {
        text += directive;
        const size_t end = text.size() < size / 2 ? size / 2 : size;
        for (u32 line = 0; text.size() < end; ++line) {
            text += dense && line % 3 == 0
                        ? "#ifdef SHADOWS_" + std::to_string(line) + "\n"
                        : "    total += weight[3] * texture(image, place).rgb;\n";
        }
    }
    return text;
}

// The scan as one would write it down first.
size_t scan_bytes(const char* text, size_t size) {
    size_t found = 0;
    for (size_t i = 0; i + 8 < size; ++i) {
        if (text[i] != '#') continue;
        found += std::memcmp(text + i, "#vertex\n", 8) == 0;
        found += std::memcmp(text + i, "#fragment", 9) == 0;
        found += std::memcmp(text + i, "#geometry", 9) == 0;
    }
    return found;
}

void scan_shader(benchmark::State& state) {
    gladLoadGL(find);
    const auto ours = EXPORTED(shader_source);
    const bool large = state.range(0) > 4096, dense = state.range(1) != 0;
    const std::string text = shader_text(static_cast<size_t>(state.range(0)), dense);
    const Slice source = {const_cast<char*>(text.data()), static_cast<i64>(text.size())};
    const int repeats = large ? 1 : 100;
    ShaderResult result = {};
    const auto whole = [&] {
        for (int i = 0; i < repeats; ++i) {
            ours(&result, 7, source, {});
        }
    };
    const auto search = [&] {
        for (int i = 0; i < repeats; ++i) {
            benchmark::DoNotOptimize(std::memchr(text.data(), 1, text.size()));
            benchmark::ClobberMemory();
        }
    };
    const auto loop = [&] {
        for (int i = 0; i < repeats; ++i) {
            benchmark::DoNotOptimize(scan_bytes(text.data(), text.size()));
            benchmark::ClobberMemory();
        }
    };
    const auto [our_time, search_time, loop_time] = medians_in_turn(state, whole, search, loop);
    if (!result.success) state.SkipWithError("the shader wasn't made");
    state.SetLabel(std::string(large ? "1 MiB" : "4 KiB") + (dense ? ", dense" : ""));
    state.counters["ns"] = our_time / repeats * 1e9;
    show(state, "memchr", our_time / search_time, large ? (dense ? 3.0 : 1.6) : (dense ? 12 : 8));
    show(state, "byte_loop", our_time / loop_time,
         large ? (dense ? 0.15 : 0.08) : (dense ? 0.20 : 0.12));
}

BENCHMARK(bind_shader)->Iterations(1001)->UseManualTime();
BENCHMARK(set_vector)->Iterations(1001)->UseManualTime();
BENCHMARK(set_matrix)->Iterations(1001)->UseManualTime();
BENCHMARK(bind_buffer)->Iterations(1001)->UseManualTime();
BENCHMARK(draw)->Iterations(1001)->UseManualTime();
BENCHMARK(scan_shader)->ArgsProduct({{4096, 1 << 20}, {0, 1}})->Iterations(501)->UseManualTime();

} // namespace
