#include "lumetra/filters/LMFilterFlip.h"

#include <cmath>

const LMFilterDeclaration& LMFilterFlip::declaration()
{
    static const LMFilterDeclaration declared =
        LMFilterDeclaration("flip", "geometry", "mirrors the image left for right, or top for bottom")
            .input("input", "the image")
            .choice("direction", "horizontal", {"horizontal", "vertical"}, "which way")
            .demo("flip direction=horizontal");
    return declared;
}

std::vector<const LMRenderPass*> LMFilterFlip::renderPasses() const
{
    // mirror is (1, 0) or (0, 1): the axis that runs backwards.
    static const LMRenderPass mirror(
        "mirror",
        "uniform sampler2DRect source; uniform vec2 size; uniform vec2 mirror; "
        "void main() { lm_output = texture(source, mix(gl_FragCoord.xy, size - gl_FragCoord.xy, mirror)).rgb; }");
    return {&mirror};
}

std::shared_ptr<LMImage> LMFilterFlip::drawPasses(const std::shared_ptr<LMContext>& context,
                                                  const std::vector<std::shared_ptr<LMImage>>& inputs,
                                                  LMSize outputSize)
{
    const bool horizontal = direction() == "horizontal";
    return drawPass(context, *renderPasses().front(), outputSize, {{"source", inputs.front().get()}},
                    [&](LMRenderPass::Uniforms& uniforms) {
                        uniforms.set("size", std::floor(outputSize.width), std::floor(outputSize.height));
                        uniforms.set("mirror", horizontal ? 1 : 0, horizontal ? 0 : 1);
                    });
}
