// Runs in a process of its own: it points the process's EGL display at an X
// server that does not exist, so no GL context can be created.

#include "support/LogCapture.h"

#include <lumetra/context/LMContext.h>
#include <lumetra/platform/LMEGLDisplay.h>

#include <gtest/gtest.h>

#include <cstdlib>

TEST(LMContextWithoutGL, LogsTheFailureAndEveryLaterOperationDoesNothing)
{
    setenv("DISPLAY", ":4242", 1);
    ASSERT_TRUE(LMEGLDisplay::setPreferredPlatform(LMEGLPlatform::X11));
    LogCapture capture;
    auto context = LMContext::contextWithDimensions({320, 200});
    EXPECT_EQ(context->openGLContext(), nullptr);
    EXPECT_EQ(context->maxTextureSize(), 0);
    bool ran = false;
    context->executeOpenGL([&] { ran = true; });
    context->executeOpenGLNoContextSwitch([&] { ran = true; });
    context->makeCurrentContext();
    context->bindToSharedVAO();
    context->setDimensions({640, 480});
    EXPECT_FALSE(ran) << "no block runs without a GL context";
    EXPECT_EQ(context->dimensions(), (LMSize{640, 480}));
    EXPECT_EQ(context->sharedVBO(), nullptr);
    EXPECT_EQ(capture.lines(), (std::vector<std::string>{
                                   "LMEGLDisplay: No EGL display could be opened on the X11 platform",
                                   "Error creating the OpenGL context.",
                               }));
}
