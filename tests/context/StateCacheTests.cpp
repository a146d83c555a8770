#include "support/VertexAttributeState.h"

#include <lumetra/context/LMContext.h>
#include <lumetra/context/LMOpenGL.h>
#include <lumetra/context/LMVertexArrayBuilder.h>

#include <gtest/gtest.h>

#include <array>

namespace {

std::array<GLint, 4> glViewportNow()
{
    std::array<GLint, 4> viewport{};
    glGetIntegerv(GL_VIEWPORT, viewport.data());
    return viewport;
}

class GLTest : public testing::Test {
protected:
    std::shared_ptr<LMContext> context = LMContext::contextWithDimensions({64, 64});
};

} // namespace

// The viewport cache is observed through GL itself: after the cache has sent a
// rectangle, the test moves the GL viewport behind its back; a later call with
// the same rectangle must leave GL alone, a different one must reach it.
TEST_F(GLTest, ViewportIsSentOncePerDistinctRectangle)
{
    context->executeOpenGL([] {
        LMOpenGL gl;
        EXPECT_EQ(gl.currentViewport(), (LMRect{0, 0, 0, 0}));

        glViewport(1, 2, 3, 4);
        gl.setViewport({0, 0, 0, 0});
        EXPECT_EQ(glViewportNow(), (std::array<GLint, 4>{1, 2, 3, 4})) << "equal to the initial value: no call";

        gl.setViewport({0, 0, 100.9, 50.2});
        EXPECT_EQ(glViewportNow(), (std::array<GLint, 4>{0, 0, 100, 50}));
        EXPECT_EQ(gl.currentViewport(), (LMRect{0, 0, 100.9, 50.2})) << "cached as given, not truncated";

        glViewport(1, 2, 3, 4);
        gl.setViewport({0, 0, 100.9, 50.2});
        EXPECT_EQ(glViewportNow(), (std::array<GLint, 4>{1, 2, 3, 4})) << "same rectangle: no call";

        gl.setViewport({5, 0, 100.9, 50.2});
        EXPECT_EQ(glViewportNow(), (std::array<GLint, 4>{5, 0, 100, 50})) << "another origin: a call";

        gl.setCurrentViewport({0, 0, 0, 0});
        gl.setViewport({5, 0, 100.9, 50.2});
        EXPECT_EQ(glViewportNow(), (std::array<GLint, 4>{5, 0, 100, 50})) << "reset cache: sent again";
    });
}

TEST_F(GLTest, BindingsAreAlwaysIssued)
{
    context->executeOpenGL([] {
        LMOpenGL gl;
        auto array = std::make_shared<LMVertexArray>();
        auto buffer = std::make_shared<LMVertexBuffer>();
        GLint bound = 0;

        gl.bindVertexArray(array);
        glBindVertexArray(0);
        gl.bindVertexArray(array);
        glGetIntegerv(GL_VERTEX_ARRAY_BINDING, &bound);
        EXPECT_EQ(static_cast<GLuint>(bound), array->number()) << "a repeated bind is not skipped";
        gl.bindVertexArray(nullptr);
        glGetIntegerv(GL_VERTEX_ARRAY_BINDING, &bound);
        EXPECT_EQ(static_cast<GLuint>(bound), array->number()) << "a null array changes nothing";

        gl.bindVertexBuffer(buffer);
        glBindBuffer(GL_ARRAY_BUFFER, 0);
        gl.bindVertexBuffer(buffer);
        glGetIntegerv(GL_ARRAY_BUFFER_BINDING, &bound);
        EXPECT_EQ(static_cast<GLuint>(bound), buffer->number());

        gl.setActiveTexture(GL_TEXTURE3);
        glGetIntegerv(GL_ACTIVE_TEXTURE, &bound);
        EXPECT_EQ(bound, GL_TEXTURE3);
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    });
}

TEST_F(GLTest, BufferUploadGoesToTheBufferBoundToTheTarget)
{
    context->executeOpenGL([] {
        LMVertexBuffer bound, notBound;
        const std::array<float, 2> data = {7, 9};
        bound.bind();
        notBound.setData(data.data(), sizeof(data));
        std::array<float, 2> readBack{};
        glGetBufferSubData(GL_ARRAY_BUFFER, 0, sizeof(readBack), readBack.data());
        EXPECT_EQ(readBack, data);

        notBound.bind();
        GLint size = -1;
        glGetBufferParameteriv(GL_ARRAY_BUFFER, GL_BUFFER_SIZE, &size);
        EXPECT_EQ(size, 0) << "the buffer that was not bound got nothing";
    });
}

// Three attributes of 3, 2 and 4 floats, one after another in each vertex.
TEST_F(GLTest, BuilderLaysOutInterleavedAttributes)
{
    const GLint sizes[] = {3, 2, 4};
    const uintptr_t offsets[] = {0, 12, 20};
    context->executeOpenGL([&] {
        LMVertexBuffer buffer;
        buffer.bind();
        LMVertexArrayBuilder builder;
        for (GLuint i = 0; i < 3; ++i)
            builder.addVertexAttribute(std::make_shared<LMVertexAttribute>(i + 2, sizes[i]));
        auto array = builder.build();

        GLint boundArray = 0, boundBuffer = 0;
        glGetIntegerv(GL_VERTEX_ARRAY_BINDING, &boundArray);
        glGetIntegerv(GL_ARRAY_BUFFER_BINDING, &boundBuffer);
        EXPECT_EQ(static_cast<GLuint>(boundArray), array->number()) << "the new array is left bound";
        for (GLuint i = 0; i < 3; ++i) {
            EXPECT_EQ(VertexAttributeState::read(i + 2),
                      (VertexAttributeState{GL_TRUE, sizes[i], GL_FLOAT, GL_FALSE, 36, offsets[i], boundBuffer}));
        }
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    });
}
