// The colour adjustments drawn over a small picture, every pixel compared
// with the filter's formula computed here in double precision.

#include "support/LogCapture.h"
#include "support/PixelsInOut.h"

#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <numbers>
#include <tuple>

namespace {

using RGB = std::array<double, 3>;

// Eight by six, every pixel unlike its neighbours, dark and bright channels both.
const Pixels picture = pixelsOf(8, 6, [](int x, int y) {
    return Pixel{uint8_t(x * 33 + 7), uint8_t(y * 47 + 4), uint8_t(250 - x * 19 - y * 13), 255};
});

// The reference: f of each pixel's colour (0...1) and of its centre (x, y)
// from the lower left, clamped as the target clamps, as opaque bytes.
Pixels perPixel(const std::function<RGB(RGB, double, double)>& f)
{
    return pixelsOf(picture.width, picture.height, [&](int x, int y) {
        const Pixel p = picture.at(x, y);
        const RGB out = f({p[0] / 255.0, p[1] / 255.0, p[2] / 255.0}, x + 0.5, y + 0.5);
        Pixel bytes{0, 0, 0, 255};
        for (size_t c = 0; c < 3; ++c)
            bytes[c] = uint8_t(std::lround(std::clamp(out[c], 0.0, 1.0) * 255));
        return bytes;
    });
}
Pixels perPixel(const std::function<RGB(RGB)>& f)
{
    return perPixel([&](RGB c, double, double) { return f(c); });
}
Pixels eachChannel(const std::function<double(double)>& f)
{
    return perPixel([&](RGB c) { return RGB{f(c[0]), f(c[1]), f(c[2])}; });
}

double luma(RGB c)
{
    return 0.2126 * c[0] + 0.7152 * c[1] + 0.0722 * c[2];
}

// Rows of three, or of four with a constant last.
template <size_t Columns>
RGB product(const std::array<double, 3 * Columns>& m, RGB c)
{
    RGB out{};
    for (size_t i = 0; i < 3; ++i)
        out[i] = m[i * Columns] * c[0] + m[i * Columns + 1] * c[1] + m[i * Columns + 2] * c[2] +
                 (Columns == 4 ? m[i * Columns + 3] : 0);
    return out;
}

RGB hueRotated(RGB c, double degrees)
{
    const double a = degrees * std::numbers::pi / 180, co = std::cos(a), si = std::sin(a);
    return product<3>(
        {0.213 + co * 0.787 - si * 0.213, 0.715 - co * 0.715 - si * 0.715, 0.072 - co * 0.072 + si * 0.928,
         0.213 - co * 0.213 + si * 0.143, 0.715 + co * 0.285 + si * 0.140, 0.072 - co * 0.072 - si * 0.283,
         0.213 - co * 0.213 - si * 0.787, 0.715 - co * 0.715 + si * 0.715, 0.072 + co * 0.928 + si * 0.072},
        c);
}

RGB sepia(RGB c, double amount)
{
    const double k = 1 - amount;
    return product<3>({0.393 + 0.607 * k, 0.769 - 0.769 * k, 0.189 - 0.189 * k, 0.349 - 0.349 * k, 0.686 + 0.314 * k,
                       0.168 - 0.168 * k, 0.272 - 0.272 * k, 0.534 - 0.534 * k, 0.131 + 0.869 * k},
                      c);
}

// The vignette over the 8 by 6 picture: half its diagonal is 5 pixels.
double vignetteFactor(double x, double y, double radius, double softness, double strength)
{
    const double d = std::hypot(x - 4, y - 3) / 5;
    const double t = softness > 0 ? std::clamp((d - radius) / softness, 0.0, 1.0) : (d >= radius ? 1 : 0);
    return 1 - strength * t * t * (3 - 2 * t);
}

// Caching is on: a setter that failed to mark its filter would show the image before.
class ColourFilters : public testing::Test {
protected:
    void SetUp() override { context->setCachingEnabled(true); }

    // The filter of that name in the registry, over the picture, with the values given.
    LMFilterRef<LMFilter> made(const std::string& name, const std::vector<std::pair<const char*, LMValue>>& values)
    {
        LMFilterRef<LMFilter> filter = LMFilterRegistry::shared().find(name)->make();
        filter->setValueForKey(input, "input");
        for (const auto& [key, value] : values)
            filter->setValueForKey(value, key);
        return filter;
    }

    // The filter over the picture, set through its class's own setters.
    template <class Filter>
    std::shared_ptr<LMDrawable> with(const std::function<void(LMFilterRef<Filter>&)>& set)
    {
        auto filter = Filter::filterWithInput(input);
        set(filter);
        return filter;
    }

    std::shared_ptr<LMContext> context = LMContext::contextWithDimensions({8, 6});
    std::shared_ptr<LMImage> input = imageOf(context, picture);
};

} // namespace

// Through the classes' typed setters; the edges of the formulas are rows of their own.
TEST_F(ColourFilters, EachAdjustmentFollowsItsFormula)
{
    const std::array<double, 12> matrix{0.2, 0.5, -0.3, 0.1, 1.1, 0, 0.2, -0.2, 0, 0.4, 0.4, 0.25};
    auto vignette = [](double radius, double softness, double strength) {
        return perPixel([=](RGB c, double x, double y) {
            const double f = vignetteFactor(x, y, radius, softness, strength);
            return RGB{c[0] * f, c[1] * f, c[2] * f};
        });
    };
    const std::tuple<const char*, std::shared_ptr<LMDrawable>, Pixels> cases[] = {
        {"brightness-contrast: (c - 0.5) * 1.5 + 0.5 + 0.1",
         with<LMFilterBrightnessContrast>([](auto& f) { f->setBrightness(0.1), f->setContrast(1.5); }),
         eachChannel([](double c) { return (c - 0.5) * 1.5 + 0.5 + 0.1; })},
        {"exposure: c * 2^-1.5", with<LMFilterExposure>([](auto& f) { f->setStops(-1.5); }),
         eachChannel([](double c) { return c * std::exp2(-1.5); })},
        {"gamma: c^(1/2.2)", with<LMFilterGamma>([](auto& f) { f->setGamma(2.2); }),
         eachChannel([](double c) { return std::pow(c, 1 / 2.2); })},
        {"levels 0.2..0.8 to 0.1..0.9 through gamma 1.5", with<LMFilterLevels>([](auto& f) {
             f->setInLow(0.2), f->setInHigh(0.8), f->setGamma(1.5), f->setOutLow(0.1), f->setOutHigh(0.9);
         }),
         eachChannel([](double c) { return 0.1 + 0.8 * std::pow(std::clamp((c - 0.2) / 0.6, 0.0, 1.0), 1 / 1.5); })},
        {"levels with in-high = in-low: a step at in-low", with<LMFilterLevels>([](auto& f) {
             f->setInLow(0.5), f->setInHigh(0.5), f->setOutLow(0.1), f->setOutHigh(0.9);
         }),
         eachChannel([](double c) { return c >= 0.5 ? 0.9 : 0.1; })},
        {"saturation: L + 1.5 (c - L)", with<LMFilterSaturation>([](auto& f) { f->setAmount(1.5); }),
         perPixel([](RGB c) {
             const double l = luma(c);
             return RGB{l + 1.5 * (c[0] - l), l + 1.5 * (c[1] - l), l + 1.5 * (c[2] - l)};
         })},
        {"grayscale: L", LMFilterGrayscale::filterWithInput(input), perPixel([](RGB c) {
             return RGB{luma(c), luma(c), luma(c)};
         })},
        {"hue-rotate by -200 degrees", with<LMFilterHueRotate>([](auto& f) { f->setDegrees(-200); }),
         perPixel([](RGB c) { return hueRotated(c, -200); })},
        {"sepia 0.7", with<LMFilterSepia>([](auto& f) { f->setAmount(0.7); }),
         perPixel([](RGB c) { return sepia(c, 0.7); })},
        {"color-matrix, its fourth column added", with<LMFilterColorMatrix>([&](auto& f) {
             f->setMatrix({matrix.begin(), matrix.end()});
         }),
         perPixel([&](RGB c) { return product<4>(matrix, c); })},
        {"vignette 0.2, 0.6, 0.8",
         with<LMFilterVignette>([](auto& f) { f->setRadius(0.2), f->setSoftness(0.6), f->setStrength(0.8); }),
         vignette(0.2, 0.6, 0.8)},
        {"vignette without softness: black from the radius",
         with<LMFilterVignette>([](auto& f) { f->setRadius(0.5), f->setSoftness(0), f->setStrength(1); }),
         vignette(0.5, 0, 1)},
        {"threshold 0.45 on L", with<LMFilterThreshold>([](auto& f) { f->setValue(0.45); }), perPixel([](RGB c) {
             const double v = luma(c) >= 0.45 ? 1 : 0;
             return RGB{v, v, v};
         })},
        {"posterize to 3 levels", with<LMFilterPosterize>([](auto& f) { f->setLevels(3); }),
         eachChannel([](double c) { return std::floor(c * 2 + 0.5) / 2; })},
        {"posterize to 1 level: black", with<LMFilterPosterize>([](auto& f) { f->setLevels(1); }),
         eachChannel([](double) { return 0.0; })},
        // Unset controls draw with their declared defaults, which leave the
        // picture as it is; the sepia's default is the full tone.
        {"sepia by default", made("sepia", {}), perPixel([](RGB c) { return sepia(c, 1); })},
        {"sepia 0", made("sepia", {{"amount", 0.0}}), picture},
    };
    for (const auto& [what, filter, expected] : cases)
        EXPECT_TRUE(samePixels(drawnPixels(filter, context), expected)) << what;
    for (const char* name :
         {"brightness-contrast", "exposure", "gamma", "levels", "saturation", "hue-rotate", "color-matrix"})
        EXPECT_TRUE(samePixels(drawnPixels(made(name, {}), context), picture)) << name << " by default";
}

// All twelve as one run: each filter of the chain drawn fused (a run of it
// and those before it, their uniforms, the matrix's mat4 and the vignette's
// dimensions among them) gives what they draw one pass each.
TEST_F(ColourFilters, RunsOfAdjustmentsDrawTheSameFused)
{
    LogCapture log;
    // Vectors, not initializer lists: a list's values would not outlive the line that makes the pair.
    const std::pair<const char*, std::vector<std::pair<const char*, LMValue>>> chain[] = {
        {"brightness-contrast", {{"brightness", 0.05}, {"contrast", 1.2}}},
        {"exposure", {{"stops", 0.3}}},
        {"gamma", {{"gamma", 1.4}}},
        {"levels", {{"inLow", 0.1}, {"inHigh", 0.9}, {"gamma", 0.8}}},
        {"saturation", {{"amount", 1.3}}},
        {"hue-rotate", {{"degrees", 40.0}}},
        {"sepia", {{"amount", 0.3}}},
        {"color-matrix", {{"matrix", LMValue{0.9, 0.1, 0, 0.02, 0, 1, 0.1, -0.05, 0.2, 0, 0.7, 0.1}}}},
        {"vignette", {{"radius", 0.3}}},
        {"posterize", {{"levels", 9.0}}},
        {"grayscale", {}},
        {"threshold", {{"value", 0.4}}},
    };
    context->setCachingEnabled(false);
    std::shared_ptr<LMDrawable> node = input;
    for (const auto& [name, values] : chain) {
        LMFilterRef<LMFilter> filter = made(name, values);
        filter->setValueForKey(node, "input");
        node = filter;
        context->setFusionEnabled(false);
        const Pixels unfused = drawnPixels(node, context);
        context->setFusionEnabled(true);
        EXPECT_TRUE(samePixels(drawnPixels(node, context), unfused)) << "up to " << name;
    }
    for (const std::string& line : log.lines())
        EXPECT_EQ(line.find("fused run"), std::string::npos) << line;
}
