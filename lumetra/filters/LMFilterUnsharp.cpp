#include "lumetra/filters/LMFilterUnsharp.h"

#include "lumetra/filters/LMBlurPasses.h"

namespace {

const LMRenderPass& sharpenPass()
{
    static const LMRenderPass pass(
        "sharpen", "uniform sampler2DRect source; uniform sampler2DRect blurred; uniform float amount; "
                   "uniform float threshold; void main() { vec3 c = texture(source, gl_FragCoord.xy).rgb; "
                   "vec3 d = c - texture(blurred, gl_FragCoord.xy).rgb; "
                   "lm_output = c + amount * d * vec3(greaterThan(abs(d), vec3(threshold))); }");
    return pass;
}

} // namespace

const LMFilterDeclaration& LMFilterUnsharp::declaration()
{
    static const LMFilterDeclaration declared =
        LMFilterDeclaration("unsharp", "blur", "sharpens by the difference from a Gaussian blur")
            .input("input", "the image to sharpen")
            .number("sigma", 2, 0, 200, "pixels", "the blur's standard deviation")
            .number("amount", 1, 0, 20, "", "how much of the difference is added")
            .number("threshold", 0, 0, 1, "", "differences this small (0...1) are left alone")
            .demo("unsharp sigma=3 amount=2");
    return declared;
}

std::vector<const LMRenderPass*> LMFilterUnsharp::renderPasses() const
{
    std::vector<const LMRenderPass*> passes = LMBlurPasses::renderPasses();
    passes.push_back(&sharpenPass());
    return passes;
}

std::shared_ptr<LMImage> LMFilterUnsharp::drawPasses(const std::shared_ptr<LMContext>& context,
                                                     const std::vector<std::shared_ptr<LMImage>>& inputs,
                                                     LMSize outputSize)
{
    const LMImage& input = *inputs.front();
    const std::shared_ptr<LMImage> blurred = LMBlurPasses::gaussian(context, programKey(), input, sigma());
    if (!blurred)
        return nullptr;
    return drawPass(context, sharpenPass(), outputSize, {{"source", &input}, {"blurred", blurred.get()}},
                    [&](LMRenderPass::Uniforms& u) {
                        u.set("amount", amount());
                        u.set("threshold", threshold());
                    });
}
