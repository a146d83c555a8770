#pragma once

#include "lumetra/platform/LMBitmap.h"

#include <cstdio>
#include <memory>
#include <string>

// The file formats behind LMPicture: PNG through libpng, JPEG through
// libjpeg-turbo. Each reads or writes a whole open file and, when it cannot,
// returns null or false with the reason in `error`; damaged data never yields
// a partial picture. The libraries stay out of the library's public headers.

// Any PNG (grey, palette, RGB, with or without alpha or a transparent colour,
// 1 to 16 bits, interlaced or not) as 8-bit RGBA, 16-bit samples rounded.
std::shared_ptr<LMBitmap> LMReadPNGFile(std::FILE* file, std::string& error);
// A grey or colour JPEG as 8-bit RGBA with opaque alpha.
std::shared_ptr<LMBitmap> LMReadJPEGFile(std::FILE* file, std::string& error);
// The bitmap as an 8-bit RGBA PNG.
bool LMWritePNGFile(const LMBitmap& bitmap, std::FILE* file, std::string& error);
// The bitmap as a baseline colour JPEG (alpha dropped); quality 1 to 100.
bool LMWriteJPEGFile(const LMBitmap& bitmap, std::FILE* file, int quality, std::string& error);
