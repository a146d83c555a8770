#pragma once

#include "lumetra/nodes/LMFilterClass.h"

// The larger of two inputs, channel by channel, at the same place.
//
// Threads: not locked; one thread at a time drives a graph (the host's to ensure). Inputs draw on the calling
// thread; the filter's own GL steps run as one block on the context's GL queue.
class LMFilterMax2 : public LMFilterClass<LMFilterMax2> {
public:
    static const LMFilterDeclaration& declaration();
    std::string kernelSource() const override;
    std::vector<std::string> inputNames() const override { return {"inputA", "inputB"}; }

    std::shared_ptr<LMDrawable> inputA() const { return drawableProperty("inputA"); }
    void setInputA(std::shared_ptr<LMDrawable> input) { setProperty("inputA", std::move(input)); }
    std::shared_ptr<LMDrawable> inputB() const { return drawableProperty("inputB"); }
    void setInputB(std::shared_ptr<LMDrawable> input) { setProperty("inputB", std::move(input)); }
};
