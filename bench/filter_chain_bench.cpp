// A chain of one-input filters against the same passes in plain GL, at three
// sizes and three lengths, and the cost of a draw answered from the cache.
//
// For the small-size overhead, run with LP_NUM_THREADS=0 so that llvmpipe
// rasterises on the calling thread for both sides: with its worker threads
// it spends far more per target switch than the library does.

#include "PlainGLChain.h"

#include <lumetra/lumetra_authoring.h>

#include <benchmark/benchmark.h>

namespace {

const char* const kernel = "void main() { lm_output = vec3(1.0) - texture(lm_input, lm_location).rgb; }";

class ChainFilter : public LMFilterClass<ChainFilter, LMFilterSingleInput> {
public:
    std::string kernelSource() const override { return kernel; }
};

std::shared_ptr<LMContext> quietContext(LMSize size)
{
    LMSetLogSink([](const std::string&) {});
    auto context = LMContext::contextWithDimensions(size);
    LMSetLogSink({});
    return context;
}

LMFilterRef<ChainFilter> buildChain(int length)
{
    std::shared_ptr<LMDrawable> node = LMColor::colorWithRed(0.2, 0.4, 0.6);
    LMFilterRef<ChainFilter> top;
    for (int i = 0; i < length; ++i) {
        top = ChainFilter::filterWithInput(node);
        node = top;
    }
    return top;
}

void BM_LibraryChain(benchmark::State& state)
{
    const int length = static_cast<int>(state.range(0));
    auto context = quietContext({static_cast<double>(state.range(1)), static_cast<double>(state.range(2))});
    auto top = buildChain(length);
    top->drawWithContext(context);
    for (auto _ : state) {
        top->drawWithContext(context);
        context->executeOpenGL([] { glFinish(); });
    }
}

void BM_PlainGLChain(benchmark::State& state)
{
    const int length = static_cast<int>(state.range(0));
    auto context = quietContext({static_cast<double>(state.range(1)), static_cast<double>(state.range(2))});
    PlainGLChain chain(*context, std::vector<PlainGLKernel>(size_t(length), {kernel, {}}));
    chain.drawAndFinish();
    for (auto _ : state)
        chain.drawAndFinish();
}

void chainArguments(benchmark::internal::Benchmark* benchmark)
{
    const int sizes[][2] = {{16, 16}, {640, 480}, {1920, 1080}};
    for (const auto& size : sizes) {
        for (int length : {1, 4, 8})
            benchmark->Args({length, size[0], size[1]});
    }
    benchmark->ArgNames({"filters", "width", "height"})
        ->Unit(benchmark::kMicrosecond)
        ->Repetitions(3)
        ->ReportAggregatesOnly(true);
}
BENCHMARK(BM_LibraryChain)->Apply(chainArguments);
BENCHMARK(BM_PlainGLChain)->Apply(chainArguments);

void BM_CachedFilterDraw(benchmark::State& state)
{
    auto context = quietContext({1920, 1080});
    context->setCachingEnabled(true);
    auto filter = ChainFilter::filterWithInput(LMColor::redColor());
    filter->drawWithContext(context);
    for (auto _ : state)
        benchmark::DoNotOptimize(filter->drawWithContext(context));
}
BENCHMARK(BM_CachedFilterDraw)->Repetitions(5)->ReportAggregatesOnly(true);

// What a host does each frame with caching on: ask the root, then draw.
void BM_CachedChainFrame(benchmark::State& state)
{
    auto context = quietContext({1920, 1080});
    context->setCachingEnabled(true);
    auto top = buildChain(8);
    top->drawWithContext(context);
    for (auto _ : state) {
        top->updateNeedsRedraw();
        benchmark::DoNotOptimize(top->drawWithContext(context));
    }
}
BENCHMARK(BM_CachedChainFrame)->Repetitions(5)->ReportAggregatesOnly(true);

} // namespace
