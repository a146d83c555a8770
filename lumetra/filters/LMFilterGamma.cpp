#include "lumetra/filters/LMFilterGamma.h"

const LMFilterDeclaration& LMFilterGamma::declaration()
{
    static const LMFilterDeclaration declared =
        LMFilterDeclaration("gamma", "colour", "in^(1/gamma)")
            .input("input", "the image")
            .perPixel()
            .control("gamma", 1, 0.01, 100, "", "the exponent's reciprocal; 1 leaves the image as it is")
            .demo("gamma gamma=2.2");
    return declared;
}

std::string LMFilterGamma::kernelSource() const
{
    return "void main() {\n"
           "    lm_output = pow(texture(lm_input, lm_location).rgb, vec3(1.0 / lm_gamma));\n"
           "}\n";
}
