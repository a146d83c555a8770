#include "PlainGLChain.h"

#include <array>
#include <cmath>
#include <string>

namespace {

GLuint compile(GLenum type, const std::string& source)
{
    const GLuint shader = glCreateShader(type);
    const char* text = source.c_str();
    glShaderSource(shader, 1, &text, nullptr);
    glCompileShader(shader);
    return shader;
}

} // namespace

PlainGLChain::PlainGLChain(LMContext& context, int passes, const char* kernel)
    : context_(context), width_(static_cast<int>(std::floor(context.dimensions().width))),
      height_(static_cast<int>(std::floor(context.dimensions().height)))
{
    context_.executeOpenGL([&] {
        const GLuint vertex = compile(GL_VERTEX_SHADER, "#version 150\nin vec2 in_Position; in vec2 in_TexCoord;"
                                                        "noperspective out vec2 lm_location; void main() {"
                                                        " lm_location = in_TexCoord;"
                                                        " gl_Position = vec4(in_Position, 0.0, 1.0); }");
        const GLuint fragment =
            compile(GL_FRAGMENT_SHADER, std::string("#version 150\nnoperspective in vec2 lm_location; out vec3 "
                                                    "lm_output; uniform sampler2DRect lm_input;\n") +
                                            kernel);
        program_ = glCreateProgram();
        glAttachShader(program_, vertex);
        glAttachShader(program_, fragment);
        glBindAttribLocation(program_, 0, "in_Position");
        glBindAttribLocation(program_, 1, "in_TexCoord");
        glBindFragDataLocation(program_, 0, "lm_output");
        glLinkProgram(program_);
        inputLocation_ = glGetUniformLocation(program_, "lm_input");

        const float w = static_cast<float>(width_), h = static_cast<float>(height_);
        const std::array<float, 16> quad = {-1, -1, 0, 0, 1, -1, w, 0, -1, 1, 0, h, 1, 1, w, h};
        glGenVertexArrays(1, &vertexArray_);
        glBindVertexArray(vertexArray_);
        glGenBuffers(1, &buffer_);
        glBindBuffer(GL_ARRAY_BUFFER, buffer_);
        glBufferData(GL_ARRAY_BUFFER, sizeof(quad), quad.data(), GL_STATIC_DRAW);
        glEnableVertexAttribArray(0);
        glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 16, nullptr);
        glEnableVertexAttribArray(1);
        glVertexAttribPointer(1, 2, GL_FLOAT, GL_FALSE, 16, reinterpret_cast<const void*>(8));

        // One source texture plus one target per pass.
        for (int i = 0; i <= passes; ++i) {
            GLuint texture = 0, framebuffer = 0;
            glGenTextures(1, &texture);
            glBindTexture(GL_TEXTURE_RECTANGLE, texture);
            glTexParameteri(GL_TEXTURE_RECTANGLE, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
            glTexParameteri(GL_TEXTURE_RECTANGLE, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
            glTexImage2D(GL_TEXTURE_RECTANGLE, 0, GL_RGB16, width_, height_, 0, GL_RGB, GL_UNSIGNED_BYTE, nullptr);
            glGenFramebuffers(1, &framebuffer);
            glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
            glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_RECTANGLE, texture, 0);
            textures_.push_back(texture);
            framebuffers_.push_back(framebuffer);
        }
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffers_[0]);
        glClearColor(0.2f, 0.4f, 0.6f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT);
        glFinish();
    });
    // The library's state cache must not trust a viewport we set behind it.
    context_.gl()->setCurrentViewport({0, 0, 0, 0});
}

PlainGLChain::~PlainGLChain()
{
    context_.executeOpenGL([&] {
        glDeleteFramebuffers(static_cast<GLsizei>(framebuffers_.size()), framebuffers_.data());
        glDeleteTextures(static_cast<GLsizei>(textures_.size()), textures_.data());
        glDeleteBuffers(1, &buffer_);
        glDeleteVertexArrays(1, &vertexArray_);
        glDeleteProgram(program_);
    });
    context_.gl()->setCurrentViewport({0, 0, 0, 0});
}

void PlainGLChain::drawAndFinish()
{
    context_.executeOpenGL([&] {
        glUseProgram(program_);
        glBindVertexArray(vertexArray_);
        glViewport(0, 0, width_, height_);
        glActiveTexture(GL_TEXTURE0);
        glUniform1i(inputLocation_, 0);
        for (size_t pass = 1; pass < framebuffers_.size(); ++pass) {
            glBindFramebuffer(GL_FRAMEBUFFER, framebuffers_[pass]);
            glBindTexture(GL_TEXTURE_RECTANGLE, textures_[pass - 1]);
            glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
        }
        glFinish();
    });
}
