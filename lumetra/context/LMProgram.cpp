#include "lumetra/context/LMProgram.h"

#include "lumetra/context/LMOpenGL.h"
#include "lumetra/context/LMShader.h"
#include "lumetra/platform/LMLog.h"

#include <EGL/egl.h>

LMProgram::LMProgram(const std::string& name, GLuint vertexShader, const char* fragmentShaderSource)
{
    const LMShaderBuild fragmentShader = LMCompileShader(GL_FRAGMENT_SHADER, fragmentShaderSource);
    if (!fragmentShader.succeeded)
        LMLog("LMFilter: Fragment Shader for %s failed to compile: %s", name.c_str(), fragmentShader.log.c_str());
    LMOpenGL::logErrors("LMFilter: Error compiling shaders");

    const LMShaderBuild program = LMLinkProgram(vertexShader, fragmentShader.object, "lm_output");
    number_ = program.object;
    // Some drivers link a fragment shader that failed to compile, or that
    // had no source at all; such a program is never used.
    linked_ = program.succeeded && fragmentShader.succeeded;
    LMOpenGL::logErrors("LMFilter: Error creating shader program");
    // A shader that compiled can still fail to link (no main, say); a failed
    // compile has said why already.
    if (!linked_ && fragmentShader.succeeded)
        LMLog("LMFilter: Shader program for %s failed to link: %s", name.c_str(), program.log.c_str());
}

void LMProgram::useProgram()
{
    glUseProgram(number_);
}

GLint LMProgram::uniformLocation(std::string_view uniformName)
{
    if (auto cached = uniformLocationCache_.find(uniformName); cached != uniformLocationCache_.end())
        return cached->second;
    // Without a current GL context the call would reach GL's no-op table and
    // answer 0, which must not be cached as this program's location.
    if (eglGetCurrentContext() == EGL_NO_CONTEXT) {
        LMLog("LMProgram: Uniform location of %.*s asked with no GL context current",
              static_cast<int>(uniformName.size()), uniformName.data());
        return -1;
    }
    std::string key(uniformName);
    const GLint location = glGetUniformLocation(number_, key.c_str());
    uniformLocationCache_.emplace(std::move(key), location);
    return location;
}

GLint LMProgram::attributeLocation(const char* attributeName)
{
    return attributeName ? glGetAttribLocation(number_, attributeName) : -1;
}
