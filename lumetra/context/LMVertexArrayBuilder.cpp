#include "lumetra/context/LMVertexArrayBuilder.h"

#include <cstdint>

void LMVertexArrayBuilder::addVertexAttribute(std::shared_ptr<LMVertexAttribute> attribute)
{
    if (attribute)
        vertexAttributes_.push_back(std::move(attribute));
}

std::shared_ptr<LMVertexArray> LMVertexArrayBuilder::build() const
{
    auto array = std::make_shared<LMVertexArray>();
    array->bind();

    GLint components = 0;
    for (const auto& attribute : vertexAttributes_)
        components += attribute->size();

    const GLsizei stride = components * static_cast<GLsizei>(sizeof(float));
    GLint offset = 0;
    for (const auto& attribute : vertexAttributes_) {
        glEnableVertexAttribArray(attribute->location());
        glVertexAttribPointer(attribute->location(), attribute->size(), GL_FLOAT, GL_FALSE, stride,
                              reinterpret_cast<const void*>(static_cast<uintptr_t>(offset) * sizeof(float)));
        offset += attribute->size();
    }
    return array;
}
