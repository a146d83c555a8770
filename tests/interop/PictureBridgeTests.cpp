#include "support/GLObjects.h"
#include "support/TexturePixels.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>

namespace {

// Each pixel unlike its neighbours, so that any shift, mirror or flip shows.
std::shared_ptr<LMPicture> patternPicture(int width, int height)
{
    auto bitmap = newBIR(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            uint8_t* pixel = bitmap->rowAt(y) + x * 4;
            pixel[0] = static_cast<uint8_t>(x * 37 + y * 11);
            pixel[1] = static_cast<uint8_t>(x * 5 + y * 71 + 13);
            pixel[2] = static_cast<uint8_t>(x ^ (y * 3));
            pixel[3] = 255;
        }
    return LMPicture::pictureWithBitmap(bitmap);
}

} // namespace

TEST(PictureBridge, ARoundTripGivesBackEveryPixelUpright)
{
    // 61 pixels wide: bitmap rows are padded, GL rows are not.
    auto context = LMContext::contextWithDimensions({61, 45});
    auto picture = patternPicture(61, 45);
    const std::set<GLuint> texturesBefore = liveGLObjects(*context, glIsTexture);

    auto image = picture->lumetraImageWithContext(context, LMContentScaleModeStretch);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->dimensions(), (LMSize{61, 45}));
    // GL's lower-left pixel is the bitmap's bottom-left one.
    EXPECT_EQ(pixelAt(image, 0, 0), bitmapPixel(*picture->bitmap(), 0, 44));
    EXPECT_EQ(pixelAt(image, 60, 44), bitmapPixel(*picture->bitmap(), 60, 0));
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
            EXPECT_EQ(std::memcmp(back->bitmap()->rowAt(y), picture->bitmap()->rowAt(y), 61 * 4), 0) << "row " << y;
    }
}

TEST(PictureBridge, SizesInPointsBecomeWholePixels)
{
    auto context = LMContext::contextWithDimensions({64, 48});
    auto picture = patternPicture(4, 3);
    picture->setSize({3.9, 2.9});
    const GLuint texture = picture->glTextureWithContext(context);
    ASSERT_NE(texture, 0u);
    GLint width = 0, height = 0;
    context->executeOpenGL([&] {
        glBindTexture(GL_TEXTURE_RECTANGLE, texture);
        glGetTexLevelParameteriv(GL_TEXTURE_RECTANGLE, 0, GL_TEXTURE_WIDTH, &width);
        glGetTexLevelParameteriv(GL_TEXTURE_RECTANGLE, 0, GL_TEXTURE_HEIGHT, &height);
        glDeleteTextures(1, &texture);
    });
    EXPECT_EQ(width, 3);
    EXPECT_EQ(height, 2);

    // An image of 100.7 by 50.2, red in its bottom rows only, reads back as
    // 100 by 50 with the red rows at the bottom of the picture.
    auto image = LMImage::imageWithContext(context, {100.7, 50.2});
    image->bind();
    context->executeOpenGL([] {
        glClearColor(0, 0, 0, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        glEnable(GL_SCISSOR_TEST);
        glScissor(0, 0, 100, 10);
        glClearColor(1, 0, 0, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        glDisable(GL_SCISSOR_TEST);
    });
    auto back = LMPicture::imageWithLMImage(image);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->size(), (LMSize{100, 50}));
    EXPECT_EQ(back->bitmap()->pixelsWide(), 100);
    EXPECT_EQ(bitmapPixel(*back->bitmap(), 99, 49), red);
    EXPECT_EQ(bitmapPixel(*back->bitmap(), 99, 0), black);
}

TEST(PictureBridge, FitsByTheModeAndShowsTransparencyAsBlack)
{
    auto context = LMContext::contextWithDimensions({64, 48});
    // Wide, with a red left quarter that fill crops and stretch keeps.
    auto wide = newBIR(16, 4);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 16; ++x)
            std::memcpy(wide->rowAt(y) + x * 4, (x < 4 ? red : blue).data(), 4);
    auto picture = LMPicture::pictureWithBitmap(wide);
    EXPECT_EQ(pixelAt(picture->lumetraImageWithContext(context), 1, 24), blue);
    EXPECT_EQ(pixelAt(picture->lumetraImageWithContext(context, LMContentScaleModeStretch), 1, 24), red);

    // Colour times alpha, as drawn onto a transparent canvas.
    auto translucent = newBIR(2, 1);
    const Pixel halfOrange{200, 100, 50, 128}, invisibleWhite{255, 255, 255, 0};
    std::memcpy(translucent->rowAt(0), halfOrange.data(), 4);
    std::memcpy(translucent->rowAt(0) + 4, invisibleWhite.data(), 4);
    auto image = LMPicture::pictureWithBitmap(translucent)->lumetraImageWithContext(context, LMContentScaleModeStretch);
    EXPECT_EQ(pixelAt(image, 10, 24), (Pixel{100, 50, 25, 255}));
    EXPECT_EQ(pixelAt(image, 50, 24), black);
}
