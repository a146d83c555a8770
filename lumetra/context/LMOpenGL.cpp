#include "lumetra/context/LMOpenGL.h"

#include "lumetra/platform/LMLog.h"

#include <algorithm>
#include <cstring>

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

namespace {

bool contextHasExtension(const char* name)
{
    GLint count = 0;
    glGetIntegerv(GL_NUM_EXTENSIONS, &count);
    for (GLint index = 0; index < count; ++index) {
        const auto* listed = reinterpret_cast<const char*>(glGetStringi(GL_EXTENSIONS, static_cast<GLuint>(index)));
        if (listed && std::strcmp(listed, name) == 0)
            return true;
    }
    return false;
}

} // namespace

void LMOpenGL::findSamplerUnits()
{
    GLint major = 0, minor = 0;
    glGetIntegerv(GL_MAJOR_VERSION, &major);
    glGetIntegerv(GL_MINOR_VERSION, &minor);
    const int version = major * 10 + minor;
    samplerUnits_ = 0;
    // Sampler objects came with 3.3, binding many at once with 4.4; a 3.2
    // context (what some drivers give when 3.2 is asked for) may offer
    // either as an extension, and a host may have bound samplers through
    // it. Only the fragment shader's units matter: kernels are fragment
    // shaders.
    if (version >= 33 || contextHasExtension("GL_ARB_sampler_objects")) {
        GLint units = 0;
        glGetIntegerv(GL_MAX_TEXTURE_IMAGE_UNITS, &units);
        samplerUnits_ = std::clamp(units, 0, 32);
    }
    multiBind_ = version >= 44 || (samplerUnits_ > 0 && contextHasExtension("GL_ARB_multi_bind"));
}

void LMOpenGL::restoreDrawingState()
{
    if (!outsideGLMayHaveRun_)
        return;
    outsideGLMayHaveRun_ = false;

    static constexpr GLenum capabilities[] = {
        GL_BLEND,          GL_SCISSOR_TEST,   GL_CULL_FACE,          GL_DEPTH_TEST,
        GL_STENCIL_TEST,   GL_COLOR_LOGIC_OP, GL_RASTERIZER_DISCARD, GL_DITHER,
        GL_CLIP_DISTANCE0, GL_CLIP_DISTANCE1, GL_CLIP_DISTANCE2,     GL_CLIP_DISTANCE3,
        GL_CLIP_DISTANCE4, GL_CLIP_DISTANCE5, GL_CLIP_DISTANCE6,     GL_CLIP_DISTANCE7,
    };
    for (GLenum capability : capabilities)
        glDisable(capability);
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);

    if (samplerUnits_ < 0)
        findSamplerUnits();
    if (multiBind_) {
        glBindSamplers(0, samplerUnits_, nullptr);
    } else {
        for (GLint unit = 0; unit < samplerUnits_; ++unit)
            glBindSampler(static_cast<GLuint>(unit), 0);
    }
    // The host may have moved it: the next one is sent whatever it is.
    currentViewport_ = LMRect{};
}

void LMOpenGL::useColorAttachmentForDrawing()
{
    GLint drawBuffer = GL_NONE;
    glGetIntegerv(GL_DRAW_BUFFER0, &drawBuffer);
    if (drawBuffer != GL_COLOR_ATTACHMENT0)
        glDrawBuffer(GL_COLOR_ATTACHMENT0);
}

void LMOpenGL::setReadBackState()
{
    glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
    glPixelStorei(GL_PACK_SWAP_BYTES, GL_FALSE);
    glPixelStorei(GL_PACK_LSB_FIRST, GL_FALSE);
    glPixelStorei(GL_PACK_ROW_LENGTH, 0);
    glPixelStorei(GL_PACK_IMAGE_HEIGHT, 0);
    glPixelStorei(GL_PACK_SKIP_ROWS, 0);
    glPixelStorei(GL_PACK_SKIP_PIXELS, 0);
    glPixelStorei(GL_PACK_SKIP_IMAGES, 0);
    glPixelStorei(GL_PACK_ALIGNMENT, 4);
    glReadBuffer(GL_COLOR_ATTACHMENT0);
}

void LMOpenGL::setUploadState()
{
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
    glPixelStorei(GL_UNPACK_SWAP_BYTES, GL_FALSE);
    glPixelStorei(GL_UNPACK_LSB_FIRST, GL_FALSE);
    glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
    glPixelStorei(GL_UNPACK_IMAGE_HEIGHT, 0);
    glPixelStorei(GL_UNPACK_SKIP_ROWS, 0);
    glPixelStorei(GL_UNPACK_SKIP_PIXELS, 0);
    glPixelStorei(GL_UNPACK_SKIP_IMAGES, 0);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
}

GLenum LMOpenGL::takeErrors()
{
    GLenum first = GL_NO_ERROR;
    // Bounded: a lost context may answer with an error on every call.
    for (int i = 0; i < 32; ++i) {
        const GLenum error = glGetError();
        if (error == GL_NO_ERROR)
            break;
        if (first == GL_NO_ERROR)
            first = error;
    }
    return first;
}

void LMOpenGL::logErrors(const char* line)
{
    if (takeErrors() != GL_NO_ERROR)
        LMLog("%s", line);
}
