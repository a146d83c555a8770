#pragma once

#include "lumetra/nodes/LMFilterClass.h"

// Decodes sRGB to linear colour: 0.0774 c below 0.04045, else
// (0.9479 c + 0.05213)^2.4, chosen per channel without a branch.
class LMFilterConvertFromSRGB : public LMFilterClass<LMFilterConvertFromSRGB, LMFilterSingleInput> {
public:
    std::string kernelSource() const override;
};
