#include "support/LogCapture.h"
#include "view/WindowCapture.h"

#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

#include <cmath>

namespace {

constexpr uint32_t red = 0xFF0000;
constexpr uint32_t green = 0x00FF00;

uint32_t redByte(uint32_t pixel) { return pixel >> 16; }
uint32_t greenByte(uint32_t pixel) { return (pixel >> 8) & 0xFF; }
uint32_t blueByte(uint32_t pixel) { return pixel & 0xFF; }

// A shown view whose window is larger than the images drawn into it.
class DrawableView : public testing::Test {
protected:
    void SetUp() override
    {
        view->setFrame({0, 0, 160, 120});
        view->setHidden(false);
    }

    std::shared_ptr<LMImage> colorImage(double r, double g, double b, LMSize size)
    {
        context->setDimensions(size);
        return LMColor::colorWithRed(r, g, b)->drawWithContext(context);
    }

    uint32_t shownAt(int x, int y) { return WindowCapture::ofWindow(view->x11Window()).pixelAt(x, y); }

    std::shared_ptr<LMContext> context = LMContext::contextWithDimensions({64, 48});
    std::shared_ptr<LMDrawableView> view = LMDrawableView::viewWithContext(context);
};

} // namespace

TEST_F(DrawableView, ShowsTheImageOneTexelPerPixelFromTheLowerLeftAndKeepsTheRest)
{
    LogCapture log;
    view->setInput(colorImage(0, 1, 0, {160, 120}));
    // Every pixel of the picture unlike the others: (x, y) from the top is
    // x * 4 red and y * 5 green.
    auto bitmap = newBIR(64, 48);
    for (int y = 0; y < 48; ++y)
        for (int x = 0; x < 64; ++x) {
            uint8_t* pixel = bitmap->rowAt(y) + x * 4;
            pixel[0] = uint8_t(x * 4), pixel[1] = uint8_t(y * 5), pixel[2] = 9, pixel[3] = 255;
        }
    context->setDimensions({64, 48});
    auto image = LMPicture::pictureWithBitmap(bitmap)->lumetraImageWithContext(context, LMContentScaleModeStretch);
    view->setInput(image);

    const WindowCapture shown = WindowCapture::ofWindow(view->x11Window());
    ASSERT_EQ(shown.width(), 160);
    ASSERT_EQ(shown.height(), 120);
    int wrong = 0;
    for (int y = 0; y < 120; ++y)
        for (int x = 0; x < 160; ++x)
            wrong += shown.pixelAt(x, y) != (x < 64 && y < 48 ? uint32_t(x * 4 << 16 | (47 - y) * 5 << 8 | 9) : green);
    EXPECT_EQ(wrong, 0) << "the picture in the lower-left 64 by 48 pixels, the earlier green elsewhere";
    EXPECT_TRUE(log.lines().empty());
    EXPECT_TRUE(shown.writePNG(VIEW_SCREENSHOT_PATH)) << "a screenshot for a person to look at";

    WindowCapture::clearWindow(view->x11Window());
    ASSERT_EQ(shownAt(0, 0), 0u);
    view->setInput(image);
    EXPECT_EQ(shownAt(63, 47), uint32_t(252 << 16 | 9)) << "setting the same image draws it again";
}

TEST_F(DrawableView, EncodesToSRGBWithTheConversionFilterFormula)
{
    // Also the first frame after the window grew, at the size the set-up
    // already had: the GL context must see the window's new size.
    auto image = colorImage(0.002, 1.0, 0.5, {64, 48});
    view->setInput(image);
    uint32_t pixel = shownAt(10, 10);
    EXPECT_LE(redByte(pixel), 1u);
    EXPECT_NEAR(blueByte(pixel), 127.5, 1.0);

    view->setShouldConvertToSRGB(true);
    view->setInput(image);
    pixel = shownAt(10, 10);
    EXPECT_NEAR(redByte(pixel), 0.02584 * 255, 1.0) << "0.002 times 12.92";
    EXPECT_EQ(greenByte(pixel), 255u);
    EXPECT_NEAR(blueByte(pixel), (std::pow(0.5, 0.4167) * 1.055 - 0.055) * 255, 1.0);

    const GLuint program = view->program();
    view->setShouldConvertToSRGB(true);
    EXPECT_EQ(view->program(), program) << "the same value rebuilds nothing";

    view->setShouldConvertToSRGB(false);
    view->setInput(image);
    EXPECT_LE(redByte(shownAt(10, 10)), 1u) << "a rebuilt program reads the quad the first one was set up for";
}

TEST_F(DrawableView, SettingAContextAgainRedoesTheWholeGLSetUp)
{
    LogCapture log;
    auto firstGLContext = view->openGLContext();
    view->setContext(context);
    EXPECT_NE(view->openGLContext(), firstGLContext);
    // The image has the size the new set-up already uploaded, so nothing is
    // uploaded again: the new vertex array must point at the quad anyway.
    view->setInput(colorImage(1, 0, 0, context->dimensions()));
    EXPECT_EQ(shownAt(63, 47), red);

    auto other = LMContext::contextWithDimensions({64, 48});
    log.clear();
    view->setContext(other);
    view->setInput(LMColor::greenColor()->drawWithContext(other));
    EXPECT_EQ(shownAt(0, 0), green);
    EXPECT_TRUE(log.lines().empty());

    view->setInput(colorImage(1, 0, 0, {64, 48}));
    EXPECT_EQ(log.lines(), (std::vector<std::string>{
                               "LMDrawableView: The input image is not an image of the view's context; not drawing it"}));
    EXPECT_EQ(shownAt(0, 0), green);
}

TEST(DrawableViewWithoutContext, DoesNothingUntilItHasOneAndNeverFailsToResize)
{
    auto context = LMContext::contextWithDimensions({32, 32});
    LogCapture log;
    auto view = LMDrawableView::viewWithFrame({10, 20, 100, 80});
    view->setHidden(false);
    view->setInput(nullptr);
    view->redraw();
    view->setShouldConvertToSRGB(true);
    for (LMRect frame : {LMRect{0, 0, 0, 0}, LMRect{0, 0, -5, NAN}, LMRect{1e9, -1e9, 1e9, 1e12}, LMRect{0, 0, 90, 70}})
        view->setFrame(frame);
    view->reshape();
    EXPECT_EQ(view->frame(), (LMRect{0, 0, 90, 70}));
    EXPECT_TRUE(log.lines().empty());

    view->setContext(context);
    view->setInput(LMColor::colorWithRed(0.002, 0.002, 0.002)->drawWithContext(context));
    EXPECT_NEAR(redByte(WindowCapture::ofWindow(view->x11Window()).pixelAt(1, 1)), 6.6, 1.0)
        << "the set-up built the program with the stored sRGB switch";

    for (LMSize size : {LMSize{-3, 5}, LMSize{NAN, NAN}, LMSize{0, 0}, LMSize{1e12, 1e12}})
        view->updateSize(size);
    view->redraw();
    view->lockContext();
    view->makeCurrentContext();
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR)) << "odd sizes leave no GL error behind";
    view->unlockContext();
    EXPECT_TRUE(log.lines().empty()) << testing::PrintToString(log.lines());
}
