#pragma once

#include "lumetra/graph/LMMultiPassFilter.h"
#include "lumetra/nodes/LMFilterClass.h"

#include <string>

// The input resampled to a new size, in two separable passes (one along
// each axis, the larger reduction first). Each output pixel is a normalised
// weighted sum of the input's pixels along the axis; output pixel centre
// x + 0.5 maps to input position (x + 0.5) * ratio, and indices past the
// edge read the edge pixel. When shrinking by a ratio r above 1 the kernel
// is stretched by r, so every input pixel counts and nothing aliases; when
// enlarging it keeps its own support.
//
// Kernels: lanczos3 (the default), bicubic (Catmull-Rom, the cubic of Keys
// with a = -0.5), bilinear (a triangle), box (one output pixel wide: at a
// whole ratio exactly the average of each block) and nearest.
//
// A side left at 0 follows the other keeping the input's aspect ratio
// (rounded, at least one pixel); both at 0 keep the input's size.
//
// When shrinking by more than twice `gap` with a kernel other than box or
// nearest, each pass first averages blocks of k whole pixels (k the whole
// part of ratio / gap) and then applies the kernel over what is left (a
// ratio between gap and 2 gap): the kernel's wide negative lobes are spent
// on a few blocks rather than on many single pixels, which keeps photos
// closer to their true area average and costs fewer kernel evaluations.
// Both steps happen within the same pass. 0 turns it off.
//
// The weights depend only on the output position along the axis: they are
// worked out once per pass on the CPU and read by the pass from a small
// float texture, and two neighbouring pixels whose weights share a sign are
// read with one bilinear fetch (inside a block, exactly midway).
//
// With `linear` the input is first taken from sRGB to linear light (the
// exact sRGB curve) by a pass of its own, and back as the last pass writes.
// Intermediates are 16-bit targets, so the negative lobes are clamped to
// [0, 1] between the passes.
//
// Threads: not locked; one thread at a time drives a graph (the host's to ensure). Inputs draw on the calling
// thread; the filter's own GL steps run as one block on the context's GL queue.
class LMFilterResize : public LMFilterClass<LMFilterResize, LMMultiPassFilter> {
public:
    static const LMFilterDeclaration& declaration();

    double width() const { return numberSetting("width"); }
    void setWidth(double width) { setProperty("width", width); }
    double height() const { return numberSetting("height"); }
    void setHeight(double height) { setProperty("height", height); }
    std::string kernel() const { return choiceSetting("kernel"); }
    void setKernel(std::string kernel) { setProperty("kernel", std::move(kernel)); }
    bool linear() const { return flagSetting("linear"); }
    void setLinear(bool linear) { setProperty("linear", linear ? 1.0 : 0.0); }
    double gap() const { return numberSetting("gap"); }
    void setGap(double gap) { setProperty("gap", gap); }

    LMSize outputSizeForInputSizes(const std::vector<LMSize>& inputSizes) const override;

protected:
    std::vector<const LMRenderPass*> renderPasses() const override;
    std::shared_ptr<LMImage> drawPasses(const std::shared_ptr<LMContext>& context,
                                        const std::vector<std::shared_ptr<LMImage>>& inputs,
                                        LMSize outputSize) override;
};
