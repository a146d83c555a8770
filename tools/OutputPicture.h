#pragma once

#include "LogRecorder.h"

#include <lumetra/graph/LMImage.h>
#include <lumetra/platform/LMBitmap.h>

#include <memory>
#include <string>

// Output files are written beside their final name and renamed into place
// (by the library's picture writers), so that a failure at any point leaves
// no partial picture behind and keeps the file that was there. A replaced
// output keeps its permissions; its other hard links keep the old picture.

// Throws a usage CliError unless the path ends in .png, .jpg or .jpeg.
void checkOutputName(const std::string& path);

// Writes the image's pixels as PNG or JPEG by the path's extension; throws
// a CliError with the writer's reason.
void writeOutputPicture(const std::shared_ptr<LMImage>& image, const std::string& path, LogRecorder& log);
void writeOutputBitmap(const std::shared_ptr<LMBitmap>& bitmap, const std::string& path, LogRecorder& log);
