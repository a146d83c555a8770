#include "lumetra/context/LMBuffer.h"

LMBuffer::LMBuffer()
{
    glGenBuffers(1, &number_);
}

void LMBuffer::bindTo(GLenum target)
{
    glBindBuffer(target, number_);
}

void LMBuffer::setData(const void* data, GLsizei size, GLenum usage, GLenum target)
{
    glBufferData(target, static_cast<GLsizeiptr>(size), data, usage);
}

void LMBuffer::cleanup()
{
    glDeleteBuffers(1, &number_);
}
