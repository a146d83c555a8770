#include "support/ProcessStats.h"

#include <lumetra/platform/VarnelDispatch.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <sys/syscall.h>
#include <thread>
#include <vector>

// One thread of the queue's own runs every block before the call returns; a
// block submitted from inside a block runs at once, and an exception reaches
// the submitter without stopping the queue.
TEST(VarnelDispatch, RunsBlocksOnItsOwnThreadNestedAtOnceAndRethrows)
{
    VarnelDispatch queue("Lumetra OpenGL Queue");
    EXPECT_FALSE(queue.isCurrentQueue());
    std::vector<std::thread::id> threads;
    std::vector<int> order;
    queue.dispatchSyncToQueue([&] {
        threads.push_back(std::this_thread::get_id());
        order.push_back(queue.isCurrentQueue() ? 1 : 0);
        queue.dispatchSyncToQueue([&] {
            order.push_back(2);
            queue.dispatchSyncToQueue([&] { order.push_back(3); });
        });
        order.push_back(4);
    });
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3, 4}));
    EXPECT_THROW(queue.dispatchSyncToQueue([] { throw std::runtime_error("from the queue"); }), std::runtime_error);
    queue.dispatchSyncToQueue([&] { threads.push_back(std::this_thread::get_id()); });
    ASSERT_EQ(threads.size(), 2u) << "the queue goes on after an exception";
    EXPECT_NE(threads[0], std::this_thread::get_id());
    EXPECT_EQ(threads[0], threads[1]);
}

// The counter is guarded by nothing but the queue's one-at-a-time hand-over.
TEST(VarnelDispatch, BlocksFromSeveralThreadsNeverOverlap)
{
    VarnelDispatch queue("overlap");
    std::atomic<int> inside{0}, overlaps{0};
    int counter = 0;
    std::vector<std::thread> submitters;
    for (int t = 0; t < 4; ++t) {
        submitters.emplace_back([&] {
            for (int i = 0; i < 2000; ++i) {
                queue.dispatchSyncToQueue([&] {
                    overlaps += inside++ != 0;
                    ++counter;
                    if (i % 500 == 0)
                        std::this_thread::sleep_for(std::chrono::microseconds(200));
                    --inside;
                });
            }
        });
    }
    for (auto& submitter : submitters)
        submitter.join();
    EXPECT_EQ(overlaps.load(), 0);
    EXPECT_EQ(counter, 4 * 2000);
}

// After a burst of blocks the worker stops spinning and sleeps until the
// next one: a spinning thread would use about 50 ticks (of 10 ms) in the
// half second it is watched.
TEST(VarnelDispatch, IdleQueueParksItsThread)
{
    VarnelDispatch queue("idle");
    pid_t workerTid = 0;
    for (int i = 0; i < 1000; ++i)
        queue.dispatchSyncToQueue([&] { workerTid = pid_t(syscall(SYS_gettid)); });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    const long before = threadCpuTicks(workerTid);
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    EXPECT_LE(threadCpuTicks(workerTid) - before, 2);
}
