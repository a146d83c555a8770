#pragma once

#include "lumetra/nodes/LMFilterClass.h"

// Each channel becomes the Rec. 709 luma 0.2126 r + 0.7152 g + 0.0722 b:
// saturation 0. Per pixel.
//
// Threads: not locked; one thread at a time drives a graph (the host's to ensure). Inputs draw on the calling
// thread; the filter's own GL steps run as one block on the context's GL queue.
class LMFilterGrayscale : public LMFilterClass<LMFilterGrayscale, LMFilterSingleInput> {
public:
    static const LMFilterDeclaration& declaration();
    std::string kernelSource() const override;
};
