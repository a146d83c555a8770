// Costs on the draw path of the context's resources: leasing and releasing a
// render target of a size the pool already holds, the pool's bookkeeping on
// its own (its lock included), and looking up a cached program.

#include <lumetra/lumetra.h>

#include <benchmark/benchmark.h>

namespace {

std::shared_ptr<LMContext> quietContext()
{
    LMSetLogSink([](const std::string&) {});
    auto context = LMContext::contextWithDimensions({1280, 720});
    LMSetLogSink({});
    return context;
}

void BM_LeaseAndReleaseRenderTarget(benchmark::State& state)
{
    auto context = quietContext();
    context->releaseRenderTarget(context->requestRenderTargetWithDimensions({1280, 720}));
    for (auto _ : state) {
        auto target = context->requestRenderTargetWithDimensions({1280, 720});
        context->releaseRenderTarget(target);
    }
}
BENCHMARK(BM_LeaseAndReleaseRenderTarget)->Repetitions(5)->ReportAggregatesOnly(true);

void BM_ObjectPoolLeaseAndRelease(benchmark::State& state)
{
    LMObjectPool pool;
    for (int i = 0; i < 8; ++i)
        pool.requestNewObjectId();
    pool.releaseObjectWithId(7);
    for (auto _ : state) {
        const uint64_t id = pool.requestNewObjectId();
        pool.releaseObjectWithId(id);
    }
}
BENCHMARK(BM_ObjectPoolLeaseAndRelease)->Repetitions(5)->ReportAggregatesOnly(true);

void BM_ProgramCacheLookup(benchmark::State& state)
{
    auto context = quietContext();
    context->createProgramWithName("LMFilterInvert",
                                   "#version 150\nout vec3 lm_output; void main() { lm_output = vec3(1.0); }\n");
    for (auto _ : state)
        benchmark::DoNotOptimize(context->createProgramWithName("LMFilterInvert", nullptr));
}
BENCHMARK(BM_ProgramCacheLookup)->Repetitions(5)->ReportAggregatesOnly(true);

} // namespace
