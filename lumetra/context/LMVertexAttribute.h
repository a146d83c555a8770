#pragma once

#include "lumetra/platform/LMGL.h"

#include <cstdint>

// The vertex attribute indices every program of the library binds its
// vertex inputs to: "in_Position" and "in_TexCoord".
inline constexpr uint32_t LM_ATTRIBUTE_INDEX_POSITION = 0;
inline constexpr uint32_t LM_ATTRIBUTE_INDEX_TEXTURE_COORDS = 1;

// One float attribute of an interleaved vertex: where it goes and how many
// components (1 to 4) it has.
//
// Threads: a plain value; no locks; copies may be used on any thread.
class LMVertexAttribute {
public:
    LMVertexAttribute() = default;
    LMVertexAttribute(GLuint location, GLint size) : location_(location), size_(size) {}

    GLuint location() const { return location_; }
    void setLocation(GLuint location) { location_ = location; }
    GLint size() const { return size_; }
    void setSize(GLint size) { size_ = size; }

private:
    GLuint location_ = 0;
    GLint size_ = 0;
};
