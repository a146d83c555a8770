#include "view/WindowCapture.h"

#include <lumetra/interop/LMPicture.h>
#include <lumetra/platform/LMBitmap.h>
#include <lumetra/platform/LMEGLDisplay.h>

#include <X11/Xlib.h>
#include <X11/Xutil.h>

namespace {

Display* x11Display()
{
    LMEGLDisplay* display = LMEGLDisplay::shared();
    return static_cast<Display*>(display ? display->x11Display() : nullptr);
}

} // namespace

void WindowCapture::clearWindow(unsigned long window)
{
    if (Display* x11 = x11Display())
        XClearWindow(x11, window);
}

WindowCapture WindowCapture::ofWindow(unsigned long window)
{
    WindowCapture capture;
    Display* x11 = x11Display();
    XWindowAttributes attributes;
    // The view's swaps went out on this same connection; the sync makes sure
    // the server has handled them.
    if (!x11 || !window || (XSync(x11, False), !XGetWindowAttributes(x11, window, &attributes)) ||
        attributes.map_state != IsViewable)
        return capture;
    XImage* image = XGetImage(x11, window, 0, 0, attributes.width, attributes.height, AllPlanes, ZPixmap);
    if (!image)
        return capture;
    capture.bitmap_ = newBIR(attributes.width, attributes.height);
    for (int y = 0; y < attributes.height; ++y)
        for (int x = 0; x < attributes.width; ++x) {
            const unsigned long shown = XGetPixel(image, x, y);
            uint8_t* pixel = capture.bitmap_->rowAt(y) + x * 4;
            pixel[0] = uint8_t(shown >> 16), pixel[1] = uint8_t(shown >> 8), pixel[2] = uint8_t(shown), pixel[3] = 255;
        }
    XDestroyImage(image);
    return capture;
}

uint32_t WindowCapture::pixelAt(int x, int y) const
{
    if (!bitmap_ || x < 0 || y < 0 || x >= bitmap_->pixelsWide() || y >= bitmap_->pixelsHigh())
        return 0xFF000000;
    const uint8_t* pixel = bitmap_->rowAt(bitmap_->pixelsHigh() - 1 - y) + x * 4;
    return uint32_t(pixel[0]) << 16 | uint32_t(pixel[1]) << 8 | pixel[2];
}

bool WindowCapture::writePNG(const std::string& path) const
{
    return bitmap_ && LMPicture::pictureWithBitmap(bitmap_)->writePNGToFile(path);
}
