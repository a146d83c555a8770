#pragma once

#include "lumetra/nodes/LMFilterClass.h"

#include <optional>

// A sepia tone mixed in by amount (taken within 0...1), k = 1 - amount:
//   r' = (.393 + .607k) r + (.769 - .769k) g + (.189 - .189k) b
//   g' = (.349 - .349k) r + (.686 + .314k) g + (.168 - .168k) b
//   b' = (.272 - .272k) r + (.534 - .534k) g + (.131 + .869k) b. Per pixel.
//
// Threads: not locked; one thread at a time drives a graph (the host's to ensure). Inputs draw on the calling
// thread; the filter's own GL steps run as one block on the context's GL queue.
class LMFilterSepia : public LMFilterClass<LMFilterSepia, LMFilterSingleInput> {
public:
    static const LMFilterDeclaration& declaration();
    std::string kernelSource() const override;

    // Unset: the declared default.
    std::optional<double> amount() const { return numberProperty("amount"); }
    void setAmount(double amount) { setProperty("amount", amount); }
};
