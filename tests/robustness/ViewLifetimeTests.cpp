// A view whose rendering context goes while it shows one of its images. It
// runs on the virtual X server the view suite uses (view/XvfbServer.cpp).

#include "support/LogCapture.h"
#include "view/WindowCapture.h"

#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

TEST(ViewsAfterTheirContext, DrawNothingUntilGivenAnotherAndThenDrawIt)
{
    auto context = LMContext::contextWithDimensions({32, 24});
    auto next = LMContext::contextWithDimensions({32, 24});
    auto view = LMDrawableView::viewWithContext(context);
    view->setFrame({0, 0, 48, 36});
    view->setHidden(false);
    auto shown = [&](int x, int y) { return WindowCapture::ofWindow(view->x11Window()).pixelAt(x, y); };
    auto image = LMColor::redColor()->drawWithContext(context);
    view->setInput(image);
    ASSERT_EQ(shown(1, 1), 0xFF0000u);

    LogCapture log;
    context.reset();
    WindowCapture::clearWindow(view->x11Window());
    view->redraw();
    view->setInput(image);
    view->setShouldConvertToSRGB(true);
    view->setFrame({0, 0, 40, 30});
    EXPECT_EQ(shown(1, 1), 0x000000u) << "nothing drawn without the context";

    view->setContext(next);
    view->setInput(LMColor::greenColor()->drawWithContext(next));
    EXPECT_EQ(shown(1, 1), 0x00FF00u);
    view.reset();
    EXPECT_TRUE(log.lines().empty());
}
