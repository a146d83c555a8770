#include "lumetra/filters/LMFilterCrop.h"

#include <algorithm>
#include <cmath>
#include <limits>

const LMFilterDeclaration& LMFilterCrop::declaration()
{
    constexpr double inf = std::numeric_limits<double>::infinity();
    static const LMFilterDeclaration declared =
        LMFilterDeclaration("crop", "geometry", "a rectangle of the image, at its own size")
            .input("input", "the image")
            .integer("x", 0, 0, inf, "pixels", "the left edge, from the left")
            .integer("y", 0, 0, inf, "pixels", "the top edge, from the top")
            .integer("width", 1, 1, inf, "pixels", "the width")
            .required()
            .integer("height", 1, 1, inf, "pixels", "the height")
            .required()
            .demo("crop x=60 y=40 width=120 height=80");
    return declared;
}

LMFilterCrop::Cut LMFilterCrop::cutForInputSize(LMSize size) const
{
    const double inputWidth = std::floor(size.width), inputHeight = std::floor(size.height);
    Cut cut;
    cut.left = std::min(x(), inputWidth - 1);
    cut.top = std::min(y(), inputHeight - 1);
    // Unset, the size reads as its declared default of 1: a crop with no
    // size is one pixel, never nothing.
    cut.width = std::min(width(), inputWidth - cut.left);
    cut.height = std::min(height(), inputHeight - cut.top);
    return cut;
}

LMSize LMFilterCrop::outputSizeForInputSizes(const std::vector<LMSize>& inputSizes) const
{
    if (inputSizes.empty() || inputSizes.front().width < 1 || inputSizes.front().height < 1)
        return {0, 0};
    const Cut cut = cutForInputSize(inputSizes.front());
    return {cut.width, cut.height};
}

std::vector<const LMRenderPass*> LMFilterCrop::renderPasses() const
{
    static const LMRenderPass copy("copy",
                                   "uniform sampler2DRect source; uniform vec2 offset; "
                                   "void main() { lm_output = texture(source, gl_FragCoord.xy + offset).rgb; }");
    return {&copy};
}

std::shared_ptr<LMImage> LMFilterCrop::drawPasses(const std::shared_ptr<LMContext>& context,
                                                  const std::vector<std::shared_ptr<LMImage>>& inputs,
                                                  LMSize outputSize)
{
    const LMImage& input = *inputs.front();
    const Cut cut = cutForInputSize(input.dimensions());
    // GL counts rows from the bottom: the cut's bottom row is this far up.
    const double bottom = std::floor(input.dimensions().height) - cut.top - cut.height;
    return drawPass(context, *renderPasses().front(), outputSize, {{"source", &input}},
                    [&](LMRenderPass::Uniforms& uniforms) { uniforms.set("offset", cut.left, bottom); });
}
