#pragma once

#include "lumetra/platform/LMBitmap.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

// The file formats behind LMPicture: PNG through libpng, JPEG through
// libjpeg-turbo. Each reads a whole file held in memory or writes a whole
// open file and, when it cannot, returns null or false with the reason in
// `error`; damaged data never yields a partial picture. The libraries stay out
// of the library's public headers. Because a reader has all the bytes, it
// weighs the header against them: a header claiming more pixels than the data
// behind it could describe is refused before anything of that size is made.

// Any PNG (grey, palette, RGB, with or without alpha or a transparent colour,
// 1 to 16 bits, interlaced or not) as 8-bit RGBA, 16-bit samples rounded.
std::shared_ptr<LMBitmap> LMReadPNGData(const uint8_t* data, size_t length, std::string& error);
// A grey or colour JPEG as 8-bit RGBA with opaque alpha.
std::shared_ptr<LMBitmap> LMReadJPEGData(const uint8_t* data, size_t length, std::string& error);
// A PNG or a JPEG, told apart by its first bytes; null and one log line
// "LMPicture: ... <name> ..." when it is neither or cannot be read. What
// LMPicture::pictureWithContentsOfFile hands the file's bytes to.
std::shared_ptr<LMBitmap> LMReadPictureData(const uint8_t* data, size_t length, const std::string& name);
// What an open file or stream holds, read up to `limit` bytes: a longer one
// is refused (a regular file before anything is read, a stream once it has
// given one byte more) with one log line. What
// LMPicture::pictureWithContentsOfFile reads a file with.
std::shared_ptr<LMBitmap> LMReadPictureFile(std::FILE* file, const std::string& name, size_t limit);
// The bitmap as an 8-bit RGBA PNG.
bool LMWritePNGFile(const LMBitmap& bitmap, std::FILE* file, std::string& error);
// The bitmap as a baseline colour JPEG (alpha dropped); quality 1 to 100.
bool LMWriteJPEGFile(const LMBitmap& bitmap, std::FILE* file, int quality, std::string& error);
