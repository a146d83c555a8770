#pragma once

#include <cstdint>
#include <memory>
#include <vector>

// Pixels in memory, the way pictures keep them: 8 bits per sample, four
// samples per pixel stored together (red, green, blue, alpha; colour not
// multiplied by alpha), rows from the top down. Each row is padded to a
// multiple of 16 bytes, as platform bitmaps pad theirs, so whoever walks the
// pixels steps by bytesPerRow, never by pixelsWide. A new bitmap is
// transparent black. Made by newBIR.
//
// Threads: plain memory, no lock: any number of threads may read it while nobody writes its pixels.
class LMBitmap {
public:
    int32_t pixelsWide() const { return pixelsWide_; }
    int32_t pixelsHigh() const { return pixelsHigh_; }
    int32_t bytesPerRow() const { return bytesPerRow_; }
    int32_t bitsPerPixel() const { return 32; }
    int32_t bitsPerSample() const { return 8; }
    int32_t samplesPerPixel() const { return 4; }
    bool hasAlpha() const { return true; }
    // Samples are always meshed, never kept in separate planes.
    bool isPlanar() const { return false; }

    uint8_t* bitmapData() { return pixels_.data(); }
    const uint8_t* bitmapData() const { return pixels_.data(); }
    // Row y, counted from the top.
    uint8_t* rowAt(int32_t y) { return pixels_.data() + static_cast<size_t>(y) * bytesPerRow_; }
    const uint8_t* rowAt(int32_t y) const { return pixels_.data() + static_cast<size_t>(y) * bytesPerRow_; }

private:
    friend std::shared_ptr<LMBitmap> newBIR(int32_t width, int32_t height);
    LMBitmap(int32_t pixelsWide, int32_t pixelsHigh, int32_t bytesPerRow);

    int32_t pixelsWide_;
    int32_t pixelsHigh_;
    int32_t bytesPerRow_;
    std::vector<uint8_t> pixels_;
};

// A new transparent bitmap of width by height pixels. Null, with a log line,
// for a size of zero or less or one too large to hold in memory.
std::shared_ptr<LMBitmap> newBIR(int32_t width, int32_t height);

// A new bitmap of width by height pixels holding `source` mirrored top to
// bottom, the mirror image of an upright copy that sits on the bottom edge:
// the source's row r from the top becomes row (source's pixelsHigh) - 1 - r
// from the top. With equal heights that is exactly the rows in reverse order. What
// falls outside stays transparent; the source is not changed. Turns the
// top-down rows of pictures into GL's bottom-up rows and back.
std::shared_ptr<LMBitmap> flippedBIR(const std::shared_ptr<LMBitmap>& source, int32_t width, int32_t height);
