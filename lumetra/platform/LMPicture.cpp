#include "lumetra/platform/LMPicture.h"

#include "lumetra/platform/LMLog.h"
#include "lumetra/platform/LMPictureFiles.h"
#include "lumetra/platform/LMPictureOutputFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
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

// Bytes read from a file, in one block that grows with realloc: the C
// library grows a large block by remapping its pages, so a stream read up to
// the limit costs about the limit in memory, not twice or three times it as a
// vector's copies and zero-filling would.
struct ReadBuffer {
    uint8_t* bytes = nullptr;
    size_t length = 0;
    size_t capacity = 0;

    ReadBuffer() = default;
    ReadBuffer(const ReadBuffer&) = delete;
    ReadBuffer& operator=(const ReadBuffer&) = delete;
    ~ReadBuffer() { std::free(bytes); }

    bool growTo(size_t wanted)
    {
        void* grown = std::realloc(bytes, wanted);
        if (!grown)
            return false;
        bytes = static_cast<uint8_t*>(grown);
        capacity = wanted;
        return true;
    }
};

enum class ReadResult { whole, failed, outOfMemory };

// The whole file, but never more than `limit` + 1 bytes: one past the limit
// shows that the file is longer. After a first small block, a regular file
// of `expected` bytes is read in one go; a stream (`expected` 0) doubles. Reading stops after the first block when that
// already shows the file is no picture, so a large file of another kind
// costs nothing. `failed` leaves errno set.
ReadResult readFile(std::FILE* file, size_t limit, size_t expected, ReadBuffer& buffer)
{
    for (size_t block = 64 * 1024;;) {
        block = std::min(block, limit + 1 - buffer.length);
        if (!buffer.growTo(buffer.length + block))
            return ReadResult::outOfMemory;
        const size_t got = std::fread(buffer.bytes + buffer.length, 1, block, file);
        buffer.length += got;
        if (got < block || buffer.length > limit || formatOf(buffer.bytes, buffer.length) == PictureFormat::unknown)
            break;
        // The rest of a file of known size at once (and one byte more, to
        // see its end), else twice as much as before.
        block = expected >= buffer.length ? expected + 1 - buffer.length : block * 2;
    }
    return std::ferror(file) ? ReadResult::failed : ReadResult::whole;
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

std::shared_ptr<LMBitmap> LMReadPictureFile(std::FILE* file, const std::string& name, size_t limit)
{
    auto refuse = [&] {
        LMLog("LMPicture: Cannot read %s: it holds more than %s, more than any picture file", name.c_str(),
              sizeText(limit).c_str());
        return nullptr;
    };
    // A regular file says how long it is: one too long is not read at all.
    struct stat status {};
    const bool regular = fstat(fileno(file), &status) == 0 && S_ISREG(status.st_mode);
    if (regular && uint64_t(status.st_size) > limit)
        return refuse();
    ReadBuffer buffer;
    switch (readFile(file, limit, regular ? size_t(status.st_size) : 0, buffer)) {
    case ReadResult::failed: LMLog("LMPicture: Cannot read %s: %s", name.c_str(), std::strerror(errno)); return nullptr;
    case ReadResult::outOfMemory: LMLog("LMPicture: Cannot read %s: out of memory", name.c_str()); return nullptr;
    case ReadResult::whole: break;
    }
    if (buffer.length > limit)
        return refuse();
    return LMReadPictureData(buffer.bytes, buffer.length, name);
}

std::shared_ptr<LMBitmap> LMReadPictureData(const uint8_t* data, size_t length, const std::string& name)
{
    std::string error;
    std::shared_ptr<LMBitmap> bitmap;
    switch (formatOf(data, length)) {
    case PictureFormat::png: bitmap = LMReadPNGData(data, length, error); break;
    case PictureFormat::jpeg: bitmap = LMReadJPEGData(data, length, error); break;
    case PictureFormat::unknown: LMLog("LMPicture: %s is neither a PNG nor a JPEG file", name.c_str()); return nullptr;
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
