#pragma once

// What the soak graph's nodes should hold, computed on the CPU in double
// precision from the filters' documented formulas. Every node's output is
// rounded the way a 16-bit render target stores it, so thresholds are
// decided on the values the GPU really saw.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

namespace soak {

using RGB = std::array<double, 3>;

inline double stored(double component)
{
    return std::round(std::clamp(component, 0.0, 1.0) * 65535.0) / 65535.0;
}

// An image, (0, 0) being the lower left. `unsure` marks pixels whose value
// single-precision shading may decide either way (centres on a circle's
// edge); they and everything computed from them are not compared.
struct Plane {
    int width = 0, height = 0;
    std::vector<RGB> rgb;
    std::vector<char> unsure;

    Plane(int w, int h, RGB fill = {0, 0, 0})
        : width(w), height(h), rgb(size_t(w) * h, RGB{stored(fill[0]), stored(fill[1]), stored(fill[2])}),
          unsure(size_t(w) * h, 0)
    {
    }
    size_t index(int x, int y) const { return size_t(y) * width + x; }
};

// Each pixel through `f`, at the same place.
template <class F>
Plane perPixel(const Plane& in, F f)
{
    Plane out(in.width, in.height);
    for (size_t i = 0; i < in.rgb.size(); ++i) {
        const RGB value = f(in.rgb[i]);
        out.rgb[i] = {stored(value[0]), stored(value[1]), stored(value[2])};
        out.unsure[i] = in.unsure[i];
    }
    return out;
}

// Each channel of each pixel through `f`.
template <class F>
Plane perChannel(const Plane& in, F f)
{
    return perPixel(in, [f](RGB c) { return RGB{f(c[0]), f(c[1]), f(c[2])}; });
}

inline Plane invert(const Plane& in)
{
    return perChannel(in, [](double c) { return 1 - c; });
}

inline Plane maxComponent(const Plane& in)
{
    return perPixel(in, [](RGB c) {
        const double m = std::max({c[0], c[1], c[2]});
        return RGB{m, m, m};
    });
}

inline Plane fade(const Plane& in, double factor)
{
    return perChannel(in, [factor](double c) { return c * factor; });
}

inline Plane encodeSRGB(const Plane& in)
{
    return perChannel(in, [](double c) { return c < 0.00313 ? 12.92 * c : 1.055 * std::pow(c, 0.4167) - 0.055; });
}

inline Plane decodeSRGB(const Plane& in)
{
    return perChannel(in, [](double c) { return c < 0.04045 ? 0.0774 * c : std::pow(0.9479 * c + 0.05213, 2.4); });
}

inline Plane maxOf(const Plane& a, const Plane& b)
{
    Plane out(a.width, a.height);
    for (size_t i = 0; i < a.rgb.size(); ++i) {
        for (int k = 0; k < 3; ++k)
            out.rgb[i][k] = std::max(a.rgb[i][k], b.rgb[i][k]);
        out.unsure[i] = a.unsure[i] || b.unsure[i];
    }
    return out;
}

// White where a pixel's centre is within `radius` of the centre.
inline Plane circle(int width, int height, double centreX, double centreY, double radius)
{
    Plane out(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const double distance = std::hypot(x + 0.5 - centreX, y + 0.5 - centreY);
            const size_t i = out.index(x, y);
            out.rgb[i] = distance <= radius ? RGB{1, 1, 1} : RGB{0, 0, 0};
            out.unsure[i] = std::abs(distance - radius) < 1e-3;
        }
    }
    return out;
}

// A whole-pixel move: the input is mirrored left to right if `mirrored`,
// turned counter-clockwise by `quarterTurns` right angles about the lower
// left corner, then moved by (dx, dy), wrapping around the image's edges.
// Each output pixel is found by undoing the steps in reverse order.
struct Motion {
    int quarterTurns = 0;
    bool mirrored = false;
    int dx = 0, dy = 0;

    friend bool operator==(const Motion&, const Motion&) = default;
};

inline Plane move(const Plane& in, const Motion& motion)
{
    Plane out(in.width, in.height);
    auto wrap = [](double value, int extent) { return value - extent * std::floor(value / extent); };
    for (int y = 0; y < in.height; ++y) {
        for (int x = 0; x < in.width; ++x) {
            double sx = x + 0.5 - motion.dx, sy = y + 0.5 - motion.dy;
            for (int turn = 0; turn < motion.quarterTurns; ++turn)
                sx = std::exchange(sy, -sx);
            if (motion.mirrored)
                sx = -sx;
            const size_t from = in.index(int(wrap(sx, in.width)), int(wrap(sy, in.height)));
            out.rgb[out.index(x, y)] = in.rgb[from];
            out.unsure[out.index(x, y)] = in.unsure[from];
        }
    }
    return out;
}

// A texture of texels bytes stretched over the whole image, sampled nearest.
inline Plane stretched(int width, int height, int texelsWide, int texelsHigh,
                       const std::vector<std::array<uint8_t, 4>>& texels)
{
    Plane out(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const int tx = int((x + 0.5) * texelsWide / width), ty = int((y + 0.5) * texelsHigh / height);
            const auto& texel = texels[size_t(ty) * texelsWide + tx];
            out.rgb[out.index(x, y)] = {stored(texel[0] / 255.0), stored(texel[1] / 255.0), stored(texel[2] / 255.0)};
        }
    }
    return out;
}

} // namespace soak
