#include "lumetra/interop/LMOpenGLTextureAdapter.h"

#include "lumetra/context/LMContext.h"
#include "lumetra/graph/LMScalerFill.h"
#include "lumetra/graph/LMScalerStretch.h"
#include "lumetra/nodes/LMColor.h"

std::shared_ptr<LMOpenGLTextureAdapter> LMOpenGLTextureAdapter::adapterWithContext(
    const std::shared_ptr<LMContext>& context)
{
    return std::shared_ptr<LMOpenGLTextureAdapter>(new LMOpenGLTextureAdapter(context));
}

LMOpenGLTextureAdapter::LMOpenGLTextureAdapter(const std::shared_ptr<LMContext>& context)
    : context_(context), filter_(LMFilterOpenGLTextureAdapter::filterWithContext(context))
{
    setContentScaleMode(LMContentScaleModeFill);
}

void LMOpenGLTextureAdapter::setContentScaleMode(LMContentScaleMode mode)
{
    contentScaleMode_ = mode;
    if (mode == LMContentScaleModeStretch)
        scaler_ = std::make_shared<LMScalerStretch>();
    else
        scaler_ = std::make_shared<LMScalerFill>();
}

std::shared_ptr<LMImage> LMOpenGLTextureAdapter::convertTexture(GLuint texture, LMSize size)
{
    return convertTexture(texture, size, false);
}

std::shared_ptr<LMImage> LMOpenGLTextureAdapter::convertTexture(GLuint texture, LMSize size, bool flipped)
{
    return convertTexture(texture, size, flipped, GL_TEXTURE_RECTANGLE);
}

std::shared_ptr<LMImage> LMOpenGLTextureAdapter::convertTexture(GLuint texture, LMSize size, bool flipped,
                                                                GLenum target)
{
    std::shared_ptr<LMContext> context = context_.lock();
    if (!context || !filter_)
        return internalImage_;

    needsRedraw_ = true;
    texture_ = texture;
    size_ = size;
    isFlipped_ = flipped;
    textureTarget_ = target;
    filter_->setTexture(texture);
    filter_->setTextureSize(size);
    filter_->setTextureTarget(target);
    filter_->setIsFlipped(flipped);
    filter_->setScaler(scaler_);
    internalImage_ = filter_->drawWithContext(context);
    return internalImage_;
}

std::shared_ptr<LMImage> LMOpenGLTextureAdapter::drawWithContext(const std::shared_ptr<LMContext>& context)
{
    if (internalImage_ && context && internalImage_->context() == context) {
        if (internalImage_->dimensions() == context->dimensions()) {
            needsRedraw_ = false;
            return internalImage_;
        }
        // Only the context's size changed: the texture is read again as it
        // was last converted, so a flipped or 2D texture stays right.
        return convertTexture(texture_, size_, isFlipped_, textureTarget_);
    }
    needsRedraw_ = true;
    return LMColor::blackColor()->drawWithContext(context);
}
