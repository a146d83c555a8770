#pragma once

#include "lumetra/context/LMRenderTarget.h"
#include "lumetra/graph/LMDrawable.h"
#include "lumetra/platform/LMGL.h"
#include "lumetra/platform/LMRGBA.h"
#include "lumetra/platform/LMSize.h"

#include <cstdint>
#include <memory>
#include <optional>

class LMPicture;

// A byte of a read-back as a colour component: b / 255.
double floatForByte(uint8_t byte);

// A handle on one render target leased from a context's pool: what every
// draw returns. The image never draws into its target (the node that owns it
// does), does not keep its context alive, and gives the target back to the
// pool when the last reference goes, on whatever thread that happens. It is
// itself a drawable that returns itself.
//
// Threads: not locked (the setters are plain stores); each bind and read-back is one block on the context's GL queue.
// It may be released on any thread: the target goes back to the pool under the pool's lock, with no GL call.
class LMImage : public LMDrawable, public std::enable_shared_from_this<LMImage> {
public:
    // An image of the context's dimensions; zero by zero without a context.
    static std::shared_ptr<LMImage> imageWithContext(const std::shared_ptr<LMContext>& context);
    static std::shared_ptr<LMImage> imageWithContext(const std::shared_ptr<LMContext>& context, LMSize dimensions);
    ~LMImage() override;

    LMImage(const LMImage&) = delete;
    LMImage& operator=(const LMImage&) = delete;

    // The target's GL names; 0 without a target. No GL call.
    GLuint texture() const;
    GLuint framebuffer() const;

    // Makes the target the context's drawing target, with its viewport, and
    // puts back the drawing state a host block may have changed (see LMOpenGL).
    void bind();

    // One pixel of the target, (0, 0) being the lower left; alpha is always 1.
    // Empty when the context is gone, there is no target or GL reports an
    // error (logged). Whatever pixel-store state a host left is overridden.
    // Pixels outside the target read as black.
    std::optional<LMRGBA> readPixelColorLowerLeft();
    std::optional<LMRGBA> readPixelColorAtX(int32_t x, int32_t y);

    // The image itself, whatever the context.
    std::shared_ptr<LMImage> drawWithContext(const std::shared_ptr<LMContext>& context) override;

    // What a debugger shows for the image: its pixels read back into a
    // picture. Null when the context is gone or there is no target.
    std::shared_ptr<LMPicture> debugQuickLookObject();

    // Plain accessors: the setters store and nothing else.
    std::shared_ptr<LMContext> context() const { return context_.lock(); }
    void setContext(const std::weak_ptr<LMContext>& context) { context_ = context; }
    std::shared_ptr<LMRenderTarget> target() const { return target_; }
    void setTarget(std::shared_ptr<LMRenderTarget> target) { target_ = std::move(target); }
    LMSize dimensions() const { return dimensions_; }
    void setDimensions(LMSize dimensions) { dimensions_ = dimensions; }

protected:
    LMImage(const std::shared_ptr<LMContext>& context, LMSize dimensions);

private:
    std::weak_ptr<LMContext> context_;
    std::shared_ptr<LMRenderTarget> target_;
    LMSize dimensions_;
};
