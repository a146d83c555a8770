#pragma once

// Pixels in, pixels out: a small picture put into a context through the
// library's own picture upload, a whole image read back through its picture
// read-back, and the CPU's version of a filter's formula to compare with.

#include "support/TexturePixels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <string>
#include <vector>

// A small picture, pixel (x, y) counted from the lower left as GL counts.
struct Pixels {
    int width = 0, height = 0;
    std::vector<Pixel> pixels; // the bottom row first

    Pixel at(int x, int y) const { return pixels[size_t(y * width + x)]; }
    bool operator==(const Pixels&) const = default;
};

// width by height pixels, pixel (x, y) being colourAt(x, y).
template <class ColourAt>
Pixels pixelsOf(int width, int height, ColourAt colourAt)
{
    Pixels picture{width, height, {}};
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            picture.pixels.push_back(colourAt(x, y));
    return picture;
}

// The picture as a bitmap, rows from the top.
inline std::shared_ptr<LMBitmap> bitmapOf(const Pixels& picture)
{
    auto bitmap = newBIR(picture.width, picture.height);
    for (int y = 0; y < picture.height; ++y)
        for (int x = 0; x < picture.width; ++x)
            std::memcpy(bitmap->rowAt(picture.height - 1 - y) + x * 4, picture.at(x, y).data(), 4);
    return bitmap;
}

// The bitmap's pixels, rows from the top turned into GL's from the bottom.
inline Pixels pixelsOf(const LMBitmap& bitmap)
{
    return pixelsOf(bitmap.pixelsWide(), bitmap.pixelsHigh(),
                    [&](int x, int y) { return bitmapPixel(bitmap, x, bitmap.pixelsHigh() - 1 - y); });
}

// An image of the context holding the picture, uploaded as a host uploads
// one; pixel for pixel when the context has the picture's size.
inline std::shared_ptr<LMImage> imageOf(const std::shared_ptr<LMContext>& context, const Pixels& picture)
{
    return LMPicture::pictureWithBitmap(bitmapOf(picture))->lumetraImageWithContext(context, LMContentScaleModeStretch);
}

// Every pixel of the image, read back as a host reads one; no pixels without an image.
inline Pixels pixelsOf(const std::shared_ptr<LMImage>& image)
{
    const auto picture = LMPicture::imageWithLMImage(image);
    return picture ? pixelsOf(*picture->bitmap()) : Pixels{};
}

// What the node draws in the context, every pixel of it.
inline Pixels drawnPixels(const std::shared_ptr<LMDrawable>& node, const std::shared_ptr<LMContext>& context)
{
    return pixelsOf(node->drawWithContext(context));
}

// A pixel as its four byte values, {red, green, blue, alpha}.
inline std::string bytesOf(const Pixel& p)
{
    return "{" + std::to_string(p[0]) + ", " + std::to_string(p[1]) + ", " + std::to_string(p[2]) + ", " +
           std::to_string(p[3]) + "}";
}

// Whether two pictures agree within `levels` of 255 on every channel; if
// not, the first pixel that differs with both values, and how many differ.
inline testing::AssertionResult samePixels(const Pixels& actual, const Pixels& expected, int levels = 1)
{
    if (actual.width != expected.width || actual.height != expected.height)
        return testing::AssertionFailure() << "the image is " << actual.width << " by " << actual.height
                                           << " pixels, not " << expected.width << " by " << expected.height;
    int wrong = 0;
    testing::AssertionResult failure = testing::AssertionFailure();
    for (int y = 0; y < actual.height; ++y)
        for (int x = 0; x < actual.width; ++x) {
            const Pixel a = actual.at(x, y), e = expected.at(x, y);
            const bool near =
                std::equal(a.begin(), a.end(), e.begin(), [&](int p, int q) { return std::abs(p - q) <= levels; });
            if (!near && wrong++ == 0)
                failure << "pixel (" << x << ", " << y << ") from the lower left is " << bytesOf(a) << ", not "
                        << bytesOf(e);
        }
    return wrong ? failure << " (" << wrong << " pixels differ by more than " << levels << ")"
                 : testing::AssertionSuccess();
}

// CPU references: each colour channel of a picture, or of two pixel by
// pixel, as 0...1 through `f`, back to opaque bytes.
template <class F>
Pixels perChannel(const Pixels& a, const Pixels& b, F f)
{
    return pixelsOf(a.width, a.height, [&](int x, int y) {
        Pixel out{0, 0, 0, 255};
        for (size_t c = 0; c < 3; ++c)
            out[c] = uint8_t(
                std::lround(std::clamp(double(f(a.at(x, y)[c] / 255.0, b.at(x, y)[c] / 255.0)), 0.0, 1.0) * 255));
        return out;
    });
}
template <class F>
Pixels perChannel(const Pixels& picture, F f)
{
    return perChannel(picture, picture, [&](double c, double) { return f(c); });
}

// What a 16-bit render target stores for a colour component.
inline double stored(double component)
{
    return std::round(std::clamp(component, 0.0, 1.0) * 65535.0) / 65535.0;
}

// The built-in sRGB filters' curves, as their kernels compute them.
inline double toSRGB(double c)
{
    return c < 0.00313 ? c * 12.92 : std::pow(c, 0.4167) * 1.055 - 0.055;
}
inline double fromSRGB(double c)
{
    return c < 0.04045 ? c * 0.0774 : std::pow(c * 0.9479 + 0.05213, 2.4);
}
