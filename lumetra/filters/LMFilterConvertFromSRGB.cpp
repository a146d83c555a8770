#include "lumetra/filters/LMFilterConvertFromSRGB.h"

const LMFilterDeclaration& LMFilterConvertFromSRGB::declaration()
{
    static const LMFilterDeclaration declared =
        LMFilterDeclaration("from-srgb", "colour", "decodes sRGB colour to linear")
            .input("input", "the image, sRGB-encoded")
            .perPixel();
    return declared;
}

std::string LMFilterConvertFromSRGB::kernelSource() const
{
    return "void main(){    vec3 incolor = texture(lm_input, lm_location).rgb;    lm_output = mix(incolor * 0.0774, "
           "pow(incolor * 0.9479 + 0.05213, vec3(2.4)), step(0.04045, incolor));} ";
}
