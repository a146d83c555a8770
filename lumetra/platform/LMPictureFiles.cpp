#include "lumetra/platform/LMPictureFiles.h"

#include "lumetra/platform/LMLog.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <string>
#include <sys/stat.h>
#include <utility>
#include <vips/vips.h>

namespace {

enum class PictureFormat { png, jpeg, tiff, webp, unknown };

// By content, not by name: files are often misnamed.
PictureFormat formatOf(const uint8_t* start, size_t length)
{
    static constexpr std::array<uint8_t, 8> pngSignature = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    if (length >= pngSignature.size() && std::equal(pngSignature.begin(), pngSignature.end(), start))
        return PictureFormat::png;
    if (length >= 3 && start[0] == 0xFF && start[1] == 0xD8 && start[2] == 0xFF)
        return PictureFormat::jpeg;
    if (length >= 4 && (std::memcmp(start, "II*\0", 4) == 0 || std::memcmp(start, "MM\0*", 4) == 0))
        return PictureFormat::tiff;
    if (length >= 12 && std::memcmp(start, "RIFF", 4) == 0 && std::memcmp(start + 8, "WEBP", 4) == 0)
        return PictureFormat::webp;
    return PictureFormat::unknown;
}

// The most pixels `length` bytes of each format can code. PNG: one bit a
// pixel at deflate's best ratio (1032 to 1); JPEG: one bit for each 8 by 8
// block of a chroma plane sampled at a quarter; TIFF and WebP code runs of
// pixels in a few bits, 4096 pixels a bit at most.
uint64_t mostPixels(PictureFormat format, size_t length)
{
    switch (format) {
    case PictureFormat::png: return uint64_t{length} * 8 * 1032;
    case PictureFormat::jpeg: return uint64_t{length} * 8 * 256;
    default: return uint64_t{length} * 8 * 4096;
    }
}

// libvips's warnings (a file ending early, a damaged chunk) are kept as the
// reason for the failure they come before, not printed.
std::mutex warningLock;
std::string lastWarning;

void keepWarning(const gchar*, GLogLevelFlags, const gchar* message, gpointer)
{
    std::lock_guard<std::mutex> hold(warningLock);
    if (lastWarning.empty() && message)
        lastWarning = message;
}

std::string takeWarning()
{
    std::lock_guard<std::mutex> hold(warningLock);
    return std::exchange(lastWarning, std::string());
}

// libvips starts once, with its operation cache off: every picture is read
// once and must not stay in memory after. Its optional modules (loaders
// through ImageMagick, poppler, libheif, OpenSlide) are left unloaded: the
// four formats are built in and asked for by name, loading the modules costs
// about 100 ms a process, and their code stays out of reach of hostile
// files. libvips finds them under $VIPSHOME, so that names a folder without
// them while it starts (unless the host set it), and is put back after.
bool startVips()
{
    static const bool started = [] {
        const bool ownHome = std::getenv("VIPSHOME") == nullptr;
        if (ownHome)
            setenv("VIPSHOME", "/nonexistent/lumetra-no-vips-modules", 0);
        const int status = VIPS_INIT("lumetra");
        if (ownHome)
            unsetenv("VIPSHOME");
        if (status != 0)
            return false;
        vips_cache_set_max(0);
        g_log_set_handler("VIPS", GLogLevelFlags(G_LOG_LEVEL_WARNING | G_LOG_LEVEL_MESSAGE | G_LOG_LEVEL_INFO),
                          keepWarning, nullptr);
        return true;
    }();
    return started;
}

// What libvips last reported, in one line: the last line of its error (the
// system's reason, where there is one) and the warning before it; both emptied.
std::string vipsError()
{
    std::string text = vips_error_buffer();
    vips_error_clear();
    while (!text.empty() && text.back() == '\n')
        text.pop_back();
    if (const size_t end = text.find_last_of('\n'); end != std::string::npos)
        text = text.substr(end + 1);
    if (text.rfind("unix error: ", 0) == 0)
        text.erase(0, 12);
    if (const std::string warning = takeWarning(); !warning.empty())
        text = text.empty() ? warning : text + " (" + warning + ")";
    return text.empty() ? "libvips gave no reason" : text;
}

struct Unref {
    void operator()(void* object) const { g_object_unref(object); }
};
using Image = std::unique_ptr<VipsImage, Unref>;

VipsImage* load(PictureFormat format, const uint8_t* data, size_t length, VipsAccess access)
{
    VipsImage* image = nullptr;
    void* bytes = const_cast<uint8_t*>(data);
    const int failOn = VIPS_FAIL_ON_ERROR;
    int status = -1;
    switch (format) {
    case PictureFormat::png:
        status = vips_pngload_buffer(bytes, length, &image, "access", access, "fail_on", failOn, nullptr);
        break;
    case PictureFormat::jpeg:
        status = vips_jpegload_buffer(bytes, length, &image, "access", access, "fail_on", failOn, nullptr);
        break;
    case PictureFormat::tiff:
        status = vips_tiffload_buffer(bytes, length, &image, "access", access, "fail_on", failOn, nullptr);
        break;
    case PictureFormat::webp:
        status = vips_webpload_buffer(bytes, length, &image, "access", access, "fail_on", failOn, nullptr);
        break;
    case PictureFormat::unknown: break;
    }
    return status == 0 ? image : nullptr;
}

std::vector<uint8_t> blob(VipsImage* image, const char* name)
{
    const void* data = nullptr;
    size_t length = 0;
    if (vips_image_get_typeof(image, name) == 0 || vips_image_get_blob(image, name, &data, &length) != 0)
        return {};
    const auto* bytes = static_cast<const uint8_t*>(data);
    return std::vector<uint8_t>(bytes, bytes + length);
}

// Samples of either width, pulled row by row into RGBA.
template <class Sample, class Out>
void unpackRow(const Sample* in, int bands, bool alpha, int32_t width, Out* out, Out opaque)
{
    const int colours = bands - (alpha ? 1 : 0);
    for (int32_t x = 0; x < width; ++x, in += bands, out += 4) {
        out[0] = static_cast<Out>(in[0]);
        out[1] = static_cast<Out>(colours >= 3 ? in[1] : in[0]);
        out[2] = static_cast<Out>(colours >= 3 ? in[2] : in[0]);
        out[3] = alpha ? static_cast<Out>(in[colours]) : opaque;
    }
}

// The decoded picture in the form every picture has: 1 to 4 bands of 8 or
// 16 bits in a colour model the library's pixels can hold.
bool normalise(Image& image, LMPictureFileContents& contents, std::string& error)
{
    VipsImage* in = image.get();
    const VipsInterpretation model = vips_image_get_interpretation(in);
    if (model == VIPS_INTERPRETATION_CMYK) {
        VipsImage* converted = nullptr;
        if (vips_colourspace(in, &converted, VIPS_INTERPRETATION_sRGB, nullptr) != 0) {
            error = vipsError();
            return false;
        }
        image.reset(converted);
        contents.iccProfile.clear();
        vips_image_remove(converted, VIPS_META_ICC_NAME);
        in = converted;
    }
    const VipsBandFormat format = vips_image_get_format(in);
    if (format != VIPS_FORMAT_UCHAR && format != VIPS_FORMAT_USHORT) {
        error = "its samples are neither 8 nor 16-bit whole numbers";
        return false;
    }
    if (vips_image_get_bands(in) > 4) {
        VipsImage* first = nullptr;
        if (vips_extract_band(in, &first, 0, "n", 4, nullptr) != 0) {
            error = vipsError();
            return false;
        }
        image.reset(first);
    }
    return true;
}

bool unpack(VipsImage* image, LMPictureFileContents& contents, std::string& error)
{
    const int32_t width = vips_image_get_width(image);
    const int32_t height = vips_image_get_height(image);
    const int bands = vips_image_get_bands(image);
    const bool deep = vips_image_get_format(image) == VIPS_FORMAT_USHORT;
    contents.alpha = bands == 2 || bands == 4;
    contents.grey = bands <= 2;
    if (deep) {
        contents.bitmap16 = LMBitmap16::bitmapWithSize(width, height);
        if (!contents.bitmap16) {
            error = "no memory for its pixels";
            return false;
        }
    } else {
        contents.bitmap = newBIR(width, height);
        if (!contents.bitmap) {
            error = "no memory for its pixels";
            return false;
        }
    }
    std::unique_ptr<VipsRegion, Unref> region(vips_region_new(image));
    constexpr int32_t strip = 64;
    for (int32_t top = 0; top < height; top += strip) {
        VipsRect rows{0, top, width, std::min(strip, height - top)};
        if (vips_region_prepare(region.get(), &rows) != 0) {
            error = vipsError();
            return false;
        }
        for (int32_t y = top; y < top + rows.height; ++y) {
            const void* in = VIPS_REGION_ADDR(region.get(), 0, y);
            if (deep)
                unpackRow(static_cast<const uint16_t*>(in), bands, contents.alpha, width, contents.bitmap16->rowAt(y),
                          uint16_t{65535});
            else
                unpackRow(static_cast<const uint8_t*>(in), bands, contents.alpha, width, contents.bitmap->rowAt(y),
                          uint8_t{255});
        }
    }
    if (deep && !(contents.bitmap = contents.bitmap16->bitmap8())) {
        error = "no memory for its pixels";
        return false;
    }
    return true;
}

// A PNG chunk claiming more bytes than the file has left: libpng would
// allocate the claim (a 127-byte file's text chunk can claim 218 MB) before
// finding that the data is not there.
bool pngChunksFit(const uint8_t* data, size_t length, std::string& error)
{
    for (size_t at = 8; at + 8 <= length;) {
        const size_t claimed =
            size_t{data[at]} << 24 | size_t{data[at + 1]} << 16 | size_t{data[at + 2]} << 8 | size_t{data[at + 3]};
        if (claimed > length - at - 8) {
            error = "not enough data: a chunk claims " + std::to_string(claimed) + " bytes, the file has " +
                    std::to_string(length - at - 8) + " left";
            return false;
        }
        at += claimed + 12;
    }
    return true;
}

bool readPicture(PictureFormat format, const uint8_t* data, size_t length, LMPictureFileContents& contents,
                 std::string& error)
{
    if (format == PictureFormat::png && !pngChunksFit(data, length, error))
        return false;
    // Read in order, a strip at a time: no copy of the whole picture but ours.
    Image image(load(format, data, length, VIPS_ACCESS_SEQUENTIAL));
    if (!image) {
        error = vipsError();
        return false;
    }
    const int32_t width = vips_image_get_width(image.get());
    const int32_t height = vips_image_get_height(image.get());
    if (uint64_t(width) * uint64_t(height) > mostPixels(format, length)) {
        error = std::to_string(length) + " bytes cannot hold " + std::to_string(width) + " by " +
                std::to_string(height) + " pixels";
        return false;
    }
    contents.iccProfile = blob(image.get(), VIPS_META_ICC_NAME);
    contents.exif = blob(image.get(), VIPS_META_EXIF_NAME);
    int orientation = 1;
    if (vips_image_get_typeof(image.get(), VIPS_META_ORIENTATION))
        vips_image_get_int(image.get(), VIPS_META_ORIENTATION, &orientation);
    if (orientation > 1 && orientation <= 8) {
        // Turning needs the whole picture at once.
        Image whole(load(format, data, length, VIPS_ACCESS_RANDOM));
        VipsImage* upright = nullptr;
        if (!whole || vips_autorot(whole.get(), &upright, nullptr) != 0) {
            error = vipsError();
            return false;
        }
        image.reset(upright);
    }
    return normalise(image, contents, error) && unpack(image.get(), contents, error);
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

std::optional<LMPictureFileFormat> LMPictureFileFormatNamed(const std::string& name)
{
    std::string lower = name;
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (lower == "png")
        return LMPictureFileFormat::png;
    if (lower == "jpg" || lower == "jpeg")
        return LMPictureFileFormat::jpeg;
    if (lower == "tif" || lower == "tiff")
        return LMPictureFileFormat::tiff;
    if (lower == "webp")
        return LMPictureFileFormat::webp;
    return std::nullopt;
}

bool LMReadPictureFile(std::FILE* file, const std::string& name, size_t limit, LMPictureFileContents& contents)
{
    auto refuse = [&] {
        LMLog("LMPicture: Cannot read %s: it holds more than %s, more than any picture file", name.c_str(),
              sizeText(limit).c_str());
        return false;
    };
    // A regular file says how long it is: one too long is not read at all.
    struct stat status {};
    const bool regular = fstat(fileno(file), &status) == 0 && S_ISREG(status.st_mode);
    if (regular && uint64_t(status.st_size) > limit)
        return refuse();
    ReadBuffer buffer;
    switch (readFile(file, limit, regular ? size_t(status.st_size) : 0, buffer)) {
    case ReadResult::failed: LMLog("LMPicture: Cannot read %s: %s", name.c_str(), std::strerror(errno)); return false;
    case ReadResult::outOfMemory: LMLog("LMPicture: Cannot read %s: out of memory", name.c_str()); return false;
    case ReadResult::whole: break;
    }
    if (buffer.length > limit)
        return refuse();
    return LMReadPictureData(buffer.bytes, buffer.length, name, contents);
}

bool LMReadPictureData(const uint8_t* data, size_t length, const std::string& name, LMPictureFileContents& contents)
{
    const PictureFormat format = formatOf(data, length);
    if (format == PictureFormat::unknown) {
        LMLog("LMPicture: %s is not a PNG, JPEG, TIFF or WebP file", name.c_str());
        return false;
    }
    std::string error = "libvips could not start";
    contents = {};
    takeWarning();
    if (!startVips() || !readPicture(format, data, length, contents, error)) {
        contents = {};
        LMLog("LMPicture: Cannot read %s: %s", name.c_str(), error.c_str());
        return false;
    }
    return true;
}

namespace {

// Every pixel neutral (red, green and blue equal), and every pixel opaque.
template <class Bitmap, class Sample>
void survey(const Bitmap& bitmap, Sample opaque, bool& neutral, bool& opaqueOnly)
{
    neutral = opaqueOnly = true;
    for (int32_t y = 0; y < bitmap.pixelsHigh() && (neutral || opaqueOnly); ++y) {
        const Sample* pixel = bitmap.rowAt(y);
        for (int32_t x = 0; x < bitmap.pixelsWide(); ++x, pixel += 4) {
            neutral = neutral && pixel[0] == pixel[1] && pixel[1] == pixel[2];
            opaqueOnly = opaqueOnly && pixel[3] == opaque;
        }
    }
}

// The bands to write, from the RGBA image: grey or colour, alpha or not.
VipsImage* chooseBands(VipsImage* rgba, bool grey, bool alpha)
{
    VipsImage* colour = nullptr;
    if (vips_extract_band(rgba, &colour, 0, "n", grey ? 1 : 3, nullptr) != 0)
        return nullptr;
    if (!alpha)
        return colour;
    Image colourPart(colour);
    VipsImage* alphaBand = nullptr;
    if (vips_extract_band(rgba, &alphaBand, 3, nullptr) != 0)
        return nullptr;
    Image alphaPart(alphaBand);
    VipsImage* joined = nullptr;
    return vips_bandjoin2(colour, alphaBand, &joined, nullptr) == 0 ? joined : nullptr;
}

} // namespace

bool LMWritePictureFile(const LMPictureFileContents& contents, std::FILE* file, const LMPictureFileOptions& options,
                        std::string& error, bool allChannels)
{
    if (!startVips()) {
        error = "libvips could not start";
        return false;
    }
    takeWarning();
    const bool formatHolds16 =
        options.format == LMPictureFileFormat::png || options.format == LMPictureFileFormat::tiff;
    const int depth = !formatHolds16 ? 8 : options.bitsPerSample ? options.bitsPerSample : contents.bitmap16 ? 16 : 8;
    if (options.bitsPerSample != 0 && options.bitsPerSample != 8 && options.bitsPerSample != 16) {
        error = "a depth of " + std::to_string(options.bitsPerSample) + " bits is neither 8 nor 16";
        return false;
    }
    if (!contents.bitmap && !contents.bitmap16) {
        error = "there are no pixels";
        return false;
    }

    // libvips reads the pixels where they are; an 8-bit bitmap's padded rows
    // are cropped away, and 16 bits from an 8-bit bitmap are made here.
    std::shared_ptr<LMBitmap16> deep = depth == 16 ? contents.bitmap16 : nullptr;
    std::shared_ptr<LMBitmap> shallow = depth == 8 ? contents.bitmap : nullptr;
    if (depth == 16 && !deep) {
        const LMBitmap& source = *contents.bitmap;
        if (!(deep = LMBitmap16::bitmapWithSize(source.pixelsWide(), source.pixelsHigh()))) {
            error = "no memory for its pixels";
            return false;
        }
        for (int32_t y = 0; y < source.pixelsHigh(); ++y)
            for (int32_t i = 0; i < source.pixelsWide() * 4; ++i)
                deep->rowAt(y)[i] = static_cast<uint16_t>(source.rowAt(y)[i] * 257);
    }
    if (depth == 8 && !shallow && !(shallow = contents.bitmap16->bitmap8())) {
        error = "no memory for its pixels";
        return false;
    }
    bool neutral = false, opaque = false;
    Image rgba;
    if (deep) {
        survey(*deep, uint16_t{65535}, neutral, opaque);
        rgba.reset(vips_image_new_from_memory(deep->bitmapData(), size_t(deep->bytesPerRow()) * deep->pixelsHigh(),
                                              deep->pixelsWide(), deep->pixelsHigh(), 4, VIPS_FORMAT_USHORT));
    } else {
        survey(*shallow, uint8_t{255}, neutral, opaque);
        Image padded(
            vips_image_new_from_memory(shallow->bitmapData(), size_t(shallow->bytesPerRow()) * shallow->pixelsHigh(),
                                       shallow->bytesPerRow() / 4, shallow->pixelsHigh(), 4, VIPS_FORMAT_UCHAR));
        VipsImage* cropped = nullptr;
        if (padded &&
            vips_crop(padded.get(), &cropped, 0, 0, shallow->pixelsWide(), shallow->pixelsHigh(), nullptr) == 0)
            rgba.reset(cropped);
    }
    const bool grey = contents.grey && neutral && !allChannels;
    // JPEG holds no alpha: it is dropped.
    const bool alpha = (!opaque || allChannels) && options.format != LMPictureFileFormat::jpeg;
    Image bands(rgba ? chooseBands(rgba.get(), grey, alpha) : nullptr);
    VipsImage* tagged = nullptr;
    const VipsInterpretation model = grey ? (deep ? VIPS_INTERPRETATION_GREY16 : VIPS_INTERPRETATION_B_W)
                                          : (deep ? VIPS_INTERPRETATION_RGB16 : VIPS_INTERPRETATION_sRGB);
    if (!bands || vips_copy(bands.get(), &tagged, "interpretation", model, nullptr) != 0) {
        error = vipsError();
        return false;
    }
    Image out(tagged);
    // A profile for other colours than the pixels have (an RGB profile on
    // grey pixels) would be refused by viewers: it goes.
    const bool profileFits =
        contents.iccProfile.size() > 20 && (std::memcmp(contents.iccProfile.data() + 16, "GRAY", 4) == 0) == grey;
    if (profileFits)
        vips_image_set_blob_copy(out.get(), VIPS_META_ICC_NAME, contents.iccProfile.data(), contents.iccProfile.size());
    if (!contents.exif.empty()) {
        vips_image_set_blob_copy(out.get(), VIPS_META_EXIF_NAME, contents.exif.data(), contents.exif.size());
        // The pixels stand upright already.
        vips_image_set_int(out.get(), VIPS_META_ORIENTATION, 1);
    }

    // Bytes go through the stream, and the system's reason for a failed
    // write (a full disk) is kept over whatever the encoder makes of it.
    struct Sink {
        std::FILE* file;
        int failure = 0;
    } sink{file};
    std::unique_ptr<VipsTarget, Unref> target(VIPS_TARGET(vips_target_custom_new()));
    using WriteCallback = gint64 (*)(VipsTargetCustom*, const void*, gint64, Sink*);
    const WriteCallback write = [](VipsTargetCustom*, const void* data, gint64 length, Sink* into) -> gint64 {
        if (into->failure)
            return -1;
        const size_t put = std::fwrite(data, 1, size_t(length), into->file);
        if (put < size_t(length))
            into->failure = errno ? errno : EIO;
        return put < size_t(length) ? -1 : length;
    };
    g_signal_connect(target.get(), "write", G_CALLBACK(write), &sink);
    const int quality = std::clamp(options.quality, 1, 100);
    int status = -1;
    switch (options.format) {
    case LMPictureFileFormat::png:
        status = vips_pngsave_target(out.get(), target.get(), "bitdepth", depth, nullptr);
        break;
    case LMPictureFileFormat::jpeg:
        status = vips_jpegsave_target(out.get(), target.get(), "Q", quality, nullptr);
        break;
    case LMPictureFileFormat::tiff: {
        // libtiff goes back to mend offsets, which a stream cannot: the file is made in memory first.
        void* bytes = nullptr;
        size_t length = 0;
        status = vips_tiffsave_buffer(out.get(), &bytes, &length, "compression", VIPS_FOREIGN_TIFF_COMPRESSION_DEFLATE,
                                      "predictor", VIPS_FOREIGN_TIFF_PREDICTOR_HORIZONTAL, nullptr);
        if (status == 0 && vips_target_write(target.get(), bytes, length) != 0)
            status = -1;
        g_free(bytes);
        break;
    }
    case LMPictureFileFormat::webp:
        status =
            vips_webpsave_target(out.get(), target.get(), "Q", quality, "lossless", options.lossless ? 1 : 0, nullptr);
        break;
    }
    if (status == 0 && vips_target_end(target.get()) != 0)
        status = -1;
    if (status != 0 || sink.failure) {
        error = vipsError();
        if (sink.failure)
            error = std::strerror(sink.failure);
        return false;
    }
    return true;
}
