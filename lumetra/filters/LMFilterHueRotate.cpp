#include "lumetra/filters/LMFilterHueRotate.h"

#include <limits>

const LMFilterDeclaration& LMFilterHueRotate::declaration()
{
    constexpr double inf = std::numeric_limits<double>::infinity();
    static const LMFilterDeclaration declared =
        LMFilterDeclaration("hue-rotate", "colour", "turns the hue by an angle, keeping the luma")
            .input("input", "the image")
            .perPixel()
            .control("degrees", 0, -inf, inf, "degrees", "the angle")
            .demo("hue-rotate degrees=120");
    return declared;
}

std::string LMFilterHueRotate::kernelSource() const
{
    return "void main() {\n"
           "    vec3 c = texture(lm_input, lm_location).rgb;\n"
           "    float co = cos(radians(lm_degrees));\n"
           "    float si = sin(radians(lm_degrees));\n"
           "    vec3 l = vec3(0.213, 0.715, 0.072);\n"
           "    lm_output = vec3(dot(c, l + co * vec3(0.787, -0.715, -0.072) + si * vec3(-0.213, -0.715, 0.928)),\n"
           "                     dot(c, l + co * vec3(-0.213, 0.285, -0.072) + si * vec3(0.143, 0.140, -0.283)),\n"
           "                     dot(c, l + co * vec3(-0.213, -0.715, 0.928) + si * vec3(-0.787, 0.715, 0.072)));\n"
           "}\n";
}
