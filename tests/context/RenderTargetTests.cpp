#include "support/ConcurrentReleases.h"
#include "support/GLObjects.h"
#include "support/LogCapture.h"

#include <lumetra/context/LMContext.h>

#include <gtest/gtest.h>

#include <array>
#include <cmath>

namespace {

// Width, height and internal format of a rectangle texture, then its
// magnification and minification filters and its S and T wrap modes.
std::array<GLint, 7> describe(LMContext& context, GLuint texture)
{
    std::array<GLint, 7> info{};
    context.executeOpenGL([&] {
        glBindTexture(GL_TEXTURE_RECTANGLE, texture);
        int i = 0;
        for (GLenum level : {GL_TEXTURE_WIDTH, GL_TEXTURE_HEIGHT, GL_TEXTURE_INTERNAL_FORMAT})
            glGetTexLevelParameteriv(GL_TEXTURE_RECTANGLE, 0, level, &info[i++]);
        for (GLenum parameter : {GL_TEXTURE_MAG_FILTER, GL_TEXTURE_MIN_FILTER, GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T})
            glGetTexParameteriv(GL_TEXTURE_RECTANGLE, parameter, &info[i++]);
    });
    return info;
}

class RenderTargets : public testing::Test {
protected:
    std::shared_ptr<LMContext> context = LMContext::contextWithDimensions({256, 256});
};

} // namespace

TEST_F(RenderTargets, AreReusedByExactSize)
{
    auto first = context->requestRenderTargetWithDimensions({256, 256});
    auto second = context->requestRenderTargetWithDimensions({256, 256});
    ASSERT_TRUE(first && second);
    EXPECT_NE(first->identifier(), second->identifier());
    EXPECT_NE(first->texture(), second->texture());
    EXPECT_NE(first->framebuffer(), second->framebuffer());

    context->releaseRenderTarget(first);
    const uint64_t nextId = context->renderTargetPool()->currentId();
    auto again = context->requestRenderTargetWithDimensions({256, 256});
    EXPECT_EQ(again, first) << "the released target comes back";
    EXPECT_EQ(context->renderTargetPool()->currentId(), nextId) << "and nothing was created";

    context->releaseRenderTarget(again);
    auto larger = context->requestRenderTargetWithDimensions({256, 256.5});
    ASSERT_TRUE(larger);
    EXPECT_NE(larger, first) << "half a pixel more is another size";
    EXPECT_EQ(context->renderTargetPool()->objectsUnused(), 1u);

    context->releaseRenderTarget(nullptr); // does nothing
    EXPECT_EQ(context->renderTargetPool()->objectsUsed(), 2u);
}

TEST_F(RenderTargets, HaveFlooredTexturesAndBindWithTheirViewport)
{
    auto target = context->requestRenderTargetWithDimensions({100.7, 50.2});
    ASSERT_TRUE(target);
    EXPECT_EQ(target->dimensions(), (LMSize{100.7, 50.2}));
    EXPECT_EQ(describe(*context, target->texture()),
              (std::array<GLint, 7>{100, 50, GL_RGB16, GL_LINEAR, GL_LINEAR, GL_CLAMP_TO_EDGE, GL_CLAMP_TO_EDGE}));

    // The framebuffer bound, and the texture it draws into, show in every
    // filter's output; the viewport shows only at custom sizes.
    context->bindToRenderTarget(target);
    std::array<GLint, 4> viewport{};
    context->executeOpenGLNoContextSwitch([&] { glGetIntegerv(GL_VIEWPORT, viewport.data()); });
    EXPECT_EQ(viewport, (std::array<GLint, 4>{0, 0, 100, 50}));
}

TEST_F(RenderTargets, FlushesDeleteOnlyUnusedTargets)
{
    auto kept = context->requestRenderTargetWithDimensions({64, 64});
    auto small = context->requestRenderTargetWithDimensions({32, 32});
    auto newSize = context->requestRenderTargetWithDimensions({512, 128});
    ASSERT_TRUE(kept && small && newSize);

    context->releaseRenderTarget(small);
    context->flushUnusedTargets();
    EXPECT_FALSE(isGLObject(*context, glIsTexture, small->texture()));
    EXPECT_TRUE(isGLObject(*context, glIsTexture, kept->texture()));
    EXPECT_EQ(context->renderTargetPool()->objectsAllocated(), 2u);

    // A size change flushes unused targets of every size, the new one included.
    context->releaseRenderTarget(newSize);
    context->setDimensions({512, 128});
    EXPECT_FALSE(isGLObject(*context, glIsTexture, newSize->texture()));
    EXPECT_TRUE(isGLObject(*context, glIsTexture, kept->texture()));
    EXPECT_EQ(context->renderTargetPool()->objectsAllocated(), 1u);
}

TEST_F(RenderTargets, FailedCreationsLogYieldNothingAndLeakNothing)
{
    const auto texturesBefore = liveGLObjects(*context, glIsTexture, 512);
    const auto framebuffersBefore = liveGLObjects(*context, glIsFramebuffer, 512);
    const size_t allocatedBefore = context->renderTargetPool()->objectsAllocated();
    LogCapture capture;

    EXPECT_EQ(context->requestRenderTargetWithDimensions({20000, 100}), nullptr);
    EXPECT_EQ(context->requestRenderTargetWithDimensions({0.5, 10}), nullptr);
    EXPECT_EQ(context->requestRenderTargetWithDimensions({NAN, 10}), nullptr);
    EXPECT_EQ(capture.lines(), (std::vector<std::string>{
                                   "LMRenderTargetPool: Error 1281 creating a 20000x100 texture",
                                   "LMRenderTargetPool: Framebuffer not complete in time to render.",
                                   "LMRenderTargetPool: Framebuffer not complete in time to render.",
                               }));
    EXPECT_EQ(liveGLObjects(*context, glIsTexture, 512), texturesBefore);
    EXPECT_EQ(liveGLObjects(*context, glIsFramebuffer, 512), framebuffersBefore);
    EXPECT_EQ(context->renderTargetPool()->objectsAllocated(), allocatedBefore) << "failed ids are dropped";

    EXPECT_EQ(pendingGLError(*context), static_cast<GLenum>(GL_NO_ERROR));
    EXPECT_TRUE(context->requestRenderTargetWithDimensions({16, 16})) << "the pool goes on working";
}

// The pool's teardown reaches its own deletion for every target, leased or
// not.
TEST_F(RenderTargets, PoolTeardownDeletesThroughTheLiveContextOnly)
{
    GLuint leased = 0, unused = 0;
    {
        LMRenderTargetPool pool(context);
        const uint64_t id = pool.requestRenderTargetWithDimensions({40, 30});
        const uint64_t released = pool.requestRenderTargetWithDimensions({40, 30});
        ASSERT_NE(id, LMNotFound);
        leased = pool.renderTargetWithId(id)->texture();
        unused = pool.renderTargetWithId(released)->texture();
        pool.releaseObjectWithId(released);
        EXPECT_TRUE(isGLObject(*context, glIsTexture, leased) && isGLObject(*context, glIsTexture, unused));
    }
    EXPECT_FALSE(isGLObject(*context, glIsTexture, leased));
    EXPECT_FALSE(isGLObject(*context, glIsTexture, unused));

    // A context that goes while targets are leased frees nothing one by one
    // and leaves the targets as plain records.
    auto doomed = LMContext::contextWithDimensions({64, 64});
    auto target = doomed->requestRenderTargetWithDimensions({64, 64});
    auto pool = doomed->renderTargetPool();
    doomed.reset();
    ASSERT_TRUE(target);
    EXPECT_EQ(pool->context(), nullptr);
    pool->flushUnusedObjects();
    EXPECT_EQ(pool->requestRenderTargetWithDimensions({64, 64}), LMNotFound);
}

// The drawing thread leases and flushes while a second thread gives targets
// back, as when images are dropped elsewhere.
TEST_F(RenderTargets, ReleasesFromAnotherThreadKeepThePoolConsistent)
{
    const LMSize sizes[] = {{16, 16}, {32, 8}, {8, 32}};
    int wrongSize = 0;
    const int handedOutTwice = leaseWhileAnotherThreadReleases(
        1500,
        [&](int i) {
            auto target = context->requestRenderTargetWithDimensions(sizes[i % 3]);
            wrongSize += !target || !(target->dimensions() == sizes[i % 3]);
            if (i % 50 == 0)
                context->flushUnusedTargets();
            return target;
        },
        [](const auto& target) { return target ? target->identifier() : LMNotFound; },
        [&](const auto& target) { context->releaseRenderTarget(target); });

    EXPECT_EQ(handedOutTwice, 0);
    EXPECT_EQ(wrongSize, 0);
    EXPECT_EQ(context->renderTargetPool()->objectsUsed(), 0u);
    context->flushUnusedTargets();
    EXPECT_EQ(context->renderTargetPool()->objectsAllocated(), 0u);
    EXPECT_EQ(pendingGLError(*context), static_cast<GLenum>(GL_NO_ERROR));
}
