#include "lumetra/filters/LMFilterThreshold.h"

const LMFilterDeclaration& LMFilterThreshold::declaration()
{
    static const LMFilterDeclaration declared =
        LMFilterDeclaration("threshold", "colour", "white where the luma is at least the value, else black")
            .input("input", "the image")
            .perPixel()
            .keepsRange()
            .control("value", 0.5, 0, 1, "", "the luma from which a pixel is white");
    return declared;
}

std::string LMFilterThreshold::kernelSource() const
{
    return "void main() {\n"
           "    float l = dot(texture(lm_input, lm_location).rgb, vec3(0.2126, 0.7152, 0.0722));\n"
           "    lm_output = vec3(l >= lm_value ? 1.0 : 0.0);\n"
           "}\n";
}
