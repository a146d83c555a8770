#pragma once

#include "lumetra/platform/LMBitmap.h"

#include <cstdint>
#include <memory>
#include <vector>

// Pixels with 16 bits per sample, for pictures deeper than LMBitmap holds:
// four samples per pixel stored together (red, green, blue, alpha; colour not
// multiplied by alpha), rows from the top down, unpadded (bytesPerRow is
// eight times pixelsWide). A new one is transparent black.
//
// Threads: plain memory, no lock: any number of threads may read it while nobody writes its pixels.
class LMBitmap16 {
public:
    // Null, with a log line, for a size of zero or less or one too large to hold in memory.
    static std::shared_ptr<LMBitmap16> bitmapWithSize(int32_t width, int32_t height);

    int32_t pixelsWide() const { return pixelsWide_; }
    int32_t pixelsHigh() const { return pixelsHigh_; }
    int32_t bytesPerRow() const { return pixelsWide_ * 8; }

    uint16_t* bitmapData() { return pixels_.data(); }
    const uint16_t* bitmapData() const { return pixels_.data(); }
    // Row y, counted from the top.
    uint16_t* rowAt(int32_t y) { return pixels_.data() + static_cast<size_t>(y) * pixelsWide_ * 4; }
    const uint16_t* rowAt(int32_t y) const { return pixels_.data() + static_cast<size_t>(y) * pixelsWide_ * 4; }

    // The same pixels at 8 bits, each sample rounded to the nearest byte.
    std::shared_ptr<LMBitmap> bitmap8() const;
    // The same pixels with the rows in reverse order.
    std::shared_ptr<LMBitmap16> flipped() const;

private:
    LMBitmap16(int32_t pixelsWide, int32_t pixelsHigh);

    int32_t pixelsWide_;
    int32_t pixelsHigh_;
    std::vector<uint16_t> pixels_;
};
