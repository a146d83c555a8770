#include "lumetra/filters/LMFilterVignette.h"

const LMFilterDeclaration& LMFilterVignette::declaration()
{
    static const LMFilterDeclaration declared =
        LMFilterDeclaration("vignette", "colour", "darkens towards the corners")
            .input("input", "the image")
            .perPixel()
            .control("radius", 0.5, 0, 2, "", "where the darkening starts, as a fraction of half the diagonal")
            .control("softness", 0.5, 0, 2, "", "how far beyond the radius it reaches its full strength")
            .control("strength", 1, 0, 1, "", "the darkening in the corners, 1 being black")
            .demo("vignette radius=0.3 softness=0.6 strength=0.9")
            .createsContextDimensionsUniform();
    return declared;
}

std::string LMFilterVignette::kernelSource() const
{
    return "void main() {\n"
           "    vec2 centre = lm_contextDimensions * 0.5;\n"
           "    float d = length(lm_location - centre) / length(centre);\n"
           "    float t = lm_softness > 0.0 ? clamp((d - lm_radius) / lm_softness, 0.0, 1.0) : step(lm_radius, d);\n"
           "    lm_output = texture(lm_input, lm_location).rgb * (1.0 - lm_strength * t * t * (3.0 - 2.0 * t));\n"
           "}\n";
}
