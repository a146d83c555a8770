// A view whose X server goes away while it shows an image. The suite kills
// its own virtual X server, so it is a process and a CTest test of its own.

#include "support/LogCapture.h"
#include "view/WindowCapture.h"
#include "view/XvfbServer.h"

#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <mutex>
#include <sys/wait.h>
#include <thread>

namespace {

// Ends the process, with a line saying what hung, unless disarmed first: a
// hang must fail the test rather than stall the suite until CTest's timeout.
// The limit is generous; it measures nothing.
class Watchdog {
public:
    explicit Watchdog(const char* what)
        : thread_([this, what] {
              std::unique_lock<std::mutex> lock(mutex_);
              if (!cv_.wait_for(lock, std::chrono::seconds(60), [this] { return disarmed_; })) {
                  std::fprintf(stderr, "watchdog: %s did not return\n", what);
                  std::_Exit(3);
              }
          })
    {
    }
    ~Watchdog()
    {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            disarmed_ = true;
        }
        cv_.notify_one();
        thread_.join();
    }

private:
    std::mutex mutex_;
    std::condition_variable cv_;
    bool disarmed_ = false;
    std::thread thread_;
};

} // namespace

// Xlib's default handler ends the process when the connection breaks, and
// the window surface's swap would spin on a connection that is gone; the view
// logs once, then every operation returns at once, and the rendering context
// goes on drawing.
TEST(ViewsWhoseXServerWent, ReturnAtOnceLogOnceAndLeaveDrawingAlone)
{
    auto context = LMContext::contextWithDimensions({32, 24});
    auto view = LMDrawableView::viewWithContext(context);
    view->setFrame({0, 0, 48, 36});
    view->setHidden(false);
    auto image = LMColor::redColor()->drawWithContext(context);
    view->setInput(image);
    ASSERT_EQ(WindowCapture::ofWindow(view->x11Window()).pixelAt(1, 1), 0xFF0000u);

    LogCapture log;
    const pid_t server = xvfbServerPid();
    ASSERT_GT(server, 0);
    ASSERT_EQ(kill(server, SIGKILL), 0);
    ASSERT_EQ(waitpid(server, nullptr, 0), server);
    {
        Watchdog watchdog("a view's redraw after its X server went");
        for (int round = 0; round < 3; ++round) {
            view->redraw();
            view->setInput(LMColor::greenColor()->drawWithContext(context));
            view->setFrame({0, 0, 40.0 + round, 30});
            view->setHidden(round % 2 == 1);
            view->setShouldConvertToSRGB(round % 2 == 0);
        }
        view.reset();
    }
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"LMDrawableView: The X server has gone; the view will draw nothing"}));
    const auto drawn = LMColor::blueColor()->drawWithContext(context)->readPixelColorAtX(0, 0);
    ASSERT_TRUE(drawn) << "the rendering context goes on drawing";
    EXPECT_EQ(drawn->blue, 1.0);

    log.clear();
    {
        Watchdog watchdog("a view made after the X server went");
        auto late = LMDrawableView::viewWithContext(context);
        late->setHidden(false);
        late->redraw();
    }
    EXPECT_EQ(log.lines(), (std::vector<std::string>{
                               "LMDrawableView: No X11 display to show the view on; it will draw nothing"}));
}
