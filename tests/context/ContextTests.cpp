#include "support/LogCapture.h"

#include <lumetra/context/LMContext.h>
#include <lumetra/context/LMVertexArrayBuilder.h>
#include <lumetra/platform/LMEGLDisplay.h>

#include <gtest/gtest.h>

#include <EGL/egl.h>

#include <array>
#include <thread>

namespace {

using Ints = std::array<GLint, 4>;

Ints glIntegers(GLenum name)
{
    Ints values{};
    glGetIntegerv(name, values.data());
    return values;
}

} // namespace

// The set-up logs two lines; the shared objects, made once at the first
// shared set-up, log nothing.
TEST(LMContext, LogsItsGLAtSetUp)
{
    LogCapture capture;
    auto context = LMContext::contextWithDimensions({100.5, 40.7});
    ASSERT_NE(context->openGLContext(), nullptr);
    std::vector<std::string> expected;
    context->executeOpenGL([&] {
        auto glString = [](GLenum name) { return std::string(reinterpret_cast<const char*>(glGetString(name))); };
        expected = {"LMContext: Maximum texture size: " + std::to_string(glIntegers(GL_MAX_TEXTURE_SIZE)[0]),
                    "Lumetra context created with Renderer: " + glString(GL_RENDERER) + ", OpenGL Version: " +
                        glString(GL_VERSION) + ", GLSL Version: " + glString(GL_SHADING_LANGUAGE_VERSION)};
    });
    EXPECT_EQ("LMContext: Maximum texture size: " + std::to_string(context->maxTextureSize()), expected[0]);
    EXPECT_EQ(capture.lines(), expected);
    EXPECT_FALSE(LMEGLDisplay::setPreferredPlatform(LMEGLPlatform::Surfaceless))
        << "the display is chosen once, before the first context";
}

// The viewport takes the floor of the dimensions; dithering, blending,
// stencil and depth tests are off.
TEST(LMContext, StartsWithAWholePixelViewportAndNoBlendingOrTests)
{
    auto context = LMContext::contextWithDimensions({100.5, 40.7});
    Ints viewport{};
    std::vector<GLenum> enabled;
    context->executeOpenGL([&] {
        viewport = glIntegers(GL_VIEWPORT);
        for (GLenum capability : {GL_DITHER, GL_BLEND, GL_STENCIL_TEST, GL_DEPTH_TEST})
            if (glIsEnabled(capability))
                enabled.push_back(capability);
    });
    EXPECT_EQ(viewport, (Ints{0, 0, 100, 40}));
    EXPECT_EQ(enabled, std::vector<GLenum>{});
}

// Its texture coordinates are the dimensions in pixels, unfloored.
TEST(LMContext, KeepsItsSharedQuadInStepWithTheDimensions)
{
    auto context = LMContext::contextWithDimensions({100.5, 40.7});
    std::vector<std::array<float, 16>> quads;
    auto readQuad = [&] {
        context->bindToSharedVAO();
        context->executeOpenGL([&] {
            context->sharedVBO()->bind();
            glGetBufferSubData(GL_ARRAY_BUFFER, 0, sizeof(float) * 16, quads.emplace_back().data());
        });
    };
    readQuad();
    const auto vao = context->sharedVAO();
    context->setDimensions({300.25, 7.75});
    readQuad();
    EXPECT_EQ(context->sharedVAO(), vao);
    EXPECT_EQ(quads, (std::vector<std::array<float, 16>>{
                         {-1, -1, 0, 0, 1, -1, 100.5, 0, -1, 1, 0, 40.7f, 1, 1, 100.5, 40.7f},
                         {-1, -1, 0, 0, 1, -1, 300.25, 0, -1, 1, 0, 7.75, 1, 1, 300.25, 7.75}}));
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

// Watched through GL: before each call the test moves the GL viewport behind
// the cache's back, so only a call that reaches GL changes what GL reports.
TEST(LMOpenGL, SendsTheViewportOncePerDistinctRectangle)
{
    auto context = LMContext::contextWithDimensions({64, 64});
    context->executeOpenGL([] {
        LMOpenGL gl;
        std::vector<Ints> sent;
        for (LMRect rect : {LMRect{}, {0, 0, 100.9, 50.2}, {0, 0, 100.9, 50.2}, {5, 0, 100.9, 50.2}, {}, {}}) {
            glViewport(1, 2, 3, 4);
            if (sent.size() == 5)
                gl.setCurrentViewport({1, 2, 3, 4}); // a host that moved the viewport says so
            gl.setViewport(rect);
            sent.push_back(glIntegers(GL_VIEWPORT));
            EXPECT_EQ(gl.currentViewport(), rect) << "cached as given, unfloored";
        }
        EXPECT_EQ(sent, (std::vector<Ints>{
                            {1, 2, 3, 4}, {0, 0, 100, 50}, {1, 2, 3, 4}, {5, 0, 100, 50}, {0, 0, 0, 0}, {0, 0, 0, 0}}));
    });
}

// Attributes of 3, 2 and 4 floats (at locations 4, 3 and 5, one more than
// their sizes) one after another in each vertex of the bound buffer, recorded
// in a new vertex array that is left bound.
TEST(LMVertexArrayBuilder, LaysOutInterleavedAttributes)
{
    auto context = LMContext::contextWithDimensions({64, 64});
    context->executeOpenGL([&] {
        LMVertexBuffer buffer;
        buffer.bind();
        LMVertexArrayBuilder builder;
        for (GLuint index : {4, 3, 5})
            builder.addVertexAttribute(std::make_shared<LMVertexAttribute>(index, index - 1));
        builder.addVertexAttribute(nullptr);
        auto array = builder.build();
        EXPECT_EQ(static_cast<GLuint>(glIntegers(GL_VERTEX_ARRAY_BINDING)[0]), array->number());
        for (auto [index, offset] : {std::pair{4, 0}, {3, 12}, {5, 20}}) {
            std::vector<GLint> state;
            for (GLenum name :
                 {GL_VERTEX_ATTRIB_ARRAY_ENABLED, GL_VERTEX_ATTRIB_ARRAY_SIZE, GL_VERTEX_ATTRIB_ARRAY_STRIDE})
                glGetVertexAttribiv(index, name, &state.emplace_back());
            void* pointer = nullptr;
            glGetVertexAttribPointerv(index, GL_VERTEX_ATTRIB_ARRAY_POINTER, &pointer);
            state.push_back(static_cast<GLint>(reinterpret_cast<uintptr_t>(pointer)));
            EXPECT_EQ(state, (std::vector<GLint>{GL_TRUE, index - 1, 36, offset})) << "attribute " << index;
        }
    });
}
