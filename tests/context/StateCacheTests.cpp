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
        EXPECT_FALSE(gl.activeTextureSet());
        EXPECT_EQ(gl.boundVAO(), nullptr);

        array->cleanup();
        buffer->cleanup();
        EXPECT_FALSE(glIsVertexArray(array->number()));
        EXPECT_FALSE(glIsBuffer(buffer->number()));
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    });
}

TEST_F(GLTest, BufferUploadGoesToTheBufferBoundToTheTarget)
{
    context->executeOpenGL([] {
        LMVertexBuffer bound, notBound;
        const float bytes[2] = {7.0f, 9.0f};
        bound.bind();
        notBound.setData(bytes, sizeof(bytes));

        float readBack[2] = {};
        glGetBufferSubData(GL_ARRAY_BUFFER, 0, sizeof(readBack), readBack);
        EXPECT_EQ(readBack[0], 7.0f);
        EXPECT_EQ(readBack[1], 9.0f);
        GLint size = -1, usage = 0;
        glGetBufferParameteriv(GL_ARRAY_BUFFER, GL_BUFFER_SIZE, &size);
        glGetBufferParameteriv(GL_ARRAY_BUFFER, GL_BUFFER_USAGE, &usage);
        EXPECT_EQ(size, 8);
        EXPECT_EQ(usage, GL_STATIC_DRAW);

        notBound.bind();
        glGetBufferParameteriv(GL_ARRAY_BUFFER, GL_BUFFER_SIZE, &size);
        EXPECT_EQ(size, 0) << "the buffer that was not bound got nothing";
        bound.cleanup();
        notBound.cleanup();
    });
}

TEST_F(GLTest, BuilderLaysOutInterleavedAttributes)
{
    struct Layout {
        std::vector<GLint> sizes;
        GLint stride;
        std::vector<uintptr_t> offsets;
    };
    const Layout layouts[] = {
        {{2, 2}, 16, {0, 8}},
        {{3, 2, 4}, 36, {0, 12, 20}},
    };
    context->executeOpenGL([&] {
        LMVertexBuffer buffer;
        buffer.bind();
        for (const Layout& layout : layouts) {
            LMVertexArrayBuilder builder;
            for (size_t i = 0; i < layout.sizes.size(); ++i)
                builder.addVertexAttribute(std::make_shared<LMVertexAttribute>(static_cast<GLuint>(i + 2), layout.sizes[i]));
            auto array = builder.build();

            GLint bound = 0;
            glGetIntegerv(GL_VERTEX_ARRAY_BINDING, &bound);
            EXPECT_EQ(static_cast<GLuint>(bound), array->number()) << "the new array is left bound";
            GLint buffer = 0;
            glGetIntegerv(GL_ARRAY_BUFFER_BINDING, &buffer);
            for (size_t i = 0; i < layout.sizes.size(); ++i) {
                EXPECT_EQ(VertexAttributeState::read(static_cast<GLuint>(i + 2)),
                          (VertexAttributeState{GL_TRUE, layout.sizes[i], GL_FLOAT, GL_FALSE, layout.stride,
                                                layout.offsets[i], buffer}));
            }
            array->cleanup();
        }
        buffer.cleanup();
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    });
}
