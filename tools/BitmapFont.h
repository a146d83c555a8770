#pragma once

#include <lumetra/platform/LMBitmap.h>

#include <cstdint>
#include <string_view>

// A 5 by 7 pixel font for the demo sheet's labels: capitals (lower case is
// drawn as capitals), digits and the punctuation of a command line. Drawing
// text with the CPU keeps the tool free of a font library for a few labels.
class BitmapFont {
public:
    static constexpr int glyphWidth = 5;
    static constexpr int glyphHeight = 7;
    static constexpr int advance = glyphWidth + 1;

    // Draws the text with its top-left corner at (x, y), each font pixel as
    // a scale by scale square; what falls outside the bitmap is clipped.
    static void drawText(LMBitmap& bitmap, int x, int y, std::string_view text, int scale, const uint8_t rgba[4]);
    static int textWidth(std::string_view text, int scale) { return int(text.size()) * advance * scale; }
};
