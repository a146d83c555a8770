#pragma once

#include "lumetra/interop/LMContentScaleMode.h"
#include "lumetra/platform/LMBitmap.h"
#include "lumetra/platform/LMGL.h"
#include "lumetra/platform/LMSize.h"

#include <cstddef>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>

class LMContext;
class LMImage;

// A picture: a size in points and the bitmap it is drawn from. A picture is
// drawn at its size truncated to whole pixels, so a 3.9 by 2.9 point picture
// becomes 3 by 2 pixels; a bitmap of another size is scaled to fit. Pictures
// come from bitmaps in memory, from PNG and JPEG files, and from images of a
// context; they go to PNG files, GL textures and images of a context.
//
// Threads: no lock; reads change nothing, so several threads may read one picture while nobody changes it. Files
// and bitmaps are handled on the calling thread; each upload or read-back is one block on the context's GL queue.
class LMPicture {
public:
    // The bitmap at one point per pixel; null for a null bitmap.
    static std::shared_ptr<LMPicture> pictureWithBitmap(std::shared_ptr<LMBitmap> bitmap);
    // A PNG or JPEG file, told apart by its first bytes. A file that cannot
    // be read whole gives null and a log line that says why. So does a file
    // or stream (a FIFO, /dev/stdin) of more than largestFileBytes, which is
    // read no further.
    static std::shared_ptr<LMPicture> pictureWithContentsOfFile(const std::string& path);
    // 2 GiB, the size of the largest bitmap. Picture files compress their
    // pixels, so real ones are far smaller; only an uncompressed file of a
    // picture near the bitmap limit could be refused by it.
    static constexpr size_t largestFileBytes = size_t(1) << 31;

    // In points. Setting it changes how large the picture is drawn, not the bitmap.
    LMSize size() const { return size_; }
    void setSize(LMSize size) { size_ = size; }
    const std::shared_ptr<LMBitmap>& bitmap() const { return bitmap_; }

    // The picture drawn into a new bitmap of its truncated size: rows top
    // down, colour not multiplied by alpha. Null, logged, when that size is
    // less than one pixel either way.
    std::shared_ptr<LMBitmap> rasterizedBitmap() const;
    // Writes the rasterised picture as an 8-bit RGBA PNG; false, logged, on failure.
    bool writePNGToFile(const std::string& path) const;
    // The same as a colour JPEG (alpha dropped), quality 1 to 100.
    bool writeJPEGToFile(const std::string& path, int quality = 90) const;

    // Crossings into and out of a context. GL work runs on the context's GL
    // queue; drawing bitmaps runs on the calling thread.
    //
    // A new rectangle texture (GL_RGBA8) of the context holding the picture
    // upright in GL's bottom-up convention, its colour multiplied by alpha as
    // when drawn onto a transparent canvas. The caller owns it and deletes it
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
    // pixel, colour multiplied by alpha. Resample it to another size with a
    // filter (LMFilterResize). Null without a live context, below one pixel
    // either way, or when no target could be leased or filled (logged).
    std::shared_ptr<LMImage> lumetraImageOfOwnSizeWithContext(const std::shared_ptr<LMContext>& context) const;
    // The image's pixels read back into a new picture of its floored size,
    // alpha opaque. Null for a null image, one whose context is gone, one
    // with no render target, or when GL reports an error reading it (logged).
    static std::shared_ptr<LMPicture> imageWithLMImage(const std::shared_ptr<LMImage>& image);

private:
    // The rasterised picture upright in GL's bottom-up rows, colour
    // multiplied by alpha: what every upload sends. Null when it cannot be made.
    std::shared_ptr<LMBitmap> uprightBitmapForUpload() const;
    bool writeToFile(const std::string& path,
                     const std::function<bool(const LMBitmap&, std::FILE*, std::string&)>& write) const;
    LMPicture(std::shared_ptr<LMBitmap> bitmap, LMSize size);

    std::shared_ptr<LMBitmap> bitmap_;
    LMSize size_;
};
