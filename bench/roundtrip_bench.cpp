// A picture in memory through invert and back, at 1920 by 1080, 8 bits: the
// host's side of what the Python module's round trip costs. Each iteration
// uploads the host's RGB rows (LMPicture::imageWithPixels), draws invert on
// them and reads the result back as RGB rows into the host's memory
// (LMPicture::readPixels), as Context.run does from and into its arrays
// (bench/python_overhead.py measures the two side by side).

#include <lumetra/lumetra.h>

#include <benchmark/benchmark.h>

#include <vector>

namespace {

void BM_InvertRoundTrip(benchmark::State& state)
{
    LMSetLogSink([](const std::string&) {});
    auto context = LMContext::contextWithDimensions({1920, 1080});
    LMSetLogSink({});
    // As the Python module's contexts are made.
    context->setFusionEnabled(true);
    const int32_t width = 1920, height = 1080;
    std::vector<uint8_t> source(size_t(width) * height * 3);
    for (size_t i = 0; i < source.size(); ++i)
        source[i] = uint8_t((i % (width * 3)) * 7 + (i / (width * 3)) * 3);
    auto invert = LMFilterInvert::filter();
    std::vector<uint8_t> rows(source.size());
    for (auto _ : state) {
        invert->setValueForKey(
            LMValue(LMPicture::imageWithPixels(context, source.data(), width, height, 3, 8, size_t(width) * 3)),
            "input");
        if (!LMPicture::readPixels(invert->drawWithContext(context), 3, 8, rows.data(), size_t(width) * 3))
            state.SkipWithError("no read-back");
        benchmark::DoNotOptimize(rows.data());
    }
}
BENCHMARK(BM_InvertRoundTrip)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly(true);

// The read-back alone: a drawn 1920 by 1080 image into the host's RGB rows
// at 8 or 16 bits. 8 bits by route: 0 as the context decides, 1 through 16
// bits rounded on the CPU (what a driver that does not round bytes gets),
// 2 bytes straight from GL (inexact on such a driver).
void BM_ReadBack(benchmark::State& state)
{
    const size_t sampleBytes = size_t(state.range(0)) / 8;
    LMSetLogSink([](const std::string&) {});
    auto context = LMContext::contextWithDimensions({1920, 1080});
    LMSetLogSink({});
    if (state.range(1))
        context->executeOpenGL([&] { context->gl()->setReadsBytesStraight(state.range(1) == 2); });
    auto image = LMFilterInvert::filterWithInput(LMColor::colorWithRed(0.3, 0.5, 0.7))->drawWithContext(context);
    std::vector<uint8_t> rows(size_t(1920) * 1080 * 3 * sampleBytes);
    for (auto _ : state) {
        if (!LMPicture::readPixels(image, 3, int(state.range(0)), rows.data(), 1920 * 3 * sampleBytes))
            state.SkipWithError("no read-back");
        benchmark::DoNotOptimize(rows.data());
    }
}
BENCHMARK(BM_ReadBack)
    ->ArgNames({"bits", "route"})
    ->Args({8, 0})
    ->Args({8, 1})
    ->Args({8, 2})
    ->Args({16, 0})
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);

} // namespace
