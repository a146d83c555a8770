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

// The host's own rows in and out, without a picture: 8 and 16 bits, RGB and
// RGBA, rows padded past their pixels; layouts it cannot be refused.
TEST_F(PictureBridge, HostRowsGoInAndComeBackAsTheyWere)
{
    for (const int bits : {8, 16}) {
        for (const int channels : {3, 4}) {
            const size_t sampleBytes = size_t(bits) / 8, stride = 63 * channels * sampleBytes;
            std::vector<uint8_t> rows(stride * 45, 0xEE);
            for (int y = 0; y < 45; ++y)
                for (int x = 0; x < 61; ++x)
                    for (int c = 0; c < channels; ++c) {
                        // Host rows run top down; the test's pixels bottom up, as GL's.
                        const uint8_t byte = c == 3 ? 255 : picture.at(x, 44 - y)[c];
                        uint8_t* sample = rows.data() + y * stride + (x * channels + c) * sampleBytes;
                        if (bits == 8)
                            *sample = byte;
                        else
                            *reinterpret_cast<uint16_t*>(sample) = uint16_t(byte * 257);
                    }
            auto image = LMPicture::imageWithPixels(context, rows.data(), 61, 45, channels, bits, stride);
            ASSERT_TRUE(image) << bits << " bits, " << channels << " channels";
            EXPECT_TRUE(samePixels(pixelsOf(*LMPicture::imageWithLMImage(image)->bitmap()), picture, 0));
            std::vector<uint8_t> back(rows.size(), 0xEE);
            ASSERT_TRUE(LMPicture::readPixels(image, channels, bits, back.data(), stride));
            EXPECT_EQ(back, rows) << bits << " bits, " << channels << " channels";
        }
    }
    std::vector<uint8_t> rows(61 * 45 * 4);
    EXPECT_FALSE(LMPicture::imageWithPixels(context, rows.data(), 61, 45, 2, 8, 61 * 2));
    EXPECT_FALSE(LMPicture::imageWithPixels(context, rows.data(), 61, 45, 3, 8, 61 * 3 - 1));
    EXPECT_FALSE(LMPicture::imageWithPixels(context, rows.data(), 0, 45, 3, 8, 0));
    auto image = imageOf(context, picture);
    EXPECT_FALSE(LMPicture::readPixels(image, 3, 12, rows.data(), 61 * 3));
    EXPECT_FALSE(LMPicture::readPixels(image, 3, 16, rows.data(), 61 * 6 - 2));
    EXPECT_FALSE(LMPicture::readPixels(image, 3, 8, rows.data(), 61 * 3 + 1));
    EXPECT_FALSE(LMPicture::readPixels(nullptr, 3, 8, rows.data(), 61 * 3));
}

TEST_F(PictureBridge, FloorsAnImagesSizeForItsPicture)
{
    EXPECT_EQ(LMPicture::imageWithLMImage(LMImage::imageWithContext(context, {100.7, 50.2}))->size(),
              (LMSize{100, 50}));
}

// 8-bit read-backs of a 16-bit target give each sample's nearest step,
// round(s · 255 / 65535), whichever way the context reads bytes (as it
// decides; through 16 bits rounded here; straight from GL, where the driver
// rounds): into the host's rows, RGB or RGBA and padded, into a picture, a
// pixel at a time.
TEST_F(PictureBridge, ReadsBytesAsTheNearestStepOfEachSample)
{
    constexpr int width = 7, height = 3;
    auto bitmap = LMBitmap16::bitmapWithSize(width, height);
    for (int i = 0; i < width * height * 4; ++i) // either side of half steps
        bitmap->bitmapData()[i] = i % 4 == 3 ? 65535 : uint16_t(257 * (i * 37 % 255) + 128 + i % 2);
    auto image = LMPicture::pictureWithBitmap16(bitmap)->lumetraImageOfOwnSizeWithContext(context);
    ASSERT_TRUE(image);
    // Rows from the top, as read back.
    const auto nearest = [&](int x, int y, int c) { return std::lround(bitmap->rowAt(y)[x * 4 + c] * 255.0 / 65535); };
    bool rounds = false;
    context->executeOpenGL([&] { rounds = context->gl()->driverRoundsBytes(); });
    for (const std::string route : {"as decided", "through 16 bits", "straight"}) {
        if (route == "straight" && !rounds)
            continue; // exact only where the driver rounds
        if (route != "as decided")
            context->executeOpenGL([&] { context->gl()->setReadsBytesStraight(route == "straight"); });
        for (int channels : {3, 4}) {
            const size_t bytesPerRow = (width + 1) * channels;
            std::vector<uint8_t> bytes(bytesPerRow * height);
            ASSERT_TRUE(LMPicture::readPixels(image, channels, 8, bytes.data(), bytesPerRow));
            int wrong = 0;
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width * channels; ++x)
                    wrong += bytes[y * bytesPerRow + x] !=
                             (x % channels == 3 ? 255 : nearest(x / channels, y, x % channels));
            EXPECT_EQ(wrong, 0) << route << ", " << channels << " channels";
        }
        const auto picture = LMPicture::imageWithLMImage(image);
        ASSERT_TRUE(picture);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                const Pixel pixel = bitmapPixel(*picture->bitmap(), x, y);
                const LMRGBA one = image->readPixelColorAtX(x, height - 1 - y).value_or(LMRGBA{});
                const double read[] = {one.red, one.green, one.blue};
                for (int c = 0; c < 3; ++c) {
                    EXPECT_EQ(pixel[c], nearest(x, y, c)) << route << ": picture at " << x << ", " << y;
                    EXPECT_EQ(std::lround(read[c] * 255), nearest(x, y, c)) << route << ": pixel " << x << ", " << y;
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
