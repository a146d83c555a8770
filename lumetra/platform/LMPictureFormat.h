#pragma once

#include <optional>
#include <string>

// The kinds of picture file the library reads and writes.
enum class LMPictureFileFormat { png, jpeg, tiff, webp };

// How a picture is written to a file. Grey pictures whose pixels are all
// neutral are written grey, and an alpha channel only when some pixel is not
// fully opaque. JPEG and WebP hold 8 bits a sample; PNG and TIFF 8 or 16.
//
// Threads: a plain value; copies may be used on any thread.
struct LMPictureFileOptions {
    LMPictureFileFormat format = LMPictureFileFormat::png;
    // 8 or 16; 0 writes the picture at its own depth (8 where the format holds no more).
    int bitsPerSample = 0;
    // JPEG and lossy WebP, 1 to 100.
    int quality = 90;
    // WebP only: lossless rather than lossy.
    bool lossless = false;
};

// The format a file name's extension or a format's name stands for, in any
// case: png; jpg or jpeg; tif or tiff; webp. Nothing for anything else.
std::optional<LMPictureFileFormat> LMPictureFileFormatNamed(const std::string& name);
