#include "lumetra/context/LMShader.h"

#include "lumetra/context/LMVertexAttribute.h"

namespace {

// The library has always printed at most this much of a log.
constexpr GLsizei infoLogSize = 512;

// Whether the step behind `status` succeeded, and GL's log when it did not:
// the same questions for a shader (glGetShaderiv, glGetShaderInfoLog) and a
// program (glGetProgramiv, glGetProgramInfoLog).
void readOutcome(LMShaderBuild& build, GLenum status, void (*getStatus)(GLuint, GLenum, GLint*),
                 void (*getLog)(GLuint, GLsizei, GLsizei*, GLchar*))
{
    GLint value = GL_FALSE;
    getStatus(build.object, status, &value);
    build.succeeded = value == GL_TRUE;
    if (!build.succeeded) {
        char infoLog[infoLogSize] = {};
        getLog(build.object, infoLogSize, nullptr, infoLog);
        build.log = infoLog;
    }
}

} // namespace

LMShaderBuild LMCompileShader(GLenum type, const char* source)
{
    LMShaderBuild build;
    build.object = glCreateShader(type);
    const char* text = source ? source : "";
    glShaderSource(build.object, 1, &text, nullptr);
    glCompileShader(build.object);
    readOutcome(build, GL_COMPILE_STATUS, glGetShaderiv, glGetShaderInfoLog);
    // An empty translation unit is no shader, whatever a driver answers.
    if (build.succeeded && !*text) {
        build.succeeded = false;
        build.log = "no source";
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
    readOutcome(build, GL_LINK_STATUS, glGetProgramiv, glGetProgramInfoLog);
    return build;
}
