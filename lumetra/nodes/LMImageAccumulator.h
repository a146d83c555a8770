#pragma once

#include "lumetra/graph/LMDrawableCaching.h"
#include "lumetra/graph/LMImage.h"

#include <memory>

class LMContext;

// A node that keeps one image given to it from outside the graph and hands
// it out when drawn. Setting the image draws the given node once, with the
// accumulator's context, and keeps the result; since every image owns its
// own pooled render target, the kept image is not overwritten while the rest
// of the graph redraws, so a graph can read in one frame what an earlier
// frame produced.
//
// The accumulator does not keep its context alive. Drawn with another
// context, or once the context's size has changed, it gives the black image
// of that context without dropping what it keeps.
//
// Threads: not locked; one thread at a time drives it (the host's to ensure). setImage draws the node on the
// calling thread; a black fallback is one block on the context's GL queue.
class LMImageAccumulator : public LMDrawableCaching, public std::enable_shared_from_this<LMImageAccumulator> {
public:
    // Without a context: images set before one is given are refused.
    static std::shared_ptr<LMImageAccumulator> accumulator();
    static std::shared_ptr<LMImageAccumulator> accumulatorWithContext(const std::shared_ptr<LMContext>& context);

    // Draws the node with the accumulator's context and keeps the image. The
    // redraw flag is left alone: the host tells downstream nodes with
    // setNeedsRedraw. A null node keeps nothing.
    void setImage(const std::shared_ptr<LMDrawable>& drawable);
    std::shared_ptr<LMImage> image() const { return internalImage_; }

    // The kept image when it was drawn with this very context at its present
    // size; otherwise a black image of the context, which is not kept.
    std::shared_ptr<LMImage> drawWithContext(const std::shared_ptr<LMContext>& context) override;

    bool needsRedraw() const override { return needsRedraw_; }
    void setNeedsRedraw(bool needsRedraw) override { needsRedraw_ = needsRedraw; }
    // The flag as it is: the accumulator's only input comes from outside.
    bool updateNeedsRedraw() override { return needsRedraw_; }

    // Plain accessors.
    std::shared_ptr<LMContext> context() const { return context_.lock(); }
    void setContext(const std::weak_ptr<LMContext>& context) { context_ = context; }
    std::shared_ptr<LMImage> internalImage() const { return internalImage_; }
    void setInternalImage(std::shared_ptr<LMImage> image) { internalImage_ = std::move(image); }

protected:
    explicit LMImageAccumulator(const std::weak_ptr<LMContext>& context);

private:
    std::weak_ptr<LMContext> context_;
    std::shared_ptr<LMImage> internalImage_;
    bool needsRedraw_ = false;
};
