#pragma once

#include "lumetra/nodes/LMFilterClass.h"

#include <optional>

// Black and white: white where the Rec. 709 luma 0.2126 r + 0.7152 g +
// 0.0722 b is at least the value, black elsewhere. Per pixel.
//
// Threads: not locked; one thread at a time drives a graph (the host's to ensure). Inputs draw on the calling
// thread; the filter's own GL steps run as one block on the context's GL queue.
class LMFilterThreshold : public LMFilterClass<LMFilterThreshold, LMFilterSingleInput> {
public:
    static const LMFilterDeclaration& declaration();
    std::string kernelSource() const override;

    // Unset: the declared default.
    std::optional<double> value() const { return numberProperty("value"); }
    void setValue(double value) { setProperty("value", value); }
};
