#include "support/ProcessStats.h"

#include <lumetra/platform/VarnelDispatch.h>

#include <gtest/gtest.h>

#include <chrono>
#include <stdexcept>
#include <sys/syscall.h>
#include <thread>
#include <vector>

// One thread of the queue's own runs every block before the call returns; a
// block submitted from inside a block runs at once.
TEST(VarnelDispatch, RunsBlocksOnItsOwnThreadAndNestedOnesAtOnce)
{
    VarnelDispatch queue("Lumetra OpenGL Queue");
    std::vector<int> order;
    std::thread::id worker;
    queue.dispatchSyncToQueue([&] {
        worker = std::this_thread::get_id();
        order.push_back(queue.isCurrentQueue() ? 1 : 0);
        queue.dispatchSyncToQueue([&] { order.push_back(2); });
        order.push_back(3);
    });
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
    EXPECT_NE(worker, std::this_thread::get_id());
    EXPECT_FALSE(queue.isCurrentQueue());
}

TEST(VarnelDispatch, HandsAnExceptionToItsSubmitterAndGoesOn)
{
    VarnelDispatch queue("throwing");
    std::thread::id first, second;
    queue.dispatchSyncToQueue([&] { first = std::this_thread::get_id(); });
    EXPECT_THROW(queue.dispatchSyncToQueue([] { throw std::runtime_error("from the queue"); }), std::runtime_error);
    queue.dispatchSyncToQueue([&] { second = std::this_thread::get_id(); });
    EXPECT_EQ(first, second) << "the same thread, on after the exception";
}

// Four threads submit at once: every block runs exactly once. The counter is
// guarded by nothing but the queue's one-at-a-time hand-over.
TEST(VarnelDispatch, BlocksFromSeveralThreadsEachRunOnce)
{
    VarnelDispatch queue("submitters");
    int counter = 0;
    auto submit = [&] {
        for (int i = 0; i < 2000; ++i)
            queue.dispatchSyncToQueue([&] { ++counter; });
    };
    std::thread a(submit), b(submit), c(submit);
    submit();
    for (std::thread* t : {&a, &b, &c})
        t->join();
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
