#pragma once

#include "lumetra/interop/LMContentScaleMode.h"
#include "lumetra/platform/LMBitmap.h"
#include "lumetra/platform/LMBitmap16.h"
#include "lumetra/platform/LMGL.h"
#include "lumetra/platform/LMPictureFormat.h"
#include "lumetra/platform/LMRGBA.h"
#include "lumetra/platform/LMSize.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class LMContext;
class LMImage;
struct LMPictureFileContents;

// A picture: a size in points and the bitmap it is drawn from. A picture is
// drawn at its size truncated to whole pixels, so a 3.9 by 2.9 point picture
// becomes 3 by 2 pixels; a bitmap of another size is scaled to fit. Pictures
// come from bitmaps in memory, from PNG, JPEG, TIFF and WebP files, and from
// images of a context; they go to picture files, GL textures and images of a
// context.
//
// A picture read from a file of more than 8 bits a sample, or read back from
// an image at 16, keeps 16-bit pixels (bitmap16) beside its 8-bit bitmap; it
// is uploaded and written at 16 bits. A picture also carries what its file
// said beyond the pixels: whether it was grey, its ICC profile and its EXIF
// block, which are written again with it where the format holds them. The
// profile is never applied: the pixels stay in the file's own colours.
//
// Threads: no lock; reads change nothing, so several threads may read one picture while nobody changes it. Files
// and bitmaps are handled on the calling thread; each upload or read-back is one block on the context's GL queue.
class LMPicture {
public:
    // The bitmap at one point per pixel; null for a null bitmap.
    static std::shared_ptr<LMPicture> pictureWithBitmap(std::shared_ptr<LMBitmap> bitmap);
    // The 16-bit bitmap at one point per pixel; its 8-bit bitmap is made
    // from it, each sample rounded. Null for a null bitmap.
    static std::shared_ptr<LMPicture> pictureWithBitmap16(std::shared_ptr<LMBitmap16> bitmap);
    // A PNG, JPEG, TIFF or WebP file, told apart by its first bytes, turned
    // upright by its EXIF orientation. A file that cannot
    // be read whole gives null and a log line that says why. So does a file
    // or stream (a FIFO, /dev/stdin) of more than largestFileBytes, which is
    // read no further.
    static std::shared_ptr<LMPicture> pictureWithContentsOfFile(const std::string& path);
    // The same from an open stream (standard input, a pipe), read to its
    // end; `name` is what log lines call it.
    static std::shared_ptr<LMPicture> pictureWithContentsOfStream(std::FILE* stream, const std::string& name);
    // 2 GiB, the size of the largest bitmap. Picture files compress their
    // pixels, so real ones are far smaller; only an uncompressed file of a
    // picture near the bitmap limit could be refused by it.
    static constexpr size_t largestFileBytes = size_t(1) << 31;

    // In points. Setting it changes how large the picture is drawn, not the bitmap.
    LMSize size() const { return size_; }
    void setSize(LMSize size) { size_ = size; }
    const std::shared_ptr<LMBitmap>& bitmap() const { return bitmap_; }
    // The same pixels at 16 bits a sample; null for an 8-bit picture.
    const std::shared_ptr<LMBitmap16>& bitmap16() const { return bitmap16_; }
    int bitsPerSample() const { return bitmap16_ ? 16 : 8; }

    // Grey: written grey while its pixels stay neutral. Set by reading a grey file.
    bool isGrey() const { return grey_; }
    void setGrey(bool grey) { grey_ = grey; }
    // The ICC profile and EXIF block, as a file held them; empty for none.
    const std::vector<uint8_t>& iccProfile() const { return iccProfile_; }
    void setICCProfile(std::vector<uint8_t> profile) { iccProfile_ = std::move(profile); }
    const std::vector<uint8_t>& exifData() const { return exif_; }
    void setExifData(std::vector<uint8_t> exif) { exif_ = std::move(exif); }
    // Every pixel fully opaque.
    bool isOpaque() const;
    // A new picture of the same size and kind: this one drawn over an opaque
    // background, so that every pixel is opaque. Null when out of memory.
    std::shared_ptr<LMPicture> pictureFlattenedOnto(LMRGBA background) const;

    // The picture drawn into a new bitmap of its truncated size: rows top
    // down, colour not multiplied by alpha. Null, logged, when that size is
    // less than one pixel either way.
    std::shared_ptr<LMBitmap> rasterizedBitmap() const;
    // Writes the rasterised picture as an 8-bit RGBA PNG; false, logged, on failure.
    bool writePNGToFile(const std::string& path) const;
    // The same as a colour JPEG (alpha dropped), quality 1 to 100.
    bool writeJPEGToFile(const std::string& path, int quality = 90) const;
    // Any of the formats, as the options say: grey when the picture is grey
    // and its pixels neutral, alpha only where a pixel is not opaque, the
    // profile and EXIF block kept. False, logged, on failure.
    bool writeToFile(const std::string& path, const LMPictureFileOptions& options) const;
    // The same to an open stream (standard output); `name` is what log lines call it.
    bool writeToStream(std::FILE* stream, const std::string& name, const LMPictureFileOptions& options) const;

    // Crossings into and out of a context. GL work runs on the context's GL
    // queue; drawing bitmaps runs on the calling thread.
    //
    // A new rectangle texture (GL_RGBA8) of the context holding the picture
    // upright in GL's bottom-up convention, its colour multiplied by alpha as
    // when drawn onto a transparent canvas. A 16-bit picture drawn at its
    // bitmap's size gives a GL_RGBA16 texture of its 16-bit pixels. The caller owns it and deletes it
    // in that context. 0 when no texture could be made.
    GLuint glTextureWithContext(const std::shared_ptr<LMContext>& context) const;
    // A new image of the context's size holding the picture fitted by the
    // mode (fill by default). The temporary texture is deleted before the
    // call returns. Null without a live context, or when no texture could be made.
    std::shared_ptr<LMImage> lumetraImageWithContext(const std::shared_ptr<LMContext>& context,
                                                     LMContentScaleMode mode) const;
    std::shared_ptr<LMImage> lumetraImageWithContext(const std::shared_ptr<LMContext>& context) const;
    // A new image of the picture's own size in pixels (truncated as when it
    // is drawn), whatever the context's size, holding the picture pixel for
    // pixel, colour multiplied by alpha (a 16-bit picture's 16 bits whole).
    // Resample it to another size with a filter (LMFilterResize). Null without a live context, below one pixel
    // either way, or when no target could be leased or filled (logged).
    std::shared_ptr<LMImage> lumetraImageOfOwnSizeWithContext(const std::shared_ptr<LMContext>& context) const;
    // The image's pixels read back into a new picture of its floored size,
    // alpha opaque. Null for a null image, one whose context is gone, one
    // with no render target, or when GL reports an error reading it (logged).
    static std::shared_ptr<LMPicture> imageWithLMImage(const std::shared_ptr<LMImage>& image);
    // The same at 8 or 16 bits a sample: 16 reads the render target's 16
    // bits into a picture with bitmap16.
    static std::shared_ptr<LMPicture> imageWithLMImage(const std::shared_ptr<LMImage>& image, int bitsPerSample);
    // The image's pixels read back straight into the caller's memory, rows
    // top down, `bytesPerRow` apart (whole pixels): `channels` 3 (RGB) or 4 (RGBA, alpha
    // opaque) samples a pixel of 8 or 16 bits (native byte order). What a
    // host with pixels of its own layout (an array, a video frame) reads
    // into without a picture in between. False, leaving the memory
    // unspecified, for a null image, one whose context is gone or has no
    // target, a layout it cannot be, or a GL error (logged).
    static bool readPixels(const std::shared_ptr<LMImage>& image, int channels, int bitsPerSample, void* pixels,
                           size_t bytesPerRow);
    // The way in: the host's rows (top down, `bytesPerRow` apart, `channels`
    // 3 or 4 samples of 8 or 16 bits, colour taken as opaque) uploaded into a
    // new image of the context at their own size, with one copy to turn the
    // rows over and no picture in between. Null for a layout it cannot be,
    // no render target, or a GL error (logged).
    static std::shared_ptr<LMImage> imageWithPixels(const std::shared_ptr<LMContext>& context, const void* pixels,
                                                    int32_t width, int32_t height, int channels, int bitsPerSample,
                                                    size_t bytesPerRow);

private:
    // The rasterised picture upright in GL's bottom-up rows, colour
    // multiplied by alpha: what every upload sends. Null when it cannot be made.
    std::shared_ptr<LMBitmap> uprightBitmapForUpload() const;
    bool writeToFile(const std::string& path,
                     const std::function<bool(const LMBitmap&, std::FILE*, std::string&)>& write) const;
    LMPicture(std::shared_ptr<LMBitmap> bitmap, LMSize size);
    static std::shared_ptr<LMPicture> pictureWithFile(bool read, LMPictureFileContents& contents);
    // The 16-bit pixels when they are drawn as they are: at the bitmap's own size.
    bool drawsBitmap16() const;
    bool fileContents(LMPictureFileContents& contents) const;

    std::shared_ptr<LMBitmap> bitmap_;
    std::shared_ptr<LMBitmap16> bitmap16_;
    LMSize size_;
    bool grey_ = false;
    std::vector<uint8_t> iccProfile_;
    std::vector<uint8_t> exif_;
};
