#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

#include <array>

namespace {

std::array<float, 16> quadOf(LMContext& context, LMVAOStateTextured& state)
{
    std::array<float, 16> quad{};
    context.executeOpenGL([&] {
        state.update(*context.gl());
        state.ourVBO()->bind();
        glGetBufferSubData(GL_ARRAY_BUFFER, 0, sizeof(quad), quad.data());
    });
    return quad;
}

} // namespace

TEST(LMVAOStateTextured, LaysOutTheQuadForStretchFlipAndZeroSizes)
{
    auto context = LMContext::contextWithDimensions({8, 8});
    LMVAOStateTextured state;
    state.setInputDims({1280, 720});
    state.setOutputDims({640, 360});
    EXPECT_EQ(quadOf(*context, state),
              (std::array<float, 16>{-1, -1, 0, 0, 1, -1, 1280, 0, -1, 1, 0, 720, 1, 1, 1280, 720}));

    state.setIsFlipped(true);
    EXPECT_EQ(quadOf(*context, state),
              (std::array<float, 16>{-1, -1, 0, 720, 1, -1, 1280, 720, -1, 1, 0, 0, 1, 1, 1280, 0}));

    // A fill scaler would overflow; an output of zero width is the full viewport.
    state.setScaler(std::make_shared<LMScalerFill>());
    state.setOutputDims({0, 360});
    const auto quad = quadOf(*context, state);
    EXPECT_EQ(quad[0], -1);
    EXPECT_EQ(quad[4], 1);
    EXPECT_EQ(quad[9], 1);

    state.setScaler(nullptr);
    state.setOutputDims({640, 640});
    EXPECT_EQ(state.vertexPositionRect(), (LMRect{0, 0, 0, 0})) << "no scaler, no quad";
    context->executeOpenGL([&] { state.cleanup(); });
}

TEST(LMVAOStateTextured, RebuildsOnlyAfterAChange)
{
    auto context = LMContext::contextWithDimensions({8, 8});
    LMVAOStateTextured state;
    EXPECT_TRUE(state.needsVAOUpdate());
    state.setInputDims({100, 50});
    state.setOutputDims({100, 50});
    bool first = false, second = false, afterSameSize = true, afterZero = true, afterChange = false;
    GLuint oldArray = 0;
    GLboolean oldAlive = GL_TRUE;
    context->executeOpenGL([&] {
        first = state.update(*context->gl());
        second = state.update(*context->gl());
        state.setInputDims({100, 50});
        afterSameSize = state.update(*context->gl());
        state.setInputDims({0, 0});
        afterZero = state.update(*context->gl());
        oldArray = state.ourVAO()->number();
        state.setScaler(std::make_shared<LMScalerFill>());
        EXPECT_FALSE(state.needsVAOUpdate()) << "a scaler alone changes nothing";
        state.setOutputDims({50, 50});
        afterChange = state.update(*context->gl());
        oldAlive = glIsVertexArray(oldArray);
        state.cleanup();
    });
    EXPECT_TRUE(first);
    EXPECT_FALSE(second);
    EXPECT_FALSE(afterSameSize);
    EXPECT_FALSE(afterZero);
    EXPECT_EQ(state.inputDims(), (LMSize{100, 50})) << "zero by zero is not stored";
    EXPECT_TRUE(afterChange);
    EXPECT_FALSE(oldAlive) << "a rebuild replaces both GL objects";
}
