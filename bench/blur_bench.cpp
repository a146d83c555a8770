// The Gaussian blur at 1920 by 1080 for three sigmas: the direct passes
// (sigma 2) and the pyramid (10, 50). Each iteration draws the filter again
// over the same input image and waits for GL to finish.

#include <lumetra/lumetra.h>

#include <benchmark/benchmark.h>

namespace {

void BM_GaussianBlur(benchmark::State& state)
{
    LMSetLogSink([](const std::string&) {});
    auto context = LMContext::contextWithDimensions({1920, 1080});
    LMSetLogSink({});
    context->setCachingEnabled(false);
    const std::shared_ptr<LMDrawable> input = LMColor::colorWithRed(0.2, 0.4, 0.6)->drawWithContext(context);
    auto blur = LMFilterGaussianBlur::filter();
    blur->setValueForKey(LMValue(input), "input");
    blur->setSigma(static_cast<double>(state.range(0)));
    blur->drawWithContext(context);
    context->executeOpenGL([] { glFinish(); });
    for (auto _ : state) {
        benchmark::DoNotOptimize(blur->drawWithContext(context));
        context->executeOpenGL([] { glFinish(); });
    }
}
BENCHMARK(BM_GaussianBlur)
    ->ArgName("sigma")
    ->Arg(2)
    ->Arg(10)
    ->Arg(50)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);

} // namespace
