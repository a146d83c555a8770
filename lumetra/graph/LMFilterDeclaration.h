#pragma once

#include "lumetra/graph/LMParameter.h"
#include "lumetra/graph/LMUniform.h"

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// Everything a filter class says about itself, in one place: its name in the
// tool, its group and one line of summary, and its parameters in order. A
// class declares it once, as a static member function:
//
//     static const LMFilterDeclaration& declaration()
//     {
//         static const LMFilterDeclaration declared =
//             LMFilterDeclaration("gaussian-blur", "blur", "a Gaussian blur, edges clamped")
//                 .input("input", "the image to blur")
//                 .number("sigma", 2, 0, 1000, "pixels", "the standard deviation");
//         return declared;
//     }
//
// and LMFilterClass derives from it the hooks inputNames, controlNames and
// otherUniforms, the keys the filter knows, and the watched setters of its
// handle; the tool, the demo sheet and the registry read the rest.
//
// Threads: made once per class (a function-local static) and only read afterwards.
class LMFilterDeclaration {
public:
    LMFilterDeclaration(std::string toolName, std::string group, std::string summary);

    // Parameters, in the order they are listed (inputs in the order of their
    // texture units, controls and uniforms in the order of the hooks).
    LMFilterDeclaration& input(std::string name, std::string help);
    LMFilterDeclaration& control(std::string name, double defaultValue, double minimum, double maximum,
                                 std::string unit, std::string help);
    LMFilterDeclaration& uniform(std::string name, LMParameter::Type type, LMValue defaultValue, std::string help);
    LMFilterDeclaration& number(std::string name, double defaultValue, double minimum, double maximum, std::string unit,
                                std::string help);
    LMFilterDeclaration& integer(std::string name, double defaultValue, double minimum, double maximum,
                                 std::string unit, std::string help);
    LMFilterDeclaration& flag(std::string name, bool defaultValue, std::string help);
    LMFilterDeclaration& choice(std::string name, std::string defaultValue, std::vector<std::string> choices,
                                std::string help);
    // A list of numbers (`length` of them, or any number for 0); no default.
    LMFilterDeclaration& numbers(std::string name, size_t length, std::string help);
    // A file the filter reads, by its path; no default.
    LMFilterDeclaration& file(std::string name, std::string help);
    // Any parameter as written out in full.
    LMFilterDeclaration& parameter(LMParameter parameter);
    // The last parameter added has no default: the tool requires it.
    LMFilterDeclaration& required();
    // The tool writes the last parameter added as `key`.
    LMFilterDeclaration& inTool(std::string key);
    // The tool's own default for the last parameter added.
    LMFilterDeclaration& toolDefault(LMValue value);
    // The last parameter added is the library's only (see LMParameter::libraryOnly).
    LMFilterDeclaration& libraryOnly();
    // The chain the demo sheet shows for the filter, in the tool's syntax
    // ("gaussian-blur sigma=4"); by default the tool name alone.
    LMFilterDeclaration& demo(std::string chain);
    // A file the demo chain names (file=NAME), with its contents: the demo
    // sheet writes it to a folder of its own for the chain to read.
    LMFilterDeclaration& demoFile(std::string name, std::string contents);
    // The kernel reads each input only at lm_location, so that a run of such
    // filters may be drawn as one pass (see LMContext::setFusionEnabled).
    LMFilterDeclaration& perPixel();
    // Each channel of the output is one of the inputs' channels as read (the
    // largest, the smallest, a fixed one), so that rounding the inputs to 16
    // bits and rounding the output give the same values: a fused run rounds
    // after the kernel instead of before, or not at all where the inputs are
    // rounded already.
    LMFilterDeclaration& picksAmongInputs();
    // Given inputs within [0, 1], every output channel is within [0, 1] too,
    // or less than half a 16-bit step outside (invert, the sRGB encoding,
    // grayscale): a fused run rounds the output without clamping it first.
    LMFilterDeclaration& keepsRange();
    LMFilterDeclaration& createsContextDimensionsUniform();
    LMFilterDeclaration& createsTargetDimensionsUniform();

    const std::string& toolName() const { return toolName_; }
    const std::string& group() const { return group_; }
    const std::string& summary() const { return summary_; }
    const std::string& demoChain() const { return demo_.empty() ? toolName_ : demo_; }
    const std::vector<std::pair<std::string, std::string>>& demoFiles() const { return demoFiles_; }
    const std::vector<LMParameter>& parameters() const { return parameters_; }
    const LMParameter* parameterNamed(std::string_view name) const;
    bool isPerPixel() const { return perPixel_; }
    bool isPickingAmongInputs() const { return picks_; }
    bool isKeepingRange() const { return keepsRange_; }
    bool createsContextDimensions() const { return contextDimensions_; }
    bool createsTargetDimensions() const { return targetDimensions_; }

    // What the filter hooks answer.
    std::vector<std::string> namesWithRole(LMParameter::Role role) const;
    // New uniform objects, one per Uniform parameter, of the parameter's type.
    std::vector<std::shared_ptr<LMUniform>> makeUniforms() const;

private:
    std::string toolName_;
    std::string group_;
    std::string summary_;
    std::string demo_;
    std::vector<std::pair<std::string, std::string>> demoFiles_;
    std::vector<LMParameter> parameters_;
    bool perPixel_ = false;
    bool picks_ = false;
    bool keepsRange_ = false;
    bool contextDimensions_ = false;
    bool targetDimensions_ = false;
};
