#include "lumetra/filters/LMFilterSaturation.h"

const LMFilterDeclaration& LMFilterSaturation::declaration()
{
    static const LMFilterDeclaration declared =
        LMFilterDeclaration("saturation", "colour", "L + amount * (in - L), L the Rec. 709 luma")
            .input("input", "the image")
            .perPixel()
            .control("amount", 1, 0, 100, "", "0 is grey, 1 leaves the image as it is, above 1 more vivid")
            .demo("saturation amount=2");
    return declared;
}

std::string LMFilterSaturation::kernelSource() const
{
    return "void main() {\n"
           "    vec3 c = texture(lm_input, lm_location).rgb;\n"
           "    float l = dot(c, vec3(0.2126, 0.7152, 0.0722));\n"
           "    lm_output = l + lm_amount * (c - l);\n"
           "}\n";
}
