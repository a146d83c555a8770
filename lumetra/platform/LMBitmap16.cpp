#include "lumetra/platform/LMBitmap16.h"

#include "lumetra/platform/LMLog.h"

#include <cstring>
#include <limits>
#include <new>

LMBitmap16::LMBitmap16(int32_t pixelsWide, int32_t pixelsHigh)
    : pixelsWide_(pixelsWide), pixelsHigh_(pixelsHigh),
      pixels_(static_cast<size_t>(pixelsWide) * static_cast<size_t>(pixelsHigh) * 4, 0)
{}

std::shared_ptr<LMBitmap16> LMBitmap16::bitmapWithSize(int32_t width, int32_t height)
{
    // Twice the bytes of an 8-bit bitmap's limit: the same largest picture.
    constexpr int64_t largestBytes = int64_t{std::numeric_limits<int32_t>::max()} * 2;
    if (width <= 0 || height <= 0 || int64_t{width} * height * 8 > largestBytes) {
        LMLog("LMBitmap16: Cannot make a bitmap of %d by %d pixels", width, height);
        return nullptr;
    }
    try {
        return std::shared_ptr<LMBitmap16>(new LMBitmap16(width, height));
    } catch (const std::bad_alloc&) {
        LMLog("LMBitmap16: Out of memory for a bitmap of %d by %d pixels", width, height);
        return nullptr;
    }
}

std::shared_ptr<LMBitmap> LMBitmap16::bitmap8() const
{
    std::shared_ptr<LMBitmap> bitmap = newBIR(pixelsWide_, pixelsHigh_);
    if (!bitmap)
        return nullptr;
    for (int32_t y = 0; y < pixelsHigh_; ++y) {
        const uint16_t* source = rowAt(y);
        uint8_t* row = bitmap->rowAt(y);
        for (int32_t i = 0; i < pixelsWide_ * 4; ++i)
            row[i] = static_cast<uint8_t>((source[i] * 255u + 32767u) / 65535u);
    }
    return bitmap;
}

std::shared_ptr<LMBitmap16> LMBitmap16::flipped() const
{
    std::shared_ptr<LMBitmap16> result = bitmapWithSize(pixelsWide_, pixelsHigh_);
    if (!result)
        return nullptr;
    for (int32_t y = 0; y < pixelsHigh_; ++y)
        std::memcpy(result->rowAt(pixelsHigh_ - 1 - y), rowAt(y), static_cast<size_t>(bytesPerRow()));
    return result;
}
