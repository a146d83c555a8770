#pragma once

#include "lumetra/graph/LMScaler.h"

#include <memory>

// Stretches the input over the whole output, each axis on its own.
//
// Threads: no state and no locks; any thread may call it, several at once.
class LMScalerStretch : public LMScaler {
public:
    static std::shared_ptr<LMScalerStretch> scaler() { return std::make_shared<LMScalerStretch>(); }

    LMRect vertexPositionRectForInputSize(LMSize inputSize, LMSize outputSize) const override;
    LMAffineTransform transformForInputSize(LMSize inputSize, LMSize outputSize) const override;
};
