#include "support/GLObjects.h"
#include "support/ProcessStats.h"

#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

struct Listener {
    void report(LMPerformanceMonitor& monitor) { zeroResults += monitor.latestRestults() == 0, ++reports, during(); }
    std::atomic<int> reports{0}, zeroResults{0};
    std::function<void()> during = [] {};
};

class PerformanceMonitors : public testing::Test {
protected:
    // llvmpipe starts a span's clock in the target bound when the span
    // begins, and a fresh context has none.
    void SetUp() override { LMColor::blackColor()->drawWithContext(context); }
    void finishGL()
    {
        context->executeOpenGL([] { glFinish(); });
    }

    // One span around a little GPU work, which the GPU has finished on return.
    void timeFinishedSpan(LMPerformanceMonitor& monitor)
    {
        monitor.startTiming(), LMColor::colorWithRed(0.5, 0.25, 1.0)->drawWithContext(context);
        monitor.stopTiming(), finishGL();
    }

    std::shared_ptr<LMPerformanceMonitor> startedMonitor(bool usesTimerThread, double interval = 0.1)
    {
        auto monitor = LMPerformanceMonitor::performanceMonitorWithContext(context);
        monitor->setUsesTimerThread(usesTimerThread), monitor->setTargetAction({listener, &Listener::report});
        monitor->setInterval(interval), monitor->start();
        return monitor;
    }

    std::shared_ptr<LMContext> context = LMContext::contextWithDimensions({256, 256});
    std::shared_ptr<Listener> listener = std::make_shared<Listener>();
};

} // namespace

// A span's result is collected when the next span begins and handed to the
// ticking thread in one word with its not-yet-reported mark.
TEST_F(PerformanceMonitors, ReportEachFinishedSpanOnceWhenTheHostTicks)
{
    auto monitor = startedMonitor(false);
    monitor->stopTiming(); // no span is open: nothing to end
    timeFinishedSpan(*monitor);
    EXPECT_FALSE(monitor->timerQueryHasNewResults()) << "collected when the next span begins";
    monitor->startTiming();
    const uint64_t measured = monitor->latestResultNanoseconds();
    EXPECT_EQ(monitor->latestRestults(), measured) << "the mark is no part of the figure";
    monitor->tick(), monitor->tick();
    EXPECT_EQ(listener->reports, 1);
    EXPECT_EQ(monitor->latestResultNanoseconds(), measured) << "a tick clears only the mark";
}

TEST_F(PerformanceMonitors, ReportAResultThatArrivesDuringAReportAtTheNextTick)
{
    auto monitor = startedMonitor(false);
    timeFinishedSpan(*monitor);
    listener->during = [&] { monitor->stopTiming(), finishGL(), monitor->startTiming(); };
    monitor->startTiming();
    monitor->tick();
    listener->during = [] {};
    monitor->tick(), monitor->tick();
    EXPECT_EQ(listener->reports, 2);
}

// Nothing waited for the span, so the GPU has not finished it when the next one begins.
TEST_F(PerformanceMonitors, GiveUpASpanTheGPUHasNotFinishedRatherThanWait)
{
    auto monitor = startedMonitor(false);
    monitor->startTiming(), LMColor::colorWithRed(0.25, 0.5, 1.0)->drawWithContext(context);
    monitor->stopTiming(), monitor->startTiming(), monitor->tick();
    EXPECT_EQ(listener->reports, 0);
}

// The GPU's clock runs on between a span's ends: a span of 2^32 ns or more
// keeps its 64 bits, and reads as 0xFFFFFFFF in 32 bits.
TEST_F(PerformanceMonitors, KeepSpansOfMoreThan32BitsOfNanoseconds)
{
    auto monitor = startedMonitor(false);
    monitor->startTiming(), finishGL();
    std::this_thread::sleep_for(4400ms);
    monitor->stopTiming(), finishGL(), monitor->startTiming(), monitor->tick();
    EXPECT_EQ(listener->reports, 1);
    EXPECT_GT(monitor->latestResultNanoseconds(), uint64_t(1) << 32);
    EXPECT_EQ(monitor->latestRestults(), 0xFFFFFFFFu);
}

// After a restart the first span has no earlier span to collect.
TEST_F(PerformanceMonitors, RestartWithoutTheSpanOpenBeforeTheStop)
{
    auto monitor = startedMonitor(false);
    monitor->startTiming(), monitor->stop(), monitor->start();
    timeFinishedSpan(*monitor);
    monitor->startTiming();
    EXPECT_TRUE(monitor->timerQueryHasNewResults());
    EXPECT_EQ(pendingGLError(*context), GLenum(GL_NO_ERROR));
}

TEST_F(PerformanceMonitors, UseAResultUpWithoutACallWhenTheirTargetHasGone)
{
    auto monitor = startedMonitor(false);
    timeFinishedSpan(*monitor);
    monitor->startTiming();
    ASSERT_TRUE(monitor->timerQueryHasNewResults());
    listener.reset(), monitor->tick();
    EXPECT_FALSE(monitor->timerQueryHasNewResults());
}

// At most once per interval, with a figure. Turned off from the host while a
// report runs, the monitor waits for the report, ends the thread and deletes
// its query.
TEST_F(PerformanceMonitors, ReportFromTheirOwnThreadAndStopCleanlyFromTheHost)
{
    const int threadsBefore = threadCount();
    std::atomic<bool> reporting{false};
    listener->during = [&] { reporting = true, std::this_thread::sleep_for(20ms), reporting = false; };
    const auto begin = Clock::now();
    auto monitor = startedMonitor(true, 0.05);
    EXPECT_EQ(threadCount(), threadsBefore + 1);
    const GLuint query = monitor->timerQuery();
    while ((listener->reports < 3 || !reporting) && Clock::now() - begin < 10s)
        timeFinishedSpan(*monitor);
    monitor->setEnabled(false);
    const double intervals = std::chrono::duration<double>(Clock::now() - begin).count() / 0.05;
    EXPECT_FALSE(reporting);
    EXPECT_LE(listener->reports, intervals);
    EXPECT_EQ(listener->zeroResults, 0);
    EXPECT_EQ(threadCount(), threadsBefore);
    EXPECT_FALSE(isGLObject(*context, glIsQuery, query));
}

// GL makes a generated name a query object only when it is first begun.
TEST_F(PerformanceMonitors, StartedByANewIntervalWhileDisabledBeginNoSpan)
{
    auto monitor = startedMonitor(true, 0.05);
    monitor->setEnabled(false), monitor->setInterval(0.001);
    EXPECT_TRUE(monitor->timerRunning());
    timeFinishedSpan(*monitor);
    EXPECT_FALSE(isGLObject(*context, glIsQuery, monitor->timerQuery()));
    monitor->stop();
}

// The thread ends after its last report; none is left behind.
TEST_F(PerformanceMonitors, MayBeRestartedOrReleasedFromTheirOwnReport)
{
    const int threadsBefore = threadCount();
    auto monitor = startedMonitor(true, 0.001);
    std::weak_ptr<LMPerformanceMonitor> watched = monitor;
    listener->during = [&] { listener->reports == 1 ? monitor->start() : monitor.reset(); };
    const auto begin = Clock::now();
    while (!watched.expired() && Clock::now() - begin < 10s) {
        if (auto alive = watched.lock())
            timeFinishedSpan(*alive);
        std::this_thread::sleep_for(2ms);
    }
    EXPECT_EQ(listener->reports, 2);
    while (threadCount() != threadsBefore && Clock::now() - begin < 10s)
        std::this_thread::sleep_for(1ms);
    EXPECT_EQ(threadCount(), threadsBefore);
}
