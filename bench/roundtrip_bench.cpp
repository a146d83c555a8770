// A picture in memory through invert and back, at 1920 by 1080, 8 bits: the
// host's side of what the Python module's round trip costs. Each iteration
// uploads the bitmap, draws invert on it and reads the result back as RGB
// rows into the host's memory (LMPicture::readPixels), as Context.run does
// into its array (bench/python_overhead.py measures the two side by side).

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
    std::shared_ptr<LMBitmap> bitmap = newBIR(1920, 1080);
    for (int32_t y = 0; y < bitmap->pixelsHigh(); ++y)
        for (int32_t x = 0; x < bitmap->pixelsWide() * 4; ++x)
            bitmap->rowAt(y)[x] = uint8_t(x * 7 + y * 3);
    auto invert = LMFilterInvert::filter();
    std::vector<uint8_t> rows(size_t(1920) * 1080 * 3);
    for (auto _ : state) {
        auto picture = LMPicture::pictureWithBitmap(bitmap);
        invert->setValueForKey(LMValue(picture->lumetraImageOfOwnSizeWithContext(context)), "input");
        if (!LMPicture::readPixels(invert->drawWithContext(context), 3, 8, rows.data(), 1920 * 3))
            state.SkipWithError("no read-back");
        benchmark::DoNotOptimize(rows.data());
    }
}
BENCHMARK(BM_InvertRoundTrip)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly(true);

} // namespace
