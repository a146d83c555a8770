#include "support/GLObjects.h"
#include "support/LogCapture.h"

#include <lumetra/context/LMContext.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <deque>
#include <thread>

namespace {

class RenderTargets : public testing::Test {
protected:
    std::shared_ptr<LMContext> context = LMContext::contextWithDimensions({256, 256});
    LMRenderTargetPool& pool = *context->renderTargetPool();
    bool alive(GLuint texture) { return isGLObject(*context, glIsTexture, texture); }
};

} // namespace

// The pool on its own pools plain numbers and needs no GL.
TEST(LMObjectPool, CountsLeasesAndReusesTheLowestUnusedIdUntilAFlush)
{
    LMObjectPool pool;
    EXPECT_EQ(pool.firstUnusedId(), LMNotFound);
    for (uint64_t id : {0u, 1u, 2u})
        EXPECT_EQ(pool.requestNewObjectId(), id);
    EXPECT_NE(pool.objectWithId(1), nullptr);
    pool.retainObjectWithId(1);
    pool.releaseObjectWithId(1);
    EXPECT_EQ(pool.objectsUsed(), 3u) << "two leases need two releases";
    for (uint64_t id : {1u, 1u, 999u})
        pool.releaseObjectWithId(id);
    EXPECT_EQ(pool.objectsUnused(), 1u) << "extra releases change nothing";
    EXPECT_EQ(pool.requestNewObjectId(), 1u) << "an unused id is leased again";
    EXPECT_EQ(pool.currentId(), 3u) << "nothing was created";

    pool.releaseObjectWithId(1);
    pool.flushUnusedObjects();
    EXPECT_EQ(pool.objectWithId(1), nullptr);
    EXPECT_EQ(pool.requestNewObjectId(), 3u) << "ids are never recycled";
    pool.releaseObjectWithId(3);
    pool.releaseObjectWithId(0);
    EXPECT_EQ(pool.requestNewObjectId(), 0u) << "the lowest unused id comes first";
    pool.retainObjectWithId(42);
    EXPECT_EQ(pool.objectWithId(42), nullptr) << "a retained unknown id is leased, with no object";
    EXPECT_EQ(pool.retainCounts(), (std::map<uint64_t, uint64_t>{{0, 1}, {2, 1}, {3, 0}, {42, 1}}));

    LogCapture capture;
    pool.setCurrentId(UINT64_MAX - 2);
    EXPECT_EQ(pool.createObjectId(), UINT64_MAX - 2);
    EXPECT_EQ(pool.createObjectId(), UINT64_MAX - 1);
    EXPECT_EQ(capture.lines(), (std::vector<std::string>{"LMObjectPool ran out of object ids!"}));
}

// Same size again, after a release: the same target and nothing new made. A
// target's texture is floored, a 16-bit RGB rectangle sampled linearly and
// clamped; binding the target sets the viewport to that floored size.
TEST_F(RenderTargets, AreReusedByExactSize)
{
    auto first = context->requestRenderTargetWithDimensions({100.7, 50.2});
    auto second = context->requestRenderTargetWithDimensions({100.7, 50.2});
    ASSERT_TRUE(first && second);
    EXPECT_TRUE(first->texture() != second->texture() && first->framebuffer() != second->framebuffer());
    context->releaseRenderTarget(first);
    const uint64_t nextId = pool.currentId();
    EXPECT_EQ(context->requestRenderTargetWithDimensions({100.7, 50.2}), first);
    EXPECT_EQ(pool.currentId(), nextId);
    context->releaseRenderTarget(first);
    EXPECT_NE(context->requestRenderTargetWithDimensions({100.7, 50.5}), first) << "a fraction more is another size";
    context->releaseRenderTarget(nullptr); // does nothing
    EXPECT_EQ(pool.retainCounts(), (std::map<uint64_t, uint64_t>{{0, 0}, {1, 1}, {2, 1}}));

    context->bindToRenderTarget(first);
    std::vector<GLint> state(4);
    context->executeOpenGLNoContextSwitch([&] {
        glGetIntegerv(GL_VIEWPORT, state.data());
        glBindTexture(GL_TEXTURE_RECTANGLE, first->texture());
        for (GLenum level : {GL_TEXTURE_WIDTH, GL_TEXTURE_HEIGHT, GL_TEXTURE_INTERNAL_FORMAT})
            glGetTexLevelParameteriv(GL_TEXTURE_RECTANGLE, 0, level, &state.emplace_back());
        for (GLenum parameter : {GL_TEXTURE_MAG_FILTER, GL_TEXTURE_MIN_FILTER, GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T})
            glGetTexParameteriv(GL_TEXTURE_RECTANGLE, parameter, &state.emplace_back());
    });
    EXPECT_EQ(state, (std::vector<GLint>{0, 0, 100, 50, 100, 50, GL_RGB16, GL_LINEAR, GL_LINEAR, GL_CLAMP_TO_EDGE,
                                         GL_CLAMP_TO_EDGE}));
}

// A flush deletes only unused targets; a size change flushes unused targets
// of every size, the new one included.
TEST_F(RenderTargets, FlushesDeleteOnlyUnusedTargets)
{
    auto kept = context->requestRenderTargetWithDimensions({64, 64});
    auto small = context->requestRenderTargetWithDimensions({32, 32});
    auto newSize = context->requestRenderTargetWithDimensions({512, 128});
    context->releaseRenderTarget(small);
    context->flushUnusedTargets();
    EXPECT_FALSE(alive(small->texture()));
    EXPECT_TRUE(alive(kept->texture()) && alive(newSize->texture()));
    context->releaseRenderTarget(newSize);
    context->setDimensions({512, 128});
    EXPECT_FALSE(alive(newSize->texture()));
    EXPECT_TRUE(alive(kept->texture()));
    EXPECT_EQ(pool.objectsAllocated(), 1u);
}

TEST_F(RenderTargets, FailedCreationsLogYieldNothingAndLeakNothing)
{
    const auto texturesBefore = liveGLObjects(*context, glIsTexture, 512);
    const auto framebuffersBefore = liveGLObjects(*context, glIsFramebuffer, 512);
    LogCapture capture;
    for (LMSize size : {LMSize{20000, 100}, LMSize{0.5, 10}, LMSize{NAN, 10}})
        EXPECT_EQ(context->requestRenderTargetWithDimensions(size), nullptr);
    EXPECT_EQ(capture.lines(), (std::vector<std::string>{
                                   "LMRenderTargetPool: Error 1281 creating a 20000x100 texture",
                                   "LMRenderTargetPool: Framebuffer not complete in time to render.",
                                   "LMRenderTargetPool: Framebuffer not complete in time to render.",
                               }));
    EXPECT_EQ(liveGLObjects(*context, glIsTexture, 512), texturesBefore);
    EXPECT_EQ(liveGLObjects(*context, glIsFramebuffer, 512), framebuffersBefore);
    EXPECT_EQ(pool.objectsAllocated(), 0u) << "failed ids are dropped";
    EXPECT_EQ(pendingGLError(*context), static_cast<GLenum>(GL_NO_ERROR));
    EXPECT_TRUE(context->requestRenderTargetWithDimensions({16, 16})) << "the pool goes on working";
}

// A pool's teardown deletes every target, leased or not, through its live
// context; once the context is gone, it frees nothing and makes nothing.
TEST_F(RenderTargets, PoolTeardownDeletesThroughTheLiveContextOnly)
{
    auto own = std::make_unique<LMRenderTargetPool>(context);
    const uint64_t leased = own->requestRenderTargetWithDimensions({40, 30});
    const uint64_t unused = own->requestRenderTargetWithDimensions({40, 30});
    const GLuint textures[] = {own->renderTargetWithId(leased)->texture(), own->renderTargetWithId(unused)->texture()};
    own->releaseObjectWithId(unused);
    own.reset();
    EXPECT_FALSE(alive(textures[0]) || alive(textures[1]));

    auto target = context->requestRenderTargetWithDimensions({64, 64});
    auto kept = context->renderTargetPool();
    context.reset();
    EXPECT_EQ(kept->context(), nullptr);
    kept->releaseObjectWithId(target->identifier());
    kept->flushUnusedObjects();
    EXPECT_EQ(kept->objectsAllocated(), 0u);
    EXPECT_EQ(kept->requestRenderTargetWithDimensions({64, 64}), LMNotFound);
}

// The drawing thread leases and flushes while a second thread gives each
// target back as soon as it is leased, as a host dropping images elsewhere does.
TEST_F(RenderTargets, ReleasesFromAnotherThreadKeepThePoolConsistent)
{
    const LMSize sizes[] = {{16, 16}, {32, 8}, {8, 32}};
    std::mutex mutex;
    std::deque<std::shared_ptr<LMRenderTarget>> toRelease;
    std::atomic<bool> done{false};
    std::thread releaser([&] {
        for (;;) {
            std::unique_lock<std::mutex> lock(mutex);
            if (toRelease.empty() && done)
                return;
            if (toRelease.empty())
                continue;
            auto target = std::move(toRelease.front());
            toRelease.pop_front();
            lock.unlock();
            context->releaseRenderTarget(target);
        }
    });
    int wrongSize = 0;
    for (int i = 0; i < 1500; ++i) {
        if (i % 50 == 0)
            context->flushUnusedTargets();
        auto target = context->requestRenderTargetWithDimensions(sizes[i % 3]);
        wrongSize += !target || !(target->dimensions() == sizes[i % 3]);
        std::lock_guard<std::mutex> lock(mutex);
        toRelease.push_back(target);
    }
    done = true;
    releaser.join();
    EXPECT_EQ(wrongSize, 0);
    EXPECT_EQ(pool.objectsUsed(), 0u) << "every lease was given back";
    context->flushUnusedTargets();
    EXPECT_EQ(pool.objectsAllocated(), 0u);
    EXPECT_EQ(pendingGLError(*context), static_cast<GLenum>(GL_NO_ERROR));
}
