// Runs in a process of its own: it points the process's EGL display at an X
// server that does not exist, so no GL context can be created. Every kind of
// object is then used with such a context.

#include "support/LogCapture.h"
#include "support/ProcessStats.h"

#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

#include <cstdlib>

// Nothing may crash, hang, draw or leave a thread behind, and the only
// lines logged are those that say the context has no GL. (A view without
// an X display is the view suite's.)
TEST(FailedContexts, LeaveEveryObjectANoOp)
{
    setenv("DISPLAY", ":4243", 1);
    ASSERT_TRUE(LMEGLDisplay::setPreferredPlatform(LMEGLPlatform::X11));
    const int threadsBefore = threadCount();
    LogCapture log;
    constexpr int rounds = 3;
    for (int round = 0; round < rounds; ++round) {
        auto context = LMContext::contextWithDimensions({32, 24});
        ASSERT_EQ(context->openGLContext(), nullptr);
        auto colour = LMColor::redColor()->drawWithContext(context);
        EXPECT_FALSE(colour->target() || colour->readPixelColorLowerLeft());
        auto invert = LMFilterInvert::filterWithInput(LMColor::redColor());
        EXPECT_EQ(invert->drawWithContext(context), nullptr);
        auto cycle = LMFilterMax2::filter();
        cycle->setInputA(LMPassthrough::passthroughWithInput(cycle));
        EXPECT_EQ(cycle->drawWithContext(context), nullptr);
        cycle->setInputA(nullptr);

        auto accumulator = LMImageAccumulator::accumulatorWithContext(context);
        accumulator->setImage(invert);
        EXPECT_FALSE(accumulator->drawWithContext(context)->target());
        EXPECT_EQ(LMOpenGLTextureAdapter::adapterWithContext(context)->convertTexture(1, {4, 2}), nullptr);
        EXPECT_EQ(LMPicture::pictureWithBitmap(newBIR(4, 2))->lumetraImageWithContext(context), nullptr);
        EXPECT_EQ(LMPicture::imageWithLMImage(colour), nullptr);

        auto monitor = LMPerformanceMonitor::performanceMonitorWithContext(context);
        monitor->start();
        monitor->startTiming();
        monitor->stopTiming();
        EXPECT_FALSE(monitor->timerRunning());
    }
    // The display says once why it failed, each context once.
    std::vector<std::string> expected = {"LMEGLDisplay: No EGL display could be opened on the X11 platform"};
    expected.resize(1 + rounds, "Error creating the OpenGL context.");
    EXPECT_EQ(log.lines(), expected);
    EXPECT_EQ(threadCount(), threadsBefore) << "the GL threads of failed contexts end too";
}
