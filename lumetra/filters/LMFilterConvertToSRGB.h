#pragma once

#include "lumetra/nodes/LMFilterClass.h"

// Encodes linear colour as sRGB: 12.92 c below 0.00313, else
// 1.055 c^0.4167 - 0.055, chosen per channel without a branch.
//
// Threads: not locked; one thread at a time drives a graph (the host's to ensure). Inputs draw on the calling
// thread; the filter's own GL steps run as one block on the context's GL queue.
class LMFilterConvertToSRGB : public LMFilterClass<LMFilterConvertToSRGB, LMFilterSingleInput> {
public:
    static const LMFilterDeclaration& declaration();
    std::string kernelSource() const override;
};
