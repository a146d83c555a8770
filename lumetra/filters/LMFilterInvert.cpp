#include "lumetra/filters/LMFilterInvert.h"

const LMFilterDeclaration& LMFilterInvert::declaration()
{
    static const LMFilterDeclaration declared = LMFilterDeclaration("invert", "colour", "1 - each colour channel")
                                                    .input("input", "the image")
                                                    .perPixel()
                                                    .keepsRange();
    return declared;
}

std::string LMFilterInvert::kernelSource() const
{
    return "void main() {    lm_output = vec3(1.0, 1.0, 1.0) - texture(lm_input, lm_location.st).rgb; } ";
}
