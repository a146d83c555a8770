// Runs in a process of its own: the process's EGL display is opened without
// an X server, as on a machine with no desktop.

#include "support/LogCapture.h"

#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

#include <cstdlib>

TEST(DrawableViewWithoutX, LogsOnceAndDoesNothing)
{
    unsetenv("DISPLAY");
    auto context = LMContext::contextWithDimensions({32, 32});
    ASSERT_NE(context->openGLContext(), nullptr) << "rendering needs no X server";

    LogCapture log;
    auto view = LMDrawableView::viewWithContext(context);
    EXPECT_EQ(log.lines(),
              (std::vector<std::string>{"LMDrawableView: No X11 display to show the view on; it will draw nothing"}));
    EXPECT_EQ(view->x11Window(), 0u);
    EXPECT_EQ(view->openGLContext(), nullptr);

    view->setFrame({0, 0, 100, 100});
    view->setHidden(false);
    view->setShouldConvertToSRGB(true);
    view->setInput(LMColor::redColor()->drawWithContext(context));
    view->updateSize({8, 8});
    EXPECT_EQ(log.lines().size(), 1u);
}
