#pragma once

#include "lumetra/context/LMBuffer.h"

// A buffer used as GL_ARRAY_BUFFER.
class LMVertexBuffer : public LMBuffer {
public:
    void bind();
    // Static-draw upload to the buffer bound to GL_ARRAY_BUFFER.
    void setData(const void* data, GLsizei size);
    using LMBuffer::setData;
};
