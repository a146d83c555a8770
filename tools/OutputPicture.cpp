#include "OutputPicture.h"

#include "CliError.h"

#include <lumetra/interop/LMPicture.h>

#include <algorithm>
#include <cctype>

namespace {

std::string lowercaseExtension(const std::string& path)
{
    const size_t slash = path.find_last_of('/');
    const size_t dot = path.find_last_of('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash))
        return {};
    std::string extension = path.substr(dot + 1);
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension;
}

bool isJPEGName(const std::string& path)
{
    const std::string extension = lowercaseExtension(path);
    return extension == "jpg" || extension == "jpeg";
}

void writePicture(const std::shared_ptr<LMPicture>& picture, const std::string& path, LogRecorder& log)
{
    if (!picture)
        throw CliError("nothing to write to " + path + ": the chain gave no image");
    // The library writes beside the final name and renames into place, so a
    // failure leaves what was there before.
    log.takeLines();
    const bool written = isJPEGName(path) ? picture->writeJPEGToFile(path) : picture->writePNGToFile(path);
    if (!written) {
        const std::string reason = log.lastLineContaining(path);
        throw CliError(reason.empty() ? "cannot write " + path : reason);
    }
}

} // namespace

void checkOutputName(const std::string& path)
{
    const std::string extension = lowercaseExtension(path);
    if (extension != "png" && extension != "jpg" && extension != "jpeg")
        throw CliError::usage("output " + path + ": the name must end in .png, .jpg or .jpeg");
}

void writeOutputPicture(const std::shared_ptr<LMImage>& image, const std::string& path, LogRecorder& log)
{
    writePicture(image ? LMPicture::imageWithLMImage(image) : nullptr, path, log);
}

void writeOutputBitmap(const std::shared_ptr<LMBitmap>& bitmap, const std::string& path, LogRecorder& log)
{
    writePicture(LMPicture::pictureWithBitmap(bitmap), path, log);
}
