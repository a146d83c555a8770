// The pool on its own pools plain numbers, so these need no GL.

#include "support/ConcurrentReleases.h"
#include "support/LogCapture.h"

#include <lumetra/context/LMObjectPool.h>
#include <lumetra/context/LMPooledNumber.h>

#include <gtest/gtest.h>

namespace {

uint64_t numberOf(const std::shared_ptr<LMPooledObject>& object)
{
    auto number = std::dynamic_pointer_cast<LMPooledNumber>(object);
    return number ? number->value() : LMNotFound;
}

} // namespace

TEST(LMObjectPool, LeasesReusesAndFlushesIds)
{
    LMObjectPool pool;
    EXPECT_EQ(pool.firstUnusedId(), LMNotFound);
    EXPECT_EQ(pool.requestNewObjectId(), 0u);
    EXPECT_EQ(pool.requestNewObjectId(), 1u);
    EXPECT_EQ(pool.requestNewObjectId(), 2u);
    EXPECT_EQ(numberOf(pool.objectWithId(1)), 1u);
    EXPECT_EQ(pool.objectsUsed(), 3u);

    pool.releaseObjectWithId(1);
    EXPECT_EQ(pool.objectsUnused(), 1u);
    EXPECT_EQ(pool.firstUnusedId(), 1u);
    EXPECT_EQ(pool.requestNewObjectId(), 1u) << "an unused id is leased again";
    EXPECT_EQ(pool.currentId(), 3u) << "nothing was created";

    pool.releaseObjectWithId(1);
    pool.flushUnusedObjects();
    EXPECT_EQ(pool.objectWithId(1), nullptr);
    EXPECT_EQ(pool.objectsAllocated(), 2u);
    EXPECT_EQ(pool.requestNewObjectId(), 3u) << "ids are never recycled";

    // With several unused ids, the lowest comes first.
    pool.releaseObjectWithId(3);
    pool.releaseObjectWithId(0);
    EXPECT_EQ(pool.requestNewObjectId(), 0u);
    EXPECT_EQ((pool.retainCounts()), (std::map<uint64_t, uint64_t>{{0, 1}, {2, 1}, {3, 0}}));
}

TEST(LMObjectPool, CountsEveryLease)
{
    LMObjectPool pool;
    const uint64_t id = pool.requestNewObjectId();
    pool.retainObjectWithId(id);
    pool.releaseObjectWithId(id);
    EXPECT_EQ(pool.objectsUsed(), 1u) << "two leases need two releases";
    pool.releaseObjectWithId(id);
    EXPECT_EQ(pool.objectsUnused(), 1u);
    pool.releaseObjectWithId(id);
    pool.releaseObjectWithId(999);
    EXPECT_EQ(pool.retainCounts().at(id), 0u) << "extra releases change nothing";

    pool.retainObjectWithId(42);
    EXPECT_EQ(pool.objectsUsed(), 1u) << "a retained id is allocated and used";
    EXPECT_EQ(pool.objectWithId(42), nullptr) << "with no object";
}

TEST(LMObjectPool, LogsOnceWhenIdsRunOut)
{
    LogCapture capture;
    LMObjectPool pool;
    pool.setCurrentId(UINT64_MAX - 2);
    EXPECT_EQ(pool.createObjectId(), UINT64_MAX - 2);
    EXPECT_TRUE(capture.lines().empty());
    EXPECT_EQ(pool.createObjectId(), UINT64_MAX - 1);
    EXPECT_EQ(capture.lines(), (std::vector<std::string>{"LMObjectPool ran out of object ids!"}));
}

// The drawing thread leases and flushes while another releases: the pool
// must never hand out an id that is still leased and must balance to empty.
TEST(LMObjectPool, ReleasesFromAnotherThreadKeepTheBookkeepingConsistent)
{
    for (int round = 0; round < 20; ++round) {
        LMObjectPool pool;
        const int handedOutTwice = leaseWhileAnotherThreadReleases(
            2000,
            [&](int i) {
                const uint64_t id = pool.requestNewObjectId();
                if (i % 7 == 0)
                    pool.flushUnusedObjects();
                return id;
            },
            [](uint64_t id) { return id; }, [&](uint64_t id) { pool.releaseObjectWithId(id); });
        EXPECT_EQ(handedOutTwice, 0);
        EXPECT_EQ(pool.objectsUsed(), 0u);
        pool.flushUnusedObjects();
        EXPECT_EQ(pool.objectsAllocated(), 0u);
        EXPECT_TRUE(pool.objectStorage().empty());
    }
}
