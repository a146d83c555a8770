#include "lumetra/filters/LMFilterExposure.h"

const LMFilterDeclaration& LMFilterExposure::declaration()
{
    static const LMFilterDeclaration declared =
        LMFilterDeclaration("exposure", "colour", "in * 2^stops")
            .input("input", "the image")
            .perPixel()
            .control("stops", 0, -24, 24, "stops", "each stop doubles the values, each negative one halves them")
            .demo("exposure stops=1");
    return declared;
}

std::string LMFilterExposure::kernelSource() const
{
    return "void main() {\n"
           "    lm_output = texture(lm_input, lm_location).rgb * exp2(lm_stops);\n"
           "}\n";
}
