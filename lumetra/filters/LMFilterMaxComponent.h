#pragma once

#include "lumetra/nodes/LMFilterClass.h"

// A grey image of each pixel's largest channel.
class LMFilterMaxComponent : public LMFilterClass<LMFilterMaxComponent, LMFilterSingleInput> {
public:
    std::string kernelSource() const override;
};
