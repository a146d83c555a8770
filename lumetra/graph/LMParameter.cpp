#include "lumetra/graph/LMParameter.h"

#include <cmath>
#include <cstdio>

std::string LMParameter::numberText(double value)
{
    char text[32];
    std::snprintf(text, sizeof(text), "%g", value);
    return text;
}

std::string LMParameter::typeDescription() const
{
    switch (type) {
    case Type::Image: return "an image";
    case Type::Number: return "a number";
    case Type::Integer: return "a whole number";
    case Type::Flag: return "0 or 1";
    case Type::Choice: {
        std::string text = "one of ";
        for (size_t i = 0; i < choices.size(); ++i)
            text += (i ? "|" : "") + choices[i];
        return text;
    }
    case Type::Vector2: return "x,y";
    case Type::Vector3: return "three numbers";
    case Type::Vector4: return "four numbers";
    case Type::Matrix3: return "nine numbers";
    case Type::Point: return "x,y";
    case Type::Numbers:
        return listLength ? std::to_string(listLength) + " numbers, separated by commas"
                          : "numbers separated by commas";
    case Type::File: return "a file name";
    }
    return "a value";
}

std::string LMParameter::defaultTextInTool() const
{
    if (toolDefaultValue.isNone())
        return defaultText();
    LMParameter tool = *this;
    tool.defaultValue = toolDefaultValue;
    tool.toolDefaultValue = LMValue();
    return tool.defaultText();
}

std::string LMParameter::defaultText() const
{
    if (const double* number = defaultValue.number())
        return numberText(*number);
    if (const std::string* text = defaultValue.string())
        return *text;
    if (const std::vector<double>* numbers = defaultValue.numbers()) {
        std::string text;
        for (size_t i = 0; i < numbers->size(); ++i)
            text += (i ? "," : "") + numberText((*numbers)[i]);
        return text;
    }
    return "";
}

std::string LMParameter::problemWithNumber(double value) const
{
    if (!std::isfinite(value))
        return "must be a finite number";
    if ((type == Type::Integer || type == Type::Flag) && value != std::floor(value))
        return "must be a whole number";
    if (type == Type::Flag && value != 0 && value != 1)
        return "must be 0 or 1";
    if (value < minimum)
        return "must be at least " + numberText(minimum);
    if (value > maximum)
        return "must be at most " + numberText(maximum);
    return "";
}
