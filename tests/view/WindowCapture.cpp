#include "view/WindowCapture.h"

#include <lumetra/platform/LMBitmap.h>
#include <lumetra/platform/LMEGLDisplay.h>
#include <lumetra/platform/LMPicture.h>

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
    capture.width_ = attributes.width;
    capture.height_ = attributes.height;
    for (int y = 0; y < capture.height_; ++y)
        for (int x = 0; x < capture.width_; ++x)
            capture.pixels_.push_back(static_cast<uint32_t>(XGetPixel(image, x, y) & 0xFFFFFF));
    XDestroyImage(image);
    return capture;
}

bool WindowCapture::writePNG(const std::string& path) const
{
    std::shared_ptr<LMBitmap> bitmap = newBIR(width_, height_);
    if (!bitmap)
        return false;
    for (int y = 0; y < height_; ++y) {
        uint8_t* row = bitmap->rowAt(y);
        for (int x = 0; x < width_; ++x) {
            const uint32_t p = pixels_[static_cast<size_t>(y * width_ + x)];
            uint8_t* pixel = row + x * 4;
            pixel[0] = static_cast<uint8_t>(p >> 16);
            pixel[1] = static_cast<uint8_t>(p >> 8);
            pixel[2] = static_cast<uint8_t>(p);
            pixel[3] = 255;
        }
    }
    return LMPicture::pictureWithBitmap(bitmap)->writePNGToFile(path);
}
