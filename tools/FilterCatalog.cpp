#include "FilterCatalog.h"

#include "CliError.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <set>
#include <sstream>

namespace {

// Keys the tool gives `transform` beyond its declaration: steps, applied in
// the order written, each key as often as wanted.
const std::vector<std::pair<std::string, std::string>> transformSteps{
    {"translate=0,0", "x,y in pixels (y downwards)"},
    {"rotate=0", "degrees counterclockwise, about the centre"},
    {"scale=1", "a factor, or x,y factors, about the centre; not 0"},
};

constexpr const char* kernelSummary =
    "a filter from a GLSL kernel file: it defines main() and writes vec3 lm_output; it reads inputs as "
    "sampler2DRect lm_NAME at vec2 lm_location (pixels from the lower-left corner) and controls as float lm_NAME";

std::string kernelHelpText()
{
    return std::string("kernel: ") + kernelSummary + "\n" +
           "  file=(required)  the GLSL kernel\n"
           "  inputs=input  input names; the first takes the chain's image, each other one needs NAME=FILE\n"
           "  controls=(none)  control names; each takes NAME=NUMBER (default 0)\n";
}

} // namespace

std::vector<const LMParameter*> toolParameters(const LMFilterDeclaration& declaration)
{
    std::vector<const LMParameter*> parameters;
    bool chainInput = true;
    for (const LMParameter& parameter : declaration.parameters()) {
        if (parameter.role == LMParameter::Role::Input && std::exchange(chainInput, false))
            continue;
        if (!parameter.libraryOnly)
            parameters.push_back(&parameter);
    }
    return parameters;
}

namespace {

std::string declarationHelpText(const LMFilterDeclaration& declaration)
{
    std::string text = declaration.toolName() + ": " + declaration.summary() + "\n";
    std::vector<const LMParameter*> parameters = toolParameters(declaration);
    if (parameters.empty() && declaration.toolName() != "transform")
        return text + "  (no parameters)\n";
    for (const LMParameter* parameter : parameters) {
        text += "  " + parameter->keyInTool() + "=";
        if (parameter->role == LMParameter::Role::Input)
            text += "PICTURE";
        else
            text += parameter->isRequired() ? std::string("(required)") : parameter->defaultTextInTool();
        text += "  " + parameter->help;
        if (!parameter->unit.empty())
            text += ", in " + parameter->unit;
        if (parameter->type == LMParameter::Type::Choice)
            text += " (" + parameter->typeDescription() + ")";
        else if (parameter->isNumeric() && parameter->type != LMParameter::Type::Flag &&
                 (std::isfinite(parameter->minimum) || std::isfinite(parameter->maximum))) {
            text += " (" + (std::isfinite(parameter->minimum) ? LMParameter::numberText(parameter->minimum) : "") +
                    " to " + (std::isfinite(parameter->maximum) ? LMParameter::numberText(parameter->maximum) : "any") +
                    ")";
        } else if (parameter->type == LMParameter::Type::Flag)
            text += " (0 or 1)";
        text += "\n";
    }
    if (declaration.toolName() == "transform")
        for (const auto& [key, help] : transformSteps)
            text += "  " + key + "  " + help + "\n";
    return text;
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

std::string filterHelpText(std::string_view name)
{
    if (name == "kernel")
        return kernelHelpText();
    const LMFilterRegistry::Entry* entry = LMFilterRegistry::shared().find(name);
    return entry ? declarationHelpText(*entry->declaration) : "";
}

std::string filterListText()
{
    std::string text = "Filters (lumetra --help FILTER for its parameters):\n";
    auto line = [&text](const std::string& name, const std::string& summary) {
        std::string entry = "    " + name;
        entry.resize(std::max<size_t>(entry.size() + 2, 25), ' ');
        text += entry + summary + "\n";
    };
    const LMFilterRegistry& registry = LMFilterRegistry::shared();
    for (const std::string& group : registry.groups()) {
        text += "  " + group + ":\n";
        for (const LMFilterRegistry::Entry& entry : registry.entries())
            if (entry.declaration->group() == group)
                line(entry.declaration->toolName(), entry.declaration->summary());
    }
    text += "  your own:\n";
    line("kernel", "a filter from a GLSL kernel file (lumetra --help kernel)");
    return text;
}

namespace {

std::string usageOf(const CheckedFilter& checked)
{
    return filterHelpText(checked.name);
}

LMValue parseValue(const FilterSpec& written, const LMParameter& parameter, const std::string& key,
                   const std::string& value)
{
    using Type = LMParameter::Type;
    double x = 0, y = 0;
    switch (parameter.type) {
    case Type::Number:
    case Type::Integer:
    case Type::Flag: {
        if (!parseNumber(value, x))
            throw badValue(written, key, value, parameter.type == Type::Flag ? "not 0 or 1" : "not a finite number");
        if (std::string problem = parameter.problemWithNumber(x); !problem.empty())
            throw badValue(written, key, value, problem);
        return x;
    }
    case Type::Choice:
        if (std::find(parameter.choices.begin(), parameter.choices.end(), value) == parameter.choices.end())
            throw badValue(written, key, value, "not " + parameter.typeDescription());
        return value;
    case Type::Point:
    case Type::Vector2:
        if (!parsePair(value, x, y))
            throw badValue(written, key, value, "not x,y (two finite numbers)");
        return std::vector<double>{x, y};
    case Type::File:
        if (value.empty())
            throw badValue(written, key, value, "a file name is required");
        return value;
    case Type::Vector3:
    case Type::Vector4:
    case Type::Matrix3:
    case Type::Numbers: {
        const size_t wanted = parameter.type == Type::Vector3   ? 3
                              : parameter.type == Type::Vector4 ? 4
                              : parameter.type == Type::Matrix3 ? 9
                                                                : parameter.listLength;
        std::vector<double> numbers;
        std::stringstream stream(value);
        for (std::string part; std::getline(stream, part, ',');) {
            if (!parseNumber(part, x))
                throw badValue(written, key, value, "not " + parameter.typeDescription());
            numbers.push_back(x);
        }
        if (numbers.empty() || (wanted && numbers.size() != wanted) || value.back() == ',')
            throw badValue(written, key, value, "not " + parameter.typeDescription());
        return numbers;
    }
    case Type::Image: break;
    }
    return LMValue();
}

void checkTransformStep(const FilterSpec& written, CheckedFilter& checked, const std::string& key,
                        const std::string& value)
{
    double x = 0, y = 0;
    if (key == "translate") {
        if (!parsePair(value, x, y))
            throw badValue(written, key, value, "not x,y (two finite numbers)");
        checked.transformSteps.push_back({TransformStep::Kind::Translate, x, y});
    } else if (key == "rotate") {
        if (!parseNumber(value, x))
            throw badValue(written, key, value, "not a finite number");
        checked.transformSteps.push_back({TransformStep::Kind::Rotate, x, 0});
    } else {
        if (!parsePair(value, x, y)) {
            if (!parseNumber(value, x))
                throw badValue(written, key, value, "not a factor or x,y factors");
            y = x;
        }
        if (x == 0 || y == 0)
            throw badValue(written, key, value, "a scale of 0 cannot be undone");
        checked.transformSteps.push_back({TransformStep::Kind::Scale, x, y});
    }
}

} // namespace

std::vector<CheckedFilter> checkChain(const std::vector<FilterSpec>& chain)
{
    std::vector<CheckedFilter> checkedChain;
    for (const FilterSpec& written : chain) {
        CheckedFilter checked;
        checked.name = written.name;
        checked.entry = LMFilterRegistry::shared().find(written.name);
        if (!checked.entry && written.name != "kernel")
            throw CliError::usage("unknown filter " + quoted(written.name) + "\n" + filterListText());

        const bool isTransform = written.name == "transform";
        auto isStep = [&](const std::string& key) {
            return isTransform && (key == "translate" || key == "rotate" || key == "scale");
        };
        std::map<std::string, std::string> given;
        for (const auto& [key, value] : written.parameters) {
            if (!isStep(key) && !given.emplace(key, value).second)
                throw CliError::usage("filter " + written.name + ": " + key + " is given twice");
        }

        if (!checked.entry) {
            checkKernel(written, checked, given);
            checkedChain.push_back(std::move(checked));
            continue;
        }

        const std::vector<const LMParameter*> parameters = toolParameters(*checked.entry->declaration);
        for (const auto& [key, value] : written.parameters) {
            if (isStep(key)) {
                checkTransformStep(written, checked, key, value);
                continue;
            }
            const LMParameter* parameter = nullptr;
            for (const LMParameter* candidate : parameters)
                if (candidate->keyInTool() == key)
                    parameter = candidate;
            if (!parameter)
                throw CliError::usage("filter " + written.name + ": unknown key " + quoted(key) + "\n" +
                                      usageOf(checked));
            if (parameter->role == LMParameter::Role::Input) {
                if (value.empty())
                    throw badValue(written, key, value, "a file name is required");
                checked.files[parameter->name] = value;
                continue;
            }
            checked.values.emplace_back(parameter, parseValue(written, *parameter, key, value));
            // A file the filter reads is one the run reads: no output may replace it.
            if (parameter->type == LMParameter::Type::File)
                checked.files[parameter->name] = value;
        }
        for (const LMParameter* parameter : parameters) {
            const bool required = parameter->isRequired() || parameter->role == LMParameter::Role::Input;
            if (required && !given.count(parameter->keyInTool()))
                throw CliError::usage("filter " + written.name + ": " + parameter->keyInTool() + "= is required\n" +
                                      usageOf(checked));
            if (!parameter->toolDefaultValue.isNone() && !given.count(parameter->keyInTool()))
                checked.values.emplace_back(parameter, parameter->toolDefaultValue);
        }
        checkedChain.push_back(std::move(checked));
    }
    return checkedChain;
}
