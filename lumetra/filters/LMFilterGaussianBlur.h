#pragma once

#include "lumetra/graph/LMMultiPassFilter.h"
#include "lumetra/nodes/LMFilterClass.h"

// The input convolved with a Gaussian of standard deviation sigma pixels,
// edges clamped (sigma 0: the input unchanged). Below a sigma of 4 it draws
// two passes at the input's size; above, it halves the image a few times,
// blurring before each halving, blurs the smallest level and draws it back
// up with a cubic B-spline, the variances of every step adding up to
// sigma squared, so that a large sigma costs no more than a small one.
//
// Threads: not locked; one thread at a time drives a graph (the host's to ensure). Inputs draw on the calling
// thread; the filter's own GL steps run as one block on the context's GL queue.
class LMFilterGaussianBlur : public LMFilterClass<LMFilterGaussianBlur, LMMultiPassFilter> {
public:
    static const LMFilterDeclaration& declaration();

    double sigma() const { return numberSetting("sigma"); }
    void setSigma(double sigma) { setProperty("sigma", sigma); }

protected:
    std::vector<const LMRenderPass*> renderPasses() const override;
    std::shared_ptr<LMImage> drawPasses(const std::shared_ptr<LMContext>& context,
                                        const std::vector<std::shared_ptr<LMImage>>& inputs,
                                        LMSize outputSize) override;
};
