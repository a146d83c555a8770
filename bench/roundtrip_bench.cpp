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

} // namespace
