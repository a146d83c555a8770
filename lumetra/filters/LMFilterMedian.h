#pragma once

#include "lumetra/graph/LMMultiPassFilter.h"
#include "lumetra/nodes/LMFilterClass.h"

// Each channel of each pixel the median of that channel over the 3 by 3
// (radius 1) or 5 by 5 (radius 2) pixels around it, edges clamped; one pass
// that orders the values by exchanges until the middle one is in place.
//
// Threads: not locked; one thread at a time drives a graph (the host's to ensure). Inputs draw on the calling
// thread; the filter's own GL steps run as one block on the context's GL queue.
class LMFilterMedian : public LMFilterClass<LMFilterMedian, LMMultiPassFilter> {
public:
    static const LMFilterDeclaration& declaration();

    // "1" or "2".
    std::string radius() const { return choiceSetting("radius"); }
    void setRadius(std::string radius) { setProperty("radius", std::move(radius)); }

protected:
    std::vector<const LMRenderPass*> renderPasses() const override;
    std::shared_ptr<LMImage> drawPasses(const std::shared_ptr<LMContext>& context,
                                        const std::vector<std::shared_ptr<LMImage>>& inputs,
                                        LMSize outputSize) override;
};
