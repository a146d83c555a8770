#pragma once

#include "lumetra/platform/LMBitmap.h"
#include "lumetra/platform/LMBitmap16.h"
#include "lumetra/platform/LMPictureFormat.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

// The picture files behind LMPicture, read and written through libvips, which
// stays out of the library's public headers. PNG (1 to 16 bits, grey,
// palette, alpha, interlaced), JPEG (grey, colour, CMYK, progressive), TIFF
// (8 and 16 bits) and WebP are read; each is told apart by its first bytes,
// never by its name. A reader has all the bytes, and weighs the header
// against them: a header claiming more pixels than the data behind it could
// code is refused before anything of that size is made. Damaged data never
// yields a partial picture.

// What a picture file holds. Pixels come as straight RGBA rows, top down,
// with an EXIF orientation already applied (and the EXIF block kept as read).
// CMYK files are converted to RGB through their own profile (or a common
// press profile), and that profile is not kept.
struct LMPictureFileContents {
    // Every picture, at 8 bits a sample (deeper samples rounded).
    std::shared_ptr<LMBitmap> bitmap;
    // Pictures stored with more than 8 bits a sample, at 16.
    std::shared_ptr<LMBitmap16> bitmap16;
    // Stored as grey, or with an alpha channel or a transparent colour.
    bool grey = false;
    bool alpha = false;
    std::vector<uint8_t> iccProfile;
    std::vector<uint8_t> exif;
};

// A picture from bytes in memory; false, with one log line
// "LMPicture: ... <name> ...", when they are no picture of a known kind or
// cannot be read. What LMPicture::pictureWithContentsOfFile hands the file's
// bytes to.
bool LMReadPictureData(const uint8_t* data, size_t length, const std::string& name, LMPictureFileContents& contents);
// What an open file or stream holds, read up to `limit` bytes: a longer one
// is refused (a regular file before anything is read, a stream once it has
// given one byte more) with one log line.
bool LMReadPictureFile(std::FILE* file, const std::string& name, size_t limit, LMPictureFileContents& contents);
// Writes the pixels (bitmap16 when present and 16 bits are asked for,
// otherwise bitmap) with the profile and EXIF block where the format holds
// them; false with the reason in `error`. `allChannels` writes RGBA
// whatever the pixels are.
bool LMWritePictureFile(const LMPictureFileContents& contents, std::FILE* file, const LMPictureFileOptions& options,
                        std::string& error, bool allChannels = false);
