#include "support/LogCapture.h"
#include "support/PixelsInOut.h"
#include "view/WindowCapture.h"

#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

#include <X11/Xlib.h>
#include <cmath>
#include <cstdlib>
#include <functional>

namespace {

constexpr uint32_t greenShown = 0x00FF00;

// A shown view whose window is larger than the images drawn into it.
class DrawableView : public testing::Test {
protected:
    void SetUp() override { show(*view, {0, 0, 160, 120}); }
    static void show(LMDrawableView& shown, LMRect frame) { shown.setFrame(frame), shown.setHidden(false); }

    uint32_t shownAt(int x, int y) { return WindowCapture::ofWindow(view->x11Window()).pixelAt(x, y); }
    // Whether pixel (10, 10) shows full green with this red and blue, to half a level.
    testing::AssertionResult showsRedAndBlue(double red, double blue)
    {
        const uint32_t shown = shownAt(10, 10);
        if (std::abs((shown >> 16) - red * 255) <= 0.5 && (shown >> 8 & 0xFF) == 255u &&
            std::abs((shown & 0xFF) - blue * 255) <= 0.5)
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << std::hex << "shown: " << shown;
    }

    std::shared_ptr<LMContext> context = LMContext::contextWithDimensions({64, 48});
    std::shared_ptr<LMDrawableView> view = LMDrawableView::viewWithContext(context);
    // Red just under the end of the sRGB formula's linear part, blue in its curve.
    std::shared_ptr<LMImage> linear = LMColor::colorWithRed(0.0031, 1.0, 0.4)->drawWithContext(context);
    std::shared_ptr<LMImage> red = LMColor::redColor()->drawWithContext(context);
    const double encodedRed = 0.0031 * 12.92, encodedBlue = std::pow(0.4, 0.4167) * 1.055 - 0.055;
};

} // namespace

TEST_F(DrawableView, ShowsTheImageOneTexelPerPixelFromTheLowerLeftAndKeepsTheRest)
{
    LogCapture log;
    context->setDimensions({160, 120});
    view->setInput(LMColor::greenColor()->drawWithContext(context));
    // Every pixel of the picture unlike the others: (x, y) from the top is
    // x * 4 red and y * 5 green.
    context->setDimensions({64, 48});
    auto image = imageOf(context, pixelsOf(64, 48, [](int x, int y) {
                             return Pixel{uint8_t(x * 4), uint8_t((47 - y) * 5), 9, 255};
                         }));
    view->setInput(image);

    const WindowCapture shown = WindowCapture::ofWindow(view->x11Window());
    int wrong = 0;
    for (int y = 0; y < 120; ++y)
        for (int x = 0; x < 160; ++x)
            wrong +=
                shown.pixelAt(x, y) != (x < 64 && y < 48 ? uint32_t(x * 4 << 16 | (47 - y) * 5 << 8 | 9) : greenShown);
    EXPECT_EQ(wrong, 0) << "the picture in the lower-left 64 by 48 pixels, the earlier green elsewhere in 160 by 120";
    EXPECT_TRUE(log.lines().empty());
    EXPECT_TRUE(shown.writePNG(VIEW_SCREENSHOT_PATH)) << "a screenshot for a person to look at";
}

// Each step ends by setting the image; the window shows it linear or encoded
// to sRGB as the switch says. A new set-up keeps the switch, and the image
// has the size it uploads, so nothing is uploaded again: its new vertex array
// and rebuilt program must point at the quad anyway. The window grew before
// the first step: the GL context must see its new size.
TEST_F(DrawableView, ShowsEachImageItIsGivenLinearOrEncodedAsAsked)
{
    auto firstGLContext = view->openGLContext();
    const std::tuple<const char*, std::function<void()>, bool> steps[] = {
        {"the first frame", [] {}, false},
        {"the same image again, the window cleared",
         [&] {
             WindowCapture::clearWindow(view->x11Window());
             EXPECT_EQ(shownAt(10, 10), 0u);
         },
         false},
        {"encoding asked", [&] { view->setShouldConvertToSRGB(true); }, true},
        {"a new set-up", [&] { view->setContext(context), WindowCapture::clearWindow(view->x11Window()); }, true},
        {"encoding no longer asked", [&] { view->setShouldConvertToSRGB(false); }, false},
    };
    for (const auto& [what, step, encoded] : steps) {
        step();
        view->setInput(linear);
        EXPECT_TRUE(encoded ? showsRedAndBlue(encodedRed, encodedBlue) : showsRedAndBlue(0.0031, 0.4)) << what;
    }
    EXPECT_NE(view->openGLContext(), firstGLContext) << "the set-up was redone";
}

TEST_F(DrawableView, DrawsNoImageOfAnotherContext)
{
    auto other = LMContext::contextWithDimensions({64, 48});
    view->setInput(linear);
    LogCapture log;
    view->setContext(other);
    view->setInput(linear);
    EXPECT_EQ(log.lines(),
              (std::vector<std::string>{
                  "LMDrawableView: The input image is not an image of the view's context; not drawing it"}));
    EXPECT_TRUE(showsRedAndBlue(0.0031, 0.4));
}

// It draws nothing and logs nothing, and draws the next context's image once given it.
TEST_F(DrawableView, WhoseContextWentDrawsNothingUntilGivenAnother)
{
    auto next = LMContext::contextWithDimensions({32, 24});
    view->setInput(red);
    ASSERT_EQ(shownAt(1, 1), 0xFF0000u);
    LogCapture log;
    context.reset();
    WindowCapture::clearWindow(view->x11Window());
    view->redraw(), view->setInput(red), view->setShouldConvertToSRGB(true), view->setFrame({0, 0, 40, 30});
    EXPECT_EQ(shownAt(1, 1), 0x000000u);
    view->setContext(next);
    view->setInput(LMColor::greenColor()->drawWithContext(next));
    EXPECT_EQ(shownAt(1, 1), 0x00FF00u);
    view.reset();
    EXPECT_TRUE(log.lines().empty());
}

TEST(DrawableViewWithoutContext, DoesNothingUntilItHasOneAndNeverFailsToResize)
{
    auto context = LMContext::contextWithDimensions({32, 32});
    LogCapture log;
    auto view = LMDrawableView::viewWithFrame({10, 20, 100, 80});
    view->setHidden(false), view->setInput(nullptr), view->setShouldConvertToSRGB(true);
    for (LMRect frame : {LMRect{0, 0, 0, 0}, LMRect{0, 0, -5, NAN}, LMRect{1e9, -1e9, 1e9, 1e12}, LMRect{0, 0, 90, 70}})
        view->setFrame(frame);
    EXPECT_EQ(view->frame(), (LMRect{0, 0, 90, 70}));

    view->setContext(context);
    for (LMSize size : {LMSize{-3, 5}, LMSize{NAN, NAN}, LMSize{0, 0}, LMSize{1e12, 1e12}})
        view->updateSize(size);
    view->redraw(), view->lockContext(), view->makeCurrentContext();
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR)) << "odd sizes leave no GL error behind";
    view->unlockContext();
    EXPECT_TRUE(log.lines().empty()) << testing::PrintToString(log.lines());
}

// Another X client (a toolkit, a window manager, xkill) destroys the view's
// window. Xlib's default handler would end the process on the BadWindow that
// follows; the view logs once and does nothing from then on, and the
// rendering context goes on drawing.
TEST_F(DrawableView, WhoseWindowAnotherClientDestroyedLogsOnceAndDoesNothing)
{
    view->setInput(red);
    ASSERT_EQ(shownAt(1, 1), 0xFF0000u);

    Display* other = XOpenDisplay(std::getenv("DISPLAY"));
    ASSERT_TRUE(other);
    XDestroyWindow(other, view->x11Window());
    XSync(other, False);
    XCloseDisplay(other);

    LogCapture log;
    for (int round = 0; round < 2; ++round) {
        view->redraw(), view->setFrame({0, 0, 100, 80}), view->reshape(), view->setHidden(round == 1);
        view->setShouldConvertToSRGB(round == 0), view->setContext(context);
        view->setInput(LMColor::greenColor()->drawWithContext(context));
    }
    EXPECT_EQ(log.lines(),
              (std::vector<std::string>{"LMDrawableView: The view's window is gone; it will draw nothing"}));
    EXPECT_TRUE(LMColor::blueColor()->drawWithContext(context)->readPixelColorAtX(0, 0)) << "drawing goes on";

    // A new view gets a window of its own and shows what it is given.
    auto next = LMDrawableView::viewWithContext(context);
    show(*next, {0, 0, 64, 48});
    next->setInput(red);
    EXPECT_EQ(WindowCapture::ofWindow(next->x11Window()).pixelAt(1, 1), 0xFF0000u);
    view.reset();
    EXPECT_EQ(log.lines().size(), 1u) << "and the gone window's view goes quietly";
}
