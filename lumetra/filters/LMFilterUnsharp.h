#pragma once

#include "lumetra/graph/LMMultiPassFilter.h"
#include "lumetra/nodes/LMFilterClass.h"

// Sharpening by the difference from a Gaussian blur of sigma pixels (the
// gaussian-blur filter's own passes): per channel, with d = input - blur,
// output = input + amount * d where |d| > threshold (0...1), else input.
//
// Threads: not locked; one thread at a time drives a graph (the host's to ensure). Inputs draw on the calling
// thread; the filter's own GL steps run as one block on the context's GL queue.
class LMFilterUnsharp : public LMFilterClass<LMFilterUnsharp, LMMultiPassFilter> {
public:
    static const LMFilterDeclaration& declaration();

    double sigma() const { return numberSetting("sigma"); }
    void setSigma(double sigma) { setProperty("sigma", sigma); }
    double amount() const { return numberSetting("amount"); }
    void setAmount(double amount) { setProperty("amount", amount); }
    double threshold() const { return numberSetting("threshold"); }
    void setThreshold(double threshold) { setProperty("threshold", threshold); }

protected:
    std::vector<const LMRenderPass*> renderPasses() const override;
    std::shared_ptr<LMImage> drawPasses(const std::shared_ptr<LMContext>& context,
                                        const std::vector<std::shared_ptr<LMImage>>& inputs,
                                        LMSize outputSize) override;
};
