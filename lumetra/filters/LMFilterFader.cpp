#include "lumetra/filters/LMFilterFader.h"

#include <limits>

const LMFilterDeclaration& LMFilterFader::declaration()
{
    constexpr double inf = std::numeric_limits<double>::infinity();
    static const LMFilterDeclaration declared =
        LMFilterDeclaration("fader", "colour", "multiplies the image by a control, unclamped")
            .input("input", "the image")
            .perPixel()
            .control("control", 0, -inf, inf, "", "the factor")
            .demo("fader control=0.5");
    return declared;
}

std::string LMFilterFader::kernelSource() const
{
    return "void main() {    lm_output = texture(lm_input, lm_location).rgb * lm_control; } ";
}

void LMFilterFader::setControl(std::optional<double> control)
{
    setProperty("control", control ? LMValue(*control) : LMValue());
}
