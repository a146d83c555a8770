#include "support/GLObjects.h"
#include "support/LogCapture.h"

#include <lumetra/context/LMContext.h>

#include <gtest/gtest.h>

#include <cmath>
#include <thread>

namespace {

using Counts = std::map<uint64_t, uint64_t>;

class RenderTargets : public testing::Test {
protected:
    std::shared_ptr<LMContext> context = LMContext::contextWithDimensions({256, 256});
    LMRenderTargetPool& pool = *context->renderTargetPool();
    bool alive(GLuint texture) { return isGLObject(*context, glIsTexture, texture); }
};

} // namespace

// The pool on its own pools plain numbers and needs no GL.
TEST(LMObjectPool, CountsLeasesAndLeasesTheLowestUnusedIdFirst)
{
    LMObjectPool pool;
    for (uint64_t id : {0u, 1u, 2u})
        EXPECT_EQ(pool.requestNewObjectId(), id);
    for (uint64_t id : {1u, 1u, 999u})
        pool.releaseObjectWithId(id);
    EXPECT_EQ(pool.retainCounts(), (Counts{{0, 1}, {1, 0}, {2, 1}})) << "extra releases change nothing";
    EXPECT_EQ(pool.requestNewObjectId(), 1u) << "an unused id is leased again";
    pool.releaseObjectWithId(2);
    pool.releaseObjectWithId(0);
    EXPECT_EQ(pool.requestNewObjectId(), 0u) << "the lowest unused id comes first";
    EXPECT_EQ(pool.retainCounts(), (Counts{{0, 1}, {1, 1}, {2, 0}}));
}

TEST(LMObjectPool, NeverRecyclesTheIdsAFlushDrops)
{
    LMObjectPool pool;
    for (int i = 0; i < 3; ++i)
        pool.requestNewObjectId();
    pool.releaseObjectWithId(1);
    EXPECT_EQ(pool.requestNewObjectId(), 1u);
    pool.releaseObjectWithId(1);
    pool.flushUnusedObjects();
    EXPECT_EQ(pool.requestNewObjectId(), 3u) << "and a reuse takes no new id";
    EXPECT_EQ(pool.retainCounts(), (Counts{{0, 1}, {2, 1}, {3, 1}}));
}

TEST(LMObjectPool, LogsWhenItRunsOutOfIds)
{
    LMObjectPool pool;
    LogCapture capture;
    pool.setCurrentId(UINT64_MAX - 2);
    EXPECT_EQ(pool.createObjectId(), UINT64_MAX - 2);
    EXPECT_TRUE(capture.lines().empty()) << "the id before the last one is still fine";
    EXPECT_EQ(pool.createObjectId(), UINT64_MAX - 1);
    EXPECT_EQ(capture.lines(), (std::vector<std::string>{"LMObjectPool ran out of object ids!"}));
}

// A pool whose objects weigh 10 bytes each.
class WeighedPool : public LMObjectPool {
public:
    size_t bytesOfObject(const LMPooledObject&) const override { return 10; }
};

// Trimming deletes by release order, not by id, and stops within the budget;
// a lease takes an id out of the order, and a second release of an unused id
// neither counts its weight twice nor queues it twice.
TEST(LMObjectPool, TrimsUnusedObjectsTheLeastRecentlyReleasedFirstDownToTheBudget)
{
    WeighedPool pool;
    for (int i = 0; i < 5; ++i)
        pool.requestNewObjectId();
    for (uint64_t id : {3u, 1u, 4u, 0u, 0u})
        pool.releaseObjectWithId(id);
    EXPECT_EQ(std::pair(pool.allocatedBytes(), pool.unusedBytes()), (std::pair<size_t, size_t>(50, 40)));
    pool.trimUnusedObjects();
    EXPECT_EQ(pool.retainCounts(), (Counts{{0, 0}, {1, 0}, {2, 1}, {3, 0}, {4, 0}})) << "the budget is unlimited";

    pool.setUnusedBytesBudget(20);
    pool.trimUnusedObjects();
    EXPECT_EQ(pool.retainCounts(), (Counts{{0, 0}, {2, 1}, {4, 0}}));
    EXPECT_EQ(pool.allocatedBytes(), 30u);
    EXPECT_EQ(pool.requestNewObjectId(), 0u);
    EXPECT_EQ(pool.unusedBytes(), 10u);
    EXPECT_EQ(pool.leastRecentlyReleasedId(), 4u);
    pool.releaseObjectWithId(0);
    pool.setUnusedBytesBudget(10);
    pool.trimUnusedObjects();
    EXPECT_EQ(pool.retainCounts(), (Counts{{0, 0}, {2, 1}})) << "0 was released after 4";
    pool.flushUnusedObjects();
    EXPECT_EQ(std::tuple(pool.unusedBytes(), pool.allocatedBytes(), pool.leastRecentlyReleasedId()),
              std::tuple(size_t(0), size_t(10), LMNotFound));
}

TEST_F(RenderTargets, AreReusedForTheSameSizeOnceReleased)
{
    auto first = context->requestRenderTargetWithDimensions({100.7, 50.2});
    auto second = context->requestRenderTargetWithDimensions({100.7, 50.2});
    ASSERT_TRUE(first && second && first != second);
    context->releaseRenderTarget(first);
    EXPECT_EQ(context->requestRenderTargetWithDimensions({100.7, 50.2}), first);
    context->releaseRenderTarget(first);
    EXPECT_NE(context->requestRenderTargetWithDimensions({100.000001, 50.5}), first)
        << "by default sizes are compared as doubles";
    context->releaseRenderTarget(nullptr); // does nothing
    EXPECT_EQ(pool.retainCounts(), (Counts{{0, 0}, {1, 1}, {2, 1}}));
}

// On request a size is the size of the texture: requests that floor to the
// same whole pixels share targets, and the target reports the latest request.
TEST_F(RenderTargets, AreReusedOnRequestByTheSizeOfTheirTexture)
{
    pool.setReusesByTextureSize(true);
    auto first = context->requestRenderTargetWithDimensions({100.7, 50.2});
    context->releaseRenderTarget(first);
    EXPECT_EQ(context->requestRenderTargetWithDimensions({100.000001, 50.5}), first) << "the same 100 by 50 texture";
    EXPECT_EQ(first->dimensions(), (LMSize{100.000001, 50.5}));
    context->releaseRenderTarget(first);
    EXPECT_NE(context->requestRenderTargetWithDimensions({100.7, 51}), first) << "a pixel more is another size";
    EXPECT_EQ(pool.objectsAllocated(), 2u);
}

// A filter whose output size changes every frame: what was released is
// deleted, the least recently released first, once the unused targets weigh
// more than the budget, while recent sizes stay for reuse. What went is
// told by size, not by texture name: a driver may give a deleted texture's
// name to the next texture it makes. The weights are exact.
TEST_F(RenderTargets, UnusedOnesAreKeptWithinTheirBudgetTheLeastRecentlyReleasedGoingFirst)
{
    EXPECT_EQ(context->renderTargetIdleBudget(), size_t(256) << 20);
    const size_t weigh64x32 = 64 * 32 * 8 + 4096;
    EXPECT_EQ(LMRenderTargetPool::bytesForDimensions({64.9, 32.5}), weigh64x32);
    context->setRenderTargetIdleBudget(6 * weigh64x32);

    std::vector<GLuint> textures;
    size_t mostIdle = 0;
    auto held = context->requestRenderTargetWithDimensions({8, 8});
    for (int frame = 0; frame < 300; ++frame) {
        auto target = context->requestRenderTargetWithDimensions({16.0 + frame, 16});
        mostIdle = std::max(mostIdle, context->renderTargetBytesIdle());
        textures.push_back(target->texture());
        context->releaseRenderTarget(target);
    }
    EXPECT_LE(mostIdle, 6 * weigh64x32);
    EXPECT_LT(pool.objectsAllocated(), 6u);
    EXPECT_TRUE(alive(held->texture())) << "leased targets are never deleted";
    size_t weights = 0;
    for (const auto& [id, object] : pool.objectStorage()) {
        const LMSize size = std::static_pointer_cast<LMRenderTarget>(object)->dimensions();
        EXPECT_TRUE(size.width != 16 && size.width != 216) << "the oldest went, yet " << size.width << " is kept";
        weights += LMRenderTargetPool::bytesForDimensions(size);
    }
    EXPECT_EQ(context->renderTargetBytesAllocated(), weights);
    EXPECT_EQ(context->renderTargetBytesIdle(), weights - LMRenderTargetPool::bytesForDimensions({8, 8}));
    // A lower budget deletes at once, on the GL queue.
    context->setRenderTargetIdleBudget(0);
    EXPECT_FALSE(alive(textures[299]));
}

TEST_F(RenderTargets, FailedCreationsLogYieldNothingAndLeakNothing)
{
    const auto live = [&] {
        return std::pair(liveGLObjects(*context, glIsTexture, 512), liveGLObjects(*context, glIsFramebuffer, 512));
    };
    const auto before = live();
    LogCapture capture;
    // One texel wider than the driver's largest texture.
    const int tooWide = context->maxTextureSize() + 1;
    for (LMSize size : {LMSize{double(tooWide), 100}, LMSize{0.5, 10}, LMSize{NAN, 10}})
        EXPECT_EQ(context->requestRenderTargetWithDimensions(size), nullptr);
    const std::string incomplete = "LMRenderTargetPool: Framebuffer not complete in time to render.";
    EXPECT_EQ(capture.lines(), (std::vector<std::string>{"LMRenderTargetPool: Error 1281 creating a " +
                                                             std::to_string(tooWide) + "x100 texture",
                                                         incomplete, incomplete}));
    EXPECT_EQ(live(), before) << "no texture or framebuffer leaked";
    EXPECT_EQ(pool.objectsAllocated(), 0u) << "failed ids are dropped";
    EXPECT_EQ(pendingGLError(*context), static_cast<GLenum>(GL_NO_ERROR));
    EXPECT_TRUE(context->requestRenderTargetWithDimensions({16, 16})) << "the pool goes on working";
}

// By a flush, and by a size change (every size, the new one included).
TEST_F(RenderTargets, UnusedOnesAreDeletedByFlushesAndSizeChanges)
{
    auto kept = context->requestRenderTargetWithDimensions({64, 64});
    auto small = context->requestRenderTargetWithDimensions({32, 32});
    auto newSize = context->requestRenderTargetWithDimensions({512, 128});
    context->releaseRenderTarget(small);
    context->flushUnusedTargets();
    EXPECT_TRUE(!alive(small->texture()) && alive(kept->texture()) && alive(newSize->texture()));
    context->releaseRenderTarget(newSize);
    context->setDimensions({512, 128});
    EXPECT_TRUE(!alive(newSize->texture()) && alive(kept->texture()));
    EXPECT_EQ(pool.objectsAllocated(), 1u);
}

// Even the leased ones, through its context.
TEST_F(RenderTargets, AreAllDeletedWithTheirPool)
{
    auto own = std::make_unique<LMRenderTargetPool>(context);
    const uint64_t leased = own->requestRenderTargetWithDimensions({40, 30});
    const uint64_t unused = own->requestRenderTargetWithDimensions({40, 30});
    const GLuint textures[] = {own->renderTargetWithId(leased)->texture(), own->renderTargetWithId(unused)->texture()};
    own->releaseObjectWithId(unused);
    own.reset();
    EXPECT_FALSE(alive(textures[0]) || alive(textures[1]));
}

TEST_F(RenderTargets, AreForgottenByAPoolWhoseContextHasGone)
{
    auto kept = context->requestRenderTargetWithDimensions({64, 64});
    auto keptPool = context->renderTargetPool();
    context.reset();
    keptPool->releaseObjectWithId(kept->identifier());
    keptPool->flushUnusedObjects();
    EXPECT_EQ(keptPool->objectsAllocated(), 0u);
    EXPECT_EQ(keptPool->requestRenderTargetWithDimensions({64, 64}), LMNotFound);
}

// The drawing thread leases and flushes while another thread gives back the
// targets of the previous round, as a host dropping images elsewhere does.
TEST_F(RenderTargets, ReleasesFromAnotherThreadKeepThePoolConsistent)
{
    int wrongSize = 0;
    std::thread releaser;
    for (int round = 0; round < 500; ++round) {
        std::vector<std::shared_ptr<LMRenderTarget>> leased;
        for (LMSize size : {LMSize{16, 16}, LMSize{32, 8}, LMSize{8, 32}})
            wrongSize += !(leased.emplace_back(context->requestRenderTargetWithDimensions(size))->dimensions() == size);
        if (round % 16 == 0)
            context->flushUnusedTargets();
        if (releaser.joinable())
            releaser.join();
        releaser = std::thread([this, leased] {
            for (const auto& target : leased)
                context->releaseRenderTarget(target);
        });
    }
    releaser.join();
    EXPECT_EQ(wrongSize, 0);
    EXPECT_EQ(pool.objectsUsed(), 0u) << "every lease was given back";
    context->flushUnusedTargets();
    EXPECT_TRUE(pool.retainCounts().empty() && pool.objectStorage().empty());
    EXPECT_EQ(pendingGLError(*context), static_cast<GLenum>(GL_NO_ERROR));
}
