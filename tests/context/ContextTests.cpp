#include "support/LogCapture.h"

#include <lumetra/context/LMContext.h>
#include <lumetra/platform/LMEGLDisplay.h>

#include <gtest/gtest.h>

#include <EGL/egl.h>

#include <thread>

// The set-up logs two lines, the renderer's and GL's own words in the
// second; the shared objects, made once at the first shared set-up, log nothing.
TEST(LMContext, LogsItsGLAtSetUp)
{
    LogCapture capture;
    auto context = LMContext::contextWithDimensions({100.5, 40.7});
    std::string renderer;
    context->executeOpenGL([&] { renderer = reinterpret_cast<const char*>(glGetString(GL_RENDERER)); });
    const auto lines = capture.lines();
    ASSERT_EQ(lines.size(), 2u) << testing::PrintToString(lines);
    EXPECT_EQ(lines[0], "LMContext: Maximum texture size: " + std::to_string(context->maxTextureSize()));
    EXPECT_TRUE(lines[1].starts_with("Lumetra context created with Renderer: " + renderer + ", OpenGL Version: "));
    EXPECT_FALSE(LMEGLDisplay::setPreferredPlatform(LMEGLPlatform::Surfaceless))
        << "the display is chosen once, before the first context";
}

// executeOpenGL makes the context current again after a block let go of it;
// the no-switch variant leaves it as it is until makeCurrentContext.
TEST(LMContext, BlocksRunOnItsOwnThreadWithTheContextCurrent)
{
    auto context = LMContext::contextWithDimensions({16, 16});
    std::vector<std::pair<std::thread::id, void*>> seen;
    auto note = [&] { seen.emplace_back(std::this_thread::get_id(), eglGetCurrentContext()); };
    context->executeOpenGL(note);
    context->executeOpenGLNoContextSwitch(LMOpenGLContext::clearCurrentContext);
    context->executeOpenGLNoContextSwitch(note);
    context->makeCurrentContext();
    context->executeOpenGLNoContextSwitch(note);
    context->executeOpenGLNoContextSwitch(LMOpenGLContext::clearCurrentContext);
    context->executeOpenGL(note);
    void* const gl = context->openGLContext()->eglContext();
    const auto glThread = seen[0].first;
    EXPECT_NE(glThread, std::this_thread::get_id());
    EXPECT_EQ(seen, (decltype(seen){{glThread, gl}, {glThread, EGL_NO_CONTEXT}, {glThread, gl}, {glThread, gl}}));
}
