#pragma once

#include "lumetra/platform/LMAffineTransform.h"
#include "lumetra/platform/LMRect.h"
#include "lumetra/platform/LMSize.h"

// How an input of one size is fitted into an output of another: where the
// input's quad lies in the output viewport, in normalised device coordinates
// (-1 to 1 on both axes), and which affine map takes input pixels to output
// pixels. Scalers hold no state; one may serve any number of filters.
//
// Sizes that are zero, negative or not finite give the full viewport and the
// identity rather than infinities.
//
// Threads: no state and no locks; any thread may call it, several at once.
class LMScaler {
public:
    virtual ~LMScaler() = default;

    virtual LMRect vertexPositionRectForInputSize(LMSize inputSize, LMSize outputSize) const = 0;
    virtual LMAffineTransform transformForInputSize(LMSize inputSize, LMSize outputSize) const = 0;

protected:
    static bool usableSizes(LMSize inputSize, LMSize outputSize);
    static constexpr LMRect fullViewport() { return {-1, -1, 2, 2}; }
};
