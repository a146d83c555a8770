#pragma once

#include "lumetra/nodes/LMFilterClass.h"

#include <optional>

// Multiplies the input by the control, unclamped; an unset control is 0.
//
// Threads: not locked; one thread at a time drives a graph (the host's to ensure). Inputs draw on the calling
// thread; the filter's own GL steps run as one block on the context's GL queue.
class LMFilterFader : public LMFilterClass<LMFilterFader, LMFilterSingleInput> {
public:
    static const LMFilterDeclaration& declaration();
    std::string kernelSource() const override;
    std::vector<std::string> controlNames() const override { return {"control"}; }

    std::optional<double> control() const { return numberProperty("control"); }
    void setControl(std::optional<double> control);
};
