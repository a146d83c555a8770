#include "lumetra/filters/LMFilterFader.h"

std::string LMFilterFader::kernelSource() const
{
    return "void main() {    lm_output = texture(lm_input, lm_location).rgb * lm_control; } ";
}

void LMFilterFader::setControl(std::optional<double> control)
{
    setProperty("control", control ? LMValue(*control) : LMValue());
}
