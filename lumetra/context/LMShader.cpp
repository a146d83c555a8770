#include "lumetra/context/LMShader.h"

#include "lumetra/context/LMVertexAttribute.h"

namespace {

// The library has always printed at most this much of a log.
constexpr GLsizei infoLogSize = 512;

} // namespace

LMShaderBuild LMCompileShader(GLenum type, const char* source)
{
    LMShaderBuild build;
    build.object = glCreateShader(type);
    const char* text = source ? source : "";
    glShaderSource(build.object, 1, &text, nullptr);
    glCompileShader(build.object);
    GLint status = GL_FALSE;
    glGetShaderiv(build.object, GL_COMPILE_STATUS, &status);
    build.succeeded = status == GL_TRUE;
    if (!build.succeeded) {
        char infoLog[infoLogSize] = {};
        glGetShaderInfoLog(build.object, infoLogSize, nullptr, infoLog);
        build.log = infoLog;
    }
    return build;
}

LMShaderBuild LMLinkProgram(GLuint vertexShader, GLuint fragmentShader, const char* output)
{
    LMShaderBuild build;
    build.object = glCreateProgram();
    glAttachShader(build.object, vertexShader);
    glAttachShader(build.object, fragmentShader);
    glBindFragDataLocation(build.object, 0, output);
    glBindAttribLocation(build.object, LM_ATTRIBUTE_INDEX_POSITION, "in_Position");
    glBindAttribLocation(build.object, LM_ATTRIBUTE_INDEX_TEXTURE_COORDS, "in_TexCoord");
    glLinkProgram(build.object);
    GLint linked = GL_FALSE;
    glGetProgramiv(build.object, GL_LINK_STATUS, &linked);
    build.succeeded = linked == GL_TRUE;
    if (!build.succeeded) {
        char infoLog[infoLogSize] = {};
        glGetProgramInfoLog(build.object, infoLogSize, nullptr, infoLog);
        build.log = infoLog;
    }
    return build;
}
