#include "lumetra/filters/LMBlurPasses.h"

#include <algorithm>
#include <cmath>

namespace {

// A Gaussian's kernel reaches this many sigmas each side: the weight left
// out beyond it is 0.02% of the whole.
constexpr double reach = 3.5;
// Each halving first blurs by this sigma (in that level's pixels), enough
// that what the halving folds over stays well below a level.
constexpr double levelSigma = 1.0;
// The pyramid halves while the smallest level's pixel stays at most this
// fraction of sigma (measured: 0.5 keeps a photo within a level of the exact
// blur for sigma 4 to 100). Below a sigma of 4 no halving fits and the blur
// is direct: two passes at the input's size.
constexpr double smallestPixelPerSigma = 0.5;

const std::string& tapName(int index)
{
    static const std::vector<std::string> names = [] {
        std::vector<std::string> made;
        for (int i = 0; i < LMBlurPasses::maximumFetches; ++i)
            made.push_back("taps[" + std::to_string(i) + "]");
        return made;
    }();
    return names[size_t(index)];
}

const LMRenderPass& convolutionPass()
{
    // taps[i]: (offset along `direction`, weight).
    static const LMRenderPass pass(
        "convolve", "uniform sampler2DRect source; uniform vec2 direction; uniform vec2 scale; uniform vec2 shift; "
                    "uniform int count; uniform vec2 taps[" +
                        std::to_string(LMBlurPasses::maximumFetches) +
                        "]; "
                        "void main() { vec2 centre = gl_FragCoord.xy * scale + shift; vec3 sum = vec3(0.0); "
                        "for (int i = 0; i < count; ++i) "
                        "sum += taps[i].y * texture(source, centre + direction * taps[i].x).rgb; "
                        "lm_output = sum; }");
    return pass;
}

const LMRenderPass& upsamplePass()
{
    // The cubic B-spline through the input's pixels, in four bilinear
    // fetches: in each direction the two outer weights pair with their
    // inner neighbours.
    static const LMRenderPass pass(
        "upsample",
        "uniform sampler2DRect source; uniform vec2 scale; uniform vec2 shift; "
        "void main() { vec2 u = gl_FragCoord.xy * scale + shift - 0.5; vec2 i = floor(u); "
        "vec2 f = u - i; vec2 f2 = f * f; vec2 f3 = f2 * f; "
        "vec2 w0 = (1.0 - 3.0 * f + 3.0 * f2 - f3) / 6.0; vec2 w1 = (4.0 - 6.0 * f2 + 3.0 * f3) / 6.0; "
        "vec2 w2 = (1.0 + 3.0 * f + 3.0 * f2 - 3.0 * f3) / 6.0; vec2 w3 = f3 / 6.0; "
        "vec2 g0 = w0 + w1; vec2 g1 = w2 + w3; "
        "vec2 p0 = i - 0.5 + w1 / g0; vec2 p1 = i + 1.5 + w3 / g1; "
        "lm_output = g0.y * (g0.x * texture(source, p0).rgb + g1.x * texture(source, vec2(p1.x, p0.y)).rgb) "
        "+ g1.y * (g0.x * texture(source, vec2(p0.x, p1.y)).rgb + g1.x * texture(source, p1).rgb); }");
    return pass;
}

// What sigma leaves to blur after `applied` (a variance, in the input's pixels).
double remainingSigma(double sigma, double applied)
{
    return std::sqrt(std::max(sigma * sigma - applied, 0.0));
}

} // namespace

LMBlurPasses::Plan LMBlurPasses::planForSigma(double sigma)
{
    Plan plan{0, levelSigma, sigma};
    // Variances add: each level's blur, the final blur and the upsample's
    // own (a cubic B-spline spreads by a third of a pixel squared).
    double applied = 0;
    while (std::ldexp(1.0, plan.levels + 1) <= sigma * smallestPixelPerSigma) {
        applied += levelSigma * levelSigma * std::ldexp(1.0, 2 * plan.levels);
        ++plan.levels;
    }
    const double spacing = std::ldexp(1.0, plan.levels);
    plan.finalSigma = remainingSigma(sigma, applied + spacing * spacing / 3) / spacing;
    return plan;
}

std::vector<LMBlurPasses::Fetch> LMBlurPasses::gaussianFetches(double sigma, double phase)
{
    const double radius = std::max(std::ceil(reach * sigma), 1.0);
    return pairedFetches(phase, radius, [&](double x) { return std::exp(-x * x / (2 * sigma * sigma)); });
}

std::vector<LMBlurPasses::Fetch> LMBlurPasses::boxFetches(int radius)
{
    return pairedFetches(0, radius, [](double) { return 1.0; });
}

std::vector<const LMRenderPass*> LMBlurPasses::renderPasses()
{
    return {&convolutionPass(), &upsamplePass()};
}

std::shared_ptr<LMImage> LMBlurPasses::convolve(const std::shared_ptr<LMContext>& context,
                                                const std::string& programKey, const LMImage& input, LMSize size,
                                                bool vertical, const std::vector<Fetch>& fetches, LMPoint scale,
                                                LMPoint shift)
{
    const int count = std::min(int(fetches.size()), maximumFetches);
    return convolutionPass().draw(context, programKey, size, {{"source", &input}}, [&](LMRenderPass::Uniforms& u) {
        u.set("direction", vertical ? 0 : 1, vertical ? 1 : 0);
        u.set("scale", scale.x, scale.y);
        u.set("shift", shift.x, shift.y);
        u.setInteger("count", count);
        for (int i = 0; i < count; ++i)
            u.set(tapName(i).c_str(), fetches[size_t(i)].offset, fetches[size_t(i)].weight);
    });
}

std::shared_ptr<LMImage> LMBlurPasses::box(const std::shared_ptr<LMContext>& context, const std::string& programKey,
                                           const LMImage& input, int radius)
{
    const LMSize size = input.dimensions();
    const std::vector<Fetch> fetches = boxFetches(radius);
    std::shared_ptr<LMImage> across = convolve(context, programKey, input, size, false, fetches);
    return across ? convolve(context, programKey, *across, size, true, fetches) : nullptr;
}

std::shared_ptr<LMImage> LMBlurPasses::gaussian(const std::shared_ptr<LMContext>& context,
                                                const std::string& programKey, const LMImage& input, double sigma)
{
    const LMSize size = input.dimensions();
    if (!(sigma > 0))
        return convolve(context, programKey, input, size, false, {{0, 1}});
    const Plan plan = planForSigma(sigma);
    if (plan.levels == 0) {
        const std::vector<Fetch> fetches = gaussianFetches(sigma, 0);
        std::shared_ptr<LMImage> across = convolve(context, programKey, input, size, false, fetches);
        return across ? convolve(context, programKey, *across, size, true, fetches) : nullptr;
    }

    // Level j holds the blurred input at every 2^j-th position, with a margin
    // of `margin` pixels each side (computed from the clamped input, so the
    // levels below need no clamping of their own): its pixel centre c lies
    // at (c - margin) * 2^j in the input's pixels.
    const double width = std::floor(size.width), height = std::floor(size.height);
    const std::vector<Fetch> halving = gaussianFetches(plan.levelSigma, 0.5);
    std::shared_ptr<LMImage> level;
    const LMImage* source = &input;
    double applied = 0, margin = 0;
    for (int j = 0; j < plan.levels; ++j) {
        const double spacing = std::ldexp(1.0, j + 1);
        applied += plan.levelSigma * plan.levelSigma * std::ldexp(1.0, 2 * j);
        const double newMargin = std::ceil(reach * remainingSigma(sigma, applied) / spacing) + 3;
        const double shift = margin - 2 * newMargin;
        const LMSize halfWide{std::ceil(width / spacing) + 2 * newMargin, source->dimensions().height};
        std::shared_ptr<LMImage> across =
            convolve(context, programKey, *source, halfWide, false, halving, {2, 1}, {shift, 0});
        if (!across)
            return nullptr;
        level = convolve(context, programKey, *across, {halfWide.width, std::ceil(height / spacing) + 2 * newMargin},
                         true, halving, {1, 2}, {0, shift});
        if (!level)
            return nullptr;
        source = level.get();
        margin = newMargin;
    }
    const std::vector<Fetch> last = gaussianFetches(plan.finalSigma, 0);
    std::shared_ptr<LMImage> across = convolve(context, programKey, *level, level->dimensions(), false, last);
    std::shared_ptr<LMImage> blurred =
        across ? convolve(context, programKey, *across, level->dimensions(), true, last) : nullptr;
    if (!blurred)
        return nullptr;
    const double scale = std::ldexp(1.0, -plan.levels);
    return upsamplePass().draw(context, programKey, size, {{"source", blurred.get()}}, [&](LMRenderPass::Uniforms& u) {
        u.set("scale", scale, scale);
        u.set("shift", margin, margin);
    });
}
