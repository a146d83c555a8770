#pragma once

// What the picture reader fuzzers check beyond "no crash, no leak, no
// undefined behaviour": the readers' promises on every input they are given.

#include "lumetra/platform/LMLog.h"
#include "lumetra/platform/LMPictureFiles.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace fuzzing {

inline std::vector<std::string> logLines;

// The bytes read as a picture file, through the entry point of
// LMPicture::pictureWithContentsOfFile. A failure says so in a last line
// "LMPicture: ..." (a refused bitmap may log before it); a success logs
// nothing and has a size.
// Whatever its depth, a picture has its 8-bit bitmap, and a 16-bit one of
// the same size.
inline std::shared_ptr<LMBitmap> readPicture(const uint8_t* data, size_t size, LMPictureFileContents& contents)
{
    static const bool sinkInstalled = (LMSetLogSink([](const std::string& line) { logLines.push_back(line); }), true);
    (void)sinkInstalled;
    logLines.clear();
    const bool read = LMReadPictureData(data, size, "input", contents);
    std::shared_ptr<LMBitmap> bitmap = contents.bitmap;
    if (read != bool(bitmap))
        __builtin_trap();
    if (bitmap ? !logLines.empty() || bitmap->pixelsWide() <= 0 || bitmap->pixelsHigh() <= 0
               : logLines.empty() || logLines.back().rfind("LMPicture: ", 0) != 0)
        __builtin_trap();
    if (contents.bitmap16 && (!bitmap || contents.bitmap16->pixelsWide() != bitmap->pixelsWide() ||
                              contents.bitmap16->pixelsHigh() != bitmap->pixelsHigh()))
        __builtin_trap();
    return bitmap;
}

// What was read, written in `format` into memory and read again: the writer
// must succeed and the reader must get the same size back, and the same
// pixels when `exact`. Only small pictures, to keep the fuzzer fast.
inline void checkRoundTrip(const LMPictureFileContents& contents, LMPictureFileFormat format, bool exact)
{
    const LMBitmap& bitmap = *contents.bitmap;
    if (int64_t{bitmap.pixelsWide()} * bitmap.pixelsHigh() > 256 * 256)
        return;
    char* buffer = nullptr;
    size_t length = 0;
    std::FILE* file = open_memstream(&buffer, &length);
    std::string error;
    LMPictureFileOptions options;
    options.format = format;
    const bool written = LMWritePictureFile(contents, file, options, error);
    std::fclose(file);
    LMPictureFileContents read;
    std::shared_ptr<LMBitmap> again =
        written && LMReadPictureData(reinterpret_cast<const uint8_t*>(buffer), length, "written", read) ? read.bitmap
                                                                                                        : nullptr;
    std::free(buffer);
    if (!again || again->pixelsWide() != bitmap.pixelsWide() || again->pixelsHigh() != bitmap.pixelsHigh())
        __builtin_trap();
    for (int32_t y = 0; exact && y < bitmap.pixelsHigh(); ++y)
        if (std::memcmp(again->rowAt(y), bitmap.rowAt(y), size_t(bitmap.pixelsWide()) * 4) != 0)
            __builtin_trap();
}

} // namespace fuzzing
