// Runs in a process of its own: it points the process's EGL display at an X
// server that does not exist, so no GL context can be created. Every kind of
// object is then used with such a context: nothing may crash, hang, draw or
// leave a thread behind. (A view without an X display is the view suite's.)

#include "support/LogCapture.h"
#include "support/ProcessStats.h"

#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

// What the first context of the process logged, the display's failure with it.
std::vector<std::string> firstContextLines;

class NoGLDisplay : public testing::Environment {
public:
    void SetUp() override
    {
        setenv("DISPLAY", ":4243", 1);
        ASSERT_TRUE(LMEGLDisplay::setPreferredPlatform(LMEGLPlatform::X11));
        LogCapture log;
        ASSERT_EQ(LMContext::contextWithDimensions({32, 24})->openGLContext(), nullptr);
        firstContextLines = log.lines();
    }
};
const auto* environment = testing::AddGlobalTestEnvironment(new NoGLDisplay);

} // namespace

TEST(FailedContexts, LogTheDisplaysFailureOnceAndEachContextsOnce)
{
    EXPECT_EQ(firstContextLines, (std::vector<std::string>{
                                     "LMEGLDisplay: No EGL display could be opened on the X11 platform",
                                     "Error creating the OpenGL context.",
                                 }));
    LogCapture log;
    auto context = LMContext::contextWithDimensions({32, 24});
    EXPECT_EQ(log.lines(), std::vector<std::string>{"Error creating the OpenGL context."});
}

TEST(FailedContexts, RunNoBlockYetKeepTheirDimensions)
{
    auto context = LMContext::contextWithDimensions({320, 200});
    LogCapture log;
    EXPECT_EQ(context->maxTextureSize(), 0);
    bool ran = false;
    context->executeOpenGL([&] { ran = true; });
    context->executeOpenGLNoContextSwitch([&] { ran = true; });
    context->makeCurrentContext();
    context->bindToSharedVAO();
    context->setDimensions({640, 480});
    EXPECT_FALSE(ran);
    EXPECT_EQ(context->dimensions(), (LMSize{640, 480}));
    EXPECT_EQ(context->sharedVBO(), nullptr);
    EXPECT_EQ(log.lines(), std::vector<std::string>{});
}

// Repeated, so that a thread a failed context leaves shows.
TEST(FailedContexts, LeaveEveryObjectANoOpAndNoThreadBehind)
{
    const int threadsBefore = threadCount();
    for (int round = 0; round < 3; ++round) {
        auto context = LMContext::contextWithDimensions({32, 24});
        LogCapture log;
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
        EXPECT_EQ(log.lines(), std::vector<std::string>{});
    }
    EXPECT_EQ(threadCount(), threadsBefore) << "the GL threads of failed contexts end too";
}
