#pragma once

#include "lumetra/graph/LMFilter.h"
#include "lumetra/graph/LMRenderPass.h"

#include <memory>
#include <vector>

// The base of a filter whose work takes several passes (a separable blur,
// resampling in two directions, a pyramid), or whose output has a size of
// its own that it works out from its inputs (a resize, a crop). To the host
// it is one filter like any other: one handle, one cached output, marked
// when a watched setter changes it, redrawn when an input changes. Its
// inputs may be images of any size; each pass leases its target from the
// context's pool, and the intermediate targets go back to the pool as soon
// as the render no longer holds them.
//
// A subclass lists its passes (LMRenderPass) and draws them in drawPasses,
// which runs in the filter's one block on the context's GL queue.
//
// Threads: not locked; one thread at a time drives a graph (the host's to ensure). Inputs draw on the calling
// thread; the passes run as one block on the context's GL queue.
class LMMultiPassFilter : public LMFilter {
public:
    // The size the filter makes from inputs of these sizes, in the order of
    // its inputs; by default the first input's size.
    virtual LMSize outputSizeForInputSizes(const std::vector<LMSize>& inputSizes) const;
    LMSize outputSizeForInputSize(LMSize size) const { return outputSizeForInputSizes({size}); }

    // The input named "input", which most of these filters read.
    std::shared_ptr<LMDrawable> input() const { return drawableProperty("input"); }
    void setInput(std::shared_ptr<LMDrawable> input) { setProperty("input", std::move(input)); }

    // Valid while nothing is marked and the context is the one, at the size,
    // of the draw that made it.
    std::shared_ptr<LMImage> validCachedOutputForContext(const std::shared_ptr<LMContext>& context) override;
    std::shared_ptr<LMImage> applyProgramWithContext(const std::shared_ptr<LMContext>& context) override;
    // Compiles every pass's program in the context.
    void preloadWithContext(const std::shared_ptr<LMContext>& context) override;
    // Whether every pass's program links in the context.
    bool passesAreUsableWithContext(const std::shared_ptr<LMContext>& context);

protected:
    virtual std::vector<const LMRenderPass*> renderPasses() const = 0;
    // Draws the output of `outputSize` from the inputs' images, in input
    // order (a missing input is black at the context's size).
    virtual std::shared_ptr<LMImage> drawPasses(const std::shared_ptr<LMContext>& context,
                                                const std::vector<std::shared_ptr<LMImage>>& inputs,
                                                LMSize outputSize) = 0;
    // One pass of this filter's, under its program key.
    std::shared_ptr<LMImage> drawPass(const std::shared_ptr<LMContext>& context, const LMRenderPass& pass, LMSize size,
                                      std::initializer_list<std::pair<const char*, const LMImage*>> samplers,
                                      const std::function<void(LMRenderPass::Uniforms&)>& uniforms = {}) const
    {
        return pass.draw(context, programKey(), size, samplers, uniforms);
    }

private:
    LMSize contextSizeOfOutput_;
};
