// How far the Gaussian blur lies from the exact convolution on a picture:
// for each sigma, the worst difference in 8-bit levels over every channel
// of every pixel, against a separable convolution computed here in double
// precision (weights sampled out to 6 sigma, normalised, edges clamped).
//
//     blur_accuracy picture.png [sigma ...]

#include <lumetra/lumetra.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

// One channel of a bitmap as 0...1, rows from the top.
std::vector<double> channel(const LMBitmap& bitmap, int c)
{
    std::vector<double> plane;
    for (int y = 0; y < bitmap.pixelsHigh(); ++y)
        for (int x = 0; x < bitmap.pixelsWide(); ++x)
            plane.push_back(bitmap.rowAt(y)[x * 4 + c] / 255.0);
    return plane;
}

std::vector<double> exactGaussian(const std::vector<double>& plane, int width, int height, double sigma)
{
    const int radius = static_cast<int>(std::ceil(6 * sigma));
    std::vector<double> weights;
    double total = 0;
    for (int k = -radius; k <= radius; ++k) {
        weights.push_back(std::exp(-k * k / (2 * sigma * sigma)));
        total += weights.back();
    }
    auto pass = [&](const std::vector<double>& in, int dx, int dy) {
        std::vector<double> out(in.size());
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                double sum = 0;
                for (int k = -radius; k <= radius; ++k) {
                    const int sx = std::clamp(x + k * dx, 0, width - 1), sy = std::clamp(y + k * dy, 0, height - 1);
                    sum += weights[static_cast<size_t>(k + radius)] * in[static_cast<size_t>(sy * width + sx)];
                }
                out[static_cast<size_t>(y * width + x)] = sum / total;
            }
        return out;
    };
    return pass(pass(plane, 1, 0), 0, 1);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: blur_accuracy picture.png [sigma ...]\n");
        return 2;
    }
    auto picture = LMPicture::pictureWithContentsOfFile(argv[1]);
    if (!picture) {
        std::fprintf(stderr, "cannot read %s\n", argv[1]);
        return 1;
    }
    const LMBitmap& source = *picture->bitmap();
    const int width = source.pixelsWide(), height = source.pixelsHigh();
    std::vector<double> sigmas;
    for (int i = 2; i < argc; ++i)
        sigmas.push_back(std::atof(argv[i]));
    if (sigmas.empty())
        sigmas = {1, 2, 5, 10, 20, 50, 100};

    auto context = LMContext::contextWithDimensions({double(width), double(height)});
    const std::shared_ptr<LMDrawable> input = picture->lumetraImageWithContext(context, LMContentScaleModeStretch);
    std::printf("%s, %d by %d\nsigma  worst  pixels off by 1  off by 2+\n", argv[1], width, height);
    for (double sigma : sigmas) {
        auto blur = LMFilterGaussianBlur::filter();
        blur->setValueForKey(LMValue(input), "input");
        blur->setSigma(sigma);
        const auto drawn = LMPicture::imageWithLMImage(blur->drawWithContext(context));
        const LMBitmap& result = *drawn->bitmap();
        int worst = 0;
        long one = 0, more = 0;
        for (int c = 0; c < 3; ++c) {
            const std::vector<double> exact = exactGaussian(channel(source, c), width, height, sigma);
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width; ++x) {
                    const long expected = std::lround(exact[static_cast<size_t>(y * width + x)] * 255);
                    const int off = static_cast<int>(std::labs(result.rowAt(y)[x * 4 + c] - expected));
                    worst = std::max(worst, off);
                    one += off == 1;
                    more += off > 1;
                }
        }
        std::printf("%5g  %5d  %15ld  %9ld\n", sigma, worst, one, more);
    }
    return 0;
}
