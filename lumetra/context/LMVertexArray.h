#pragma once

#include "lumetra/platform/LMGL.h"

// Owns one GL vertex array name: generated on construction, deleted only by
// cleanup(). Every operation needs the owning GL context current.
//
// Threads: not locked; call it only where its GL context is current: a rendering context's GL queue, or a view's
// drawing thread under the view's lock.
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
