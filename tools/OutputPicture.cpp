#include "OutputPicture.h"

#include "CliError.h"

#include <lumetra/platform/LMPicture.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <unistd.h>

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
    // Beside the final name, so that the rename stays on one file system.
    const std::string partial = path + ".partial-" + std::to_string(getpid());
    log.takeLines();
    const bool written = isJPEGName(path) ? picture->writeJPEGToFile(partial) : picture->writePNGToFile(partial);
    if (!written) {
        std::remove(partial.c_str());
        std::string reason = log.lastLineContaining(partial);
        const size_t at = reason.find(partial);
        if (at != std::string::npos)
            reason.replace(at, partial.size(), path);
        throw CliError(reason.empty() ? "cannot write " + path : reason);
    }
    if (std::rename(partial.c_str(), path.c_str()) != 0) {
        const std::string why = std::strerror(errno);
        std::remove(partial.c_str());
        throw CliError("cannot write " + path + ": " + why);
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
