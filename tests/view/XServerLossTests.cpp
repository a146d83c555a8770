// A view whose X server goes away while it shows an image. The suite kills
// its own virtual X server, so it is a process and a CTest test of its own.

#include "support/LogCapture.h"
#include "view/WindowCapture.h"
#include "view/XvfbServer.h"

#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

// Xlib's default handler ends the process when the connection breaks, and
// the window surface's swap spins for ever on a broken connection; the view
// logs once, every operation returns, and the rendering context draws on.
// SIGALRM is the watchdog: a hang ends the process instead of stalling the
// suite (it measures nothing).
TEST(ViewsWhoseXServerWent, ReturnLogOnceAndLeaveDrawingAlone)
{
    auto context = LMContext::contextWithDimensions({32, 24});
    auto view = LMDrawableView::viewWithContext(context);
    view->setFrame({0, 0, 48, 36});
    view->setHidden(false);
    view->setInput(LMColor::redColor()->drawWithContext(context));
    ASSERT_EQ(WindowCapture::ofWindow(view->x11Window()).pixelAt(1, 1), 0xFF0000u);

    LogCapture log;
    const pid_t server = xvfbServerPid();
    ASSERT_TRUE(server > 0 && kill(server, SIGKILL) == 0 && waitpid(server, nullptr, 0) == server);
    alarm(60);
    for (int round = 0; round < 3; ++round) {
        view->redraw();
        view->setInput(LMColor::greenColor()->drawWithContext(context));
        view->setFrame({0, 0, 40.0 + round, 30});
        view->setHidden(round % 2 == 1);
    }
    view.reset();
    auto late = LMDrawableView::viewWithContext(context);
    late->setHidden(false);
    late->redraw();
    alarm(0);
    EXPECT_EQ(log.lines(),
              (std::vector<std::string>{"LMDrawableView: The X server has gone; the view will draw nothing",
                                        "LMDrawableView: No X11 display to show the view on; it will draw nothing"}));
    const auto drawn = LMColor::blueColor()->drawWithContext(context)->readPixelColorAtX(0, 0);
    EXPECT_TRUE(drawn && drawn->blue == 1.0) << "the rendering context goes on drawing";
}
