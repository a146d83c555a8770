#pragma once

#include "lumetra/platform/LMGL.h"

// Owns one GL buffer name: generated on construction, deleted only by
// cleanup(). Letting go of the object leaves the name to its GL context.
// Every operation needs the owning GL context current.
//
// Threads: not locked; call it only where its GL context is current: a rendering context's GL queue, or a view's
// drawing thread under the view's lock.
class LMBuffer {
public:
    LMBuffer();
    virtual ~LMBuffer() = default;

    GLuint number() const { return number_; }
    void setNumber(GLuint number) { number_ = number; }

    void bindTo(GLenum target);
    // Uploads to whatever buffer is bound to `target`, which need not be this
    // one: callers bind first.
    void setData(const void* data, GLsizei size, GLenum usage, GLenum target);
    void cleanup();

private:
    GLuint number_ = 0;
};
