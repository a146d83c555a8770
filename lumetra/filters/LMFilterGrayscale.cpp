#include "lumetra/filters/LMFilterGrayscale.h"

const LMFilterDeclaration& LMFilterGrayscale::declaration()
{
    static const LMFilterDeclaration declared =
        LMFilterDeclaration("grayscale", "colour", "the Rec. 709 luma in every channel")
            .input("input", "the image")
            .perPixel()
            .keepsRange();
    return declared;
}

std::string LMFilterGrayscale::kernelSource() const
{
    return "void main() {\n"
           "    lm_output = vec3(dot(texture(lm_input, lm_location).rgb, vec3(0.2126, 0.7152, 0.0722)));\n"
           "}\n";
}
