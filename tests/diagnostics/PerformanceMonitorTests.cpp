#include "support/GLObjects.h"
#include "support/ProcessStats.h"

#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

struct Listener {
    void report(LMPerformanceMonitor& monitor)
    {
        zeroResults += monitor.latestRestults() == 0;
        ++reports;
        if (duringReport)
            duringReport();
    }
    std::atomic<int> reports{0}, zeroResults{0};
    std::function<void()> duringReport;
};

// A little GPU work: a fresh colour node leases and clears a target.
void drawSomething(const std::shared_ptr<LMContext>& context)
{
    LMColor::colorWithRed(0.5, 0.25, 1.0)->drawWithContext(context);
}

// One span around a little work, which the GPU has finished on return.
void timeFinishedSpan(LMPerformanceMonitor& monitor, const std::shared_ptr<LMContext>& context)
{
    monitor.startTiming();
    drawSomething(context);
    monitor.stopTiming();
    context->executeOpenGL([] { glFinish(); });
}

// About 150 ms of fragment shading on llvmpipe.
void drawSlowly(const std::shared_ptr<LMContext>& context)
{
    auto program = context->createProgramWithName(
        "SlowWork", "#version 150\nnoperspective in vec2 lm_location; out vec3 lm_output;\n"
                    "void main() { float v = 0.0;"
                    " for (int i = 0; i < 500; ++i) v = sin(v + lm_location.x * 1e-3 + float(i));"
                    " lm_output = vec3(v); }");
    auto image = LMImage::imageWithContext(context, {512, 512});
    context->bindToSharedVAO();
    image->bind();
    context->executeOpenGL([&] {
        program->useProgram();
        glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
    });
}

class PerformanceMonitors : public testing::Test {
protected:
    void SetUp() override { drawSomething(context); }
    void finishGL() { context->executeOpenGL([] { glFinish(); }); }
    bool isQuery(GLuint name) { return isGLObject(*context, glIsQuery, name); }

    // A monitor that reports to the listener when the test ticks it.
    std::shared_ptr<LMPerformanceMonitor> hostDrivenMonitor()
    {
        auto monitor = LMPerformanceMonitor::performanceMonitorWithContext(context);
        monitor->setUsesTimerThread(false);
        monitor->setTargetAction({listener, &Listener::report});
        return monitor;
    }

    std::shared_ptr<LMContext> context = LMContext::contextWithDimensions({256, 256});
    std::shared_ptr<Listener> listener = std::make_shared<Listener>();
};

} // namespace

TEST_F(PerformanceMonitors, HostDrivenTicksReportEachNewResultOnce)
{
    auto monitor = hostDrivenMonitor();
    monitor->setEnabled(true);
    EXPECT_FALSE(monitor->timerQueryCreated()) << "only start makes the query";
    monitor->start();
    EXPECT_FALSE(monitor->timerRunning()) << "the host ticks";

    monitor->stopTiming();
    timeFinishedSpan(*monitor, context);
    EXPECT_FALSE(monitor->timerQueryHasNewResults()) << "collected when the next span begins";
    monitor->startTiming();
    EXPECT_GT(monitor->latestRestults(), 0u);
    monitor->tick();
    monitor->tick();
    EXPECT_EQ(listener->reports, 1);

    // A result that arrives while a report is being made is not lost.
    listener->duringReport = [&] { monitor->stopTiming(), finishGL(), monitor->startTiming(); };
    timeFinishedSpan(*monitor, context);
    monitor->startTiming();
    monitor->tick();
    listener->duringReport = nullptr;
    monitor->tick();
    monitor->tick();
    EXPECT_EQ(listener->reports, 3);

    // After a restart the first span has no earlier span to report.
    monitor->stop();
    monitor->start();
    timeFinishedSpan(*monitor, context);
    EXPECT_FALSE(monitor->timerQueryHasNewResults());

    // A target that is gone uses the result up without a call.
    monitor->startTiming();
    ASSERT_TRUE(monitor->timerQueryHasNewResults());
    listener.reset();
    monitor->tick();
    EXPECT_FALSE(monitor->timerQueryHasNewResults());
    monitor->stopTiming();
    EXPECT_EQ(pendingGLError(*context), static_cast<GLenum>(GL_NO_ERROR)) << "the monitor leaves no GL error behind";
}

TEST_F(PerformanceMonitors, MeasureNothingWhileDisabledOrWithoutAContext)
{
    auto orphan = LMPerformanceMonitor::performanceMonitor();
    orphan->start();
    EXPECT_FALSE(orphan->timerQueryCreated() || orphan->timerRunning());

    auto monitor = LMPerformanceMonitor::performanceMonitorWithContext(context);
    monitor->start();
    EXPECT_TRUE(monitor->timerRunning());
    const GLuint first = monitor->timerQuery();
    monitor->startTiming();
    monitor->stopTiming();
    EXPECT_TRUE(isQuery(first));

    monitor->setEnabled(false);
    EXPECT_FALSE(monitor->timerQueryCreated() || monitor->timerRunning());
    EXPECT_FALSE(isQuery(first)) << "deleted";

    monitor->setInterval(0.5);
    EXPECT_TRUE(monitor->timerRunning()) << "a new interval starts even a disabled monitor";
    timeFinishedSpan(*monitor, context);
    // GL makes a generated name a query object only when it is first begun.
    EXPECT_FALSE(isQuery(monitor->timerQuery())) << "no span was begun";
}

TEST_F(PerformanceMonitors, GiveUpASpanTheGPUHasNotFinished)
{
    auto monitor = hostDrivenMonitor();
    monitor->start();
    monitor->startTiming();
    drawSlowly(context);
    monitor->stopTiming();
    finishGL();
    monitor->startTiming();
    monitor->tick();
    const uint64_t slow = monitor->latestResultNanoseconds();
    EXPECT_GT(slow, 1'000'000u) << "the slow draw takes milliseconds of GPU time";

    drawSlowly(context);
    monitor->stopTiming();
    monitor->startTiming();
    monitor->stopTiming();
    monitor->tick();
    EXPECT_EQ(listener->reports, 1) << "the unfinished span was dropped, not waited for";

    finishGL();
    monitor->startTiming();
    monitor->tick();
    EXPECT_EQ(listener->reports, 2);
    EXPECT_LT(monitor->latestResultNanoseconds(), slow / 2) << "the next report is of the span after it";
}

TEST_F(PerformanceMonitors, ReportFromTheirOwnThreadAtAboutTheInterval)
{
    const int threadsBefore = threadCount();
    auto monitor = LMPerformanceMonitor::performanceMonitorWithContext(context);
    monitor->setInterval(0.05);
    monitor->setTargetAction({listener, &Listener::report});
    EXPECT_EQ(threadCount(), threadsBefore + 1);

    const auto begin = Clock::now();
    while (Clock::now() - begin < 1s) {
        timeFinishedSpan(*monitor, context);
        std::this_thread::sleep_for(4ms);
    }
    // Released while it runs: no thread is left and no report comes after.
    monitor.reset();
    const double ticks = std::chrono::duration<double>(Clock::now() - begin).count() / 0.05;
    const int reports = listener->reports;
    EXPECT_EQ(threadCount(), threadsBefore);
    EXPECT_GE(reports, ticks / 4) << "loosely: this machine may be busy";
    EXPECT_LE(reports, ticks + 1) << "at most one report per interval";
    EXPECT_EQ(listener->zeroResults, 0);
    std::this_thread::sleep_for(100ms);
    EXPECT_EQ(listener->reports, reports);
}

TEST_F(PerformanceMonitors, StopCleanlyWhileReportsAreDue)
{
    const int threadsBefore = threadCount();
    auto monitor = LMPerformanceMonitor::performanceMonitorWithContext(context);
    std::atomic<bool> reporting{false};
    listener->duringReport = [&] { reporting = true, std::this_thread::sleep_for(20ms), reporting = false; };
    monitor->setTargetAction({listener, &Listener::report});
    monitor->setInterval(0.001);

    // Stopped from the host while a report runs: stop waits for it.
    const auto begin = Clock::now();
    while (!reporting && Clock::now() - begin < 10s)
        timeFinishedSpan(*monitor, context), monitor->startTiming();
    monitor->stop();
    EXPECT_FALSE(reporting);
    const int reports = listener->reports;
    std::this_thread::sleep_for(30ms);
    EXPECT_EQ(listener->reports, reports);

    // Restarted, then released, from inside its own reports.
    std::weak_ptr<LMPerformanceMonitor> watched = monitor;
    listener->duringReport = [&] {
        if (listener->reports == reports + 1)
            monitor->start();
        else
            monitor.reset();
    };
    monitor->start();
    while (!watched.expired() && Clock::now() - begin < 10s) {
        if (auto alive = watched.lock())
            timeFinishedSpan(*alive, context), alive->startTiming();
        std::this_thread::sleep_for(2ms);
    }
    EXPECT_EQ(listener->reports, reports + 2);
    while (threadCount() != threadsBefore && Clock::now() - begin < 10s)
        std::this_thread::sleep_for(1ms);
    EXPECT_EQ(threadCount(), threadsBefore) << "the timer thread ended after its last report";
}
