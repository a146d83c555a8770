#include "lumetra/context/LMOpenGL.h"

void LMOpenGL::bindVertexArray(const std::shared_ptr<LMVertexArray>& array)
{
    if (array)
        array->bind();
}

void LMOpenGL::bindVertexBuffer(const std::shared_ptr<LMVertexBuffer>& buffer)
{
    if (buffer)
        buffer->bind();
}

void LMOpenGL::setViewport(const LMRect& viewport)
{
    if (viewport == currentViewport_)
        return;
    currentViewport_ = viewport;
    glViewport(LMTruncateToGLint(viewport.x), LMTruncateToGLint(viewport.y), LMTruncateToGLint(viewport.width),
               LMTruncateToGLint(viewport.height));
}

void LMOpenGL::setActiveTexture(GLenum texture)
{
    glActiveTexture(texture);
}
