#include "lumetra/filters/LMFilterBrightnessContrast.h"

const LMFilterDeclaration& LMFilterBrightnessContrast::declaration()
{
    static const LMFilterDeclaration declared =
        LMFilterDeclaration("brightness-contrast", "colour", "(in - 0.5) * contrast + 0.5 + brightness")
            .input("input", "the image")
            .perPixel()
            .control("brightness", 0, -1, 1, "", "added to every channel")
            .control("contrast", 1, 0, 100, "", "the factor about mid-grey; 1 leaves the image as it is")
            .demo("brightness-contrast brightness=0.05 contrast=1.8");
    return declared;
}

std::string LMFilterBrightnessContrast::kernelSource() const
{
    return "void main() {\n"
           "    vec3 c = texture(lm_input, lm_location).rgb;\n"
           "    lm_output = (c - 0.5) * lm_contrast + 0.5 + lm_brightness;\n"
           "}\n";
}
