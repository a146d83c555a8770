#pragma once

#include "lumetra/graph/LMRenderPass.h"
#include "lumetra/platform/LMPoint.h"

#include <memory>
#include <string>
#include <vector>

// The passes the blur filters share: a separable convolution along one axis
// with up to `maximumFetches` bilinear fetches (each fetch between two texel
// centres reads two taps at once), optionally reading its input at a coarser
// or finer spacing, and a cubic B-spline upsample. On them sit the Gaussian
// (direct, or through a pyramid for a large sigma) and the box mean. Every
// image is read with its edges clamped.
//
// Threads: stateless; its drawing functions run on the context's GL queue, inside the calling filter's block.
class LMBlurPasses {
public:
    static constexpr int maximumFetches = 128;

    // One fetch: an offset from the output pixel's centre along the pass's
    // axis, in the input's pixels, and the weight of what it reads.
    struct Fetch {
        double offset;
        double weight;
    };

    // How a Gaussian of a sigma is drawn: `levels` halvings, each after a
    // blur of `levelSigma` (in that level's pixels); then `finalSigma` at the
    // smallest level and a B-spline upsample back. No levels: a direct
    // blur of `finalSigma`.
    struct Plan {
        int levels = 0;
        double levelSigma = 0;
        double finalSigma = 0;
    };
    static Plan planForSigma(double sigma);

    // The fetches of a kernel sampled at offsets phase, phase ± 1, ... (phase 0
    // or 0.5) up to `radius` each side, normalised, neighbours paired.
    template <class Weight>
    static std::vector<Fetch> pairedFetches(double phase, double radius, Weight weight);
    static std::vector<Fetch> gaussianFetches(double sigma, double phase);
    static std::vector<Fetch> boxFetches(int radius);

    // The passes these functions draw, for a filter's renderPasses().
    static std::vector<const LMRenderPass*> renderPasses();

    // The input blurred with a Gaussian of `sigma` pixels (0: a copy), at its size.
    static std::shared_ptr<LMImage> gaussian(const std::shared_ptr<LMContext>& context, const std::string& programKey,
                                             const LMImage& input, double sigma);
    // The mean over (2 radius + 1) squared pixels, at the input's size.
    static std::shared_ptr<LMImage> box(const std::shared_ptr<LMContext>& context, const std::string& programKey,
                                        const LMImage& input, int radius);

    // One pass along x (or y when `vertical`) into an image of `size`: an
    // output pixel centre c reads the input around c * scale + shift.
    static std::shared_ptr<LMImage> convolve(const std::shared_ptr<LMContext>& context, const std::string& programKey,
                                             const LMImage& input, LMSize size, bool vertical,
                                             const std::vector<Fetch>& fetches, LMPoint scale = {1, 1},
                                             LMPoint shift = {0, 0});
};

template <class Weight>
std::vector<LMBlurPasses::Fetch> LMBlurPasses::pairedFetches(double phase, double radius, Weight weight)
{
    // One side's taps, from the centre out; the other side mirrors them.
    std::vector<Fetch> side;
    for (double offset = phase == 0 ? 1 : phase; offset <= radius; offset += 1)
        side.push_back({offset, weight(offset)});
    double total = phase == 0 ? weight(0.0) : 0;
    for (const Fetch& tap : side)
        total += 2 * tap.weight;
    std::vector<Fetch> fetches;
    if (phase == 0)
        fetches.push_back({0, weight(0.0) / total});
    for (size_t i = 0; i < side.size(); i += 2) {
        const Fetch a = side[i];
        const Fetch b = i + 1 < side.size() ? side[i + 1] : Fetch{a.offset + 1, 0};
        const double pair = a.weight + b.weight;
        const double offset = pair > 0 ? (a.offset * a.weight + b.offset * b.weight) / pair : a.offset;
        fetches.push_back({offset, pair / total});
        fetches.push_back({-offset, pair / total});
    }
    return fetches;
}
