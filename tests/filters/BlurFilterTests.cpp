// The blur filters over a small picture of noise and edges, every pixel
// compared with their formulas computed here in double precision.

#include "support/PixelsInOut.h"

#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <random>

namespace {

// 96 by 64: a checkerboard of 16-pixel squares under strong noise.
const Pixels picture = [] {
    std::mt19937 random(7);
    std::uniform_int_distribution<int> noise(-60, 60);
    return pixelsOf(96, 64, [&](int x, int y) {
        const int base = (x / 16 + y / 16) % 2 ? 190 : 60;
        Pixel p{0, 0, 0, 255};
        for (size_t c = 0; c < 3; ++c)
            p[c] = uint8_t(std::clamp(base + noise(random) + int(c) * 10, 0, 255));
        return p;
    });
}();

// One channel as 0...1, a value per pixel, the bottom row first.
using Plane = std::vector<double>;

Plane planeOf(const Pixels& p, size_t channel)
{
    Plane plane;
    for (const Pixel& pixel : p.pixels)
        plane.push_back(pixel[channel] / 255.0);
    return plane;
}

// Every channel of the picture through `f`, back to bytes.
Pixels perPlane(const Pixels& p, const std::function<Plane(const Plane&)>& f)
{
    std::array<Plane, 3> planes;
    for (size_t c = 0; c < 3; ++c)
        planes[c] = f(planeOf(p, c));
    return pixelsOf(p.width, p.height, [&](int x, int y) {
        Pixel out{0, 0, 0, 255};
        for (size_t c = 0; c < 3; ++c)
            out[c] = uint8_t(std::lround(std::clamp(planes[c][size_t(y * p.width + x)], 0.0, 1.0) * 255));
        return out;
    });
}

// A separable convolution with weights[|k|] at offset k, edges clamped.
Plane convolve(const Plane& plane, const std::vector<double>& weights)
{
    const int w = picture.width, h = picture.height, r = int(weights.size()) - 1;
    auto pass = [&](const Plane& in, int dx, int dy) {
        Plane out(in.size());
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                for (int k = -r; k <= r; ++k) {
                    const int sx = std::clamp(x + k * dx, 0, w - 1), sy = std::clamp(y + k * dy, 0, h - 1);
                    out[size_t(y * w + x)] += weights[size_t(std::abs(k))] * in[size_t(sy * w + sx)];
                }
        return out;
    };
    return pass(pass(plane, 1, 0), 0, 1);
}

Plane gaussian(const Plane& plane, double sigma)
{
    std::vector<double> weights;
    double total = 0;
    for (int k = 0; k <= int(std::ceil(6 * sigma)); ++k) {
        weights.push_back(std::exp(-k * k / (2 * sigma * sigma)));
        total += k ? 2 * weights.back() : weights.back();
    }
    for (double& weight : weights)
        weight /= total;
    return convolve(plane, weights);
}

class BlurFilters : public testing::Test {
protected:
    // The filter over the picture, with its settings, every pixel drawn.
    template <class Filter>
    Pixels drawn(const std::function<void(LMFilterRef<Filter>&)>& set)
    {
        auto filter = Filter::filter();
        filter->setValueForKey(LMValue(std::shared_ptr<LMDrawable>(input)), "input");
        set(filter);
        return drawnPixels(filter, context);
    }
    std::shared_ptr<LMContext> context = LMContext::contextWithDimensions({96, 64});
    std::shared_ptr<LMImage> input = imageOf(context, picture);
};

} // namespace

// Small sigmas draw directly, large ones through the halved levels; a sigma
// of 0 gives the input exactly.
TEST_F(BlurFilters, GaussianIsWithinALevelOfTheExactConvolution)
{
    for (double sigma : {0.0, 0.8, 2.5, 6.0, 20.0}) {
        const Pixels expected = sigma ? perPlane(picture, [&](const Plane& p) { return gaussian(p, sigma); }) : picture;
        const Pixels actual = drawn<LMFilterGaussianBlur>([&](auto& f) { f->setSigma(sigma); });
        EXPECT_TRUE(samePixels(actual, expected, sigma ? 1 : 0)) << "sigma " << sigma;
    }
}

TEST_F(BlurFilters, BoxBlurIsTheMeanOverTheSquare)
{
    for (int radius : {1, 4}) {
        const Pixels expected = perPlane(picture, [&](const Plane& p) {
            return convolve(p, std::vector(size_t(radius + 1), 1.0 / (2 * radius + 1)));
        });
        EXPECT_TRUE(samePixels(drawn<LMFilterBoxBlur>([&](auto& f) { f->setRadius(radius); }), expected, 1))
            << "radius " << radius;
    }
}

TEST_F(BlurFilters, MedianIsEachChannelsMiddleValueOverTheSquare)
{
    for (int radius : {1, 2}) {
        const Pixels expected = pixelsOf(picture.width, picture.height, [&](int x, int y) {
            Pixel out{0, 0, 0, 255};
            for (size_t c = 0; c < 3; ++c) {
                std::vector<uint8_t> values;
                for (int dy = -radius; dy <= radius; ++dy)
                    for (int dx = -radius; dx <= radius; ++dx)
                        values.push_back(picture.at(std::clamp(x + dx, 0, picture.width - 1),
                                                    std::clamp(y + dy, 0, picture.height - 1))[c]);
                std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
                out[c] = values[values.size() / 2];
            }
            return out;
        });
        EXPECT_TRUE(
            samePixels(drawn<LMFilterMedian>([&](auto& f) { f->setRadius(std::to_string(radius)); }), expected, 0))
            << "radius " << radius;
    }
}

// The blur is exact to a level: where a difference lies within two levels
// of the threshold, either side is right, and the expected picture takes
// the drawn value.
TEST_F(BlurFilters, UnsharpAddsTheDifferenceFromTheBlurWhereItPassesTheThreshold)
{
    const double sigma = 2, amount = 1.5;
    for (double threshold : {0.0, 0.1}) {
        const Pixels actual = drawn<LMFilterUnsharp>(
            [&](auto& f) { f->setSigma(sigma), f->setAmount(amount), f->setThreshold(threshold); });
        Pixels expected = picture;
        for (size_t c = 0; c < 3; ++c) {
            const Plane p = planeOf(picture, c), blurred = gaussian(p, sigma);
            for (size_t i = 0; i < p.size(); ++i) {
                const double d = p[i] - blurred[i];
                const double out = std::abs(d) > threshold ? p[i] + amount * d : p[i];
                expected.pixels[i][c] = std::abs(std::abs(d) - threshold) < 2.0 / 255 && threshold > 0
                                            ? actual.pixels[i][c]
                                            : uint8_t(std::lround(std::clamp(out, 0.0, 1.0) * 255));
            }
        }
        EXPECT_TRUE(samePixels(actual, expected, 2)) << "threshold " << threshold;
    }
}
