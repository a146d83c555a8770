// Resampling a photo-sized picture to a quarter each way: the resize filter's
// GPU work alone (its two passes, then glFinish), the picture already in the
// context. Arguments: the block gap (2 is the default, 0 lanczos3 over every
// pixel) and linear light (0 or 1).

#include <lumetra/lumetra.h>

#include <benchmark/benchmark.h>

namespace {

void BM_Resize6000x4000ToQuarter(benchmark::State& state)
{
    LMSetLogSink([](const std::string&) {});
    auto context = LMContext::contextWithDimensions({1500, 1000});
    LMSetLogSink({});
    context->setCachingEnabled(false);
    // A smooth pattern with fine detail: the pixels' values do not change the work.
    auto bitmap = newBIR(6000, 4000);
    for (int y = 0; y < 4000; ++y)
        for (int x = 0; x < 6000; ++x) {
            uint8_t* pixel = bitmap->rowAt(y) + x * 4;
            pixel[0] = uint8_t(x), pixel[1] = uint8_t(y), pixel[2] = uint8_t((x ^ y) & 0xFF), pixel[3] = 255;
        }
    auto input = LMPicture::pictureWithBitmap(bitmap)->lumetraImageOfOwnSizeWithContext(context);
    auto resize = LMFilterResize::filter();
    resize->setValueForKey(std::shared_ptr<LMDrawable>(input), "input");
    resize->setWidth(1500);
    resize->setGap(double(state.range(0)));
    resize->setLinear(state.range(1) != 0);
    for (auto _ : state) {
        auto image = resize->drawWithContext(context);
        context->executeOpenGL([] { glFinish(); });
        benchmark::DoNotOptimize(image);
    }
}
BENCHMARK(BM_Resize6000x4000ToQuarter)
    ->ArgNames({"gap", "linear"})
    ->Args({2, 0})
    ->Args({0, 0})
    ->Args({2, 1})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3)
    ->Repetitions(3)
    ->ReportAggregatesOnly(true);

} // namespace
