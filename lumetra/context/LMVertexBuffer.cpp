#include "lumetra/context/LMVertexBuffer.h"

#include "lumetra/context/LMVertexAttribute.h"

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

void LMVertexBuffer::describeQuadLayout()
{
    constexpr GLsizei stride = 4 * sizeof(float);
    glEnableVertexAttribArray(LM_ATTRIBUTE_INDEX_POSITION);
    glVertexAttribPointer(LM_ATTRIBUTE_INDEX_POSITION, 2, GL_FLOAT, GL_FALSE, stride, nullptr);
    glEnableVertexAttribArray(LM_ATTRIBUTE_INDEX_TEXTURE_COORDS);
    glVertexAttribPointer(LM_ATTRIBUTE_INDEX_TEXTURE_COORDS, 2, GL_FLOAT, GL_FALSE, stride,
                          reinterpret_cast<const void*>(2 * sizeof(float)));
}
