#include "lumetra/platform/LMPictureFiles.h"

#include "lumetra/platform/LMLog.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <sys/stat.h>

namespace {

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

} // namespace

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
