#include "lumetra/interop/LMPicture.h"

#include "lumetra/platform/LMLog.h"
#include "lumetra/platform/LMPictureFiles.h"
#include "lumetra/platform/LMPictureOutputFile.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace {

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using FileHandle = std::unique_ptr<std::FILE, FileCloser>;

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

LMPicture::LMPicture(std::shared_ptr<LMBitmap> bitmap, LMSize size) : bitmap_(std::move(bitmap)), size_(size)
{}

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
