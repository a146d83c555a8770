#include "lumetra/platform/LMPicture.h"

#include "lumetra/platform/LMPictureOutputFile.h"
#include "lumetra/platform/LMLog.h"
#include "lumetra/platform/LMPictureFiles.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <functional>
#include <new>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace {

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using FileHandle = std::unique_ptr<std::FILE, FileCloser>;

enum class PictureFormat { png, jpeg, unknown };

// By content, not by name: files are often misnamed.
PictureFormat formatOf(const uint8_t* start, size_t length)
{
    static constexpr std::array<uint8_t, 8> pngSignature = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    if (length >= pngSignature.size() && std::equal(pngSignature.begin(), pngSignature.end(), start))
        return PictureFormat::png;
    if (length >= 3 && start[0] == 0xFF && start[1] == 0xD8 && start[2] == 0xFF)
        return PictureFormat::jpeg;
    return PictureFormat::unknown;
}

// The whole file, in blocks that double, but never more than `limit` + 1
// bytes: one past the limit shows that the file is longer. Reading stops
// after the first block when that already shows the file is no picture, so a
// large file of another kind costs nothing. False, with errno, when reading
// failed.
bool readFile(std::FILE* file, size_t limit, std::vector<uint8_t>& bytes)
{
    size_t length = 0;
    for (size_t block = 64 * 1024;; block *= 2) {
        block = std::min(block, limit + 1 - length);
        bytes.resize(length + block);
        const size_t got = std::fread(bytes.data() + length, 1, block, file);
        length += got;
        if (got < block || length > limit || formatOf(bytes.data(), length) == PictureFormat::unknown)
            break;
    }
    bytes.resize(length);
    return !std::ferror(file);
}

// "2 GiB", "1 MiB", or a number of bytes.
std::string sizeText(size_t bytes)
{
    if (bytes >= (size_t(1) << 30) && bytes % (size_t(1) << 30) == 0)
        return std::to_string(bytes >> 30) + " GiB";
    if (bytes >= (size_t(1) << 20) && bytes % (size_t(1) << 20) == 0)
        return std::to_string(bytes >> 20) + " MiB";
    return std::to_string(bytes) + " bytes";
}

// Nearest sample: a bitmap drawn at its own size is copied exactly.
void drawScaled(const LMBitmap& source, LMSize pointSize, LMBitmap& destination)
{
    const double stepX = source.pixelsWide() / pointSize.width;
    const double stepY = source.pixelsHigh() / pointSize.height;
    for (int32_t y = 0; y < destination.pixelsHigh(); ++y) {
        const auto sourceY = std::min(static_cast<int32_t>((y + 0.5) * stepY), source.pixelsHigh() - 1);
        const uint8_t* sourceRow = source.rowAt(sourceY);
        uint8_t* row = destination.rowAt(y);
        for (int32_t x = 0; x < destination.pixelsWide(); ++x) {
            const auto sourceX = std::min(static_cast<int32_t>((x + 0.5) * stepX), source.pixelsWide() - 1);
            std::memcpy(row + x * 4, sourceRow + sourceX * 4, 4);
        }
    }
}

} // namespace

LMPicture::LMPicture(std::shared_ptr<LMBitmap> bitmap, LMSize size)
    : bitmap_(std::move(bitmap))
    , size_(size)
{
}

std::shared_ptr<LMPicture> LMPicture::pictureWithBitmap(std::shared_ptr<LMBitmap> bitmap)
{
    if (!bitmap)
        return nullptr;
    const LMSize size{static_cast<double>(bitmap->pixelsWide()), static_cast<double>(bitmap->pixelsHigh())};
    return std::shared_ptr<LMPicture>(new LMPicture(std::move(bitmap), size));
}

std::shared_ptr<LMPicture> LMPicture::pictureWithContentsOfFile(const std::string& path)
{
    FileHandle file(std::fopen(path.c_str(), "rb"));
    if (!file) {
        LMLog("LMPicture: Cannot open %s: %s", path.c_str(), std::strerror(errno));
        return nullptr;
    }
    return pictureWithBitmap(LMReadPictureFile(file.get(), path, largestFileBytes));
}

std::shared_ptr<LMBitmap> LMReadPictureFile(std::FILE* file, const std::string& name, size_t limit)
{
    auto refuse = [&] {
        LMLog("LMPicture: Cannot read %s: it holds more than %s, more than any picture file", name.c_str(),
              sizeText(limit).c_str());
        return nullptr;
    };
    // A regular file says how long it is: one too long is not read at all.
    struct stat status {};
    if (fstat(fileno(file), &status) == 0 && S_ISREG(status.st_mode) && uint64_t(status.st_size) > limit)
        return refuse();
    std::vector<uint8_t> bytes;
    try {
        if (!readFile(file, limit, bytes)) {
            LMLog("LMPicture: Cannot read %s: %s", name.c_str(), std::strerror(errno));
            return nullptr;
        }
    } catch (const std::bad_alloc&) {
        LMLog("LMPicture: Cannot read %s: out of memory", name.c_str());
        return nullptr;
    }
    if (bytes.size() > limit)
        return refuse();
    return LMReadPictureData(bytes.data(), bytes.size(), name);
}

std::shared_ptr<LMBitmap> LMReadPictureData(const uint8_t* data, size_t length, const std::string& name)
{
    std::string error;
    std::shared_ptr<LMBitmap> bitmap;
    switch (formatOf(data, length)) {
    case PictureFormat::png:
        bitmap = LMReadPNGData(data, length, error);
        break;
    case PictureFormat::jpeg:
        bitmap = LMReadJPEGData(data, length, error);
        break;
    case PictureFormat::unknown:
        LMLog("LMPicture: %s is neither a PNG nor a JPEG file", name.c_str());
        return nullptr;
    }
    if (!bitmap)
        LMLog("LMPicture: Cannot read %s: %s", name.c_str(), error.c_str());
    return bitmap;
}

std::shared_ptr<LMBitmap> LMPicture::rasterizedBitmap() const
{
    const GLint width = LMTruncateToGLint(size_.width);
    const GLint height = LMTruncateToGLint(size_.height);
    if (width <= 0 || height <= 0) {
        LMLog("LMPicture: Cannot draw a picture of %g by %g points", size_.width, size_.height);
        return nullptr;
    }
    std::shared_ptr<LMBitmap> raster = newBIR(width, height);
    if (!raster)
        return nullptr;

    if (bitmap_->pixelsWide() == width && bitmap_->pixelsHigh() == height) {
        for (int32_t y = 0; y < height; ++y)
            std::memcpy(raster->rowAt(y), bitmap_->rowAt(y), static_cast<size_t>(width) * 4);
    } else {
        drawScaled(*bitmap_, size_, *raster);
    }
    return raster;
}

bool LMPicture::writePNGToFile(const std::string& path) const
{
    return writeToFile(path, [](const LMBitmap& raster, std::FILE* file, std::string& error) {
        return LMWritePNGFile(raster, file, error);
    });
}

bool LMPicture::writeJPEGToFile(const std::string& path, int quality) const
{
    return writeToFile(path, [quality](const LMBitmap& raster, std::FILE* file, std::string& error) {
        return LMWriteJPEGFile(raster, file, quality, error);
    });
}

bool LMPicture::writeToFile(const std::string& path,
                            const std::function<bool(const LMBitmap&, std::FILE*, std::string&)>& write) const
{
    // A bitmap already of the picture's size is written as it is, without a copy.
    const bool asStored = bitmap_ && bitmap_->pixelsWide() == LMTruncateToGLint(size_.width) &&
                          bitmap_->pixelsHigh() == LMTruncateToGLint(size_.height) && bitmap_->pixelsWide() > 0 &&
                          bitmap_->pixelsHigh() > 0;
    std::shared_ptr<LMBitmap> raster = asStored ? bitmap_ : rasterizedBitmap();
    if (!raster)
        return false;

    std::string error;
    LMPictureOutputFile destination(path);
    std::FILE* file = destination.open(error);
    bool written = file && write(*raster, file, error);
    if (file && !destination.commit(written, error))
        written = false;
    if (!written)
        LMLog("LMPicture: Cannot write %s: %s", path.c_str(), error.c_str());
    return written;
}
