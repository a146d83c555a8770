#pragma once

#include "lumetra/context/LMBuffer.h"
#include "lumetra/platform/LMRect.h"

// A buffer used as GL_ARRAY_BUFFER.
//
// Threads: not locked; call it only where its GL context is current: a rendering context's GL queue, or a view's
// drawing thread under the view's lock.
class LMVertexBuffer : public LMBuffer {
public:
    void bind();
    // Static-draw upload to the buffer bound to GL_ARRAY_BUFFER.
    void setData(const void* data, GLsizei size);
    using LMBuffer::setData;
    // Uploads a triangle-strip quad of four vertices (lower left, lower
    // right, upper left, upper right), each its position then its texture
    // coordinates. Texture coordinates with a negative height flip the quad
    // upside down.
    void setQuad(const LMRect& position, const LMRect& textureCoords);
    // Records, in the bound vertex array, where "in_Position" and
    // "in_TexCoord" read the bound buffer's quad. Every program the library
    // links binds them to the same indices, so the layout holds for all.
    static void describeQuadLayout();
};
