#pragma once

#include "lumetra/nodes/LMFilterClass.h"

#include <optional>

// Saturation about the Rec. 709 luma L = 0.2126 r + 0.7152 g + 0.0722 b:
// out = L + amount * (in - L) on each channel; 0 is grey, above 1 more
// vivid. Per pixel.
//
// Threads: not locked; one thread at a time drives a graph (the host's to ensure). Inputs draw on the calling
// thread; the filter's own GL steps run as one block on the context's GL queue.
class LMFilterSaturation : public LMFilterClass<LMFilterSaturation, LMFilterSingleInput> {
public:
    static const LMFilterDeclaration& declaration();
    std::string kernelSource() const override;

    // Unset: the declared default.
    std::optional<double> amount() const { return numberProperty("amount"); }
    void setAmount(double amount) { setProperty("amount", amount); }
};
