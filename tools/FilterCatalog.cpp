#include "FilterCatalog.h"

#include "CliError.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <set>
#include <sstream>

namespace {

std::vector<FilterInfo> makeCatalog()
{
    using K = ParameterKind;
    return {
        {"invert", "1 - each colour channel", {}},
        {"max-component", "the largest of red, green and blue, as grey", {}},
        {"fader", "multiplies the image by a control, unclamped", {{"control", K::Number, "0", "the factor"}}},
        {"to-srgb", "encodes linear colour to sRGB", {}},
        {"from-srgb", "decodes sRGB colour to linear", {}},
        {"circle",
         "a white disc on black; it has no input, so it replaces what came before",
         {{"radius", K::Number, "", "in pixels, at least 0"},
          {"center", K::Point, "0,0", "x,y in pixels from the top-left corner"}},
         false},
        {"transform",
         "moves, rotates and scales the image, tiling over the edges; steps apply in the order given",
         {{"translate", K::Point, "0,0", "x,y in pixels (y downwards)"},
          {"rotate", K::Number, "0", "degrees counterclockwise, about the centre"},
          {"scale", K::Scale, "1", "a factor, or x,y factors, about the centre; not 0"}}},
        {"max2",
         "the larger of the image and another picture, channel by channel",
         {{"with", K::Picture, "", "a PNG or JPEG file, fitted to the context"}}},
        {"kernel",
         "a filter from a GLSL kernel file: it defines main() and writes vec3 lm_output; "
         "it reads inputs as sampler2DRect lm_NAME at vec2 lm_location (pixels from the lower-left corner) "
         "and controls as float lm_NAME",
         {{"file", K::Kernel, "", "the GLSL kernel"},
          {"inputs", K::Names, "input",
           "input names; the first takes the chain's image, "
           "each other one needs NAME=FILE"},
          {"controls", K::Names, "(none)", "control names; each takes NAME=NUMBER (default 0)"}}},
    };
}

std::string quoted(const std::string& text)
{
    return "\"" + text + "\"";
}

CliError badValue(const FilterSpec& written, const std::string& key, const std::string& value, const std::string& why)
{
    return CliError::usage("filter " + written.name + ": " + key + "=" + value + ": " + why);
}

bool parseNumber(const std::string& text, double& value)
{
    if (text.empty() || std::isspace(static_cast<unsigned char>(text[0])))
        return false;
    errno = 0;
    char* end = nullptr;
    value = std::strtod(text.c_str(), &end);
    return *end == '\0' && errno != ERANGE && std::isfinite(value);
}

bool parsePair(const std::string& text, double& x, double& y)
{
    const size_t comma = text.find(',');
    return comma != std::string::npos && parseNumber(text.substr(0, comma), x) &&
           parseNumber(text.substr(comma + 1), y);
}

bool isGLSLName(const std::string& name)
{
    if (name.empty() || name.size() > 64 || std::isdigit(static_cast<unsigned char>(name[0])))
        return false;
    for (char c : name)
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '_')
            return false;
    // GLSL reserves names with two underscores in a row.
    return name.find("__") == std::string::npos;
}

std::vector<std::string> parseNames(const FilterSpec& written, const std::string& key, const std::string& text)
{
    std::vector<std::string> names;
    if (text.empty())
        return names;
    std::stringstream stream(text);
    std::string name;
    while (std::getline(stream, name, ',')) {
        if (!isGLSLName(name))
            throw badValue(written, key, text, quoted(name) + " is not a GLSL name (letters, digits and _)");
        names.push_back(name);
    }
    if (text.back() == ',')
        throw badValue(written, key, text, "a name is missing after the last comma");
    return names;
}

// The kernel's own keys come first; the names they declare become keys too.
void checkKernel(const FilterSpec& written, CheckedFilter& checked, std::map<std::string, std::string>& rest)
{
    static const std::set<std::string> ownKeys{"file", "inputs", "controls"};
    checked.kernelInputs = {"input"};
    if (auto found = rest.find("inputs"); found != rest.end())
        checked.kernelInputs = parseNames(written, "inputs", found->second);
    if (auto found = rest.find("controls"); found != rest.end())
        checked.kernelControls = parseNames(written, "controls", found->second);
    if (!rest.count("file"))
        throw CliError::usage("filter kernel: file=KERNEL.glsl is required");
    if (rest["file"].empty())
        throw badValue(written, "file", "", "a file name is required");
    checked.files["file"] = rest["file"];

    std::set<std::string> declared;
    for (const auto& list : {checked.kernelInputs, checked.kernelControls})
        for (const std::string& name : list) {
            if (ownKeys.count(name))
                throw CliError::usage("filter kernel: " + quoted(name) + " cannot be an input or control name");
            if (!declared.insert(name).second)
                throw CliError::usage("filter kernel: " + quoted(name) + " is declared twice");
        }

    for (size_t i = 1; i < checked.kernelInputs.size(); ++i) {
        const std::string& name = checked.kernelInputs[i];
        auto found = rest.find(name);
        if (found == rest.end() || found->second.empty())
            throw CliError::usage("filter kernel: input " + name + " needs " + name + "=PICTURE");
        checked.files[name] = found->second;
    }
    for (const std::string& name : checked.kernelControls) {
        double value = 0;
        if (auto found = rest.find(name); found != rest.end() && !parseNumber(found->second, value))
            throw badValue(written, name, found->second, "not a finite number");
        checked.numbers[name] = value;
    }
    for (const auto& entry : rest) {
        const std::string& key = entry.first;
        if (ownKeys.count(key))
            continue;
        if (!declared.count(key))
            throw CliError::usage("filter kernel: unknown key " + quoted(key) +
                                  " (declare it with inputs= or controls=)");
        if (!checked.kernelInputs.empty() && key == checked.kernelInputs.front())
            throw CliError::usage("filter kernel: input " + key + " takes the chain's image; it has no value");
    }
}

} // namespace

const std::vector<FilterInfo>& filterCatalog()
{
    static const std::vector<FilterInfo> catalog = makeCatalog();
    return catalog;
}

const FilterInfo* findFilter(std::string_view name)
{
    for (const FilterInfo& filter : filterCatalog())
        if (filter.name == name)
            return &filter;
    return nullptr;
}

std::string filterHelpText(const FilterInfo& filter)
{
    std::string text = filter.name + ": " + filter.summary + "\n";
    if (filter.parameters.empty())
        return text + "  (no parameters)\n";
    for (const ParameterInfo& parameter : filter.parameters) {
        text += "  " + parameter.key + "=";
        text += parameter.defaultText.empty() ? std::string("(required)") : parameter.defaultText;
        text += "  " + parameter.help + "\n";
    }
    return text;
}

std::string filterListText()
{
    std::string text = "Filters (lumetra --help FILTER for its parameters):\n";
    for (const FilterInfo& filter : filterCatalog()) {
        std::string line = "  " + filter.name;
        line.resize(18, ' ');
        text += line + filter.summary + "\n";
    }
    return text;
}

std::vector<CheckedFilter> checkChain(const std::vector<FilterSpec>& chain)
{
    std::vector<CheckedFilter> checkedChain;
    for (const FilterSpec& written : chain) {
        CheckedFilter checked;
        checked.info = findFilter(written.name);
        if (!checked.info)
            throw CliError::usage("unknown filter " + quoted(written.name) + "\n" + filterListText());

        std::map<std::string, std::string> given;
        for (const auto& [key, value] : written.parameters) {
            const bool repeatable = written.name == "transform";
            if (!repeatable && !given.emplace(key, value).second)
                throw CliError::usage("filter " + written.name + ": " + key + " is given twice");
        }

        if (written.name == "kernel") {
            checkKernel(written, checked, given);
            checkedChain.push_back(std::move(checked));
            continue;
        }

        for (const auto& [key, value] : written.parameters) {
            const ParameterInfo* parameter = nullptr;
            for (const ParameterInfo& candidate : checked.info->parameters)
                if (candidate.key == key)
                    parameter = &candidate;
            if (!parameter)
                throw CliError::usage("filter " + written.name + ": unknown key " + quoted(key) + "\n" +
                                      filterHelpText(*checked.info));
            double x = 0, y = 0;
            switch (parameter->kind) {
            case ParameterKind::Number:
                if (!parseNumber(value, x))
                    throw badValue(written, key, value, "not a finite number");
                checked.numbers[key] = x;
                break;
            case ParameterKind::Point:
                if (!parsePair(value, x, y))
                    throw badValue(written, key, value, "not x,y (two finite numbers)");
                checked.points[key] = {x, y};
                break;
            case ParameterKind::Scale:
                if (!parsePair(value, x, y)) {
                    if (!parseNumber(value, x))
                        throw badValue(written, key, value, "not a factor or x,y factors");
                    y = x;
                }
                if (x == 0 || y == 0)
                    throw badValue(written, key, value, "a scale of 0 cannot be undone");
                checked.points[key] = {x, y};
                break;
            case ParameterKind::Picture:
            case ParameterKind::Kernel:
                if (value.empty())
                    throw badValue(written, key, value, "a file name is required");
                checked.files[key] = value;
                break;
            case ParameterKind::Names: break;
            }
            if (written.name == "transform") {
                TransformStep step{key == "translate" ? TransformStep::Kind::Translate
                                   : key == "rotate"  ? TransformStep::Kind::Rotate
                                                      : TransformStep::Kind::Scale,
                                   x, y};
                checked.transformSteps.push_back(step);
            }
        }

        for (const ParameterInfo& parameter : checked.info->parameters)
            if (parameter.defaultText.empty() && !given.count(parameter.key))
                throw CliError::usage("filter " + written.name + ": " + parameter.key + "= is required\n" +
                                      filterHelpText(*checked.info));
        if (written.name == "circle" && checked.numbers["radius"] < 0)
            throw badValue(written, "radius", given["radius"], "a radius cannot be negative");
        checkedChain.push_back(std::move(checked));
    }
    return checkedChain;
}
