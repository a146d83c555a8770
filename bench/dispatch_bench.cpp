// The GL queue round trip: the cost every GL step of a draw pays on top of
// its own work. Reported as the median of repeated runs.

#include <lumetra/lumetra.h>

#include <benchmark/benchmark.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace {

std::shared_ptr<LMContext> sharedContext()
{
    static std::shared_ptr<LMContext> context = [] {
        LMSetLogSink([](const std::string&) {});
        auto created = LMContext::contextWithDimensions({1280, 720});
        LMSetLogSink({});
        return created;
    }();
    return context;
}

void BM_ExecuteOpenGLNoContextSwitch(benchmark::State& state)
{
    auto context = sharedContext();
    context->makeCurrentContext();
    int counter = 0;
    for (auto _ : state)
        context->executeOpenGLNoContextSwitch([&] { ++counter; });
    benchmark::DoNotOptimize(counter);
}
BENCHMARK(BM_ExecuteOpenGLNoContextSwitch)->Repetitions(9)->ReportAggregatesOnly(true);

void BM_ExecuteOpenGL(benchmark::State& state)
{
    auto context = sharedContext();
    int counter = 0;
    for (auto _ : state)
        context->executeOpenGL([&] { ++counter; });
    benchmark::DoNotOptimize(counter);
}
BENCHMARK(BM_ExecuteOpenGL)->Repetitions(9)->ReportAggregatesOnly(true);

// Blocks spaced by host work of about 20 microseconds, as between the steps
// of a draw whose host side computes something.
void BM_ExecuteOpenGLWithHostWorkBetween(benchmark::State& state)
{
    auto context = sharedContext();
    int counter = 0;
    for (auto _ : state) {
        state.PauseTiming();
        const auto until = std::chrono::steady_clock::now() + std::chrono::microseconds(20);
        while (std::chrono::steady_clock::now() < until) {}
        state.ResumeTiming();
        context->executeOpenGLNoContextSwitch([&] { ++counter; });
    }
    benchmark::DoNotOptimize(counter);
}
BENCHMARK(BM_ExecuteOpenGLWithHostWorkBetween)->Repetitions(5)->ReportAggregatesOnly(true);

// The baseline the queue is measured against: a worker thread fed through a
// mutex and two condition variables.
class ConditionVariableQueue {
public:
    ConditionVariableQueue() : worker_([this] { serve(); }) {}
    ~ConditionVariableQueue()
    {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            stopping_ = true;
        }
        requested_.notify_one();
        worker_.join();
    }
    void dispatchSync(const std::function<void()>& block)
    {
        std::unique_lock<std::mutex> lock(mutex_);
        block_ = &block;
        requested_.notify_one();
        done_.wait(lock, [this] { return block_ == nullptr; });
    }

private:
    void serve()
    {
        std::unique_lock<std::mutex> lock(mutex_);
        for (;;) {
            requested_.wait(lock, [this] { return block_ != nullptr || stopping_; });
            if (stopping_)
                return;
            (*block_)();
            block_ = nullptr;
            done_.notify_one();
        }
    }

    std::mutex mutex_;
    std::condition_variable requested_, done_;
    const std::function<void()>* block_ = nullptr;
    bool stopping_ = false;
    std::thread worker_;
};

void BM_ConditionVariableBaseline(benchmark::State& state)
{
    ConditionVariableQueue queue;
    int counter = 0;
    const std::function<void()> block = [&] { ++counter; };
    for (auto _ : state)
        queue.dispatchSync(block);
    benchmark::DoNotOptimize(counter);
}
BENCHMARK(BM_ConditionVariableBaseline)->Repetitions(9)->ReportAggregatesOnly(true);

} // namespace
