#pragma once

#include "lumetra/nodes/LMFilterClass.h"

#include <optional>

// A power curve: out = in^(1 / gamma) on each channel; above 1 it brightens
// the mid-tones. Per pixel.
//
// Threads: not locked; one thread at a time drives a graph (the host's to ensure). Inputs draw on the calling
// thread; the filter's own GL steps run as one block on the context's GL queue.
class LMFilterGamma : public LMFilterClass<LMFilterGamma, LMFilterSingleInput> {
public:
    static const LMFilterDeclaration& declaration();
    std::string kernelSource() const override;

    // Unset: the declared default.
    std::optional<double> gamma() const { return numberProperty("gamma"); }
    void setGamma(double gamma) { setProperty("gamma", gamma); }
};
