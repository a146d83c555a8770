#include "lumetra/filters/LMFilterBlend.h"

#include <algorithm>

namespace {

// In the order of the kernel's numbers.
const std::vector<std::string>& modes()
{
    static const std::vector<std::string> names = {
        "normal",     "multiply",   "screen",     "overlay",    "darken",    "lighten", "color-dodge",
        "color-burn", "hard-light", "soft-light", "difference", "exclusion", "add",     "subtract",
    };
    return names;
}

} // namespace

const LMFilterDeclaration& LMFilterBlend::declaration()
{
    static const LMFilterDeclaration declared =
        LMFilterDeclaration("blend", "compose", "blends a picture onto the image in a mode, mixed by opacity")
            .input("input", "the image: the backdrop")
            .input("source", "the picture blended onto it, fitted to the image")
            .inTool("with")
            .choice("mode", "normal", modes(), "how the picture and the image combine")
            .control("opacity", 1, 0, 1, "", "0 leaves the image, 1 gives the blend")
            .control("modeNumber", 0, 0, 13, "", "the mode's place in the list of modes; set from mode")
            .libraryOnly()
            .demo("blend with=stripes mode=soft-light");
    return declared;
}

std::string LMFilterBlend::kernelSource() const
{
    return "float lm_screen(float b, float s) { return b + s - b * s; }"
           "float lm_hardLight(float b, float s) { return s <= 0.5 ? b * 2.0 * s : lm_screen(b, 2.0 * s - 1.0); }"
           "float lm_blend(float b, float s) {"
           "    float m = lm_modeNumber;"
           "    if (m < 0.5) return s;"
           "    if (m < 1.5) return b * s;"
           "    if (m < 2.5) return lm_screen(b, s);"
           "    if (m < 3.5) return lm_hardLight(s, b);"
           "    if (m < 4.5) return min(b, s);"
           "    if (m < 5.5) return max(b, s);"
           "    if (m < 6.5) return b <= 0.0 ? 0.0 : s >= 1.0 ? 1.0 : min(1.0, b / (1.0 - s));"
           "    if (m < 7.5) return b >= 1.0 ? 1.0 : s <= 0.0 ? 0.0 : 1.0 - min(1.0, (1.0 - b) / s);"
           "    if (m < 8.5) return lm_hardLight(b, s);"
           "    if (m < 9.5) {"
           "        if (s <= 0.5) return b - (1.0 - 2.0 * s) * b * (1.0 - b);"
           "        float d = b <= 0.25 ? ((16.0 * b - 12.0) * b + 4.0) * b : sqrt(b);"
           "        return b + (2.0 * s - 1.0) * (d - b);"
           "    }"
           "    if (m < 10.5) return abs(b - s);"
           "    if (m < 11.5) return b + s - 2.0 * b * s;"
           "    if (m < 12.5) return min(1.0, b + s);"
           "    return max(0.0, b - s);"
           "}"
           "void main() {"
           "    vec3 b = texture(lm_input, lm_location).rgb;"
           "    vec3 s = texture(lm_source, lm_location).rgb;"
           "    vec3 blended = vec3(lm_blend(b.r, s.r), lm_blend(b.g, s.g), lm_blend(b.b, s.b));"
           "    lm_output = mix(b, blended, lm_opacity);"
           "} ";
}

void LMFilterBlend::setOpacity(std::optional<double> opacity)
{
    setProperty("opacity", opacity ? LMValue(*opacity) : LMValue());
}

std::shared_ptr<LMImage> LMFilterBlend::applyProgramWithContext(const std::shared_ptr<LMContext>& context)
{
    const auto found = std::find(modes().begin(), modes().end(), mode());
    storeProperty("modeNumber", double(found == modes().end() ? 0 : found - modes().begin()));
    return LMFilterClass::applyProgramWithContext(context);
}
