#pragma once

#include "lumetra/graph/LMMultiPassFilter.h"
#include "lumetra/nodes/LMFilterClass.h"

// Each pixel the mean of the (2 radius + 1) by (2 radius + 1) pixels around
// it, edges clamped; drawn as a mean along rows, then along columns, each
// fetch reading two pixels halfway between them.
//
// Threads: not locked; one thread at a time drives a graph (the host's to ensure). Inputs draw on the calling
// thread; the filter's own GL steps run as one block on the context's GL queue.
class LMFilterBoxBlur : public LMFilterClass<LMFilterBoxBlur, LMMultiPassFilter> {
public:
    static const LMFilterDeclaration& declaration();

    int radius() const { return static_cast<int>(numberSetting("radius")); }
    void setRadius(int radius) { setProperty("radius", radius); }

protected:
    std::vector<const LMRenderPass*> renderPasses() const override;
    std::shared_ptr<LMImage> drawPasses(const std::shared_ptr<LMContext>& context,
                                        const std::vector<std::shared_ptr<LMImage>>& inputs,
                                        LMSize outputSize) override;
};
