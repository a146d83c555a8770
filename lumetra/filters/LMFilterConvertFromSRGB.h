#pragma once

#include "lumetra/nodes/LMFilterClass.h"

// Decodes sRGB to linear colour: 0.0774 c below 0.04045, else
// (0.9479 c + 0.05213)^2.4, chosen per channel without a branch.
//
// Threads: not locked; one thread at a time drives a graph (the host's to ensure). Inputs draw on the calling
// thread; the filter's own GL steps run as one block on the context's GL queue.
class LMFilterConvertFromSRGB : public LMFilterClass<LMFilterConvertFromSRGB, LMFilterSingleInput> {
public:
    static const LMFilterDeclaration& declaration();
    std::string kernelSource() const override;
};
