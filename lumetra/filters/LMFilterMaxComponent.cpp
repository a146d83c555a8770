#include "lumetra/filters/LMFilterMaxComponent.h"

const LMFilterDeclaration& LMFilterMaxComponent::declaration()
{
    static const LMFilterDeclaration declared =
        LMFilterDeclaration("max-component", "colour", "the largest of red, green and blue, as grey")
            .input("input", "the image")
            .perPixel()
            .picksAmongInputs();
    return declared;
}

std::string LMFilterMaxComponent::kernelSource() const
{
    return "void main() {    vec3 smp = texture(lm_input, lm_location).rgb;   float maxed = max(max(smp.r, smp.g), "
           "smp.b);   lm_output = vec3(maxed, maxed, maxed); } ";
}
