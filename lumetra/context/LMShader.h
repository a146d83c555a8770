#pragma once

#include "lumetra/platform/LMGL.h"

#include <string>

// Compiling shaders and linking programs, for the context's programs and the
// view's. Nothing here logs: each caller reports a failure in its own words,
// with the log GL gave. Both run with the owning GL context current.

// The outcome of a compile or a link. The GL object exists whether or not it
// succeeded; `log` is GL's info log when it failed (empty otherwise), cut to
// 511 characters.
struct LMShaderBuild {
    GLuint object = 0;
    bool succeeded = false;
    std::string log;
};

// A new shader of `type` (GL_VERTEX_SHADER, GL_FRAGMENT_SHADER) compiled from
// `source`; a null source compiles as an empty one.
LMShaderBuild LMCompileShader(GLenum type, const char* source);

// A new program of the two shaders, linked with "in_Position" and
// "in_TexCoord" bound to the library's attribute indices (the layout of every
// quad the library draws) and `output` bound to colour number 0.
LMShaderBuild LMLinkProgram(GLuint vertexShader, GLuint fragmentShader, const char* output);
