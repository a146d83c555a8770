#include "lumetra/filters/LMFilterSepia.h"

const LMFilterDeclaration& LMFilterSepia::declaration()
{
    static const LMFilterDeclaration declared =
        LMFilterDeclaration("sepia", "colour", "a sepia tone")
            .input("input", "the image")
            .perPixel()
            .control("amount", 1, 0, 1, "", "0 leaves the image as it is, 1 is full sepia");
    return declared;
}

std::string LMFilterSepia::kernelSource() const
{
    return "void main() {\n"
           "    vec3 c = texture(lm_input, lm_location).rgb;\n"
           "    float k = 1.0 - clamp(lm_amount, 0.0, 1.0);\n"
           "    lm_output = vec3(dot(c, vec3(0.393 + 0.607 * k, 0.769 - 0.769 * k, 0.189 - 0.189 * k)),\n"
           "                     dot(c, vec3(0.349 - 0.349 * k, 0.686 + 0.314 * k, 0.168 - 0.168 * k)),\n"
           "                     dot(c, vec3(0.272 - 0.272 * k, 0.534 - 0.534 * k, 0.131 + 0.869 * k)));\n"
           "}\n";
}
