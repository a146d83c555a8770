#include "lumetra/context/LMVertexBuffer.h"

void LMVertexBuffer::bind()
{
    bindTo(GL_ARRAY_BUFFER);
}

void LMVertexBuffer::setData(const void* data, GLsizei size)
{
    LMBuffer::setData(data, size, GL_STATIC_DRAW, GL_ARRAY_BUFFER);
}
