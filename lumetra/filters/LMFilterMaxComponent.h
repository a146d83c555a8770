#pragma once

#include "lumetra/nodes/LMFilterClass.h"

// A grey image of each pixel's largest channel.
//
// Threads: not locked; one thread at a time drives a graph (the host's to ensure). Inputs draw on the calling
// thread; the filter's own GL steps run as one block on the context's GL queue.
class LMFilterMaxComponent : public LMFilterClass<LMFilterMaxComponent, LMFilterSingleInput> {
public:
    static const LMFilterDeclaration& declaration();
    std::string kernelSource() const override;
};
