#pragma once

#include <cstdint>
#include <string>
#include <vector>

// What the X server shows of a window, read with XGetImage on the process's
// X11 display after every request before it has been handled.
class WindowCapture {
public:
    // Empty when there is no X11 display or the window is not viewable.
    static WindowCapture ofWindow(unsigned long window);
    // Paints the window with its background, black, behind GL's back.
    static void clearWindow(unsigned long window);

    int width() const { return width_; }
    int height() const { return height_; }
    // 0xRRGGBB of the pixel (x, y), y counted upwards from the bottom row;
    // 0xFF000000, no colour at all, outside the capture.
    uint32_t pixelAt(int x, int y) const
    {
        if (x < 0 || y < 0 || x >= width_ || y >= height_)
            return 0xFF000000;
        return pixels_[static_cast<size_t>((height_ - 1 - y) * width_ + x)];
    }
    // A PNG, for a person to look at.
    bool writePNG(const std::string& path) const;

private:
    int width_ = 0;
    int height_ = 0;
    std::vector<uint32_t> pixels_; // top row first, as X stores them
};
