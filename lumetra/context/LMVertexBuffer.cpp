#include "lumetra/context/LMVertexBuffer.h"

#include <array>

void LMVertexBuffer::bind()
{
    bindTo(GL_ARRAY_BUFFER);
}

void LMVertexBuffer::setData(const void* data, GLsizei size)
{
    LMBuffer::setData(data, size, GL_STATIC_DRAW, GL_ARRAY_BUFFER);
}

void LMVertexBuffer::setQuad(const LMRect& position, const LMRect& textureCoords)
{
    const auto left = float(position.x), right = float(position.x + position.width);
    const auto bottom = float(position.y), top = float(position.y + position.height);
    const auto sLeft = float(textureCoords.x), sRight = float(textureCoords.x + textureCoords.width);
    const auto tBottom = float(textureCoords.y), tTop = float(textureCoords.y + textureCoords.height);
    const std::array<float, 16> quad = {
        left, bottom, sLeft, tBottom, right, bottom, sRight, tBottom, left, top, sLeft, tTop, right, top, sRight, tTop,
    };
    setData(quad.data(), static_cast<GLsizei>(sizeof(quad)));
}
