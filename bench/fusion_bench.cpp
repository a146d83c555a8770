// The eight-filter chain (invert, fader at 0.5, to-srgb, max-component,
// twice) on a picture, four ways side by side at each size: the library
// drawing a pass per filter, the library with fusion on (one generated
// pass), the same eight passes in plain GL (one program per kernel), and,
// when Movit was found at configure time, Movit's chain of the same four
// kernels (which it compiles into one pass of its own). Two more ways tell
// the generated program's cost from the library's: the whole chain as one
// hand-written pass in plain GL, with each step kept as a 16-bit target
// would keep it (as the fused pass does) and without (as Movit does). With
// Movit, one more draws the fused chain and Movit's in turn in each
// iteration and reports the ratio of their medians, which holds on a
// loaded machine where separate runs drift.
//
// Run as the other benchmarks, with LP_NUM_THREADS=0 and without:
//   LP_NUM_THREADS=0 build/bench/lumetra_bench --benchmark_filter=EightFilters
// Each set-up checks its output against plain GL's and reports the largest
// difference as the counter `diff` (in 16-bit levels; the library's output
// is read back at 8 bits, so its levels are multiples of 257).

#include "PlainGLChain.h"

#ifdef LUMETRA_BENCH_MOVIT
#include "MovitChain.h"
#endif

#include <lumetra/lumetra_authoring.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

constexpr float faderControl = 0.5f;
const char* const kernelNames[] = {"invert", "fader", "to-srgb", "max-component"};

std::shared_ptr<LMContext> quietContext(LMSize size)
{
    LMSetLogSink([](const std::string&) {});
    auto context = LMContext::contextWithDimensions(size);
    LMSetLogSink({});
    return context;
}

// A gradient with 8-bit levels (so that the library's 8-bit picture upload
// and the 16-bit uploads of the other two hold the same values): red
// across, green up, blue along the diagonal.
std::vector<uint16_t> sourcePixels(int width, int height)
{
    std::vector<uint16_t> rgb;
    rgb.reserve(size_t(width) * size_t(height) * 3);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            rgb.push_back(uint16_t(257 * (x * 255 / std::max(1, width - 1))));
            rgb.push_back(uint16_t(257 * (y * 255 / std::max(1, height - 1))));
            rgb.push_back(uint16_t(257 * ((x + y) * 255 / std::max(1, width + height - 2))));
        }
    return rgb;
}

std::shared_ptr<LMImage> sourceImage(const std::shared_ptr<LMContext>& context, int width, int height)
{
    const std::vector<uint16_t> rgb = sourcePixels(width, height);
    auto bitmap = newBIR(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            uint8_t* pixel = bitmap->rowAt(height - 1 - y) + x * 4;
            for (int c = 0; c < 3; ++c)
                pixel[c] = uint8_t(rgb[(size_t(y) * size_t(width) + size_t(x)) * 3 + size_t(c)] / 257);
            pixel[3] = 255;
        }
    return LMPicture::pictureWithBitmap(bitmap)->lumetraImageWithContext(context, LMContentScaleModeStretch);
}

std::shared_ptr<LMDrawable> libraryChain(const std::shared_ptr<LMDrawable>& source)
{
    std::shared_ptr<LMDrawable> node = source;
    for (int round = 0; round < 2; ++round) {
        node = LMFilterInvert::filterWithInput(node);
        auto fader = LMFilterFader::filterWithInput(node);
        fader->setControl(faderControl);
        node = LMFilterConvertToSRGB::filterWithInput(fader);
        node = LMFilterMaxComponent::filterWithInput(node);
    }
    return node;
}

std::vector<PlainGLKernel> plainGLKernels()
{
    std::vector<PlainGLKernel> kernels;
    for (int round = 0; round < 2; ++round) {
        kernels.push_back({LMFilterInvert::filter()->kernelSource(), {}});
        kernels.push_back({LMFilterFader::filter()->kernelSource(), {{"lm_control", faderControl}}});
        kernels.push_back({LMFilterConvertToSRGB::filter()->kernelSource(), {}});
        kernels.push_back({LMFilterMaxComponent::filter()->kernelSource(), {}});
    }
    return kernels;
}

// The whole chain as one hand-written pass, for telling the generated
// program's cost from the library's: each step's result kept as a 16-bit
// target would store it where the fused pass keeps it (after invert and
// fader, and after max-component for the to-srgb before it; the last step
// left to the target), or nowhere (as Movit's pass does). Both read the
// picture at the pixel with texelFetch, as the fused pass does.
PlainGLKernel onePassKernel(bool rounded)
{
    const std::string keep = rounded ? "roundEven(clamp(c, 0.0, 1.0) * 65535.0) * (1.0 / 65535.0)" : "c";
    std::string source = "vec3 lm_keep(vec3 c) { return " + keep + "; }\n";
    source += "void main() {\n  vec3 c = texelFetch(lm_input, ivec2(lm_location)).rgb;\n";
    for (int round = 0; round < 2; ++round)
        source += "  c = lm_keep(vec3(1.0) - c);\n  c = lm_keep(c * lm_control);\n"
                  "  c = mix(c * 12.92, pow(c, vec3(0.4167)) * 1.055 - 0.055, step(0.00313, c));\n"
                  "  c = vec3(max(max(c.r, c.g), c.b));\n" +
                  std::string(round == 0 ? "  c = lm_keep(c);\n" : "");
    source += "  lm_output = c;\n}\n";
    return {source, {{"lm_control", faderControl}}};
}

// Plain GL's output, the reference every other way is checked against.
std::vector<uint16_t> reference(int width, int height)
{
    auto context = quietContext({double(width), double(height)});
    PlainGLChain chain(*context, plainGLKernels(), sourcePixels(width, height));
    chain.drawAndFinish();
    return chain.readOutput();
}

double largestDifference(const std::vector<uint16_t>& a, const std::vector<uint16_t>& b)
{
    if (a.size() != b.size())
        return 65535;
    int largest = 0;
    for (size_t i = 0; i < a.size(); ++i)
        largest = std::max(largest, std::abs(int(a[i]) - int(b[i])));
    return largest;
}

std::vector<uint16_t> rgbOf(const std::shared_ptr<LMImage>& image)
{
    const auto picture = LMPicture::imageWithLMImage(image);
    if (!picture)
        return {};
    const LMBitmap& bitmap = *picture->bitmap();
    std::vector<uint16_t> rgb;
    for (int y = bitmap.pixelsHigh() - 1; y >= 0; --y)
        for (int x = 0; x < bitmap.pixelsWide(); ++x)
            for (int c = 0; c < 3; ++c)
                rgb.push_back(uint16_t(bitmap.rowAt(y)[x * 4 + c] * 257));
    return rgb;
}

// The 16-bit reference rounded to 8 bits, as the library's read-back is.
std::vector<uint16_t> toEightBits(std::vector<uint16_t> rgb)
{
    for (uint16_t& level : rgb)
        level = uint16_t((level * 255 + 32767) / 65535 * 257);
    return rgb;
}

void library(benchmark::State& state, int width, int height, bool fused)
{
    auto context = quietContext({double(width), double(height)});
    context->setFusionEnabled(fused);
    auto top = libraryChain(sourceImage(context, width, height));
    state.counters["diff"] =
        largestDifference(rgbOf(top->drawWithContext(context)), toEightBits(reference(width, height)));
    for (auto _ : state) {
        top->drawWithContext(context);
        context->executeOpenGL([] { glFinish(); });
    }
}

void plainGL(benchmark::State& state, int width, int height, const std::vector<PlainGLKernel>& kernels)
{
    auto context = quietContext({double(width), double(height)});
    PlainGLChain chain(*context, kernels, sourcePixels(width, height));
    chain.drawAndFinish();
    state.counters["diff"] = largestDifference(chain.readOutput(), reference(width, height));
    for (auto _ : state)
        chain.drawAndFinish();
}

#ifdef LUMETRA_BENCH_MOVIT
// Movit in a context of its own, its calls on that context's GL thread with
// the GL context current; the library draws nothing in it.
void movit(benchmark::State& state, int width, int height)
{
    auto context = quietContext({double(width), double(height)});
    std::string error;
    bool ready = false;
    context->executeOpenGL([&] { ready = MovitChain::initialise(error); });
    if (!ready) {
        state.SkipWithError(error.c_str());
        return;
    }
    std::unique_ptr<MovitChain> chain;
    std::vector<uint16_t> output;
    const std::vector<std::string> kernels(std::begin(kernelNames), std::end(kernelNames));
    std::vector<std::string> eight = kernels;
    eight.insert(eight.end(), kernels.begin(), kernels.end());
    context->executeOpenGL([&] {
        chain = std::make_unique<MovitChain>(eight, faderControl, width, height, sourcePixels(width, height));
        chain->renderAndFinish();
        output = chain->readOutput();
    });
    state.counters["diff"] = largestDifference(output, reference(width, height));
    for (auto _ : state)
        context->executeOpenGL([&] { chain->renderAndFinish(); });
    context->executeOpenGL([&] { chain.reset(); });
}

// The fused chain and Movit's drawn in turn within each iteration, each
// timed on its own: on a loaded machine both see the same load, so their
// ratio holds where separate runs drift. Counters: each way's median time
// in ms and the ratio of the medians.
void fusedAgainstMovit(benchmark::State& state, int width, int height)
{
    auto context = quietContext({double(width), double(height)});
    context->setFusionEnabled(true);
    auto top = libraryChain(sourceImage(context, width, height));
    auto movitContext = quietContext({double(width), double(height)});
    std::string error;
    std::unique_ptr<MovitChain> chain;
    const std::vector<std::string> kernels(std::begin(kernelNames), std::end(kernelNames));
    std::vector<std::string> eight = kernels;
    eight.insert(eight.end(), kernels.begin(), kernels.end());
    movitContext->executeOpenGL([&] {
        if (MovitChain::initialise(error))
            chain = std::make_unique<MovitChain>(eight, faderControl, width, height, sourcePixels(width, height));
    });
    if (!chain) {
        state.SkipWithError(error.c_str());
        return;
    }
    using Clock = std::chrono::steady_clock;
    auto timed = [](auto&& draw) {
        const auto start = Clock::now();
        draw();
        return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    };
    std::vector<double> fused, theirs;
    for (auto _ : state) {
        fused.push_back(timed([&] {
            top->drawWithContext(context);
            context->executeOpenGL([] { glFinish(); });
        }));
        theirs.push_back(timed([&] { movitContext->executeOpenGL([&] { chain->renderAndFinish(); }); }));
    }
    auto median = [](std::vector<double> times) {
        std::sort(times.begin(), times.end());
        return times.empty() ? 0.0 : times[times.size() / 2];
    };
    state.counters["fused_ms"] = median(fused);
    state.counters["movit_ms"] = median(theirs);
    state.counters["ratio"] = median(fused) / median(theirs);
    movitContext->executeOpenGL([&] { chain.reset(); });
}
#endif

// At each size the ways in turn, so that they run side by side; 16×16 shows
// what a draw costs beyond its pixels.
const bool registered = [] {
    const int sizes[][2] = {{16, 16}, {640, 480}, {1920, 1080}};
    for (const auto& size : sizes) {
        const int w = size[0], h = size[1];
        const std::string suffix = "/" + std::to_string(w) + "x" + std::to_string(h);
        std::vector<benchmark::internal::Benchmark*> ways = {
            benchmark::RegisterBenchmark(("BM_EightFilters/library_unfused" + suffix).c_str(),
                                         [=](benchmark::State& s) { library(s, w, h, false); }),
            benchmark::RegisterBenchmark(("BM_EightFilters/library_fused" + suffix).c_str(),
                                         [=](benchmark::State& s) { library(s, w, h, true); }),
            benchmark::RegisterBenchmark(("BM_EightFilters/plain_gl" + suffix).c_str(),
                                         [=](benchmark::State& s) { plainGL(s, w, h, plainGLKernels()); }),
#ifdef LUMETRA_BENCH_MOVIT
            benchmark::RegisterBenchmark(("BM_EightFilters/movit" + suffix).c_str(),
                                         [=](benchmark::State& s) { movit(s, w, h); }),
            benchmark::RegisterBenchmark(("BM_EightFilters/fused_and_movit_in_turn" + suffix).c_str(),
                                         [=](benchmark::State& s) { fusedAgainstMovit(s, w, h); }),
#endif
        };
        ways.push_back(
            benchmark::RegisterBenchmark(("BM_EightFilters/plain_gl_one_pass_kept_16bit" + suffix).c_str(),
                                         [=](benchmark::State& s) { plainGL(s, w, h, {onePassKernel(true)}); }));
        ways.push_back(
            benchmark::RegisterBenchmark(("BM_EightFilters/plain_gl_one_pass_unrounded" + suffix).c_str(),
                                         [=](benchmark::State& s) { plainGL(s, w, h, {onePassKernel(false)}); }));
        for (auto* way : ways)
            way->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(3)->DisplayAggregatesOnly(true);
    }
    return true;
}();

} // namespace
