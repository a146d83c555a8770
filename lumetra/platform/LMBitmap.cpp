#include "lumetra/platform/LMBitmap.h"

#include "lumetra/platform/LMLog.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

namespace {

constexpr int64_t rowAlignment = 16;
// A bitmap is addressed with 32-bit row lengths, and no GL texture comes
// near this size anyway.
constexpr int64_t largestBitmapBytes = std::numeric_limits<int32_t>::max();

} // namespace

LMBitmap::LMBitmap(int32_t pixelsWide, int32_t pixelsHigh, int32_t bytesPerRow)
    : pixelsWide_(pixelsWide), pixelsHigh_(pixelsHigh), bytesPerRow_(bytesPerRow),
      pixels_(static_cast<size_t>(bytesPerRow) * static_cast<size_t>(pixelsHigh), 0)
{}

std::shared_ptr<LMBitmap> newBIR(int32_t width, int32_t height)
{
    const int64_t bytesPerRow = (int64_t{width} * 4 + rowAlignment - 1) / rowAlignment * rowAlignment;
    if (width <= 0 || height <= 0 || bytesPerRow * height > largestBitmapBytes) {
        LMLog("LMBitmap: Cannot make a bitmap of %d by %d pixels", width, height);
        return nullptr;
    }
    try {
        return std::shared_ptr<LMBitmap>(new LMBitmap(width, height, static_cast<int32_t>(bytesPerRow)));
    } catch (const std::bad_alloc&) {
        LMLog("LMBitmap: Out of memory for a bitmap of %d by %d pixels", width, height);
        return nullptr;
    }
}

std::shared_ptr<LMBitmap> flippedBIR(const std::shared_ptr<LMBitmap>& source, int32_t width, int32_t height)
{
    std::shared_ptr<LMBitmap> flipped = newBIR(width, height);
    if (!flipped || !source)
        return flipped;

    // Drawing through y -> height - y puts the source's top row r on row
    // sourceHeight - 1 - r of the destination, counted from the top.
    const int32_t sourceHeight = source->pixelsHigh();
    const size_t rowBytes = static_cast<size_t>(std::min(width, source->pixelsWide())) * 4;
    for (int32_t row = 0; row < sourceHeight; ++row) {
        const int32_t destinationRow = sourceHeight - 1 - row;
        if (destinationRow < height)
            std::memcpy(flipped->rowAt(destinationRow), source->rowAt(row), rowBytes);
    }
    return flipped;
}
