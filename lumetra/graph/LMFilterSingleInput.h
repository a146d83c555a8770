#pragma once

#include "lumetra/graph/LMFilter.h"

// A filter of one input named "input", sampled in the kernel as lm_input.
//
// Threads: not locked; one thread at a time drives a graph (the host's to ensure). Inputs draw on the calling
// thread; the filter's own GL steps run as one block on the context's GL queue.
class LMFilterSingleInput : public LMFilter {
public:
    std::vector<std::string> inputNames() const override { return {"input"}; }

    std::shared_ptr<LMDrawable> input() const { return drawableProperty("input"); }
    void setInput(std::shared_ptr<LMDrawable> input) { setProperty("input", std::move(input)); }
};
