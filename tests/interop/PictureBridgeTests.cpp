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
