#pragma once

#include "lumetra/graph/LMFilter.h"

// A filter of one input named "input", sampled in the kernel as lm_input.
class LMFilterSingleInput : public LMFilter {
public:
    std::vector<std::string> inputNames() const override { return {"input"}; }

    std::shared_ptr<LMDrawable> input() const { return drawableProperty("input"); }
    void setInput(std::shared_ptr<LMDrawable> input) { setProperty("input", std::move(input)); }
};
