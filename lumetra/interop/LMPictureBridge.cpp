// The crossings between pictures and contexts: the picture's own, and the
// image's debugger preview, which is declared with the image but made here,
// beside the picture it makes, so that graph/ never reaches up to pictures.

#include "lumetra/interop/LMPicture.h"

#include "lumetra/context/LMContext.h"
#include "lumetra/graph/LMImage.h"
#include "lumetra/interop/LMOpenGLTextureAdapter.h"
#include "lumetra/platform/LMLog.h"

#include <cstring>
#include <limits>
#include <new>
#include <type_traits>
#include <vector>

namespace {

// What drawing onto a transparent canvas gives: colour times alpha. Render
// targets keep no alpha, so transparent parts of a picture come out black
// rather than in whatever colour their invisible pixels happen to hold.
// For 8- and 16-bit bitmaps alike.
template <class Bitmap>
void multiplyByAlpha(Bitmap& bitmap)
{
    using Sample = std::remove_pointer_t<decltype(bitmap.rowAt(0))>;
    constexpr uint32_t opaque = std::numeric_limits<Sample>::max();
    for (int32_t y = 0; y < bitmap.pixelsHigh(); ++y) {
        Sample* pixel = bitmap.rowAt(y);
        for (int32_t x = 0; x < bitmap.pixelsWide(); ++x, pixel += 4) {
            const uint32_t alpha = pixel[3];
            if (alpha == opaque)
                continue;
            for (int sample = 0; sample < 3; ++sample)
                pixel[sample] = static_cast<Sample>((pixel[sample] * alpha + opaque / 2) / opaque);
        }
    }
}

// 16-bit pixels flipped to GL's bottom-up rows, colour times alpha.
std::shared_ptr<LMBitmap16> uprightForUpload(const LMBitmap16& bitmap)
{
    std::shared_ptr<LMBitmap16> upright = bitmap.flipped();
    if (upright)
        multiplyByAlpha(*upright);
    return upright;
}

} // namespace

std::shared_ptr<LMBitmap> LMPicture::uprightBitmapForUpload() const
{
    // Drawing and flipping on the calling thread; only the upload on the GL
    // queue. A bitmap of the picture's size is flipped as it is, not copied first.
    const bool asStored = bitmap_->pixelsWide() == LMTruncateToGLint(size_.width) &&
                          bitmap_->pixelsHigh() == LMTruncateToGLint(size_.height);
    std::shared_ptr<LMBitmap> raster = asStored ? bitmap_ : rasterizedBitmap();
    if (!raster)
        return nullptr;
    std::shared_ptr<LMBitmap> upright = flippedBIR(raster, raster->pixelsWide(), raster->pixelsHigh());
    if (upright)
        multiplyByAlpha(*upright);
    return upright;
}

namespace {

// Uploads the pixels into the bound rectangle texture: a new texture of
// their size in `internalFormat` or, with `replace`, over the texture's
// lower-left corner. Rows are `rowLength` pixels apart. On the GL queue;
// false when GL reports an error.
bool uploadPixels(const void* pixels, GLsizei width, GLsizei height, GLint rowLength, GLenum type, GLint internalFormat,
                  bool replace, GLenum format = GL_RGBA)
{
    // A host block may have left skips, swapping or an unpack buffer
    // that would read outside the bitmap.
    LMOpenGL::setUploadState();
    glPixelStorei(GL_UNPACK_ROW_LENGTH, rowLength);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    if (replace)
        glTexSubImage2D(GL_TEXTURE_RECTANGLE, 0, 0, 0, width, height, format, type, pixels);
    else
        glTexImage2D(GL_TEXTURE_RECTANGLE, 0, internalFormat, width, height, 0, format, type, pixels);
    // Back to GL's defaults, for whoever uploads next in this context.
    glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    return LMOpenGL::takeErrors() == GL_NO_ERROR;
}

// 8 bits a sample, GL_RGBA8. Rows are padded: GL steps by the true row length.
bool uploadBitmap(const LMBitmap& upright, bool replace)
{
    return uploadPixels(upright.bitmapData(), upright.pixelsWide(), upright.pixelsHigh(),
                        upright.bytesPerRow() * 8 / upright.bitsPerPixel(), GL_UNSIGNED_BYTE, GL_RGBA8, replace);
}

// 16 bits a sample, GL_RGBA16; rows are packed.
bool uploadBitmap(const LMBitmap16& upright, bool replace)
{
    return uploadPixels(upright.bitmapData(), upright.pixelsWide(), upright.pixelsHigh(), 0, GL_UNSIGNED_SHORT,
                        GL_RGBA16, replace);
}

// A new image of `size` whose texture `fill` uploads into (bound, on the
// GL queue; it says whether GL took the pixels). Null, with the failure
// logged, when the pool gives no target or the upload fails.
template <class Fill>
std::shared_ptr<LMImage> uploadedImage(const std::shared_ptr<LMContext>& context, LMSize size, Fill&& fill)
{
    auto image = LMImage::imageWithContext(context, size);
    if (!image->target())
        return nullptr;
    bool uploaded = false;
    context->executeOpenGL([&] {
        // Whatever earlier work left pending must not read as our failure.
        LMOpenGL::takeErrors();
        glBindTexture(GL_TEXTURE_RECTANGLE, image->texture());
        uploaded = fill();
    });
    if (!uploaded)
        LMLog("LMPicture: Error uploading a picture of %d by %d pixels into an image", LMFloorToGLint(size.width),
              LMFloorToGLint(size.height));
    return uploaded ? image : nullptr;
}

} // namespace

GLuint LMPicture::glTextureWithContext(const std::shared_ptr<LMContext>& context) const
{
    if (!context)
        return 0;
    std::shared_ptr<LMBitmap16> upright16 = drawsBitmap16() ? uprightForUpload(*bitmap16_) : nullptr;
    std::shared_ptr<LMBitmap> upright = upright16 ? nullptr : uprightBitmapForUpload();
    if (!upright && !upright16)
        return 0;

    GLuint texture = 0;
    context->executeOpenGL([&] {
        // Whatever earlier work left pending must not read as our failure.
        LMOpenGL::takeErrors();
        glGenTextures(1, &texture);
        glBindTexture(GL_TEXTURE_RECTANGLE, texture);
        if (!(upright16 ? uploadBitmap(*upright16, false) : uploadBitmap(*upright, false))) {
            LMLog("LMPicture: Error uploading a texture of %d by %d pixels",
                  upright16 ? upright16->pixelsWide() : upright->pixelsWide(),
                  upright16 ? upright16->pixelsHigh() : upright->pixelsHigh());
            glDeleteTextures(1, &texture);
            texture = 0;
        }
    });
    return texture;
}

std::shared_ptr<LMImage> LMPicture::lumetraImageOfOwnSizeWithContext(const std::shared_ptr<LMContext>& context) const
{
    if (!context)
        return nullptr;
    // 16-bit pixels go into the 16-bit render target whole.
    std::shared_ptr<LMBitmap16> upright16 = drawsBitmap16() ? uprightForUpload(*bitmap16_) : nullptr;
    std::shared_ptr<LMBitmap> upright = upright16 ? nullptr : uprightBitmapForUpload();
    if (!upright && !upright16)
        return nullptr;
    const LMSize size = upright16 ? LMSize{double(upright16->pixelsWide()), double(upright16->pixelsHigh())}
                                  : LMSize{double(upright->pixelsWide()), double(upright->pixelsHigh())};
    return uploadedImage(context, size,
                         [&] { return upright16 ? uploadBitmap(*upright16, true) : uploadBitmap(*upright, true); });
}

std::shared_ptr<LMImage> LMPicture::imageWithPixels(const std::shared_ptr<LMContext>& context, const void* pixels,
                                                    int32_t width, int32_t height, int channels, int bitsPerSample,
                                                    size_t bytesPerRow)
{
    const size_t sampleBytes = size_t(bitsPerSample) / 8;
    const size_t rowBytes = size_t(width) * size_t(channels) * sampleBytes;
    if (!context || !pixels || width < 1 || height < 1 || (channels != 3 && channels != 4) ||
        (bitsPerSample != 8 && bitsPerSample != 16) || bytesPerRow < rowBytes)
        return nullptr;
    // GL's rows run bottom-up: the rows turned over once, packed, as they are
    // uploaded. Colour is taken as opaque (a target holds no alpha).
    std::vector<uint8_t> upright;
    try {
        upright.resize(rowBytes * size_t(height));
    } catch (const std::bad_alloc&) {
        LMLog("LMPicture: Not enough memory to upload %d by %d pixels", width, height);
        return nullptr;
    }
    const auto* rows = static_cast<const uint8_t*>(pixels);
    for (int32_t y = 0; y < height; ++y)
        std::memcpy(upright.data() + size_t(height - 1 - y) * rowBytes, rows + size_t(y) * bytesPerRow, rowBytes);
    return uploadedImage(context, {double(width), double(height)}, [&] {
        return uploadPixels(upright.data(), width, height, 0,
                            bitsPerSample == 16 ? GL_UNSIGNED_SHORT : GL_UNSIGNED_BYTE, 0, true,
                            channels == 3 ? GL_RGB : GL_RGBA);
    });
}

std::shared_ptr<LMImage> LMPicture::lumetraImageWithContext(const std::shared_ptr<LMContext>& context) const
{
    return lumetraImageWithContext(context, LMContentScaleModeFill);
}

std::shared_ptr<LMImage> LMPicture::lumetraImageWithContext(const std::shared_ptr<LMContext>& context,
                                                            LMContentScaleMode mode) const
{
    const GLuint texture = glTextureWithContext(context);
    if (!texture)
        return nullptr;

    auto adapter = LMOpenGLTextureAdapter::adapterWithContext(context);
    adapter->setContentScaleMode(mode);
    // The texture's own size in texels, not the size in points: a 3.9 point
    // wide picture has 3 texels, and sampling up to 3.9 would smear the last
    // column.
    const LMSize texels{static_cast<double>(LMTruncateToGLint(size_.width)),
                        static_cast<double>(LMTruncateToGLint(size_.height))};
    std::shared_ptr<LMImage> image = adapter->convertTexture(texture, texels);
    context->executeOpenGL([&] { glDeleteTextures(1, &texture); });
    return image;
}

bool LMPicture::readPixels(const std::shared_ptr<LMImage>& image, int channels, int bitsPerSample, void* pixels,
                           size_t bytesPerRow)
{
    std::shared_ptr<LMContext> context = image ? image->context() : nullptr;
    if (!context || !image->target() || !pixels || (channels != 3 && channels != 4) ||
        (bitsPerSample != 8 && bitsPerSample != 16))
        return false;
    const GLint width = LMFloorToGLint(image->dimensions().width);
    const GLint height = LMFloorToGLint(image->dimensions().height);
    const size_t sampleBytes = bitsPerSample / 8;
    const size_t rowBytes = size_t(width) * size_t(channels) * sampleBytes;
    // GL steps from row to row by whole pixels.
    const size_t pixelBytes = size_t(channels) * sampleBytes;
    if (width < 1 || height < 1 || bytesPerRow < rowBytes || bytesPerRow % pixelBytes)
        return false;
    bool read = false;
    context->executeOpenGL([&] {
        LMOpenGL::takeErrors();
        glBindFramebuffer(GL_READ_FRAMEBUFFER, image->framebuffer());
        // Packing of its own: a host block may have left skips or a pack
        // buffer that would write outside the caller's memory.
        context->gl()->readPixels(width, height, channels, bitsPerSample, pixels, bytesPerRow);
        if (const GLenum error = LMOpenGL::takeErrors(); error != GL_NO_ERROR)
            LMLog("LMPicture: Error 0x%04X reading back an image of %d by %d pixels", error, width, height);
        else
            read = true;
    });
    if (!read)
        return false;
    // GL's rows run bottom-up, a picture's top-down: turned over in place.
    std::vector<uint8_t> spare(rowBytes);
    auto* rows = static_cast<uint8_t*>(pixels);
    for (GLint top = 0, bottom = height - 1; top < bottom; ++top, --bottom) {
        uint8_t* upper = rows + size_t(top) * bytesPerRow;
        uint8_t* lower = rows + size_t(bottom) * bytesPerRow;
        std::memcpy(spare.data(), upper, rowBytes);
        std::memcpy(upper, lower, rowBytes);
        std::memcpy(lower, spare.data(), rowBytes);
    }
    return true;
}

std::shared_ptr<LMPicture> LMPicture::imageWithLMImage(const std::shared_ptr<LMImage>& image, int bitsPerSample)
{
    if (bitsPerSample != 16)
        return imageWithLMImage(image);
    if (!image || !image->context() || !image->target())
        return nullptr;
    std::shared_ptr<LMBitmap16> readBack = LMBitmap16::bitmapWithSize(LMFloorToGLint(image->dimensions().width),
                                                                      LMFloorToGLint(image->dimensions().height));
    if (!readBack || !readPixels(image, 4, 16, readBack->bitmapData(), size_t(readBack->bytesPerRow())))
        return nullptr;
    return pictureWithBitmap16(std::move(readBack));
}

std::shared_ptr<LMPicture> LMPicture::imageWithLMImage(const std::shared_ptr<LMImage>& image)
{
    if (!image || !image->context() || !image->target())
        return nullptr;
    const GLint width = LMFloorToGLint(image->dimensions().width);
    const GLint height = LMFloorToGLint(image->dimensions().height);
    std::shared_ptr<LMBitmap> readBack = newBIR(width, height);
    if (!readBack || !readPixels(image, 4, 8, readBack->bitmapData(), size_t(readBack->bytesPerRow())))
        return nullptr;
    return std::shared_ptr<LMPicture>(
        new LMPicture(std::move(readBack), {static_cast<double>(width), static_cast<double>(height)}));
}

std::shared_ptr<LMPicture> LMImage::debugQuickLookObject()
{
    return LMPicture::imageWithLMImage(shared_from_this());
}
