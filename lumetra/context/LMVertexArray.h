#pragma once

#include "lumetra/platform/LMGL.h"

// Owns one GL vertex array name: generated on construction, deleted only by
// cleanup(). Every operation needs the owning GL context current.
class LMVertexArray {
public:
    LMVertexArray();

    GLuint number() const { return number_; }
    void setNumber(GLuint number) { number_ = number; }

    void bind();
    void cleanup();

private:
    GLuint number_ = 0;
};
