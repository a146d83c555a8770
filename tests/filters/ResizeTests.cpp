// The resize filter against its formula computed here: separable weighted
// sums with the kernel stretched by the ratio when shrinking, pixel centres
// mapped exactly, edges clamped, 16-bit storage between the passes.

#include "support/PixelsInOut.h"

#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

#include <functional>

namespace {

// Mid-range noise: no kernel's lobes reach past 0 or 1 on it, so the order
// of the passes cannot show.
const Pixels noise = pixelsOf(24, 12, [](int x, int y) {
    auto level = [&](int salt) { return uint8_t(60 + (x * 7919 + y * 104729 + salt * 31337) * 2654435761u % 136); };
    return Pixel{level(1), level(2), level(3), 255};
});

double lanczos3(double x)
{
    x = std::abs(x);
    if (x < 1e-12)
        return 1;
    return x < 3 ? 3 * std::sin(M_PI * x) * std::sin(M_PI * x / 3) / (M_PI * M_PI * x * x) : 0;
}
double catmullRom(double x)
{
    x = std::abs(x);
    return x < 1 ? 1.5 * x * x * x - 2.5 * x * x + 1 : x < 2 ? -0.5 * x * x * x + 2.5 * x * x - 4 * x + 2 : 0;
}
double triangle(double x)
{
    return std::max(0.0, 1 - std::abs(x));
}

struct Kernel {
    std::function<double(double)> weight;
    double support;
};

// One line resampled: blocks of `block` pixels averaged, then weighed by
// the kernel stretched by the ratio left (at least 1) about each output
// centre's place in the input.
std::vector<double> resampleLine(const std::vector<double>& line, int length, const Kernel& kernel, int block)
{
    const double ratio = double(line.size()) / length, stretch = std::max(ratio / block, 1.0);
    std::vector<double> out;
    for (int x = 0; x < length; ++x) {
        const double centre = (x + 0.5) * ratio / block - 0.5;
        double sum = 0, total = 0;
        for (int j = int(std::ceil(centre - kernel.support * stretch));
             j <= int(std::floor(centre + kernel.support * stretch)); ++j) {
            double mean = 0;
            for (int i = 0; i < block; ++i)
                mean += line[size_t(std::clamp(j * block + i, 0, int(line.size()) - 1))] / block;
            const double w = kernel.weight((j - centre) / stretch);
            sum += w * mean, total += w;
        }
        out.push_back(stored(sum / total));
    }
    return out;
}

// Rows first, then columns, each channel on its own.
Pixels resampled(const Pixels& picture, int width, int height, const Kernel& kernel, int blockX = 1, int blockY = 1)
{
    Pixels out = pixelsOf(width, height, [](int, int) { return Pixel{0, 0, 0, 255}; });
    for (int c = 0; c < 3; ++c) {
        std::vector<std::vector<double>> rows;
        for (int y = 0; y < picture.height; ++y) {
            std::vector<double> row;
            for (int x = 0; x < picture.width; ++x)
                row.push_back(picture.at(x, y)[c] / 255.0);
            rows.push_back(resampleLine(row, width, kernel, blockX));
        }
        for (int x = 0; x < width; ++x) {
            std::vector<double> column;
            for (int y = 0; y < picture.height; ++y)
                column.push_back(rows[size_t(y)][size_t(x)]);
            const std::vector<double> done = resampleLine(column, height, kernel, blockY);
            for (int y = 0; y < height; ++y)
                out.pixels[size_t(y * width + x)][size_t(c)] = uint8_t(std::lround(done[size_t(y)] * 255));
        }
    }
    return out;
}

class Resize : public testing::Test {
protected:
    // The context's own size is beside the point: pictures come in at theirs.
    std::shared_ptr<LMContext> context = LMContext::contextWithDimensions({5, 5});
    std::shared_ptr<LMImage> input =
        LMPicture::pictureWithBitmap(bitmapOf(noise))->lumetraImageOfOwnSizeWithContext(context);

    LMFilterRef<LMFilterResize> resizeFilter()
    {
        auto filter = LMFilterResize::filter();
        filter->setValueForKey(std::shared_ptr<LMDrawable>(input), "input");
        return filter;
    }
    Pixels resize(int width, int height, const std::string& kernel, double gap = 2, bool linear = false)
    {
        auto filter = resizeFilter();
        filter->setWidth(width), filter->setHeight(height), filter->setKernel(kernel), filter->setGap(gap),
            filter->setLinear(linear);
        return drawnPixels(filter, context);
    }
};

} // namespace

// At a whole ratio the box is the block's exact average: blocks of the
// ratio, then a kernel that weighs only the pixel under each centre.
TEST_F(Resize, BoxAtWholeRatiosIsTheBlockAverage)
{
    ASSERT_TRUE(samePixels(pixelsOf(*LMPicture::imageWithLMImage(input)->bitmap()), noise, 0));
    for (int ratio : {2, 3, 4})
        EXPECT_TRUE(samePixels(resize(24 / ratio, 12 / ratio, "box"),
                               resampled(noise, 24 / ratio, 12 / ratio, {triangle, 1}, ratio, ratio)))
            << ratio;
}

// Shrinking (with and without whole blocks first), enlarging, and sizes
// that are no whole ratio of the input's.
TEST_F(Resize, KernelsFollowTheirFormulas)
{
    const Kernel lanczos{lanczos3, 3}, cubic{catmullRom, 2}, linear{triangle, 1};
    struct Case {
        int width, height;
        std::string kernel;
        double gap;
        Pixels expected;
    };
    const Case cases[] = {
        {7, 5, "lanczos3", 0, resampled(noise, 7, 5, lanczos)},
        {5, 2, "lanczos3", 0, resampled(noise, 5, 2, lanczos)},
        // A ratio of 4.8 by 6 with a gap of 2: blocks of 2 and 3, then lanczos3.
        {5, 2, "lanczos3", 2, resampled(noise, 5, 2, lanczos, 2, 3)},
        {53, 29, "lanczos3", 2, resampled(noise, 53, 29, lanczos)},
        {10, 17, "bicubic", 0, resampled(noise, 10, 17, cubic)},
        {31, 5, "bilinear", 0, resampled(noise, 31, 5, linear)},
        {17, 7, "nearest", 2,
         pixelsOf(17, 7, [](int x, int y) { return noise.at(int((x + 0.5) * 24 / 17), int((y + 0.5) * 12 / 7)); })},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.kernel + " to " + std::to_string(test.width) + "x" + std::to_string(test.height) + ", gap " +
                     std::to_string(test.gap));
        EXPECT_TRUE(samePixels(resize(test.width, test.height, test.kernel, test.gap), test.expected));
    }
}

// Thousands of pixels from the origin the reads keep their places and
// weights: a long line shrunk and enlarged by ratios that are no whole
// numbers.
TEST_F(Resize, LongLinesFollowTheirFormulas)
{
    const Pixels line = pixelsOf(4000, 2, [](int x, int y) { return noise.at(x * 7 % 24, (x / 24 + y) % 12); });
    auto filter = resizeFilter();
    filter->setValueForKey(std::shared_ptr<LMDrawable>(
                               LMPicture::pictureWithBitmap(bitmapOf(line))->lumetraImageOfOwnSizeWithContext(context)),
                           "input");
    const std::tuple<int, std::string, Kernel> cases[] = {{1333, "lanczos3", {lanczos3, 3}},
                                                          {9001, "bilinear", {triangle, 1}}};
    for (const auto& [width, kernel, formula] : cases) {
        filter->setWidth(width), filter->setHeight(2), filter->setKernel(kernel);
        EXPECT_TRUE(samePixels(drawnPixels(filter, context), resampled(line, width, 2, formula))) << kernel;
    }
}

// Decoded with the exact sRGB curve as the first pass reads, averaged in
// linear light, encoded as the last pass writes: both passes, and one.
TEST_F(Resize, LinearLightAveragesDecodedValues)
{
    auto decode = [](double c) { return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4); };
    auto encode = [](double c) { return c <= 0.0031308 ? c * 12.92 : 1.055 * std::pow(c, 1 / 2.4) - 0.055; };
    for (const auto& [width, height] : {std::pair{12, 6}, std::pair{12, 12}}) {
        const int high = 12 / height;
        const Pixels expected = pixelsOf(width, height, [&](int x, int y) {
            Pixel p{0, 0, 0, 255};
            for (int c = 0; c < 3; ++c) {
                double sum = 0;
                for (int v = 0; v < high; ++v)
                    for (int u = 0; u < 2; ++u)
                        sum += decode(noise.at(x * 2 + u, y * high + v)[c] / 255.0);
                p[c] = uint8_t(std::lround(encode(sum / (2 * high)) * 255));
            }
            return p;
        });
        EXPECT_TRUE(samePixels(resize(width, height, "box", 2, true), expected)) << width << "x" << height;
    }
}

// A side left at 0 follows the other, rounded, at least one pixel.
TEST_F(Resize, MissingSidesKeepTheAspectRatio)
{
    const std::tuple<int, int, LMSize> cases[] = {
        {0, 0, {24, 12}}, {10, 0, {10, 5}}, {0, 5, {10, 5}}, {11, 0, {11, 6}}, {0, 100, {200, 100}}, {1, 0, {1, 1}},
    };
    for (const auto& [width, height, expected] : cases) {
        auto filter = resizeFilter();
        filter->setWidth(width), filter->setHeight(height);
        EXPECT_EQ(filter->outputSizeForInputSize({24, 12}), expected) << width << "x" << height;
        const Pixels drawn = drawnPixels(filter, context);
        EXPECT_EQ(LMSize(double(drawn.width), double(drawn.height)), expected) << width << "x" << height;
    }
}
