#pragma once

#include "lumetra/graph/LMDrawableCaching.h"
#include "lumetra/graph/LMImage.h"
#include "lumetra/graph/LMScaler.h"
#include "lumetra/interop/LMContentScaleMode.h"
#include "lumetra/interop/LMFilterOpenGLTextureAdapter.h"
#include "lumetra/platform/LMGL.h"
#include "lumetra/platform/LMSize.h"

#include <memory>

// Brings a GL texture the library did not make (the host's, a video
// decoder's) into a drawing graph. A conversion copies the texture at once
// into an image of the adapter's context, fitted to the context's size by the
// content scale mode; from then on the adapter is a caching node whose output
// is that image, and the host may reuse its texture. Only a change of the
// context's size makes the adapter read the texture again, with the size,
// flip and target of the last conversion, so the texture must outlive the
// adapter's use in a context that may be resized.
//
// Threads: not locked; one thread at a time drives it (the host's to ensure). A conversion hands the texture to its
// filter, whose draw reads it in one block on the context's GL queue.
class LMOpenGLTextureAdapter : public LMDrawableCaching {
public:
    static std::shared_ptr<LMOpenGLTextureAdapter> adapterWithContext(const std::shared_ptr<LMContext>& context);

    // The image the texture was copied into, which is also what the next
    // draw with the context returns. Without a live context nothing happens
    // and the previous image (or null) comes back. Rows run bottom-up unless
    // `flipped` says they run top-down.
    std::shared_ptr<LMImage> convertTexture(GLuint texture, LMSize size);
    std::shared_ptr<LMImage> convertTexture(GLuint texture, LMSize size, bool flipped);
    std::shared_ptr<LMImage> convertTexture(GLuint texture, LMSize size, bool flipped, GLenum target);

    // The converted image while it fits the context (clearing the redraw
    // flag), a new conversion when only the context's size has changed, and
    // black otherwise (nothing converted yet, or another context).
    std::shared_ptr<LMImage> drawWithContext(const std::shared_ptr<LMContext>& context) override;

    bool needsRedraw() const override { return needsRedraw_; }
    void setNeedsRedraw(bool needsRedraw) override { needsRedraw_ = needsRedraw; }
    // The flag as it is: a conversion sets it, a draw that returns the image clears it.
    bool updateNeedsRedraw() override { return needsRedraw_; }

    // Replaces the scaler with a new one of the mode, even for the same
    // mode; it marks nothing and converts nothing. The next conversion hands
    // it to the filter, whose quad takes it up at its next rebuild: a
    // conversion with the texture size, flip and context size of the one
    // before keeps the fit it had, and the new mode shows from the first
    // conversion that changes one of them.
    LMContentScaleMode contentScaleMode() const { return contentScaleMode_; }
    void setContentScaleMode(LMContentScaleMode mode);

    std::shared_ptr<LMContext> context() const { return context_.lock(); }
    void setContext(const std::shared_ptr<LMContext>& context) { context_ = context; }
    // What the last conversion was given.
    GLuint texture() const { return texture_; }
    LMSize size() const { return size_; }
    bool isFlipped() const { return isFlipped_; }
    GLenum textureTarget() const { return textureTarget_; }
    std::shared_ptr<LMScaler> scaler() const { return scaler_; }
    void setScaler(std::shared_ptr<LMScaler> scaler) { scaler_ = std::move(scaler); }
    const LMFilterRef<LMFilterOpenGLTextureAdapter>& filter() const { return filter_; }
    void setFilter(LMFilterRef<LMFilterOpenGLTextureAdapter> filter) { filter_ = std::move(filter); }
    std::shared_ptr<LMImage> internalImage() const { return internalImage_; }
    void setInternalImage(std::shared_ptr<LMImage> image) { internalImage_ = std::move(image); }

protected:
    explicit LMOpenGLTextureAdapter(const std::shared_ptr<LMContext>& context);

private:
    std::weak_ptr<LMContext> context_;
    LMContentScaleMode contentScaleMode_ = LMContentScaleModeFill;
    GLuint texture_ = 0;
    LMSize size_;
    bool isFlipped_ = false;
    GLenum textureTarget_ = GL_TEXTURE_RECTANGLE;
    std::shared_ptr<LMScaler> scaler_;
    LMFilterRef<LMFilterOpenGLTextureAdapter> filter_;
    std::shared_ptr<LMImage> internalImage_;
    bool needsRedraw_ = false;
};
