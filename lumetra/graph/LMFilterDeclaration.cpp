#include "lumetra/graph/LMFilterDeclaration.h"

#include "lumetra/graph/LMMatrix3.h"
#include "lumetra/graph/LMVector2.h"
#include "lumetra/graph/LMVector3.h"
#include "lumetra/graph/LMVector4.h"

LMFilterDeclaration::LMFilterDeclaration(std::string toolName, std::string group, std::string summary)
    : toolName_(std::move(toolName)), group_(std::move(group)), summary_(std::move(summary))
{}

LMFilterDeclaration& LMFilterDeclaration::parameter(LMParameter parameter)
{
    parameters_.push_back(std::move(parameter));
    return *this;
}

namespace {

LMParameter parameterOf(std::string name, LMParameter::Role role, LMParameter::Type type, LMValue defaultValue,
                        std::string help)
{
    LMParameter declared;
    declared.name = std::move(name);
    declared.role = role;
    declared.type = type;
    declared.defaultValue = std::move(defaultValue);
    declared.help = std::move(help);
    return declared;
}

} // namespace

LMFilterDeclaration& LMFilterDeclaration::input(std::string name, std::string help)
{
    return parameter(
        parameterOf(std::move(name), LMParameter::Role::Input, LMParameter::Type::Image, LMValue(), std::move(help)));
}

LMFilterDeclaration& LMFilterDeclaration::control(std::string name, double defaultValue, double minimum, double maximum,
                                                  std::string unit, std::string help)
{
    number(std::move(name), defaultValue, minimum, maximum, std::move(unit), std::move(help));
    parameters_.back().role = LMParameter::Role::Control;
    return *this;
}

LMFilterDeclaration& LMFilterDeclaration::uniform(std::string name, LMParameter::Type type, LMValue defaultValue,
                                                  std::string help)
{
    return parameter(
        parameterOf(std::move(name), LMParameter::Role::Uniform, type, std::move(defaultValue), std::move(help)));
}

LMFilterDeclaration& LMFilterDeclaration::number(std::string name, double defaultValue, double minimum, double maximum,
                                                 std::string unit, std::string help)
{
    LMParameter declared = parameterOf(std::move(name), LMParameter::Role::Setting, LMParameter::Type::Number,
                                       defaultValue, std::move(help));
    declared.minimum = minimum;
    declared.maximum = maximum;
    declared.unit = std::move(unit);
    return parameter(std::move(declared));
}

LMFilterDeclaration& LMFilterDeclaration::integer(std::string name, double defaultValue, double minimum, double maximum,
                                                  std::string unit, std::string help)
{
    number(std::move(name), defaultValue, minimum, maximum, std::move(unit), std::move(help));
    parameters_.back().type = LMParameter::Type::Integer;
    return *this;
}

LMFilterDeclaration& LMFilterDeclaration::flag(std::string name, bool defaultValue, std::string help)
{
    number(std::move(name), defaultValue ? 1 : 0, 0, 1, "", std::move(help));
    parameters_.back().type = LMParameter::Type::Flag;
    return *this;
}

LMFilterDeclaration& LMFilterDeclaration::choice(std::string name, std::string defaultValue,
                                                 std::vector<std::string> choices, std::string help)
{
    LMParameter declared = parameterOf(std::move(name), LMParameter::Role::Setting, LMParameter::Type::Choice,
                                       std::move(defaultValue), std::move(help));
    declared.choices = std::move(choices);
    return parameter(std::move(declared));
}

LMFilterDeclaration& LMFilterDeclaration::numbers(std::string name, size_t length, std::string help)
{
    LMParameter declared = parameterOf(std::move(name), LMParameter::Role::Setting, LMParameter::Type::Numbers,
                                       LMValue(), std::move(help));
    declared.listLength = length;
    return parameter(std::move(declared));
}

LMFilterDeclaration& LMFilterDeclaration::file(std::string name, std::string help)
{
    return parameter(
        parameterOf(std::move(name), LMParameter::Role::Setting, LMParameter::Type::File, LMValue(), std::move(help)));
}

LMFilterDeclaration& LMFilterDeclaration::required()
{
    parameters_.back().defaultValue = LMValue();
    return *this;
}

LMFilterDeclaration& LMFilterDeclaration::inTool(std::string key)
{
    parameters_.back().toolKey = std::move(key);
    return *this;
}

LMFilterDeclaration& LMFilterDeclaration::toolDefault(LMValue value)
{
    parameters_.back().toolDefaultValue = std::move(value);
    return *this;
}

LMFilterDeclaration& LMFilterDeclaration::libraryOnly()
{
    parameters_.back().libraryOnly = true;
    return *this;
}

LMFilterDeclaration& LMFilterDeclaration::demo(std::string chain)
{
    demo_ = std::move(chain);
    return *this;
}

LMFilterDeclaration& LMFilterDeclaration::demoFile(std::string name, std::string contents)
{
    demoFiles_.emplace_back(std::move(name), std::move(contents));
    return *this;
}

LMFilterDeclaration& LMFilterDeclaration::perPixel()
{
    perPixel_ = true;
    return *this;
}

LMFilterDeclaration& LMFilterDeclaration::picksAmongInputs()
{
    picks_ = true;
    return *this;
}

LMFilterDeclaration& LMFilterDeclaration::keepsRange()
{
    keepsRange_ = true;
    return *this;
}

LMFilterDeclaration& LMFilterDeclaration::createsContextDimensionsUniform()
{
    contextDimensions_ = true;
    return *this;
}

LMFilterDeclaration& LMFilterDeclaration::createsTargetDimensionsUniform()
{
    targetDimensions_ = true;
    return *this;
}

const LMParameter* LMFilterDeclaration::parameterNamed(std::string_view name) const
{
    for (const LMParameter& parameter : parameters_)
        if (parameter.name == name)
            return &parameter;
    return nullptr;
}

std::vector<std::string> LMFilterDeclaration::namesWithRole(LMParameter::Role role) const
{
    std::vector<std::string> names;
    for (const LMParameter& parameter : parameters_)
        if (parameter.role == role)
            names.push_back(parameter.name);
    return names;
}

std::vector<std::shared_ptr<LMUniform>> LMFilterDeclaration::makeUniforms() const
{
    std::vector<std::shared_ptr<LMUniform>> uniforms;
    for (const LMParameter& parameter : parameters_) {
        if (parameter.role != LMParameter::Role::Uniform)
            continue;
        switch (parameter.type) {
        case LMParameter::Type::Vector3: uniforms.push_back(LMVector3::vectorWithName(parameter.name)); break;
        case LMParameter::Type::Vector4: uniforms.push_back(LMVector4::vectorWithName(parameter.name)); break;
        case LMParameter::Type::Matrix3: uniforms.push_back(LMMatrix3::matrixWithName(parameter.name)); break;
        default: uniforms.push_back(LMVector2::vectorWithName(parameter.name)); break;
        }
    }
    return uniforms;
}
