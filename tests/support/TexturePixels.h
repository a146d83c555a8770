#pragma once

#include <lumetra/lumetra.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

using Pixel = std::array<uint8_t, 4>;

constexpr Pixel red{255, 0, 0, 255}, green{0, 255, 0, 255}, blue{0, 0, 255, 255}, white{255, 255, 255, 255},
    black{0, 0, 0, 255}, magenta{255, 0, 255, 255};

// A pixel of an image as bytes, (0, 0) being the lower left.
inline Pixel pixelAt(const std::shared_ptr<LMImage>& image, int x, int y)
{
    const LMRGBA color = image->readPixelColorAtX(x, y).value_or(LMRGBA{0.5, 0.5, 0.5, 0});
    auto byte = [](double value) { return static_cast<uint8_t>(std::lround(value * 255)); };
    return {byte(color.red), byte(color.green), byte(color.blue), byte(color.alpha)};
}

// A pixel of a bitmap, its rows counted from the top.
inline Pixel bitmapPixel(const LMBitmap& bitmap, int x, int yFromTop)
{
    Pixel pixel;
    std::memcpy(pixel.data(), bitmap.rowAt(yFromTop) + x * 4, 4);
    return pixel;
}

// A texture of the context whose texel (x, y), counted from the bottom row,
// is colourAt(x, y); sampled nearest, so every texel reads exactly.
template <class ColourAt>
GLuint makeTexture(LMContext& context, int width, int height, ColourAt colourAt, GLenum target = GL_TEXTURE_RECTANGLE)
{
    std::vector<Pixel> texels;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            texels.push_back(colourAt(x, y));
    GLuint texture = 0;
    context.executeOpenGL([&] {
        glGenTextures(1, &texture);
        glBindTexture(target, texture);
        glTexParameteri(target, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
        glTexParameteri(target, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
        glTexImage2D(target, 0, GL_RGBA8, width, height, 0, GL_RGBA, GL_UNSIGNED_BYTE, texels.data());
    });
    return texture;
}

inline void deleteTexture(LMContext& context, GLuint texture)
{
    context.executeOpenGL([&] { glDeleteTextures(1, &texture); });
}
