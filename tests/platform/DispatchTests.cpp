#include "support/ProcessStats.h"

#include <lumetra/platform/VarnelDispatch.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <sys/syscall.h>
#include <thread>

namespace {
pid_t currentTid()
{
    return static_cast<pid_t>(syscall(SYS_gettid));
}
} // namespace

TEST(VarnelDispatch, RunsEveryBlockOnItsOwnThreadBeforeReturning)
{
    VarnelDispatch queue("Lumetra OpenGL Queue");
    EXPECT_EQ(queue.label(), "Lumetra OpenGL Queue");
    EXPECT_FALSE(queue.isCurrentQueue());

    std::thread::id first, second;
    bool insideQueue = false;
    int value = 0;
    queue.dispatchSyncToQueue([&] {
        first = std::this_thread::get_id();
        insideQueue = queue.isCurrentQueue();
        value = 42;
    });
    EXPECT_EQ(value, 42) << "the block has finished when the call returns";
    queue.dispatchSyncToQueue([&] { second = std::this_thread::get_id(); });
    EXPECT_NE(first, std::this_thread::get_id());
    EXPECT_EQ(first, second) << "one dedicated thread serves every block";
    EXPECT_TRUE(insideQueue);
}

TEST(VarnelDispatch, NestedSubmissionRunsAtOnce)
{
    VarnelDispatch queue("nested");
    std::vector<int> order;
    queue.dispatchSyncToQueue([&] {
        order.push_back(1);
        queue.dispatchSyncToQueue([&] {
            order.push_back(2);
            queue.dispatchSyncToQueue([&] { order.push_back(3); });
        });
        order.push_back(4);
    });
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3, 4}));
}

TEST(VarnelDispatch, BlocksFromSeveralThreadsNeverOverlap)
{
    VarnelDispatch queue("overlap");
    std::atomic<int> inside{0};
    std::atomic<int> overlaps{0};
    int unguardedCounter = 0; // only the queue's serialisation protects it
    constexpr int submitters = 4, blocksEach = 2000;

    std::vector<std::thread> threads;
    for (int t = 0; t < submitters; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < blocksEach; ++i) {
                queue.dispatchSyncToQueue([&] {
                    if (inside.fetch_add(1) != 0)
                        overlaps.fetch_add(1);
                    ++unguardedCounter;
                    if (i % 500 == 0)
                        std::this_thread::sleep_for(std::chrono::microseconds(200));
                    inside.fetch_sub(1);
                });
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(overlaps.load(), 0);
    EXPECT_EQ(unguardedCounter, submitters * blocksEach);
}

TEST(VarnelDispatch, ExceptionReachesTheSubmitterAndTheQueueGoesOn)
{
    VarnelDispatch queue("exceptions");
    EXPECT_THROW(queue.dispatchSyncToQueue([] { throw std::runtime_error("from the queue"); }), std::runtime_error);
    int value = 0;
    queue.dispatchSyncToQueue([&] { value = 1; });
    EXPECT_EQ(value, 1);
}

TEST(VarnelDispatch, LastOwnerMayLetGoFromInsideABlock)
{
    auto queue = std::make_shared<VarnelDispatch>("self-release");
    bool ran = false;
    queue->dispatchSyncToQueue([&] {
        queue.reset();
        ran = true;
    });
    EXPECT_TRUE(ran);
    EXPECT_EQ(queue, nullptr);
}

TEST(VarnelDispatch, IdleQueueParksItsThread)
{
    VarnelDispatch queue("idle");
    pid_t workerTid = 0;
    for (int i = 0; i < 1000; ++i)
        queue.dispatchSyncToQueue([&] { workerTid = currentTid(); });

    // Give the worker time to stop spinning, then watch it stay asleep.
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    const long before = threadCpuTicks(workerTid);
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    const long after = threadCpuTicks(workerTid);
    // A spinning thread would use about 50 ticks (of 10 ms) in that time.
    EXPECT_LE(after - before, 2);
}

TEST(VarnelDispatch, DestroyedQueuesLeaveNoThreadBehind)
{
    const int baseline = threadCount();
    for (int i = 0; i < 50; ++i) {
        VarnelDispatch queue("short-lived");
        queue.dispatchSyncToQueue([] {});
    }
    EXPECT_EQ(threadCount(), baseline);
}
