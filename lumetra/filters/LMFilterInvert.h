#pragma once

#include "lumetra/nodes/LMFilterClass.h"

// Each channel becomes 1 minus itself.
class LMFilterInvert : public LMFilterClass<LMFilterInvert, LMFilterSingleInput> {
public:
    std::string kernelSource() const override;
};
