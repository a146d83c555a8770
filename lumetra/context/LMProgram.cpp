#include "lumetra/context/LMProgram.h"

#include "lumetra/context/LMVertexAttribute.h"
#include "lumetra/platform/LMLog.h"

#include <EGL/egl.h>

LMProgram::LMProgram(const std::string& name, GLuint vertexShader, const char* fragmentShaderSource)
{
    const GLuint fragmentShader = glCreateShader(GL_FRAGMENT_SHADER);
    const char* source = fragmentShaderSource ? fragmentShaderSource : "";
    glShaderSource(fragmentShader, 1, &source, nullptr);
    glCompileShader(fragmentShader);
    GLint status = GL_FALSE;
    glGetShaderiv(fragmentShader, GL_COMPILE_STATUS, &status);
    if (status != GL_TRUE) {
        char infoLog[512] = {};
        glGetShaderInfoLog(fragmentShader, sizeof(infoLog), nullptr, infoLog);
        LMLog("LMFilter: Fragment Shader for %s failed to compile: %s", name.c_str(), infoLog);
    }
    if (glGetError() != GL_NO_ERROR)
        LMLog("LMFilter: Error compiling shaders");

    number_ = glCreateProgram();
    glAttachShader(number_, vertexShader);
    glAttachShader(number_, fragmentShader);
    glBindFragDataLocation(number_, 0, "lm_output");
    glBindAttribLocation(number_, LM_ATTRIBUTE_INDEX_POSITION, "in_Position");
    glBindAttribLocation(number_, LM_ATTRIBUTE_INDEX_TEXTURE_COORDS, "in_TexCoord");
    glLinkProgram(number_);
    if (glGetError() != GL_NO_ERROR)
        LMLog("LMFilter: Error creating shader program");
    GLint linked = GL_FALSE;
    glGetProgramiv(number_, GL_LINK_STATUS, &linked);
    linked_ = linked == GL_TRUE;
    // A shader that compiled can still fail to link (no main, say); a failed
    // compile has said why already.
    if (!linked_ && status == GL_TRUE) {
        char infoLog[512] = {};
        glGetProgramInfoLog(number_, sizeof(infoLog), nullptr, infoLog);
        LMLog("LMFilter: Shader program for %s failed to link: %s", name.c_str(), infoLog);
    }
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
