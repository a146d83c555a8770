#include "support/LogCapture.h"
#include "support/ProcessStats.h"

#include <lumetra/context/LMContext.h>
#include <lumetra/platform/LMEGLDisplay.h>

#include <gtest/gtest.h>

#include <EGL/egl.h>

#include <array>
#include <thread>

namespace {

std::array<float, 16> readSharedQuad(LMContext& context)
{
    std::array<float, 16> quad{};
    context.executeOpenGL([&] {
        context.sharedVBO()->bind();
        glGetBufferSubData(GL_ARRAY_BUFFER, 0, sizeof(quad), quad.data());
    });
    return quad;
}

std::array<float, 16> expectedQuad(float width, float height)
{
    return {-1, -1, 0, 0, 1, -1, width, 0, -1, 1, 0, height, 1, 1, width, height};
}

std::string glString(GLenum name)
{
    return reinterpret_cast<const char*>(glGetString(name));
}

} // namespace

TEST(LMContext, IsAConfiguredCoreProfileContextThatLogsOnlyItsSetUp)
{
    LogCapture capture;
    auto context = LMContext::contextWithDimensions({100.5, 40.7});
    ASSERT_NE(context->openGLContext(), nullptr);
    EXPECT_FALSE(LMEGLDisplay::setPreferredPlatform(LMEGLPlatform::Surfaceless))
        << "the display is chosen once, before the first context";

    GLint maxTextureSize = 0, profile = 0, major = 0, minor = 0;
    std::array<GLint, 4> viewport{};
    std::vector<GLenum> enabled;
    std::string renderer, version, glsl;
    context->executeOpenGL([&] {
        glGetIntegerv(GL_MAX_TEXTURE_SIZE, &maxTextureSize);
        glGetIntegerv(GL_VIEWPORT, viewport.data());
        glGetIntegerv(GL_CONTEXT_PROFILE_MASK, &profile);
        glGetIntegerv(GL_MAJOR_VERSION, &major);
        glGetIntegerv(GL_MINOR_VERSION, &minor);
        for (GLenum capability : {GL_DITHER, GL_BLEND, GL_STENCIL_TEST, GL_DEPTH_TEST})
            if (glIsEnabled(capability))
                enabled.push_back(capability);
        renderer = glString(GL_RENDERER);
        version = glString(GL_VERSION);
        glsl = glString(GL_SHADING_LANGUAGE_VERSION);
    });
    EXPECT_EQ(context->maxTextureSize(), maxTextureSize);
    EXPECT_EQ(capture.lines(),
              (std::vector<std::string>{
                  "LMContext: Maximum texture size: " + std::to_string(maxTextureSize),
                  "Lumetra context created with Renderer: " + renderer + ", OpenGL Version: " + version +
                      ", GLSL Version: " + glsl,
              }));
    EXPECT_EQ(viewport, (std::array<GLint, 4>{0, 0, 100, 40})) << "the viewport takes the floor of the dimensions";
    EXPECT_EQ(context->gl()->currentViewport(), (LMRect{0, 0, 100, 40}));
    EXPECT_TRUE(profile & GL_CONTEXT_CORE_PROFILE_BIT);
    EXPECT_GE(major * 10 + minor, 32);
    EXPECT_EQ(enabled, std::vector<GLenum>{}) << "dithering, blending, stencil and depth tests are off";
}

// The shared vertex array, buffer and vertex shader are made at the first
// shared set-up, once. Its attribute layout shows in every filter drawn at
// the context's size.
TEST(LMContext, SharedQuadFollowsTheUnflooredDimensions)
{
    auto context = LMContext::contextWithDimensions({64, 64});
    context->setDimensions({100.5, 40});
    EXPECT_EQ(context->sharedVBO(), nullptr) << "no shared buffer exists before the first shared set-up";

    LogCapture capture;
    context->bindToSharedVAO();
    EXPECT_TRUE(context->sharedSetupComplete());
    EXPECT_TRUE(capture.lines().empty()) << "a clean set-up, the vertex shader's compilation included, logs nothing";
    EXPECT_EQ(readSharedQuad(*context), expectedQuad(100.5f, 40.f));
    context->setDimensions({300.25, 7.75});
    EXPECT_EQ(readSharedQuad(*context), expectedQuad(300.25f, 7.75f));
    auto vao = context->sharedVAO();
    context->bindToSharedVAO();
    EXPECT_EQ(context->sharedVAO(), vao) << "the shared objects are made once";
}

TEST(LMContext, BlocksRunOnTheGLThreadWithTheContextCurrent)
{
    auto context = LMContext::contextWithDimensions({16, 16});
    void* const glContext = context->openGLContext()->eglContext();

    std::thread::id glThread;
    void* currentInBlock = nullptr;
    context->executeOpenGL([&] {
        glThread = std::this_thread::get_id();
        currentInBlock = eglGetCurrentContext();
    });
    EXPECT_NE(glThread, std::this_thread::get_id());
    EXPECT_EQ(currentInBlock, glContext);

    // A block that lets go of the GL context: executeOpenGL makes it current
    // again, the no-switch variant leaves it as it is until makeCurrentContext.
    context->executeOpenGLNoContextSwitch([] { LMOpenGLContext::clearCurrentContext(); });
    context->executeOpenGLNoContextSwitch([&] { currentInBlock = eglGetCurrentContext(); });
    EXPECT_EQ(currentInBlock, EGL_NO_CONTEXT);
    context->makeCurrentContext();
    context->executeOpenGLNoContextSwitch([&] {
        currentInBlock = eglGetCurrentContext();
        EXPECT_EQ(LMOpenGLContext::currentContext(), context->openGLContext());
    });
    EXPECT_EQ(currentInBlock, glContext);

    context->executeOpenGLNoContextSwitch([] { LMOpenGLContext::clearCurrentContext(); });
    context->executeOpenGL([&] { currentInBlock = eglGetCurrentContext(); });
    EXPECT_EQ(currentInBlock, glContext);
}

TEST(LMContext, ManyContextsLeaveNoThreadsOrMemoryBehind)
{
    auto cycle = [] {
        auto context = LMContext::contextWithDimensions({256, 256});
        context->bindToSharedVAO();
        context->setDimensions({128, 64});
    };
    LogCapture quiet;
    for (int i = 0; i < 5; ++i)
        cycle();
    const int threads = threadCount();
    const long memory = residentKilobytes();
    for (int i = 0; i < 40; ++i)
        cycle();
    EXPECT_EQ(threadCount(), threads);
    // A leaked context with its GL state costs megabytes; allow allocator noise.
    EXPECT_LT(residentKilobytes() - memory, 4 * 1024);
}
