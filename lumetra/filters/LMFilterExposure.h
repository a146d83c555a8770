#pragma once

#include "lumetra/nodes/LMFilterClass.h"

#include <optional>

// Exposure in photographic stops: out = in * 2^stops on each channel. Per pixel.
//
// Threads: not locked; one thread at a time drives a graph (the host's to ensure). Inputs draw on the calling
// thread; the filter's own GL steps run as one block on the context's GL queue.
class LMFilterExposure : public LMFilterClass<LMFilterExposure, LMFilterSingleInput> {
public:
    static const LMFilterDeclaration& declaration();
    std::string kernelSource() const override;

    // Unset: the declared default.
    std::optional<double> stops() const { return numberProperty("stops"); }
    void setStops(double stops) { setProperty("stops", stops); }
};
