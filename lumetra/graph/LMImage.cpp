#include "lumetra/graph/LMImage.h"

#include "lumetra/context/LMContext.h"
#include "lumetra/platform/LMLog.h"

double floatForByte(uint8_t byte)
{
    return byte / 255.0;
}

std::shared_ptr<LMImage> LMImage::imageWithContext(const std::shared_ptr<LMContext>& context)
{
    return imageWithContext(context, context ? context->dimensions() : LMSize{0, 0});
}

std::shared_ptr<LMImage> LMImage::imageWithContext(const std::shared_ptr<LMContext>& context, LMSize dimensions)
{
    return std::shared_ptr<LMImage>(new LMImage(context, dimensions));
}

LMImage::LMImage(const std::shared_ptr<LMContext>& context, LMSize dimensions)
    : context_(context), dimensions_(dimensions)
{
    if (context)
        target_ = context->requestRenderTargetWithDimensions(dimensions);
}

LMImage::~LMImage()
{
    // An image that outlives its context gives nothing back: the target ended
    // with the context's GL context.
    if (std::shared_ptr<LMContext> owner = context_.lock())
        owner->releaseRenderTarget(target_);
}

GLuint LMImage::texture() const
{
    return target_ ? target_->texture() : 0;
}

GLuint LMImage::framebuffer() const
{
    return target_ ? target_->framebuffer() : 0;
}

void LMImage::bind()
{
    std::shared_ptr<LMContext> owner = context_.lock();
    if (!owner || !target_ || !owner->openGLContext())
        return;
    // Every draw and clear of the library binds its target here: the place
    // to put back what a host block may have changed. One trip to the queue;
    // the context's own bind runs nested in it, at once.
    owner->glQueue().dispatchSyncToQueue([&] {
        owner->makeCurrentContextInternal();
        owner->gl()->restoreDrawingState();
        owner->bindToRenderTarget(target_);
        // Only on our own framebuffer: the context refuses a foreign target.
        GLint bound = 0;
        glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &bound);
        if (bound != 0 && static_cast<GLuint>(bound) == target_->framebuffer())
            LMOpenGL::useColorAttachmentForDrawing();
    });
}

std::optional<LMRGBA> LMImage::readPixelColorLowerLeft()
{
    return readPixelColorAtX(0, 0);
}

std::optional<LMRGBA> LMImage::readPixelColorAtX(int32_t x, int32_t y)
{
    std::shared_ptr<LMContext> owner = context_.lock();
    if (!owner || !target_)
        return std::nullopt;

    std::optional<LMRGBA> color;
    owner->executeOpenGL([&] {
        // Cleared first: GL leaves the buffer untouched for pixels outside
        // the target, which then read as black.
        GLushort pixel[3] = {0, 0, 0};
        LMOpenGL::takeErrors();
        glBindFramebuffer(GL_READ_FRAMEBUFFER, target_->framebuffer());
        // A host block may have left skips, a row length or a pack buffer
        // that would send the pixel elsewhere than this buffer.
        LMOpenGL::setReadBackState();
        // 16 bits, rounded here: not every driver rounds them to bytes.
        glReadPixels(x, y, 1, 1, GL_RGB, GL_UNSIGNED_SHORT, pixel);
        if (const GLenum error = LMOpenGL::takeErrors(); error != GL_NO_ERROR) {
            LMLog("LMImage: Error 0x%04X reading back pixel %d, %d; returning nothing", error, x, y);
            return;
        }
        color = LMRGBA{floatForByte(LMOpenGL::nearestByte(pixel[0])), floatForByte(LMOpenGL::nearestByte(pixel[1])),
                       floatForByte(LMOpenGL::nearestByte(pixel[2])), 1.0};
    });
    return color;
}

std::shared_ptr<LMImage> LMImage::drawWithContext(const std::shared_ptr<LMContext>&)
{
    return shared_from_this();
}
