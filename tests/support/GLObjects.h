#pragma once

#include <lumetra/context/LMContext.h>

#include <set>

// What GL itself says on a context's GL thread, for the suites that check
// that the library left no error behind or freed (or kept) an object.

inline GLenum pendingGLError(LMContext& context)
{
    GLenum error = GL_NO_ERROR;
    context.executeOpenGL([&] { error = glGetError(); });
    return error;
}

// Whether `name` is an object of one kind (isKind is glIsTexture, glIsQuery, ...).
inline bool isGLObject(LMContext& context, GLboolean (*isKind)(GLuint), GLuint name)
{
    GLboolean answer = GL_FALSE;
    context.executeOpenGL([&] { answer = isKind(name); });
    return answer == GL_TRUE;
}

// Every object of one kind among the names below `limit`: a leaked one shows
// up as one more.
inline std::set<GLuint> liveGLObjects(LMContext& context, GLboolean (*isKind)(GLuint), GLuint limit = 4096)
{
    std::set<GLuint> names;
    context.executeOpenGL([&] {
        for (GLuint name = 1; name < limit; ++name)
            if (isKind(name))
                names.insert(name);
    });
    return names;
}
