#include "view/WindowCapture.h"

#include <lumetra/platform/LMEGLDisplay.h>

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <array>
#include <fstream>

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

namespace {

uint32_t crc32(const std::string& bytes)
{
    static const std::array<uint32_t, 256> table = [] {
        std::array<uint32_t, 256> t{};
        for (uint32_t n = 0; n < 256; ++n) {
            uint32_t c = n;
            for (int k = 0; k < 8; ++k)
                c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
            t[n] = c;
        }
        return t;
    }();
    uint32_t c = 0xFFFFFFFFu;
    for (unsigned char byte : bytes)
        c = table[(c ^ byte) & 0xFF] ^ (c >> 8);
    return c ^ 0xFFFFFFFFu;
}

std::string bigEndian(uint32_t value)
{
    return {static_cast<char>(value >> 24), static_cast<char>(value >> 16), static_cast<char>(value >> 8),
            static_cast<char>(value)};
}

std::string chunk(const std::string& type, const std::string& data)
{
    return bigEndian(static_cast<uint32_t>(data.size())) + type + data + bigEndian(crc32(type + data));
}

} // namespace

bool WindowCapture::writePNG(const std::string& path) const
{
    std::string raw;
    for (int y = 0; y < height_; ++y) {
        raw += '\0'; // no filter
        for (int x = 0; x < width_; ++x) {
            const uint32_t p = pixels_[static_cast<size_t>(y * width_ + x)];
            raw += {static_cast<char>(p >> 16), static_cast<char>(p >> 8), static_cast<char>(p)};
        }
    }
    // zlib stream of stored (uncompressed) blocks.
    std::string zlib = "\x78\x01";
    uint32_t a = 1, b = 0;
    for (unsigned char byte : raw) {
        a = (a + byte) % 65521;
        b = (b + a) % 65521;
    }
    for (size_t offset = 0; offset == 0 || offset < raw.size(); offset += 65535) {
        const size_t length = std::min<size_t>(65535, raw.size() - offset);
        zlib += static_cast<char>(offset + length >= raw.size() ? 1 : 0);
        zlib += {static_cast<char>(length), static_cast<char>(length >> 8), static_cast<char>(~length),
                 static_cast<char>(~length >> 8)};
        zlib += raw.substr(offset, length);
    }
    zlib += bigEndian((b << 16) | a);

    const std::string header = bigEndian(static_cast<uint32_t>(width_)) + bigEndian(static_cast<uint32_t>(height_)) +
                               std::string("\x08\x02\x00\x00\x00", 5); // 8-bit RGB
    std::ofstream file(path, std::ios::binary);
    file << "\x89PNG\r\n\x1a\n" << chunk("IHDR", header) << chunk("IDAT", zlib) << chunk("IEND", "");
    return static_cast<bool>(file);
}
