#pragma once

#include <lumetra/context/LMContext.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

// One pass of a plain GL chain: a fragment shader body that reads
// `lm_input` (a rectangle texture) at `lm_location` and writes `lm_output`,
// and the float uniforms it declares itself, with their values.
struct PlainGLKernel {
    std::string source;
    std::vector<std::pair<std::string, float>> controls;
};

// The passes of a filter chain written directly in GL, as a host would
// without the library: one program per distinct kernel, rectangle RGB16
// targets with framebuffers, a full-viewport quad, and every pass in one
// block on the context's GL thread. The baseline the library's chain is
// measured against.
class PlainGLChain {
public:
    // Pass i draws passes[i] on pass i - 1's output. The source is
    // `sourceRGB` (16-bit red, green, blue per pixel, bottom row first,
    // the context's size) or, when it is empty, one flat colour.
    PlainGLChain(LMContext& context, const std::vector<PlainGLKernel>& passes,
                 const std::vector<uint16_t>& sourceRGB = {});
    ~PlainGLChain();

    // Runs every pass and waits for the GPU.
    void drawAndFinish();

    // The last pass's pixels, 16-bit red, green, blue, bottom row first.
    std::vector<uint16_t> readOutput();

private:
    struct Program {
        GLuint program = 0;
        GLint inputLocation = -1;
        std::vector<std::pair<GLint, float>> controls;
    };

    LMContext& context_;
    int width_, height_;
    std::vector<Program> programs_; // one per pass; passes with the same kernel share its GL program
    GLuint vertexArray_ = 0, buffer_ = 0;
    std::vector<GLuint> textures_, framebuffers_;
};
