#include "lumetra/filters/LMFilterConvertToSRGB.h"

std::string LMFilterConvertToSRGB::kernelSource() const
{
    return "void main(){    vec3 incolor = texture(lm_input, lm_location).rgb;    lm_output = mix(incolor * 12.92, "
           "pow(incolor, vec3(0.4167)) * 1.055 - 0.055, step(0.00313, incolor));} ";
}
