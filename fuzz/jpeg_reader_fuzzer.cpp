// Picture reading (libvips's JPEG loader behind LMPicture) on arbitrary
// bytes. What it reads must be opaque, and must write and read back at the
// same size.

#include "PictureFuzzing.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // Only JPEG files: the other formats' mutations belong to their own fuzzers.
    if (size < 3 || data[0] != 0xFF || data[1] != 0xD8 || data[2] != 0xFF)
        return 0;
    LMPictureFileContents contents;
    std::shared_ptr<LMBitmap> bitmap = fuzzing::readPicture(data, size, contents);
    if (!bitmap)
        return 0;
    for (int32_t y = 0; y < bitmap->pixelsHigh(); ++y)
        for (int32_t x = 0; x < bitmap->pixelsWide(); ++x)
            if (bitmap->rowAt(y)[x * 4 + 3] != 255)
                __builtin_trap();
    fuzzing::checkRoundTrip(contents, LMPictureFileFormat::jpeg, false);
    return 0;
}
