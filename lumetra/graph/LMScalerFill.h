#pragma once

#include "lumetra/graph/LMScaler.h"

#include <memory>

// Covers the whole output with the input, keeping its aspect ratio: the
// input is scaled uniformly until it meets the output on one axis, centred,
// and what overflows on the other axis is cropped.
//
// Threads: no state and no locks; any thread may call it, several at once.
class LMScalerFill : public LMScaler {
public:
    static std::shared_ptr<LMScalerFill> scaler() { return std::make_shared<LMScalerFill>(); }

    LMRect vertexPositionRectForInputSize(LMSize inputSize, LMSize outputSize) const override;
    LMAffineTransform transformForInputSize(LMSize inputSize, LMSize outputSize) const override;

private:
    // Whether the input's aspect is strictly wider than the output's, and the
    // uniform factor that makes it cover the output.
    static bool inputIsWider(LMSize inputSize, LMSize outputSize);
    static double fillFactor(LMSize inputSize, LMSize outputSize);
};
