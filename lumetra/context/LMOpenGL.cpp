#include "lumetra/context/LMOpenGL.h"

#include "lumetra/platform/LMLog.h"
#include "lumetra/platform/LMOpenGLContext.h"

#include <algorithm>
#include <cstring>
#include <vector>

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

GLuint LMOpenGL::nearestSampler()
{
    if (samplerUnits_ < 0)
        findSamplerUnits();
    if (samplerUnits_ == 0 || nearestSampler_ != 0)
        return nearestSampler_;
    glGenSamplers(1, &nearestSampler_);
    glSamplerParameteri(nearestSampler_, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glSamplerParameteri(nearestSampler_, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glSamplerParameteri(nearestSampler_, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glSamplerParameteri(nearestSampler_, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    return nearestSampler_;
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

bool LMOpenGL::driverRoundsBytes()
{
    if (driverRoundsBytes_ >= 0)
        return driverRoundsBytes_ == 1;
    // A row of the render targets' format holding samples either side of
    // half steps (257k + 128 is a step's nearest, 257k + 129 the next
    // one's; a high byte is k either way), and both ends.
    constexpr GLsizei width = 64;
    std::vector<GLushort> samples(width * 3);
    for (size_t i = 0; i < samples.size(); ++i)
        samples[i] = GLushort(257 * (i / 2 * 8 % 255) + 128 + i % 2);
    samples[0] = 0, samples[1] = 65535;
    GLint texture2D = 0, readFramebuffer = 0;
    glGetIntegerv(GL_TEXTURE_BINDING_2D, &texture2D);
    glGetIntegerv(GL_READ_FRAMEBUFFER_BINDING, &readFramebuffer);
    GLuint texture = 0, framebuffer = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    setUploadState();
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB16, width, 1, 0, GL_RGB, GL_UNSIGNED_SHORT, samples.data());
    glGenFramebuffers(1, &framebuffer);
    glBindFramebuffer(GL_READ_FRAMEBUFFER, framebuffer);
    glFramebufferTexture2D(GL_READ_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
    std::vector<GLubyte> bytes(samples.size(), 0);
    const bool complete = glCheckFramebufferStatus(GL_READ_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
    if (complete) {
        setReadBackState();
        glPixelStorei(GL_PACK_ALIGNMENT, 1);
        glReadPixels(0, 0, width, 1, GL_RGB, GL_UNSIGNED_BYTE, bytes.data());
        glPixelStorei(GL_PACK_ALIGNMENT, 4);
    }
    glBindFramebuffer(GL_READ_FRAMEBUFFER, GLuint(readFramebuffer));
    glDeleteFramebuffers(1, &framebuffer);
    glBindTexture(GL_TEXTURE_2D, GLuint(texture2D));
    glDeleteTextures(1, &texture);
    // Whatever went wrong reads through 16 bits, which is right anywhere.
    bool rounded = takeErrors() == GL_NO_ERROR && complete;
    for (size_t i = 0; i < samples.size() && rounded; ++i)
        rounded = bytes[i] == nearestByte(samples[i]);
    driverRoundsBytes_ = rounded ? 1 : 0;
    return rounded;
}

bool LMOpenGL::readsBytesStraight()
{
    // On llvmpipe at 1920 by 1080: 6.2 ms straight, 4.5 through 16 bits.
    if (readsBytesStraight_ < 0)
        readsBytesStraight_ =
            !LMOpenGLContext::isSoftwareRenderer(reinterpret_cast<const char*>(glGetString(GL_RENDERER))) &&
            driverRoundsBytes();
    return readsBytesStraight_ == 1;
}

void LMOpenGL::readPixels(GLsizei width, GLsizei height, int channels, int bitsPerSample, void* pixels,
                          size_t bytesPerRow)
{
    const size_t sampleBytes = size_t(bitsPerSample) / 8, samplesPerRow = size_t(width) * size_t(channels);
    const GLenum format = channels == 3 ? GL_RGB : GL_RGBA;
    setReadBackState();
    if (sampleBytes == 2 || readsBytesStraight()) {
        glPixelStorei(GL_PACK_ALIGNMENT, GLint(sampleBytes));
        glPixelStorei(GL_PACK_ROW_LENGTH, GLint(bytesPerRow / sampleBytes / size_t(channels)));
        glReadPixels(0, 0, width, height, format, sampleBytes == 2 ? GL_UNSIGNED_SHORT : GL_UNSIGNED_BYTE, pixels);
        glPixelStorei(GL_PACK_ROW_LENGTH, 0);
        glPixelStorei(GL_PACK_ALIGNMENT, 4);
        return;
    }
    // Bands of about 2 MiB of packed 16-bit rows, each rounded into the
    // caller's rows.
    const GLsizei band = GLsizei(std::clamp<size_t>((size_t(1) << 20) / samplesPerRow, 1, size_t(height)));
    std::vector<GLushort> read(samplesPerRow * size_t(band));
    glPixelStorei(GL_PACK_ALIGNMENT, 2);
    for (GLsizei y = 0; y < height; y += band) {
        const GLsizei rows = std::min(band, height - y);
        glReadPixels(0, y, width, rows, format, GL_UNSIGNED_SHORT, read.data());
        for (GLsizei row = 0; row < rows; ++row) {
            const GLushort* from = read.data() + size_t(row) * samplesPerRow;
            auto* to = static_cast<uint8_t*>(pixels) + size_t(y + row) * bytesPerRow;
            // Sixteen at a time, which compilers make one vector step.
            size_t i = 0;
            for (; i + 16 <= samplesPerRow; i += 16)
                for (size_t k = i; k < i + 16; ++k)
                    to[k] = nearestByte(from[k]);
            for (; i < samplesPerRow; ++i)
                to[i] = nearestByte(from[i]);
        }
    }
    glPixelStorei(GL_PACK_ALIGNMENT, 4);
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
