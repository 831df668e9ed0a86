// SPDX-License-Identifier: Zlib
#pragma once

// An OpenGL that only writes down what it is asked. It goes behind the library's own loader:
//
//     recording_gl::load_into_library();
//     buffer_bind(BUFFER_TARGET_ARRAY, 7);
//     EXPECT_EQ(recording_gl::take(), recording_gl::BindBuffer(GL_ARRAY_BUFFER, 7));
//
// A call is one line of text. Each function stands here twice over: as the stub that the library
// calls, and as a function of the same parameters that gives the line for these arguments.

#include <glad/gl.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace recording_gl {

inline std::vector<std::string> calls;

// Floating numbers to the bit. What the library makes up itself (a local name, a list) lies at an
// address that no test can know; offsets, and the addresses that the tests make up, are small.
template <class Value> std::string text_of(Value value) {
    if constexpr (std::is_same_v<Value, const GLchar*>) {
        return "\"" + std::string(value) + "\"";
    } else if constexpr (std::is_pointer_v<Value>) {
        const auto address = reinterpret_cast<intptr_t>(value);
        const bool known = std::abs(address) < intptr_t{1} << 40;
        return known ? "pointer " + std::to_string(address) : "pointer";
    } else if constexpr (std::is_integral_v<Value> && std::is_signed_v<Value>) {
        return std::to_string(value);
    } else {
        unsigned long long bits = 0;
        std::memcpy(&bits, &value, sizeof value);
        char text[20];
        std::snprintf(text, sizeof text, "0x%llX", bits);
        return text;
    }
}

inline std::string joined(const std::vector<std::string>& texts, const char* between) {
    std::string whole;
    for (const std::string& text : texts) {
        whole += (whole.empty() ? "" : between) + text;
    }
    return whole;
}

template <class Tag, class Pointer = typename Tag::pointer> struct recorded;

template <class Tag, class Result, class... Parameters>
struct recorded<Tag, Result (*)(Parameters...)> {
    // What the function does besides: gives a result, writes through a pointer.
    static inline std::function<Result(Parameters...)> behaviour;

    static std::string line(Parameters... arguments) {
        return Tag::name + ("(" + joined({text_of(arguments)...}, ", ") + ")");
    }

    static Result stub(Parameters... arguments) {
        calls.push_back(line(arguments...));
        return behaviour ? behaviour(arguments...) : Result();
    }

    std::string operator()(Parameters... arguments) const {
        return line(arguments...);
    }
};

// What a pointer points at, for behind the line of a call.
template <class Value> std::string list(const std::vector<Value>& values) {
    std::vector<std::string> texts;
    for (const Value& value : values) {
        texts.push_back(text_of(value));
    }
    return " [" + joined(texts, ", ") + "]";
}

template <class Value> void add_list(GLsizei count, const Value* values) {
    calls.back() += list(std::vector<Value>(values, values + count));
}

// clang-format off
#define RECORDED_FUNCTIONS(X) \
    X(ActiveTexture) X(AttachShader) X(BindBuffer) X(BindBufferBase) X(BindBufferRange) \
    X(BindFramebuffer) X(BindRenderbuffer) X(BindTexture) X(BindVertexArray) X(BlendColor) \
    X(BlendEquation) X(BlendEquationSeparate) X(BlendFunc) X(BlendFuncSeparate) \
    X(BlitFramebuffer) X(BufferData) X(BufferSubData) X(CheckFramebufferStatus) X(ClampColor) \
    X(Clear) X(ClearColor) X(ClearDepth) X(ClearStencil) X(ColorMask) X(CompileShader) \
    X(CompressedTexImage1D) X(CompressedTexImage2D) X(CompressedTexImage3D) \
    X(CompressedTexSubImage1D) X(CompressedTexSubImage2D) X(CompressedTexSubImage3D) \
    X(CopyBufferSubData) X(CopyTexImage1D) X(CopyTexImage2D) X(CopyTexSubImage1D) \
    X(CopyTexSubImage2D) X(CopyTexSubImage3D) X(CreateProgram) X(CreateShader) X(CullFace) \
    X(DeleteBuffers) X(DeleteFramebuffers) X(DeleteProgram) X(DeleteRenderbuffers) \
    X(DeleteShader) X(DeleteTextures) X(DeleteVertexArrays) X(DepthFunc) X(DepthMask) \
    X(DepthRange) X(DetachShader) X(Disable) X(DisableVertexAttribArray) X(DrawArrays) \
    X(DrawArraysInstanced) X(DrawBuffers) X(DrawElements) X(DrawElementsBaseVertex) \
    X(DrawElementsInstanced) X(DrawElementsInstancedBaseVertex) X(Enable) \
    X(EnableVertexAttribArray) X(Finish) X(FramebufferRenderbuffer) X(FramebufferTexture) \
    X(FramebufferTexture2D) X(FramebufferTextureLayer) X(FrontFace) X(GenBuffers) \
    X(GenFramebuffers) X(GenRenderbuffers) X(GenTextures) X(GenVertexArrays) X(GenerateMipmap) \
    X(GetAttribLocation) X(GetError) X(GetFragDataLocation) X(GetIntegerv) X(GetProgramInfoLog) \
    X(GetProgramiv) X(GetShaderInfoLog) X(GetShaderiv) X(GetString) X(GetStringi) \
    X(GetTexImage) X(GetUniformBlockIndex) X(GetUniformLocation) X(LinkProgram) X(LogicOp) \
    X(MapBuffer) X(PixelStorei) X(PointParameterf) X(PointParameteri) X(PointSize) \
    X(PolygonMode) X(PrimitiveRestartIndex) X(ReadBuffer) X(ReadPixels) X(RenderbufferStorage) \
    X(RenderbufferStorageMultisample) X(Scissor) X(ShaderSource) X(StencilFunc) \
    X(StencilFuncSeparate) X(StencilMask) X(StencilMaskSeparate) X(StencilOp) \
    X(StencilOpSeparate) X(TexBuffer) X(TexImage1D) X(TexImage2D) X(TexImage2DMultisample) \
    X(TexImage3D) X(TexImage3DMultisample) X(TexParameterIiv) X(TexParameterIuiv) \
    X(TexParameterf) X(TexParameterfv) X(TexParameteri) X(TexParameteriv) X(TexSubImage1D) \
    X(TexSubImage2D) X(TexSubImage3D) X(Uniform1f) X(Uniform1fv) X(Uniform1i) X(Uniform1iv) \
    X(Uniform1ui) X(Uniform1uiv) X(Uniform2f) X(Uniform2fv) X(Uniform2i) X(Uniform2iv) \
    X(Uniform2ui) X(Uniform2uiv) X(Uniform3f) X(Uniform3fv) X(Uniform3i) X(Uniform3iv) \
    X(Uniform3ui) X(Uniform3uiv) X(Uniform4f) X(Uniform4fv) X(Uniform4i) X(Uniform4iv) \
    X(Uniform4ui) X(Uniform4uiv) X(UniformBlockBinding) X(UniformMatrix2fv) \
    X(UniformMatrix2x3fv) X(UniformMatrix2x4fv) X(UniformMatrix3fv) X(UniformMatrix3x2fv) \
    X(UniformMatrix3x4fv) X(UniformMatrix4fv) X(UniformMatrix4x2fv) X(UniformMatrix4x3fv) \
    X(UnmapBuffer) X(UseProgram) X(VertexAttribDivisor) X(VertexAttribIPointer) \
    X(VertexAttribPointer) X(Viewport)
// clang-format on

#define RECORDED_FUNCTION(function)                                                                \
    struct function##_tag {                                                                        \
        using pointer = decltype(glad_gl##function);                                               \
        static constexpr const char* name = "gl" #function;                                        \
    };                                                                                             \
    inline constexpr recorded<function##_tag> function;
RECORDED_FUNCTIONS(RECORDED_FUNCTION)
#undef RECORDED_FUNCTION

inline void unlisted() {
    calls.push_back("an OpenGL function that is not listed here");
}

inline GLADapiproc find(const char* name) {
#define RECORDED_FUNCTION(function)                                                                \
    if (std::strcmp(name, "gl" #function) == 0) return reinterpret_cast<GLADapiproc>(function.stub);
    RECORDED_FUNCTIONS(RECORDED_FUNCTION)
#undef RECORDED_FUNCTION
    return unlisted;
}

// The calls since the last time, one a line.
inline std::string take() {
    return joined(std::exchange(calls, {}), "\n");
}

// Takes away what the tests before have set up, and says what the loader wants to hear.
inline void load_into_library() {
#define RECORDED_FUNCTION(function) function.behaviour = nullptr;
    RECORDED_FUNCTIONS(RECORDED_FUNCTION)
#undef RECORDED_FUNCTION
    GetString.behaviour = [](GLenum) {
        return reinterpret_cast<const GLubyte*>("3.3.0 recording");
    };
    GetIntegerv.behaviour = [](GLenum name, GLint* value) {
        *value = name == GL_MAJOR_VERSION || name == GL_MINOR_VERSION ? 3 : 0;
    };
    const auto list_names = [](GLsizei count, const GLuint* names) { add_list(count, names); };
    DeleteBuffers.behaviour = list_names;
    DeleteFramebuffers.behaviour = list_names;
    DeleteRenderbuffers.behaviour = list_names;
    DeleteTextures.behaviour = list_names;
    DeleteVertexArrays.behaviour = list_names;
    DrawBuffers.behaviour = list_names;
    TexParameteriv.behaviour = [](GLenum, GLenum name, const GLint* values) {
        if (name == GL_TEXTURE_SWIZZLE_RGBA) add_list(4, values);
    };
    gladLoadGL(find);
    calls.clear();
}

} // namespace recording_gl
