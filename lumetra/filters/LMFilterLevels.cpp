#include "lumetra/filters/LMFilterLevels.h"

const LMFilterDeclaration& LMFilterLevels::declaration()
{
    static const LMFilterDeclaration declared =
        LMFilterDeclaration("levels", "colour", "stretches in-low..in-high to out-low..out-high through a gamma")
            .input("input", "the image")
            .perPixel()
            .control("inLow", 0, 0, 1, "", "the input value that becomes out-low")
            .inTool("in-low")
            .control("inHigh", 1, 0, 1, "", "the input value that becomes out-high")
            .inTool("in-high")
            .control("gamma", 1, 0.01, 100, "", "the mid-tones' gamma; above 1 brightens them")
            .control("outLow", 0, 0, 1, "", "the darkest output value")
            .inTool("out-low")
            .control("outHigh", 1, 0, 1, "", "the brightest output value")
            .inTool("out-high")
            .demo("levels in-low=0.1 in-high=0.7 gamma=1.3");
    return declared;
}

std::string LMFilterLevels::kernelSource() const
{
    return "void main() {\n"
           "    vec3 c = texture(lm_input, lm_location).rgb;\n"
           "    float range = lm_inHigh - lm_inLow;\n"
           "    vec3 t = range == 0.0 ? step(vec3(lm_inLow), c) : clamp((c - lm_inLow) / range, 0.0, 1.0);\n"
           "    lm_output = lm_outLow + (lm_outHigh - lm_outLow) * pow(t, vec3(1.0 / lm_gamma));\n"
           "}\n";
}
