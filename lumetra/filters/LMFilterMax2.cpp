#include "lumetra/filters/LMFilterMax2.h"

std::string LMFilterMax2::kernelSource() const
{
    return "void main() {    lm_output = max(texture(lm_inputA, lm_location.st).rgb, texture(lm_inputB, "
           "lm_location.st).rgb); } ";
}
