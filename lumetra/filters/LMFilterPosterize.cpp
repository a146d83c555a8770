#include "lumetra/filters/LMFilterPosterize.h"

namespace {

// A whole-number control: the kernel reads it as a float.
LMParameter levelsParameter()
{
    LMParameter levels;
    levels.name = "levels";
    levels.role = LMParameter::Role::Control;
    levels.type = LMParameter::Type::Integer;
    levels.defaultValue = 4.0;
    levels.minimum = 1;
    levels.maximum = 65536;
    levels.help = "how many values each channel keeps, 0 and 1 among them";
    return levels;
}

} // namespace

const LMFilterDeclaration& LMFilterPosterize::declaration()
{
    static const LMFilterDeclaration declared =
        LMFilterDeclaration("posterize", "colour", "rounds each channel to one of a few levels")
            .input("input", "the image")
            .perPixel()
            .keepsRange()
            .parameter(levelsParameter())
            .demo("posterize levels=3");
    return declared;
}

std::string LMFilterPosterize::kernelSource() const
{
    return "void main() {\n"
           "    vec3 c = texture(lm_input, lm_location).rgb;\n"
           "    float steps = lm_levels - 1.0;\n"
           "    lm_output = steps >= 1.0 ? floor(c * steps + 0.5) / steps : vec3(0.0);\n"
           "}\n";
}
