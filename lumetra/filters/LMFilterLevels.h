#pragma once

#include "lumetra/nodes/LMFilterClass.h"

#include <optional>

// Input and output levels with a gamma, on each channel:
// out = outLow + (outHigh - outLow) * clamp((in - inLow) / (inHigh - inLow), 0, 1)^(1 / gamma).
// With inHigh equal to inLow it is a hard step: values at or above inLow
// become outHigh, the others outLow. inHigh below inLow inverts. Per pixel.
//
// Threads: not locked; one thread at a time drives a graph (the host's to ensure). Inputs draw on the calling
// thread; the filter's own GL steps run as one block on the context's GL queue.
class LMFilterLevels : public LMFilterClass<LMFilterLevels, LMFilterSingleInput> {
public:
    static const LMFilterDeclaration& declaration();
    std::string kernelSource() const override;

    // Unset: the declared default.
    std::optional<double> inLow() const { return numberProperty("inLow"); }
    void setInLow(double inLow) { setProperty("inLow", inLow); }
    std::optional<double> inHigh() const { return numberProperty("inHigh"); }
    void setInHigh(double inHigh) { setProperty("inHigh", inHigh); }
    std::optional<double> gamma() const { return numberProperty("gamma"); }
    void setGamma(double gamma) { setProperty("gamma", gamma); }
    std::optional<double> outLow() const { return numberProperty("outLow"); }
    void setOutLow(double outLow) { setProperty("outLow", outLow); }
    std::optional<double> outHigh() const { return numberProperty("outHigh"); }
    void setOutHigh(double outHigh) { setProperty("outHigh", outHigh); }
};
