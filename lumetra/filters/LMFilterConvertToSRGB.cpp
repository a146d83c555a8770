#include "lumetra/filters/LMFilterConvertToSRGB.h"

const LMFilterDeclaration& LMFilterConvertToSRGB::declaration()
{
    static const LMFilterDeclaration declared =
        LMFilterDeclaration("to-srgb", "colour", "encodes linear colour to sRGB")
            .input("input", "the image, linear")
            .perPixel()
            .keepsRange();
    return declared;
}

std::string LMFilterConvertToSRGB::kernelSource() const
{
    return "void main(){    vec3 incolor = texture(lm_input, lm_location).rgb;    lm_output = mix(incolor * 12.92, "
           "pow(incolor, vec3(0.4167)) * 1.055 - 0.055, step(0.00313, incolor));} ";
}
