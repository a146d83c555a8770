#pragma once

#include "lumetra/nodes/LMFilterClass.h"

#include <optional>

// Each channel rounded to the nearest of `levels` evenly spaced values from 0
// to 1: out = floor(in * (levels - 1) + 0.5) / (levels - 1). One level leaves
// nothing between 0 and 1 to round to: every channel becomes 0. Per pixel.
//
// Threads: not locked; one thread at a time drives a graph (the host's to ensure). Inputs draw on the calling
// thread; the filter's own GL steps run as one block on the context's GL queue.
class LMFilterPosterize : public LMFilterClass<LMFilterPosterize, LMFilterSingleInput> {
public:
    static const LMFilterDeclaration& declaration();
    std::string kernelSource() const override;

    // Unset: the declared default.
    std::optional<double> levels() const { return numberProperty("levels"); }
    void setLevels(double levels) { setProperty("levels", levels); }
};
