#include "lumetra/filters/LMFilterInvert.h"

std::string LMFilterInvert::kernelSource() const
{
    return "void main() {    lm_output = vec3(1.0, 1.0, 1.0) - texture(lm_input, lm_location.st).rgb; } ";
}
