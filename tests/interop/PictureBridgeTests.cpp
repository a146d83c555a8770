#include "support/GLObjects.h"
#include "support/TexturePixels.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>

TEST(PictureBridge, ARoundTripGivesBackEveryPixelUprightInWholePixels)
{
    // 61 pixels wide: bitmap rows are padded, GL rows are not. Each pixel
    // unlike its neighbours, so that any shift, mirror or flip shows.
    auto bitmap = newBIR(61, 45);
    for (int y = 0; y < 45; ++y)
        for (int x = 0; x < 61; ++x) {
            const Pixel pixel{uint8_t(x * 37 + y * 11), uint8_t(x * 5 + y * 71 + 13), uint8_t(x ^ (y * 3)), 255};
            std::memcpy(bitmap->rowAt(y) + x * 4, pixel.data(), 4);
        }
    auto picture = LMPicture::pictureWithBitmap(bitmap);
    // Drawn at its size truncated to whole pixels: the bitmap's own, unscaled.
    picture->setSize({61.9, 45.9});
    auto context = LMContext::contextWithDimensions({61, 45});
    const std::set<GLuint> texturesBefore = liveGLObjects(*context, glIsTexture);

    auto image = picture->lumetraImageWithContext(context, LMContentScaleModeStretch);
    ASSERT_TRUE(image);
    // GL's lower-left pixel is the bitmap's bottom-left one.
    EXPECT_EQ(pixelAt(image, 0, 0), bitmapPixel(*bitmap, 0, 44));
    EXPECT_EQ(pixelAt(image, 60, 44), bitmapPixel(*bitmap, 60, 0));
    // Only the image's own target remains: the temporary texture is gone.
    std::set<GLuint> expected = texturesBefore;
    expected.insert(image->texture());
    EXPECT_EQ(liveGLObjects(*context, glIsTexture), expected);

    for (const auto& back : {LMPicture::imageWithLMImage(image), image->debugQuickLookObject()}) {
        ASSERT_TRUE(back);
        EXPECT_EQ(back->size(), (LMSize{61, 45}));
        ASSERT_EQ(back->bitmap()->pixelsWide(), 61);
        ASSERT_EQ(back->bitmap()->pixelsHigh(), 45);
        for (int y = 0; y < 45; ++y)
            EXPECT_EQ(std::memcmp(back->bitmap()->rowAt(y), bitmap->rowAt(y), 61 * 4), 0) << "row " << y;
    }
    // An image's size is floored likewise.
    EXPECT_EQ(LMPicture::imageWithLMImage(LMImage::imageWithContext(context, {100.7, 50.2}))->size(),
              (LMSize{100, 50}));
}

TEST(PictureBridge, FitsByTheModeAndShowsTransparencyAsBlack)
{
    // Wide: a red left quarter, half-transparent orange, then invisible white.
    auto bitmap = newBIR(16, 4);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 16; ++x) {
            const Pixel pixel = x < 4 ? red : x < 12 ? Pixel{200, 100, 50, 128} : Pixel{255, 255, 255, 0};
            std::memcpy(bitmap->rowAt(y) + x * 4, pixel.data(), 4);
        }
    auto picture = LMPicture::pictureWithBitmap(bitmap);
    auto context = LMContext::contextWithDimensions({64, 48});
    // Colour times alpha, as drawn onto a transparent canvas.
    const Pixel halfOrange{100, 50, 25, 255};
    EXPECT_EQ(pixelAt(picture->lumetraImageWithContext(context), 1, 24), halfOrange) << "fill crops the red quarter";
    auto stretched = picture->lumetraImageWithContext(context, LMContentScaleModeStretch);
    EXPECT_EQ(pixelAt(stretched, 1, 24), red);
    EXPECT_EQ(pixelAt(stretched, 30, 24), halfOrange);
    EXPECT_EQ(pixelAt(stretched, 60, 24), black);
}
