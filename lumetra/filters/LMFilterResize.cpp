#include "lumetra/filters/LMFilterResize.h"

#include <algorithm>
#include <cmath>
#include <limits>

const LMFilterDeclaration& LMFilterResize::declaration()
{
    constexpr double inf = std::numeric_limits<double>::infinity();
    static const LMFilterDeclaration declared =
        LMFilterDeclaration("resize", "geometry", "the image resampled to a new size")
            .input("input", "the image")
            .integer("width", 0, 0, inf, "pixels", "the new width; 0 follows the height, keeping the aspect ratio")
            .integer("height", 0, 0, inf, "pixels", "the new height; 0 follows the width, keeping the aspect ratio")
            .choice("kernel", "lanczos3", {"lanczos3", "bicubic", "bilinear", "box", "nearest"},
                    "the resampling kernel (bicubic is Catmull-Rom)")
            .flag("linear", false, "1 resamples in linear light: sRGB decoded first, encoded after")
            .number("gap", 2, 0, inf, "",
                    "shrinking by more than twice this, whole blocks are averaged first down to a ratio of at most "
                    "twice this; 0 applies the kernel over every pixel")
            .demo("resize width=160 kernel=bicubic");
    return declared;
}

LMSize LMFilterResize::outputSizeForInputSizes(const std::vector<LMSize>& inputSizes) const
{
    if (inputSizes.empty())
        return {0, 0};
    const double inputWidth = std::floor(inputSizes.front().width);
    const double inputHeight = std::floor(inputSizes.front().height);
    if (inputWidth < 1 || inputHeight < 1)
        return {0, 0};
    double newWidth = width(), newHeight = height();
    if (newWidth == 0 && newHeight == 0)
        return {inputWidth, inputHeight};
    if (newWidth == 0)
        newWidth = std::max(1.0, std::round(newHeight * inputWidth / inputHeight));
    if (newHeight == 0)
        newHeight = std::max(1.0, std::round(newWidth * inputHeight / inputWidth));
    return {newWidth, newHeight};
}

std::vector<const LMRenderPass*> LMFilterResize::renderPasses() const
{
    // One pass along one axis. Output position `along` (a pixel centre)
    // maps to input position along * ratio. Blocks of `block` whole input
    // pixels are averaged (block j covers pixels j * block ...), and the
    // kernel, stretched by `stretch`, weighs the blocks by their centres'
    // distance; the weights are normalised by their sum. Indices past the
    // edge read the edge pixel.
    static const LMRenderPass resample(
        "resample",
        "uniform sampler2DRect source; uniform int horizontal; uniform float ratio; uniform int block; "
        "uniform float stretch; uniform float reach; uniform int kernel; uniform int last; "
        "uniform int decode; uniform int encode;\n"
        "float weight(float x) {\n"
        "  if (kernel == 3) return x > -0.5 && x <= 0.5 ? 1.0 : 0.0;\n"
        "  x = abs(x);\n"
        "  if (kernel == 2) return max(1.0 - x, 0.0);\n"
        "  if (kernel == 1) return x < 1.0 ? (1.5 * x - 2.5) * x * x + 1.0\n"
        "                   : x < 2.0 ? ((-0.5 * x + 2.5) * x - 4.0) * x + 2.0 : 0.0;\n"
        "  if (x >= 3.0) return 0.0;\n"
        "  if (x < 1e-4) return 1.0;\n"
        "  float px = 3.14159265358979 * x;\n"
        "  return 3.0 * sin(px) * sin(px / 3.0) / (px * px);\n"
        "}\n"
        "vec3 texel(int i, int across) {\n"
        "  i = clamp(i, 0, last);\n"
        "  vec3 c = texelFetch(source, horizontal == 1 ? ivec2(i, across) : ivec2(across, i)).rgb;\n"
        "  if (decode == 1) c = mix(c / 12.92, pow((c + 0.055) / 1.055, vec3(2.4)), step(vec3(0.04045), c));\n"
        "  return c;\n"
        "}\n"
        "void main() {\n"
        "  float along = horizontal == 1 ? gl_FragCoord.x : gl_FragCoord.y;\n"
        "  int across = int(horizontal == 1 ? gl_FragCoord.y : gl_FragCoord.x);\n"
        "  float centre = along * ratio / float(block) - 0.5;\n"
        "  int first = int(ceil(centre - reach)), end = int(floor(centre + reach));\n"
        "  vec3 sum = vec3(0.0);\n"
        "  float total = 0.0;\n"
        "  for (int j = first; j <= end; ++j) {\n"
        "    float w = weight((float(j) - centre) / stretch);\n"
        "    if (w == 0.0) continue;\n"
        "    vec3 c = vec3(0.0);\n"
        "    for (int i = 0; i < block; ++i) c += texel(j * block + i, across);\n"
        "    sum += w * c;\n"
        "    total += w;\n"
        "  }\n"
        "  vec3 value = sum / (total * float(block));\n"
        "  if (encode == 1) {\n"
        "    value = clamp(value, 0.0, 1.0);\n"
        "    value = mix(value * 12.92, 1.055 * pow(value, vec3(1.0 / 2.4)) - 0.055, step(vec3(0.0031308), value));\n"
        "  }\n"
        "  lm_output = value;\n"
        "}\n");
    return {&resample};
}

namespace {

// How one pass resamples its axis.
struct AxisPlan {
    double inputLength, outputLength;
    int kernel; // as the pass numbers them: 0 lanczos3, 1 bicubic, 2 bilinear, 3 box (and nearest)
    int block; // whole pixels averaged before the kernel
    double stretch; // the kernel's stretch: the ratio left after the blocks, at least 1
    double reach; // how far the kernel reaches, in blocks
    // Input pixels read for each output pixel.
    double taps() const { return block * (2 * std::ceil(reach) + 1); }
};

AxisPlan planAxis(double inputLength, double outputLength, const std::string& kernel, double gap)
{
    AxisPlan plan{inputLength, outputLength, 0, 1, 1, 3};
    const double ratio = inputLength / outputLength;
    double support = 3;
    if (kernel == "bicubic")
        plan.kernel = 1, support = 2;
    else if (kernel == "bilinear")
        plan.kernel = 2, support = 1;
    else if (kernel == "box" || kernel == "nearest")
        plan.kernel = 3, support = 0.5;
    if (plan.kernel != 3 && gap > 0 && ratio > 1)
        plan.block = std::max(1, int(std::floor(ratio / std::max(gap, 1.0))));
    // Nearest is the box at the input's own pixel width: it picks one pixel.
    plan.stretch = kernel == "nearest" ? 1 : std::max(ratio / plan.block, 1.0);
    plan.reach = support * plan.stretch;
    return plan;
}

} // namespace

std::shared_ptr<LMImage> LMFilterResize::drawPasses(const std::shared_ptr<LMContext>& context,
                                                    const std::vector<std::shared_ptr<LMImage>>& inputs,
                                                    LMSize outputSize)
{
    const LMRenderPass& pass = *renderPasses().front();
    const LMSize inputSize{std::floor(inputs.front()->dimensions().width),
                           std::floor(inputs.front()->dimensions().height)};
    const std::string kernelName = kernel();
    const double blockGap = gap();
    const AxisPlan horizontal = planAxis(inputSize.width, outputSize.width, kernelName, blockGap);
    const AxisPlan vertical = planAxis(inputSize.height, outputSize.height, kernelName, blockGap);

    // An axis whose length stays needs no pass (every kernel gives back the
    // pixel at a ratio of 1), but one pass is always drawn. Otherwise the
    // cheaper order: the intermediate of the first pass is what the second
    // pays for.
    const bool resizeWidth = horizontal.inputLength != horizontal.outputLength;
    const bool resizeHeight = vertical.inputLength != vertical.outputLength;
    bool horizontalFirst = true;
    if (resizeWidth && resizeHeight) {
        const double output = outputSize.width * outputSize.height;
        const double widthFirst = outputSize.width * inputSize.height * horizontal.taps() + output * vertical.taps();
        const double heightFirst = inputSize.width * outputSize.height * vertical.taps() + output * horizontal.taps();
        horizontalFirst = widthFirst <= heightFirst;
    }
    std::vector<const AxisPlan*> passes;
    if (resizeWidth && horizontalFirst)
        passes.push_back(&horizontal);
    if (resizeHeight)
        passes.push_back(&vertical);
    if (resizeWidth && !horizontalFirst)
        passes.push_back(&horizontal);
    if (passes.empty())
        passes.push_back(&horizontal);

    const bool linearLight = linear();
    std::shared_ptr<LMImage> image = inputs.front();
    LMSize size = inputSize;
    for (size_t index = 0; index < passes.size() && image; ++index) {
        const AxisPlan& plan = *passes[index];
        const bool alongX = &plan == &horizontal;
        (alongX ? size.width : size.height) = plan.outputLength;
        image = drawPass(context, pass, size, {{"source", image.get()}}, [&](LMRenderPass::Uniforms& uniforms) {
            uniforms.setInteger("horizontal", alongX ? 1 : 0);
            uniforms.set("ratio", plan.inputLength / plan.outputLength);
            uniforms.setInteger("block", plan.block);
            uniforms.set("stretch", plan.stretch);
            uniforms.set("reach", plan.reach);
            uniforms.setInteger("kernel", plan.kernel);
            uniforms.setInteger("last", int(plan.inputLength) - 1);
            uniforms.setInteger("decode", linearLight && index == 0 ? 1 : 0);
            uniforms.setInteger("encode", linearLight && index + 1 == passes.size() ? 1 : 0);
        });
    }
    return image;
}
