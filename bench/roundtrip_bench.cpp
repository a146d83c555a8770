// A picture in memory through invert and back, at 1920 by 1080, 8 bits: the
// host's side of what the Python module's round trip costs. Each iteration
// uploads the bitmap, draws invert on it and reads the result back into a
// new picture, as Context.run does from an array (bench/python_overhead.py
// measures the two side by side).

#include <lumetra/lumetra.h>

#include <benchmark/benchmark.h>

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
    for (auto _ : state) {
        auto picture = LMPicture::pictureWithBitmap(bitmap);
        invert->setValueForKey(LMValue(picture->lumetraImageOfOwnSizeWithContext(context)), "input");
        auto result = LMPicture::imageWithLMImage(invert->drawWithContext(context));
        benchmark::DoNotOptimize(result->bitmap()->bitmapData());
    }
}
BENCHMARK(BM_InvertRoundTrip)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly(true);

} // namespace
