#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

// A colour in the generic RGB space: red, green, blue and alpha as doubles
// from 0 to 1. Colours given in other forms (bytes, a grey level, hue,
// saturation and brightness) are converted here, on entry.
//
// Threads: a plain value; no locks; copies may be used on any thread.
struct LMRGBA {
    double red = 0.0;
    double green = 0.0;
    double blue = 0.0;
    double alpha = 1.0;

    friend bool operator==(const LMRGBA&, const LMRGBA&) = default;

    static constexpr LMRGBA blackColor() { return {0, 0, 0, 1}; }
    static constexpr LMRGBA whiteColor() { return {1, 1, 1, 1}; }
    static constexpr LMRGBA redColor() { return {1, 0, 0, 1}; }
    static constexpr LMRGBA greenColor() { return {0, 1, 0, 1}; }
    static constexpr LMRGBA blueColor() { return {0, 0, 1, 1}; }

    static constexpr LMRGBA fromBytes(uint8_t red, uint8_t green, uint8_t blue, uint8_t alpha = 255)
    {
        return {red / 255.0, green / 255.0, blue / 255.0, alpha / 255.0};
    }

    static constexpr LMRGBA grey(double white, double alpha = 1.0) { return {white, white, white, alpha}; }

    // Hue in turns (0 to 1), saturation and brightness from 0 to 1. A hue
    // that is not a finite number is taken as 0 (red).
    static LMRGBA fromHSB(double hue, double saturation, double brightness, double alpha = 1.0)
    {
        const double h = std::isfinite(hue) ? (hue - std::floor(hue)) * 6.0 : 0.0;
        const double c = brightness * saturation;
        const double x = c * (1.0 - std::fabs(std::fmod(h, 2.0) - 1.0));
        const double m = brightness - c;
        double r = 0, g = 0, b = 0;
        switch (static_cast<int>(h) % 6) {
        case 0:
            r = c;
            g = x;
            break;
        case 1:
            r = x;
            g = c;
            break;
        case 2:
            g = c;
            b = x;
            break;
        case 3:
            g = x;
            b = c;
            break;
        case 4:
            r = x;
            b = c;
            break;
        default:
            r = c;
            b = x;
            break;
        }
        return {r + m, g + m, b + m, alpha};
    }
};
