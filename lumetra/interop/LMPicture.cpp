#include "lumetra/interop/LMPicture.h"

#include "lumetra/platform/LMLog.h"
#include "lumetra/platform/LMPictureFiles.h"
#include "lumetra/platform/LMPictureOutputFile.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <type_traits>
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

std::shared_ptr<LMPicture> LMPicture::pictureWithBitmap16(std::shared_ptr<LMBitmap16> bitmap)
{
    std::shared_ptr<LMPicture> picture = bitmap ? pictureWithBitmap(bitmap->bitmap8()) : nullptr;
    if (picture)
        picture->bitmap16_ = std::move(bitmap);
    return picture;
}

std::shared_ptr<LMPicture> LMPicture::pictureWithFile(bool read, LMPictureFileContents& contents)
{
    std::shared_ptr<LMPicture> picture = read ? pictureWithBitmap(std::move(contents.bitmap)) : nullptr;
    if (picture) {
        picture->bitmap16_ = std::move(contents.bitmap16);
        picture->grey_ = contents.grey;
        picture->iccProfile_ = std::move(contents.iccProfile);
        picture->exif_ = std::move(contents.exif);
    }
    return picture;
}

std::shared_ptr<LMPicture> LMPicture::pictureWithContentsOfFile(const std::string& path)
{
    FileHandle file(std::fopen(path.c_str(), "rb"));
    if (!file) {
        LMLog("LMPicture: Cannot open %s: %s", path.c_str(), std::strerror(errno));
        return nullptr;
    }
    return pictureWithContentsOfStream(file.get(), path);
}

std::shared_ptr<LMPicture> LMPicture::pictureWithContentsOfStream(std::FILE* stream, const std::string& name)
{
    LMPictureFileContents contents;
    return pictureWithFile(LMReadPictureFile(stream, name, largestFileBytes, contents), contents);
}

bool LMPicture::isOpaque() const
{
    for (int32_t y = 0; y < bitmap_->pixelsHigh(); ++y) {
        const uint8_t* pixel = bitmap_->rowAt(y);
        for (int32_t x = 0; x < bitmap_->pixelsWide(); ++x, pixel += 4)
            if (pixel[3] != 255)
                return false;
    }
    // A 16-bit alpha just under opaque rounds to 255.
    for (int32_t y = 0; bitmap16_ && y < bitmap16_->pixelsHigh(); ++y) {
        const uint16_t* pixel = bitmap16_->rowAt(y);
        for (int32_t x = 0; x < bitmap16_->pixelsWide(); ++x, pixel += 4)
            if (pixel[3] != 65535)
                return false;
    }
    return true;
}

namespace {

// colour * alpha + background * (1 - alpha) in whole samples, rounded.
template <class Bitmap>
void flatten(Bitmap& bitmap, LMRGBA background, uint32_t most)
{
    const uint64_t under[3] = {uint64_t(std::lround(std::clamp(background.red, 0.0, 1.0) * most)),
                               uint64_t(std::lround(std::clamp(background.green, 0.0, 1.0) * most)),
                               uint64_t(std::lround(std::clamp(background.blue, 0.0, 1.0) * most))};
    for (int32_t y = 0; y < bitmap.pixelsHigh(); ++y) {
        auto* pixel = bitmap.rowAt(y);
        for (int32_t x = 0; x < bitmap.pixelsWide(); ++x, pixel += 4) {
            const uint64_t alpha = pixel[3];
            for (int i = 0; i < 3; ++i)
                pixel[i] = static_cast<std::remove_reference_t<decltype(*pixel)>>(
                    (pixel[i] * alpha + under[i] * (most - alpha) + most / 2) / most);
            pixel[3] = static_cast<std::remove_reference_t<decltype(*pixel)>>(most);
        }
    }
}

} // namespace

std::shared_ptr<LMPicture> LMPicture::pictureFlattenedOnto(LMRGBA background) const
{
    std::shared_ptr<LMPicture> flat;
    if (bitmap16_) {
        auto copy = LMBitmap16::bitmapWithSize(bitmap16_->pixelsWide(), bitmap16_->pixelsHigh());
        if (!copy)
            return nullptr;
        std::memcpy(copy->bitmapData(), bitmap16_->bitmapData(), size_t(copy->bytesPerRow()) * copy->pixelsHigh());
        flatten(*copy, background, 65535);
        flat = pictureWithBitmap16(std::move(copy));
    } else {
        auto copy = newBIR(bitmap_->pixelsWide(), bitmap_->pixelsHigh());
        if (!copy)
            return nullptr;
        std::memcpy(copy->bitmapData(), bitmap_->bitmapData(), size_t(copy->bytesPerRow()) * copy->pixelsHigh());
        flatten(*copy, background, 255);
        flat = pictureWithBitmap(std::move(copy));
    }
    if (flat) {
        flat->size_ = size_;
        flat->grey_ = grey_;
        flat->iccProfile_ = iccProfile_;
        flat->exif_ = exif_;
    }
    return flat;
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
    // 8-bit RGBA whatever the pixels, as it always was.
    return writeToFile(path, [](const LMBitmap& raster, std::FILE* file, std::string& error) {
        LMPictureFileContents contents;
        contents.bitmap = std::shared_ptr<LMBitmap>(const_cast<LMBitmap*>(&raster), [](LMBitmap*) {});
        return LMWritePictureFile(contents, file, {LMPictureFileFormat::png, 8, 90, false}, error, true);
    });
}

bool LMPicture::writeJPEGToFile(const std::string& path, int quality) const
{
    return writeToFile(path, [quality](const LMBitmap& raster, std::FILE* file, std::string& error) {
        LMPictureFileContents contents;
        contents.bitmap = std::shared_ptr<LMBitmap>(const_cast<LMBitmap*>(&raster), [](LMBitmap*) {});
        return LMWritePictureFile(contents, file, {LMPictureFileFormat::jpeg, 8, quality, false}, error);
    });
}

bool LMPicture::drawsBitmap16() const
{
    return bitmap16_ && bitmap16_->pixelsWide() == LMTruncateToGLint(size_.width) &&
           bitmap16_->pixelsHigh() == LMTruncateToGLint(size_.height);
}

bool LMPicture::fileContents(LMPictureFileContents& contents) const
{
    contents.grey = grey_;
    contents.iccProfile = iccProfile_;
    contents.exif = exif_;
    // Pixels already of the picture's size are written as they are, without a copy.
    const bool asStored = bitmap_->pixelsWide() == LMTruncateToGLint(size_.width) &&
                          bitmap_->pixelsHigh() == LMTruncateToGLint(size_.height);
    if (drawsBitmap16())
        contents.bitmap16 = bitmap16_;
    else
        contents.bitmap = asStored ? bitmap_ : rasterizedBitmap();
    return contents.bitmap || contents.bitmap16;
}

bool LMPicture::writeToStream(std::FILE* stream, const std::string& name, const LMPictureFileOptions& options) const
{
    LMPictureFileContents contents;
    std::string error;
    if (!fileContents(contents))
        return false;
    const bool written = LMWritePictureFile(contents, stream, options, error) && std::fflush(stream) == 0;
    if (!written)
        LMLog("LMPicture: Cannot write %s: %s", name.c_str(), error.empty() ? std::strerror(errno) : error.c_str());
    return written;
}

bool LMPicture::writeToFile(const std::string& path, const LMPictureFileOptions& options) const
{
    // The pixels are ready before the file is opened, so a picture that
    // cannot be drawn leaves the file as it was.
    LMPictureFileContents contents;
    if (!fileContents(contents))
        return false;
    std::string error;
    LMPictureOutputFile destination(path);
    std::FILE* file = destination.open(error);
    bool written = file && LMWritePictureFile(contents, file, options, error);
    if (file && !destination.commit(written, error))
        written = false;
    if (!written)
        LMLog("LMPicture: Cannot write %s: %s", path.c_str(), error.c_str());
    return written;
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
