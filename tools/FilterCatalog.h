#pragma once

#include "CommandLine.h"

#include <lumetra/lumetra.h>

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// The filters the tool knows by name: every filter class of the library's
// registry, whose declarations give the keys, their checks and the help,
// and the tool's own `kernel` (a filter from a GLSL file). Checking turns a
// written chain into values before any file is read or any GL work is done.

// One step of a transform as written, in command-line order.
struct TransformStep {
    enum class Kind { Translate, Rotate, Scale } kind;
    double x = 0;
    double y = 0;
};

// A filter of the chain with its values checked and converted.
struct CheckedFilter {
    std::string name;
    // The registry's entry; null for the tool's kernel.
    const LMFilterRegistry::Entry* entry = nullptr;
    // Each declared parameter given, with its value as the library takes it
    // (a point still in the tool's top-left pixels).
    std::vector<std::pair<const LMParameter*, LMValue>> values;
    std::map<std::string, std::string> files; // key → path (picture inputs; the kernel's file=)
    std::vector<TransformStep> transformSteps;
    // kernel
    std::map<std::string, double> numbers; // control values
    std::vector<std::string> kernelInputs; // the first takes the chain's image
    std::vector<std::string> kernelControls; // each a float uniform
};

// The declared parameters the tool writes, in order, the chain's own input left out.
std::vector<const LMParameter*> toolParameters(const LMFilterDeclaration& declaration);

// "" for a name the tool does not know.
std::string filterHelpText(std::string_view name);
std::string filterListText();

// Throws a usage CliError naming the filter, the key and the value at fault.
std::vector<CheckedFilter> checkChain(const std::vector<FilterSpec>& chain);
