#pragma once

#include <lumetra/platform/LMGL.h>

#include <cstdint>
#include <ostream>

// What GL reports about one vertex attribute of the bound vertex array.
struct VertexAttributeState {
    GLint enabled, size, type, normalized, stride;
    uintptr_t offset;
    GLint buffer;

    friend bool operator==(const VertexAttributeState&, const VertexAttributeState&) = default;
    friend std::ostream& operator<<(std::ostream& out, const VertexAttributeState& a)
    {
        return out << "{enabled " << a.enabled << ", size " << a.size << ", type " << a.type << ", normalized "
                   << a.normalized << ", stride " << a.stride << ", offset " << a.offset << ", buffer " << a.buffer
                   << "}";
    }

    // On the GL thread, with the vertex array bound.
    static VertexAttributeState read(GLuint index)
    {
        VertexAttributeState a{};
        void* pointer = nullptr;
        glGetVertexAttribiv(index, GL_VERTEX_ATTRIB_ARRAY_ENABLED, &a.enabled);
        glGetVertexAttribiv(index, GL_VERTEX_ATTRIB_ARRAY_SIZE, &a.size);
        glGetVertexAttribiv(index, GL_VERTEX_ATTRIB_ARRAY_TYPE, &a.type);
        glGetVertexAttribiv(index, GL_VERTEX_ATTRIB_ARRAY_NORMALIZED, &a.normalized);
        glGetVertexAttribiv(index, GL_VERTEX_ATTRIB_ARRAY_STRIDE, &a.stride);
        glGetVertexAttribiv(index, GL_VERTEX_ATTRIB_ARRAY_BUFFER_BINDING, &a.buffer);
        glGetVertexAttribPointerv(index, GL_VERTEX_ATTRIB_ARRAY_POINTER, &pointer);
        a.offset = reinterpret_cast<uintptr_t>(pointer);
        return a;
    }
};
