#pragma once

#include "LogRecorder.h"

#include <lumetra/graph/LMImage.h>
#include <lumetra/interop/LMPicture.h>
#include <lumetra/platform/LMBitmap.h>
#include <lumetra/platform/LMPictureFormat.h>

#include <memory>
#include <string>
#include <vector>

// Output files are written beside their final name and renamed into place
// (by the library's picture writers), so that a failure at any point leaves
// no partial picture behind and keeps the file that was there. A replaced
// output keeps its permissions; its other hard links keep the old picture.
// "-" is standard output.

// The format an output is written in: `format` when given (a --format),
// else the one its name ends in. Throws a usage CliError for a name of no
// known format, and for "-" without a format.
LMPictureFileFormat outputFormat(const std::string& path, const std::string& format = "");
// Throws a usage CliError unless outputFormat finds a format.
void checkOutputName(const std::string& path, const std::string& format = "");

// What an input picture carried beyond its pixels, for its output.
struct PictureTraits {
    bool grey = false;
    std::vector<uint8_t> iccProfile;
    std::vector<uint8_t> exif;
};

// The image's pixels at `options.bitsPerSample` (8 or 16), written with
// `traits` when given; throws a CliError with the writer's reason.
void writeOutputPicture(const std::shared_ptr<LMImage>& image, const std::string& path,
                        const LMPictureFileOptions& options, const PictureTraits* traits, LogRecorder& log);
void writeOutputPicture(const std::shared_ptr<LMImage>& image, const std::string& path, LogRecorder& log);
void writeOutputBitmap(const std::shared_ptr<LMBitmap>& bitmap, const std::string& path, LogRecorder& log);
