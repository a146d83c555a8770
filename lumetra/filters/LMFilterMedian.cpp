#include "lumetra/filters/LMFilterMedian.h"

#include <string>

namespace {

// The median of the (2 radius + 1) squared values around the pixel: after
// step i of the exchanges v[i] holds the i-th smallest of each channel, so
// after step N / 2 the middle one.
std::string medianBody(int radius)
{
    const std::string r = std::to_string(radius), n = std::to_string((2 * radius + 1) * (2 * radius + 1));
    return "uniform sampler2DRect source; void main() { vec3 v[" + n +
           "]; int n = 0; "
           "for (int dy = -" +
           r + "; dy <= " + r + "; ++dy) for (int dx = -" + r + "; dx <= " + r +
           "; ++dx) "
           "v[n++] = texture(source, gl_FragCoord.xy + vec2(dx, dy)).rgb; "
           "for (int i = 0; i <= " +
           n + " / 2; ++i) for (int j = i + 1; j < " + n +
           "; ++j) "
           "{ vec3 a = v[i]; vec3 b = v[j]; v[i] = min(a, b); v[j] = max(a, b); } "
           "lm_output = v[" +
           n + " / 2]; }";
}

} // namespace

const LMFilterDeclaration& LMFilterMedian::declaration()
{
    static const LMFilterDeclaration declared =
        LMFilterDeclaration("median", "blur", "the per-channel median of a 3 by 3 or 5 by 5 square, edges clamped")
            .input("input", "the image")
            .choice("radius", "1", {"1", "2"}, "1: 3 by 3 pixels; 2: 5 by 5")
            .demo("median radius=2");
    return declared;
}

std::vector<const LMRenderPass*> LMFilterMedian::renderPasses() const
{
    static const LMRenderPass three("median3", medianBody(1)), five("median5", medianBody(2));
    return {&three, &five};
}

std::shared_ptr<LMImage> LMFilterMedian::drawPasses(const std::shared_ptr<LMContext>& context,
                                                    const std::vector<std::shared_ptr<LMImage>>& inputs,
                                                    LMSize outputSize)
{
    const LMRenderPass& pass = *renderPasses()[radius() == "2" ? 1 : 0];
    return drawPass(context, pass, outputSize, {{"source", inputs.front().get()}});
}
