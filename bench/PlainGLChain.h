#pragma once

#include <lumetra/context/LMContext.h>

#include <vector>

// The passes of a filter chain written directly in GL, as a host would
// without the library: one program, rectangle RGB16 targets with
// framebuffers, a full-viewport quad, and every pass in one block on the
// context's GL thread. The baseline the library's chain is measured against.
class PlainGLChain {
public:
    PlainGLChain(LMContext& context, int passes, const char* kernel);
    ~PlainGLChain();

    // Runs every pass and waits for the GPU.
    void drawAndFinish();

private:
    LMContext& context_;
    int width_, height_;
    GLuint program_ = 0, vertexArray_ = 0, buffer_ = 0;
    GLint inputLocation_ = -1;
    std::vector<GLuint> textures_, framebuffers_;
};
