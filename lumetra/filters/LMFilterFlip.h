#pragma once

#include "lumetra/graph/LMMultiPassFilter.h"
#include "lumetra/nodes/LMFilterClass.h"

// The input mirrored: left for right (horizontal) or top for bottom
// (vertical).
//
// Threads: not locked; one thread at a time drives a graph (the host's to ensure). Inputs draw on the calling
// thread; the filter's own GL steps run as one block on the context's GL queue.
class LMFilterFlip : public LMFilterClass<LMFilterFlip, LMMultiPassFilter> {
public:
    static const LMFilterDeclaration& declaration();

    std::string direction() const { return choiceSetting("direction"); }
    void setDirection(std::string direction) { setProperty("direction", std::move(direction)); }

protected:
    std::vector<const LMRenderPass*> renderPasses() const override;
    std::shared_ptr<LMImage> drawPasses(const std::shared_ptr<LMContext>& context,
                                        const std::vector<std::shared_ptr<LMImage>>& inputs,
                                        LMSize outputSize) override;
};
