#pragma once

#include <cstdint>
#include <memory>
#include <string>

class LMBitmap;

// What the X server shows of a window, read with XGetImage on the process's
// X11 display once the server has handled every earlier request.
class WindowCapture {
public:
    // Empty when there is no X11 display or the window is not viewable.
    static WindowCapture ofWindow(unsigned long window);
    // Paints the window with its background, black, behind GL's back.
    static void clearWindow(unsigned long window);

    // 0xRRGGBB of the pixel (x, y), y counted upwards from the bottom row;
    // 0xFF000000, no colour at all, outside the capture.
    uint32_t pixelAt(int x, int y) const;
    // A PNG, for a person to look at.
    bool writePNG(const std::string& path) const;

private:
    std::shared_ptr<LMBitmap> bitmap_; // top row first, as X stores them
};
