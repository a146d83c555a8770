// The JPEG reader on arbitrary bytes. What it reads must be opaque, and must
// write and read back at the same size.

#include "PictureFuzzing.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::shared_ptr<LMBitmap> bitmap = fuzzing::readPicture(data, size);
    if (!bitmap)
        return 0;
    for (int32_t y = 0; y < bitmap->pixelsHigh(); ++y)
        for (int32_t x = 0; x < bitmap->pixelsWide(); ++x)
            if (bitmap->rowAt(y)[x * 4 + 3] != 255)
                __builtin_trap();
    const auto write = [](const LMBitmap& picture, std::FILE* file, std::string& error) {
        return LMWriteJPEGFile(picture, file, 90, error);
    };
    fuzzing::checkRoundTrip(*bitmap, write, LMReadJPEGData, false);
    return 0;
}
