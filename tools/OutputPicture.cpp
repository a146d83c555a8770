#include "OutputPicture.h"

#include "CliError.h"

#include <cstdio>

namespace {

std::string extensionOf(const std::string& path)
{
    const size_t slash = path.find_last_of('/');
    const size_t dot = path.find_last_of('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash))
        return {};
    return path.substr(dot + 1);
}

void writePicture(const std::shared_ptr<LMPicture>& picture, const std::string& path,
                  const LMPictureFileOptions& options, LogRecorder& log)
{
    if (!picture)
        throw CliError("nothing to write to " + path + ": the chain gave no image");
    // The library writes beside the final name and renames into place, so a
    // failure leaves what was there before.
    log.takeLines();
    const std::string name = path == "-" ? "standard output" : path;
    const bool written =
        path == "-" ? picture->writeToStream(stdout, name, options) : picture->writeToFile(path, options);
    if (!written) {
        const std::string reason = log.lastLineContaining(name);
        throw CliError(reason.empty() ? "cannot write " + name : reason);
    }
}

} // namespace

LMPictureFileFormat outputFormat(const std::string& path, const std::string& format)
{
    if (!format.empty()) {
        if (auto named = LMPictureFileFormatNamed(format))
            return *named;
        throw CliError::usage("--format \"" + format + "\" is none of png, jpeg, tiff, webp");
    }
    if (path == "-")
        throw CliError::usage("-o - writes to standard output: say which format with --format");
    if (auto named = LMPictureFileFormatNamed(extensionOf(path)))
        return *named;
    throw CliError::usage("output " + path + ": the name must end in .png, .jpg, .jpeg, .tif, .tiff or .webp");
}

void checkOutputName(const std::string& path, const std::string& format)
{
    (void)outputFormat(path, format);
}

void writeOutputPicture(const std::shared_ptr<LMImage>& image, const std::string& path,
                        const LMPictureFileOptions& options, const PictureTraits* traits, LogRecorder& log)
{
    std::shared_ptr<LMPicture> picture = image ? LMPicture::imageWithLMImage(image, options.bitsPerSample) : nullptr;
    if (picture && traits) {
        picture->setGrey(traits->grey);
        picture->setICCProfile(traits->iccProfile);
        picture->setExifData(traits->exif);
    }
    writePicture(picture, path, options, log);
}

void writeOutputPicture(const std::shared_ptr<LMImage>& image, const std::string& path, LogRecorder& log)
{
    LMPictureFileOptions options;
    options.format = outputFormat(path);
    options.bitsPerSample = 8;
    writeOutputPicture(image, path, options, nullptr, log);
}

void writeOutputBitmap(const std::shared_ptr<LMBitmap>& bitmap, const std::string& path, LogRecorder& log)
{
    LMPictureFileOptions options;
    options.format = outputFormat(path);
    writePicture(LMPicture::pictureWithBitmap(bitmap), path, options, log);
}
