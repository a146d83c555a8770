#include "lumetra/filters/LMFilterMaxComponent.h"

std::string LMFilterMaxComponent::kernelSource() const
{
    return "void main() {    vec3 smp = texture(lm_input, lm_location).rgb;   float maxed = max(max(smp.r, smp.g), "
           "smp.b);   lm_output = vec3(maxed, maxed, maxed); } ";
}
