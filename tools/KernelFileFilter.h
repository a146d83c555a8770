#pragma once

#include <lumetra/lumetra_authoring.h>

#include <string>
#include <vector>

// A filter whose kernel, input names and control names come from the
// command line instead of a compiled class. Its class name carries a hash
// of all three, so two different kernels in one context get two programs
// and the same kernel in a batch is compiled once.
class KernelFileFilter : public LMFilterClass<KernelFileFilter> {
public:
    void configure(std::string source, std::vector<std::string> inputs, std::vector<std::string> controls);

    // The line after "#line 0" is line 1, so that the compiler's messages point into the file.
    std::string kernelSource() const override { return "#line 0\n" + source_; }
    std::vector<std::string> inputNames() const override { return inputs_; }
    std::vector<std::string> controlNames() const override { return controls_; }
    bool automaticallyCreatesContextDimensionsUniform() const override { return true; }
    std::string className() const override { return className_; }

private:
    std::string source_;
    std::vector<std::string> inputs_;
    std::vector<std::string> controls_;
    std::string className_ = "KernelFileFilter";
};
