#include "lumetra/graph/LMImage.h"

#include "lumetra/context/LMContext.h"
#include "lumetra/platform/LMPicture.h"

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
    : context_(context)
    , dimensions_(dimensions)
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
    if (std::shared_ptr<LMContext> owner = context_.lock())
        owner->bindToRenderTarget(target_);
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
        GLubyte pixel[3] = {0, 0, 0};
        glBindFramebuffer(GL_READ_FRAMEBUFFER, target_->framebuffer());
        glReadPixels(x, y, 1, 1, GL_RGB, GL_UNSIGNED_BYTE, pixel);
        color = LMRGBA{floatForByte(pixel[0]), floatForByte(pixel[1]), floatForByte(pixel[2]), 1.0};
    });
    return color;
}

std::shared_ptr<LMImage> LMImage::drawWithContext(const std::shared_ptr<LMContext>&)
{
    return shared_from_this();
}

std::shared_ptr<LMPicture> LMImage::debugQuickLookObject()
{
    return LMPicture::imageWithLMImage(shared_from_this());
}
