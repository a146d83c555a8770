#pragma once

#include "lumetra/context/LMVertexArray.h"
#include "lumetra/context/LMVertexAttribute.h"

#include <memory>
#include <vector>

// Lays out interleaved single-precision attributes, in the order they were
// added, into a new vertex array. For hosts that draw geometry of their own.
//
// Threads: not locked; one thread at a time adds attributes, and build runs where the GL context is current (a
// rendering context's GL queue).
class LMVertexArrayBuilder {
public:
    void addVertexAttribute(std::shared_ptr<LMVertexAttribute> attribute);
    const std::vector<std::shared_ptr<LMVertexAttribute>>& vertexAttributes() const { return vertexAttributes_; }

    // Creates and binds a vertex array whose pointers refer to the buffer bound
    // to GL_ARRAY_BUFFER now: bind and fill the vertex buffer first. The array
    // is left bound.
    std::shared_ptr<LMVertexArray> build() const;

private:
    std::vector<std::shared_ptr<LMVertexAttribute>> vertexAttributes_;
};
