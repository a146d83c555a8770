#pragma once

#include "CommandLine.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>

// The filters the tool knows by short name, what each parameter means, and
// the check that turns a written chain into values, before any file is read
// or any GL work is done.

enum class ParameterKind {
    Number, // a finite decimal number
    Point, // x,y in pixels from the top-left corner
    Scale, // one factor, or x,y factors
    Picture, // a PNG or JPEG file
    Kernel, // a GLSL kernel file
    Names, // comma-separated GLSL names
};

struct ParameterInfo {
    std::string key;
    ParameterKind kind;
    std::string defaultText; // empty: required
    std::string help;
};

struct FilterInfo {
    std::string name;
    std::string summary;
    std::vector<ParameterInfo> parameters;
    bool takesChainInput = true;
};

const std::vector<FilterInfo>& filterCatalog();
const FilterInfo* findFilter(std::string_view name);

std::string filterHelpText(const FilterInfo& filter);
std::string filterListText();

// One step of a transform as written, in command-line order.
struct TransformStep {
    enum class Kind { Translate, Rotate, Scale } kind;
    double x = 0;
    double y = 0;
};

// A filter of the chain with its values checked and converted.
struct CheckedFilter {
    const FilterInfo* info = nullptr;
    std::map<std::string, double> numbers;
    std::map<std::string, std::pair<double, double>> points;
    std::map<std::string, std::string> files; // key → path (with=, file=, kernel inputs)
    std::vector<TransformStep> transformSteps;
    // kernel
    std::vector<std::string> kernelInputs; // the first takes the chain's image
    std::vector<std::string> kernelControls; // each a float uniform
};

// Throws a usage CliError naming the filter, the key and the value at fault.
std::vector<CheckedFilter> checkChain(const std::vector<FilterSpec>& chain);
