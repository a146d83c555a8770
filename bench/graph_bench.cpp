// The first whole draw: a colour node clearing a pooled target, and reading
// one pixel back.

#include <lumetra/lumetra.h>

#include <benchmark/benchmark.h>

namespace {

std::shared_ptr<LMContext> quietContext(LMSize size)
{
    LMSetLogSink([](const std::string&) {});
    auto context = LMContext::contextWithDimensions(size);
    LMSetLogSink({});
    return context;
}

void BM_ReadPixelColor(benchmark::State& state)
{
    auto context = quietContext({1280, 720});
    auto image = LMColor::colorWithRed(0.25, 0.5, 1.0)->drawWithContext(context);
    for (auto _ : state)
        benchmark::DoNotOptimize(image->readPixelColorAtX(640, 360));
}
BENCHMARK(BM_ReadPixelColor)->Unit(benchmark::kMicrosecond)->Repetitions(5)->ReportAggregatesOnly(true);

// Each iteration drops the node's image, so the draw leases the same pooled
// target again and clears it: the cost of a colour redraw without allocation.
void BM_ColorDrawOnReusedTarget(benchmark::State& state)
{
    const double side = static_cast<double>(state.range(0));
    auto context = quietContext({side, side});
    auto color = LMColor::colorWithRed(0.25, 0.5, 1.0);
    color->drawWithContext(context);
    for (auto _ : state) {
        color->setLastImage(nullptr);
        benchmark::DoNotOptimize(color->drawWithContext(context));
    }
    // Clears are queued by GL; finishing once keeps the last one in the figure.
    context->executeOpenGL([] { glFinish(); });
}
BENCHMARK(BM_ColorDrawOnReusedTarget)
    ->Arg(256)
    ->Arg(1280)
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);

// The same with the GPU work waited for on every iteration.
void BM_ColorDrawOnReusedTargetFinished(benchmark::State& state)
{
    auto context = quietContext({1280, 720});
    auto color = LMColor::colorWithRed(0.25, 0.5, 1.0);
    color->drawWithContext(context);
    for (auto _ : state) {
        color->setLastImage(nullptr);
        color->drawWithContext(context);
        context->executeOpenGL([] { glFinish(); });
    }
}
BENCHMARK(BM_ColorDrawOnReusedTargetFinished)
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);

} // namespace
