#include "support/GLObjects.h"
#include "support/PixelsInOut.h"

#include <gtest/gtest.h>

#include <set>

namespace {

// 61 pixels wide: bitmap rows are padded, GL rows are not. Each pixel unlike
// its neighbours, so that any shift, mirror or flip shows.
const Pixels picture = pixelsOf(61, 45, [](int x, int y) {
    return Pixel{uint8_t(x * 37 + y * 11), uint8_t(x * 5 + y * 71 + 13), uint8_t(x ^ (y * 3)), 255};
});

class PictureBridge : public testing::Test {
protected:
    std::shared_ptr<LMContext> context = LMContext::contextWithDimensions({61, 45});
};

} // namespace

// Drawn at its size truncated to whole pixels: the bitmap's own, unscaled.
// GL's lower-left pixel is the bitmap's bottom-left one.
TEST_F(PictureBridge, UploadsEveryPixelUprightInWholePixels)
{
    auto upload = LMPicture::pictureWithBitmap(bitmapOf(picture));
    upload->setSize({61.9, 45.9});
    auto image = upload->lumetraImageWithContext(context, LMContentScaleModeStretch);
    ASSERT_TRUE(image);
    for (const auto& [x, y] : std::vector<std::pair<int, int>>{{0, 0}, {60, 0}, {0, 44}, {60, 44}, {30, 20}})
        EXPECT_EQ(pixelAt(image, x, y), picture.at(x, y)) << x << ", " << y;
}

TEST_F(PictureBridge, DeletesItsTemporaryTextureOnUpload)
{
    const std::set<GLuint> texturesBefore = liveGLObjects(*context, glIsTexture);
    auto image = imageOf(context, picture);
    std::set<GLuint> expected = texturesBefore;
    expected.insert(image->texture());
    EXPECT_EQ(liveGLObjects(*context, glIsTexture), expected);
}

// Both the picture read-back and what a debugger shows.
TEST_F(PictureBridge, ReadsEveryPixelBackIntoAPictureOfTheImagesSize)
{
    auto image = imageOf(context, picture);
    for (const auto& back : {LMPicture::imageWithLMImage(image), image->debugQuickLookObject()}) {
        ASSERT_TRUE(back);
        EXPECT_EQ(back->size(), (LMSize{61, 45}));
        EXPECT_TRUE(samePixels(pixelsOf(*back->bitmap()), picture, 0));
    }
}

TEST_F(PictureBridge, FloorsAnImagesSizeForItsPicture)
{
    EXPECT_EQ(LMPicture::imageWithLMImage(LMImage::imageWithContext(context, {100.7, 50.2}))->size(),
              (LMSize{100, 50}));
}

// Read-backs of a 16-bit target: at 16 bits its samples, at 8 each
// sample's nearest step, round(s · 255 / 65535), whichever way the context
// reads bytes (straight where the driver rounds so, else through 16 bits
// rounded here), in RGB or RGBA, rows padded by any number of bytes.
TEST_F(PictureBridge, ReadsBackEachSampleOrItsNearestByteInAnyLayout)
{
    constexpr int width = 7, height = 3;
    auto bitmap = LMBitmap16::bitmapWithSize(width, height);
    for (int i = 0; i < width * height * 4; ++i) // either side of half steps
        bitmap->bitmapData()[i] = i % 4 == 3 ? 65535 : uint16_t(257 * (i * 37 % 255) + 128 + i % 2);
    auto image = LMPicture::pictureWithBitmap16(bitmap)->lumetraImageOfOwnSizeWithContext(context);
    ASSERT_TRUE(image);
    // Rows from the top, as read back.
    const auto expected = [&](int x, int y, int c, int bits) {
        const uint16_t sample = bitmap->rowAt(y)[x * 4 + c];
        return bits == 16 ? sample : std::lround(sample * 255.0 / 65535);
    };
    for (const char* route : {"as the context reads bytes", "through 16 bits"}) {
        if (route[0] == 't')
            context->executeOpenGL([&] { context->gl()->setReadsBytesRounded(false); });
        for (int bits : {8, 16})
            for (int channels : {3, 4})
                for (size_t padding : {0, 2, 4, 6}) {
                    const size_t bytesPerRow = width * channels * bits / 8 + padding * bits / 16;
                    std::vector<uint8_t> bytes(bytesPerRow * height);
                    ASSERT_TRUE(LMPicture::readPixels(image, channels, bits, bytes.data(), bytesPerRow));
                    int wrong = 0;
                    for (int y = 0; y < height; ++y)
                        for (int x = 0; x < width * channels; ++x) {
                            const uint8_t* at = bytes.data() + y * bytesPerRow + x * bits / 8;
                            uint16_t read = *at;
                            if (bits == 16)
                                std::memcpy(&read, at, 2);
                            wrong += read != expected(x / channels, y, x % channels, bits);
                        }
                    EXPECT_EQ(wrong, 0) << route << ": " << bits << " bits, " << channels << " channels, rows "
                                        << bytesPerRow << " bytes apart";
                }
        const auto picture = LMPicture::imageWithLMImage(image);
        ASSERT_TRUE(picture);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                const Pixel pixel = bitmapPixel(*picture->bitmap(), x, y);
                const LMRGBA one = image->readPixelColorAtX(x, height - 1 - y).value_or(LMRGBA{});
                const double read[] = {one.red, one.green, one.blue};
                for (int c = 0; c < 3; ++c) {
                    EXPECT_EQ(pixel[c], expected(x, y, c, 8)) << route << ": picture at " << x << ", " << y;
                    EXPECT_EQ(std::lround(read[c] * 255), expected(x, y, c, 8))
                        << route << ": pixel " << x << ", " << y;
                }
            }
    }
}

// Wide: a red left quarter, half-transparent orange, then invisible white.
// Transparency is drawn as colour times alpha, onto a transparent canvas.
class PictureFitting : public testing::Test {
protected:
    std::shared_ptr<LMContext> context = LMContext::contextWithDimensions({64, 48});
    std::shared_ptr<LMPicture> wide = LMPicture::pictureWithBitmap(bitmapOf(pixelsOf(16, 4, [](int x, int) {
        return x < 4 ? red : x < 12 ? Pixel{200, 100, 50, 128} : Pixel{255, 255, 255, 0};
    })));
    const Pixel halfOrange{100, 50, 25, 255};
};

TEST_F(PictureFitting, FillsByDefaultCroppingTheSides)
{
    EXPECT_EQ(pixelAt(wide->lumetraImageWithContext(context), 1, 24), halfOrange) << "the red quarter is cropped";
}

TEST_F(PictureFitting, StretchesWhenAskedShowingTransparencyAsBlack)
{
    auto stretched = wide->lumetraImageWithContext(context, LMContentScaleModeStretch);
    EXPECT_EQ(pixelAt(stretched, 1, 24), red);
    EXPECT_EQ(pixelAt(stretched, 30, 24), halfOrange);
    EXPECT_EQ(pixelAt(stretched, 60, 24), black);
}
