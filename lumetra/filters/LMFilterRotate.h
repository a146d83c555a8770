#pragma once

#include "lumetra/graph/LMMultiPassFilter.h"
#include "lumetra/nodes/LMFilterClass.h"

// The input turned clockwise by a quarter, half or three quarters of a turn,
// pixel for pixel; a quarter turn swaps its width and height.
//
// Threads: not locked; one thread at a time drives a graph (the host's to ensure). Inputs draw on the calling
// thread; the filter's own GL steps run as one block on the context's GL queue.
class LMFilterRotate : public LMFilterClass<LMFilterRotate, LMMultiPassFilter> {
public:
    static const LMFilterDeclaration& declaration();

    // "90", "180" or "270".
    std::string angle() const { return choiceSetting("angle"); }
    void setAngle(std::string angle) { setProperty("angle", std::move(angle)); }

    LMSize outputSizeForInputSizes(const std::vector<LMSize>& inputSizes) const override;

protected:
    std::vector<const LMRenderPass*> renderPasses() const override;
    std::shared_ptr<LMImage> drawPasses(const std::shared_ptr<LMContext>& context,
                                        const std::vector<std::shared_ptr<LMImage>>& inputs,
                                        LMSize outputSize) override;
};
