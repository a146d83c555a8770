#pragma once

#include "lumetra/filters/LMFilterResize.h"
#include "lumetra/nodes/LMFilterClass.h"
#include "lumetra/platform/LMAffineTransform.h"
#include "lumetra/platform/LMFloatMatrix3.h"

// Moves, scales, rotates or shears its input by an affine transform, the
// image tiling over the edges of the context's area (or, by its edge
// setting, clamped to its edge pixels or black outside). The kernel reads the
// inverse of the transform as the nine-number list transformMatrix (column
// by column), so each output pixel looks up where it comes from; a
// transform that cannot be inverted leaves the input unmoved.
//
// Threads: not locked; one thread at a time drives a graph (the host's to ensure). Inputs draw on the calling
// thread; the filter's own GL steps run as one block on the context's GL queue.
class LMFilterTransform : public LMFilterClass<LMFilterTransform, LMFilterSingleInput> {
public:
    static const LMFilterDeclaration& declaration();
    std::string kernelSource() const override;
    // Starts from the identity.
    void init() override;
    // With an edge other than tile, the same lookup drawn with that edge.
    std::shared_ptr<LMImage> applyProgramWithContext(const std::shared_ptr<LMContext>& context) override;

    // "tile" (the default), "clamp" or "black": what lies outside the image.
    // With a custom output size the filter always tiles.
    std::string edge() const { return choiceSetting("edge"); }
    void setEdge(std::string edge) { setProperty("edge", std::move(edge)); }
    // Off by default (the lookup samples the input as it is). On, where the
    // transform shrinks the image along its x or y axis, the input is first
    // resampled by LMFilterResize's default kernel to the size the
    // transform makes of it, so nothing aliases; the tool turns it on.
    bool resample() const { return flagSetting("resample"); }
    void setResample(bool resample) { setProperty("resample", resample ? 1.0 : 0.0); }

    // How much the inverse transform `inverse` (the kernel's list) shrinks
    // the input's unit steps along x and y: each at most 1.
    struct Shrink {
        double x = 1, y = 1;
    };
    static Shrink shrinkOfMatrix(const std::vector<double>& inverse);

    LMAffineTransform transform() const { return transform_; }
    // Computes the inverse matrix and its list, and marks the filter itself.
    void setTransform(const LMAffineTransform& transform);
    // The inverse as the kernel reads it. Setting it directly changes neither
    // transform() nor mat().
    std::vector<double> transformMatrix() const { return numbersProperty("transformMatrix"); }
    void setTransformMatrix(std::vector<double> matrix) { setProperty("transformMatrix", std::move(matrix)); }
    const LMFloatMatrix3& mat() const { return mat_; }
    void setMat(const LMFloatMatrix3& mat) { mat_ = mat; }

private:
    // Made on the first draw that resamples; it holds no input between draws.
    LMFilterRef<LMFilterResize> resampler_;
    LMAffineTransform transform_;
    LMFloatMatrix3 mat_;
};
