#include "lumetra/filters/LMFilterResize.h"

#include "lumetra/context/LMContext.h"
#include "lumetra/context/LMOpenGL.h"
#include "lumetra/platform/LMLog.h"

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

namespace {

// One pass along one axis. For each output position along the axis (the
// row of `reads`), `count` reads of the input, two to a texel: where to
// read along the axis (in pixels, centres at .5) and the weight. A read
// between two pixel centres is one bilinear fetch that mixes them. Every
// pixel runs the same loop; the weights are worked out on the CPU.
std::string resampleSource(bool alongX, bool encode)
{
    std::string source = alongX ? "#define ALONG_X\n" : "";
    if (encode)
        source += "#define ENCODE\n";
    return source + "uniform sampler2DRect source; uniform sampler2DRect reads; uniform int count;\n"
                    "#ifdef ALONG_X\n"
                    "#define AT(p) vec2(p, across)\n"
                    "#else\n"
                    "#define AT(p) vec2(across, p)\n"
                    "#endif\n"
                    "void main() {\n"
                    "#ifdef ALONG_X\n"
                    "  int along = int(gl_FragCoord.x); float across = gl_FragCoord.y;\n"
                    "#else\n"
                    "  int along = int(gl_FragCoord.y); float across = gl_FragCoord.x;\n"
                    "#endif\n"
                    "  vec3 sum = vec3(0.0);\n"
                    "  for (int k = 0; k < count; ++k) {\n"
                    "    vec4 two = texelFetch(reads, ivec2(k, along));\n"
                    "    sum += two.y * texture(source, AT(two.x)).rgb + two.w * texture(source, AT(two.z)).rgb;\n"
                    "  }\n"
                    "#ifdef ENCODE\n"
                    "  sum = clamp(sum, 0.0, 1.0);\n"
                    "  sum = mix(sum * 12.92, 1.055 * pow(sum, vec3(1.0 / 2.4)) - 0.055, step(vec3(0.0031308), sum));\n"
                    "#endif\n"
                    "  lm_output = sum;\n"
                    "}\n";
}

const LMRenderPass& resamplePass(bool alongX, bool encode)
{
    static const LMRenderPass passes[] = {
        {"resampleY", resampleSource(false, false)},
        {"resampleYEncode", resampleSource(false, true)},
        {"resampleX", resampleSource(true, false)},
        {"resampleXEncode", resampleSource(true, true)},
    };
    return passes[(alongX ? 2 : 0) + (encode ? 1 : 0)];
}

// sRGB to linear light with the exact curve, once per input pixel, before
// the passes mix neighbouring pixels.
const LMRenderPass& decodePass()
{
    static const LMRenderPass pass(
        "decode", "uniform sampler2DRect source;\n"
                  "void main() {\n"
                  "  vec3 c = texelFetch(source, ivec2(gl_FragCoord.xy)).rgb;\n"
                  "  lm_output = mix(c / 12.92, pow((c + 0.055) / 1.055, vec3(2.4)), step(vec3(0.04045), c));\n"
                  "}\n");
    return pass;
}

enum class Kernel { lanczos3, bicubic, bilinear, box };

double weight(Kernel kernel, double x)
{
    if (kernel == Kernel::box)
        return x > -0.5 && x <= 0.5 ? 1 : 0;
    x = std::abs(x);
    switch (kernel) {
    case Kernel::bilinear: return std::max(1 - x, 0.0);
    case Kernel::bicubic: return x < 1 ? (1.5 * x - 2.5) * x * x + 1 : x < 2 ? ((-0.5 * x + 2.5) * x - 4) * x + 2 : 0;
    default:
        if (x >= 3)
            return 0;
        if (x < 1e-9)
            return 1;
        // Whole distances are zeros of the kernel: no read for them.
        if (std::abs(x - std::round(x)) < 1e-9)
            return 0;
        return 3 * std::sin(M_PI * x) * std::sin(M_PI * x / 3) / (M_PI * M_PI * x * x);
    }
}

// How one pass resamples its axis.
struct AxisPlan {
    double inputLength, outputLength;
    Kernel kernel;
    int block; // whole pixels averaged before the kernel
    double stretch; // the kernel's stretch: the ratio left after the blocks, at least 1
    double reach; // how far the kernel reaches, in blocks
    // Input pixels covered for each output pixel.
    double taps() const { return block * (2 * std::ceil(reach) + 1); }
};

AxisPlan planAxis(double inputLength, double outputLength, const std::string& kernel, double gap)
{
    AxisPlan plan{inputLength, outputLength, Kernel::lanczos3, 1, 1, 3};
    const double ratio = inputLength / outputLength;
    double support = 3;
    if (kernel == "bicubic")
        plan.kernel = Kernel::bicubic, support = 2;
    else if (kernel == "bilinear")
        plan.kernel = Kernel::bilinear, support = 1;
    else if (kernel == "box" || kernel == "nearest")
        plan.kernel = Kernel::box, support = 0.5;
    if (plan.kernel != Kernel::box && gap > 0 && ratio > 1)
        plan.block = std::max(1, int(std::floor(ratio / std::max(gap, 1.0))));
    // Nearest is the box at the input's own pixel width: it picks one pixel.
    plan.stretch = kernel == "nearest" ? 1 : std::max(ratio / plan.block, 1.0);
    plan.reach = support * plan.stretch;
    return plan;
}

// The reads of one pass, as the resample program takes them: for each
// output position, `count` (even) pairs of where and weight, padded with
// reads of weight 0.
struct AxisReads {
    int count = 0;
    std::vector<float> reads;
};

// Output position x (centre x + 0.5) maps to input position (x + 0.5) *
// ratio; blocks of `block` whole pixels (block j covers pixels j * block
// ...) are weighed by the stretched kernel at their centres' distance, the
// weights normalised by their sum, and indices past the edge read the edge
// pixel. That gives each input pixel a weight; neighbouring pixels whose
// weights share a sign are read together by one bilinear fetch at the
// point that mixes them in proportion (midway, exactly, inside a block).
AxisReads readsOf(const AxisPlan& plan)
{
    const int length = int(plan.outputLength), last = int(plan.inputLength) - 1;
    const double ratio = plan.inputLength / plan.outputLength;
    std::vector<std::vector<std::pair<double, double>>> rows(static_cast<size_t>(length));
    std::vector<double> pixels;
    size_t count = 0;
    for (int x = 0; x < length; ++x) {
        const double centre = (x + 0.5) * ratio / plan.block - 0.5;
        const int first = int(std::ceil(centre - plan.reach)), end = int(std::floor(centre + plan.reach));
        const int low = std::clamp(first * plan.block, 0, last);
        const int high = std::clamp((end + 1) * plan.block - 1, 0, last);
        pixels.assign(size_t(high - low + 1), 0);
        double total = 0;
        for (int j = first; j <= end; ++j) {
            const double w = weight(plan.kernel, (j - centre) / plan.stretch);
            if (w == 0)
                continue;
            total += w;
            for (int i = 0; i < plan.block; ++i)
                pixels[size_t(std::clamp(j * plan.block + i, 0, last) - low)] += w;
        }
        auto& row = rows[size_t(x)];
        for (size_t i = 0; i < pixels.size(); ++i) {
            const double a = pixels[i] / (total * plan.block);
            if (a == 0)
                continue;
            const double b = i + 1 < pixels.size() ? pixels[i + 1] / (total * plan.block) : 0;
            if (b != 0 && (a > 0) == (b > 0)) {
                row.emplace_back(double(low + i) + 0.5 + b / (a + b), a + b);
                ++i;
            } else {
                row.emplace_back(double(low + i) + 0.5, a);
            }
        }
        count = std::max(count, row.size());
    }
    AxisReads result;
    result.count = int((count + 1) / 2);
    result.reads.assign(size_t(length) * size_t(result.count) * 4, 0);
    for (size_t x = 0; x < rows.size(); ++x) {
        float* out = result.reads.data() + x * size_t(result.count) * 4;
        for (size_t k = 0; k < size_t(result.count) * 2; ++k) {
            const auto [where, w] = k < rows[x].size() ? rows[x][k] : std::pair{0.5, 0.0};
            out[k * 2] = float(where), out[k * 2 + 1] = float(w);
        }
    }
    return result;
}

// A float texture of the reads, one row per output position; 0 when it
// could not be made (the log says why).
GLuint uploadReads(const AxisReads& reads)
{
    LMOpenGL::takeErrors();
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_RECTANGLE, texture);
    glTexParameteri(GL_TEXTURE_RECTANGLE, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_RECTANGLE, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    LMOpenGL::setUploadState();
    const GLsizei rows = GLsizei(reads.reads.size() / (size_t(reads.count) * 4));
    glTexImage2D(GL_TEXTURE_RECTANGLE, 0, GL_RGBA32F, reads.count, rows, 0, GL_RGBA, GL_FLOAT, reads.reads.data());
    if (const GLenum error = LMOpenGL::takeErrors(); error != GL_NO_ERROR) {
        LMLog("LMFilterResize: Error %i creating a %ix%i table of weights", int(error), reads.count, int(rows));
        glDeleteTextures(1, &texture);
        return 0;
    }
    return texture;
}

} // namespace

std::vector<const LMRenderPass*> LMFilterResize::renderPasses() const
{
    return {&decodePass(), &resamplePass(true, false), &resamplePass(true, true), &resamplePass(false, false),
            &resamplePass(false, true)};
}

std::shared_ptr<LMImage> LMFilterResize::drawPasses(const std::shared_ptr<LMContext>& context,
                                                    const std::vector<std::shared_ptr<LMImage>>& inputs,
                                                    LMSize outputSize)
{
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
    if (linearLight)
        image = drawPass(context, decodePass(), size, {{"source", image.get()}});
    for (size_t index = 0; index < passes.size() && image; ++index) {
        const AxisPlan& plan = *passes[index];
        const bool alongX = &plan == &horizontal;
        (alongX ? size.width : size.height) = plan.outputLength;
        const AxisReads reads = readsOf(plan);
        const GLuint table = uploadReads(reads);
        const LMRenderPass& pass = resamplePass(alongX, linearLight && index + 1 == passes.size());
        image = drawPass(context, pass, size, {{"source", image.get()}}, [&](LMRenderPass::Uniforms& uniforms) {
            // The source is on unit 0; the table goes on the next.
            context->gl()->setActiveTexture(GL_TEXTURE1);
            glBindTexture(GL_TEXTURE_RECTANGLE, table);
            context->gl()->setActiveTexture(GL_TEXTURE0);
            uniforms.setInteger("reads", 1);
            uniforms.setInteger("count", table ? reads.count : 0);
        });
        glDeleteTextures(1, &table);
    }
    return image;
}
