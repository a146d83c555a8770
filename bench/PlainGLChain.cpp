#include "PlainGLChain.h"

#include <array>
#include <cmath>
#include <map>
#include <set>
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

PlainGLChain::PlainGLChain(LMContext& context, const std::vector<PlainGLKernel>& passes,
                           const std::vector<uint16_t>& sourceRGB)
    : context_(context), width_(static_cast<int>(std::floor(context.dimensions().width))),
      height_(static_cast<int>(std::floor(context.dimensions().height)))
{
    context_.executeOpenGL([&] {
        const GLuint vertex = compile(GL_VERTEX_SHADER, "#version 150\nin vec2 in_Position; in vec2 in_TexCoord;"
                                                        "noperspective out vec2 lm_location; void main() {"
                                                        " lm_location = in_TexCoord;"
                                                        " gl_Position = vec4(in_Position, 0.0, 1.0); }");
        std::map<std::string, GLuint> linked;
        for (const PlainGLKernel& kernel : passes) {
            GLuint& program = linked[kernel.source];
            if (!program) {
                std::string declarations = "#version 150\nnoperspective in vec2 lm_location; out vec3 "
                                           "lm_output; uniform sampler2DRect lm_input;\n";
                for (const auto& control : kernel.controls)
                    declarations += "uniform float " + control.first + ";\n";
                const GLuint fragment = compile(GL_FRAGMENT_SHADER, declarations + kernel.source);
                program = glCreateProgram();
                glAttachShader(program, vertex);
                glAttachShader(program, fragment);
                glBindAttribLocation(program, 0, "in_Position");
                glBindAttribLocation(program, 1, "in_TexCoord");
                glBindFragDataLocation(program, 0, "lm_output");
                glLinkProgram(program);
                glDeleteShader(fragment);
            }
            Program pass{program, glGetUniformLocation(program, "lm_input"), {}};
            for (const auto& control : kernel.controls)
                pass.controls.emplace_back(glGetUniformLocation(program, control.first.c_str()), control.second);
            programs_.push_back(pass);
        }
        glDeleteShader(vertex);

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
        for (size_t i = 0; i <= passes.size(); ++i) {
            GLuint texture = 0, framebuffer = 0;
            glGenTextures(1, &texture);
            glBindTexture(GL_TEXTURE_RECTANGLE, texture);
            glTexParameteri(GL_TEXTURE_RECTANGLE, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
            glTexParameteri(GL_TEXTURE_RECTANGLE, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
            const bool filled = i == 0 && sourceRGB.size() == size_t(width_) * size_t(height_) * 3;
            glPixelStorei(GL_UNPACK_ALIGNMENT, 2);
            glTexImage2D(GL_TEXTURE_RECTANGLE, 0, GL_RGB16, width_, height_, 0, GL_RGB,
                         filled ? GL_UNSIGNED_SHORT : GL_UNSIGNED_BYTE, filled ? sourceRGB.data() : nullptr);
            glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
            glGenFramebuffers(1, &framebuffer);
            glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
            glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_RECTANGLE, texture, 0);
            textures_.push_back(texture);
            framebuffers_.push_back(framebuffer);
        }
        if (sourceRGB.empty()) {
            glBindFramebuffer(GL_FRAMEBUFFER, framebuffers_[0]);
            glClearColor(0.2f, 0.4f, 0.6f, 1.0f);
            glClear(GL_COLOR_BUFFER_BIT);
        }
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
        std::set<GLuint> programs;
        for (const Program& pass : programs_)
            programs.insert(pass.program);
        for (GLuint program : programs)
            glDeleteProgram(program);
    });
    context_.gl()->setCurrentViewport({0, 0, 0, 0});
}

void PlainGLChain::drawAndFinish()
{
    context_.executeOpenGL([&] {
        glBindVertexArray(vertexArray_);
        glViewport(0, 0, width_, height_);
        glActiveTexture(GL_TEXTURE0);
        for (size_t pass = 1; pass < framebuffers_.size(); ++pass) {
            const Program& program = programs_[pass - 1];
            glUseProgram(program.program);
            glUniform1i(program.inputLocation, 0);
            for (const auto& control : program.controls)
                glUniform1f(control.first, control.second);
            glBindFramebuffer(GL_FRAMEBUFFER, framebuffers_[pass]);
            glBindTexture(GL_TEXTURE_RECTANGLE, textures_[pass - 1]);
            glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
        }
        glFinish();
    });
}

std::vector<uint16_t> PlainGLChain::readOutput()
{
    std::vector<uint16_t> rgb(size_t(width_) * size_t(height_) * 3);
    context_.executeOpenGL([&] {
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffers_.back());
        glPixelStorei(GL_PACK_ALIGNMENT, 2);
        glReadPixels(0, 0, width_, height_, GL_RGB, GL_UNSIGNED_SHORT, rgb.data());
        glPixelStorei(GL_PACK_ALIGNMENT, 4);
    });
    return rgb;
}
