// The soak test: one graph made of every kind of node (all built-in filters,
// colour sources, an outside texture through its adapter, an accumulator fed
// back from the graph's own output, and a passthrough) is drawn for thousands
// of frames while, on a fixed schedule, filter parameters change, inputs are
// swapped, caching is switched on and off, the host's texture is rewritten,
// and the context changes size.
//
// After a warm-up of eight schedule cycles every frame must find the
// render-target pool holding as many targets as at the same frame of the
// warm-up's last cycle. No frame may find more programs in the cache than
// the graph needs, and at the end it must hold exactly those. Resident
// memory must stop growing, no GL error may be left pending after any frame,
// nothing may be logged, and chosen frames of the first and last cycles must
// match a reference computed on the CPU.
//
// The CI run draws 3072 frames (16 cycles) at sizes around 64x64. For a long
// run, ask for more frames: LUMETRA_SOAK_FRAMES=200000 ./soak_tests. The frame
// count, rounded up to whole cycles, is the only difference between the two.
//
// A second phase draws a filter whose custom output size changes every frame,
// as a window being resized or a zoom does: the render targets that nobody
// leases must stay within the pool's budget, and resident memory with them.
// It draws 3,000 frames, or as many as LUMETRA_SOAK_FRAMES asks for.

#include "support/GLObjects.h"
#include "support/LogCapture.h"
#include "support/PixelsInOut.h"
#include "support/ProcessStats.h"

#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

namespace {

// Every structural change repeats with the cycle's period (192 frames), so
// the pool must hold the same number of targets at the same point of every
// cycle. Parameter values do not repeat.
// A phase (48 frames) has one context size. The accumulator takes the output
// every 12 frames, on frames 5, 17, ... of a phase, so that some captures
// happen while it feeds the passthrough.
constexpr long cycleFrames = 192, phaseFrames = 48, captureFrames = 12, captureOffset = 5, warmUpCycles = 8;
const int phaseSizes[][2] = {{64, 64}, {48, 40}, {64, 64}, {40, 56}};

using RGB = std::array<double, 3>;
constexpr int texelsWide = 8, texelsHigh = 4;
constexpr RGB colourA{0.85, 0.02, 0.35}, colourB{0.15, 0.55, 0.95};

// The n-th number of a repeatable stream, in [0, 1).
double unit(uint64_t stream, uint64_t n)
{
    const uint64_t z = (stream * 0x9E3779B97F4A7C15ull + n * 0xBF58476D1CE4E5B9ull + 1) * 0x94D049BB133111EBull;
    return double((z ^ (z >> 31)) >> 11) * 0x1.0p-53;
}

// LUMETRA_SOAK_FRAMES from the environment, or `otherwise`.
long framesAsked(long otherwise)
{
    return std::getenv("LUMETRA_SOAK_FRAMES") ? std::atol(std::getenv("LUMETRA_SOAK_FRAMES")) : otherwise;
}

// What the schedule asks for at one frame; a pure function of the frame.
// `pattern` is the picture the host's texture holds; the passthrough's
// source is colour A, the texture or the accumulator. The transform makes a
// whole-pixel move: the input is mirrored left to right if `mirrored`,
// turned counter-clockwise by `quarterTurns` right angles about the lower
// left corner, then moved by (dx, dy), wrapping around the image's edges.
struct Settings {
    int width = 0, height = 0, pattern = 0, passthroughSource = 0;
    bool caching = false, mixSwapped = false;
    std::optional<double> fade;
    double centreX = 0, centreY = 0, radius = 0;
    int quarterTurns = 0, mirrored = 0, dx = 0, dy = 0;
    auto motion() const { return std::tie(quarterTurns, mirrored, dx, dy); }
};

Settings settingsAt(long frame)
{
    const int width = phaseSizes[frame / phaseFrames % 4][0], height = phaseSizes[frame / phaseFrames % 4][1];
    const double u = unit(1, frame / 4), r = 3 + 0.4 * std::min(width, height) * unit(4, (frame + 3) / 6);
    const long m = frame / 8; // the transform's moves
    // The offsets put each kind of change on frames of its own, so that with
    // caching on a change that failed to mark its node is not covered by
    // another that marks the same node; the checked frames include one
    // after each kind.
    //
    // Centre and radius change on different frames, so that either alone
    // must redraw the circle. The centre lies on a pixel centre and the
    // radius squared halfway between whole numbers, so no pixel centre comes
    // within 0.008 of the edge and single precision decides every pixel as
    // the reference does.
    return {.width = width,
            .height = height,
            .pattern = int((frame + 8) / 16 % 2),
            .passthroughSource = int((frame + 3) / 8 % 3),
            .caching = frame / 24 % 2 == 1,
            .mixSwapped = (frame + 7) / 16 % 2 == 1,
            .fade = u >= 0.1 ? std::optional(1.6 * u) : std::nullopt,
            .centreX = std::floor(width * unit(2, frame / 6)) + 0.5,
            .centreY = std::floor(height * unit(3, frame / 6)) + 0.5,
            .radius = std::sqrt(std::floor(r * r) + 0.5),
            .quarterTurns = int(m % 4),
            .mirrored = int(m / 4 % 2),
            .dx = int(unit(5, m) * width) - width / 2,
            .dy = int(unit(6, m) * height) - height / 2};
}

// Texel (i, j) of the host's texture: bright enough that its inverse stays
// below the other branches in places.
Pixel texelAt(int i, int j, int pattern)
{
    return {uint8_t(96 + (i * 29 + j * 71 + pattern * 113) % 160), uint8_t(96 + (i * 53 + j * 17 + pattern * 7) % 160),
            uint8_t(96 + ((i ^ j) * 31 + pattern * 90) % 160), 255};
}

// Each channel through `f`, rounded the way a 16-bit render target stores
// it, so that thresholds are decided on the values the GPU really saw.
template <class F = double (*)(double)>
RGB stored(
    RGB c, F f = [](double v) { return v; })
{
    for (double& v : c)
        v = ::stored(f(v));
    return c;
}

// The fixture's output computed on the CPU in double precision from the
// filters' documented formulas, given what the accumulator holds; pixels
// row by row from the lower left.
std::vector<RGB> expectedOutput(const Settings& s, const std::vector<RGB>& held)
{
    auto texel = [&](int x, int y) { // stretched over the image, sampled nearest
        const Pixel t = texelAt(int((x + .5) * texelsWide / s.width), int((y + .5) * texelsHigh / s.height), s.pattern);
        return stored(RGB{t[0] / 255.0, t[1] / 255.0, t[2] / 255.0});
    };
    auto wrap = [](double value, int extent) { return int(value - extent * std::floor(value / extent)); };
    std::vector<RGB> out;
    for (int y = 0; y < s.height; ++y) {
        for (int x = 0; x < s.width; ++x) {
            const RGB passed = std::array{stored(colourA), texel(x, y), held[out.size()]}[s.passthroughSource];
            const RGB faded = stored(stored(passed, fromSRGB), [&](double c) { return c * s.fade.value_or(0); });
            const double ring = std::hypot(x + 0.5 - s.centreX, y + 0.5 - s.centreY) <= s.radius;
            // The transform's input pixel, found by undoing its steps in reverse order.
            double sx = x + 0.5 - s.dx, sy = y + 0.5 - s.dy;
            for (int turn = 0; turn < s.quarterTurns; ++turn)
                sx = std::exchange(sy, -sx);
            const RGB inverse =
                stored(texel(wrap(s.mirrored ? -sx : sx, s.width), wrap(sy, s.height)), [](double c) { return 1 - c; });
            const double grey = std::max({inverse[0], inverse[1], inverse[2]});
            RGB mixed = stored(colourB);
            for (int k = 0; k < 3; ++k)
                mixed[k] = std::max(s.mixSwapped ? std::max(ring, mixed[k]) : std::max(faded[k], ring), grey);
            out.push_back(stored(mixed, toSRGB));
        }
    }
    return out;
}

// colour A | texture | accumulator -> passthrough -> from sRGB -> fader
// mix A = max2(fader, circle), or max2(circle, colour B) while swapped
// texture -> invert -> transform -> max component
// output = to sRGB(max2(mix A, max component)); the accumulator takes it.
class Soak : public testing::Test {
protected:
    void SetUp() override
    {
        adapter->setContentScaleMode(LMContentScaleModeStretch), mixB->setInputA(mixA), mixB->setInputB(maxComponent);
    }
    void TearDown() override { deleteTexture(*context, texture); }

    // Makes the changes from the previous frame's settings to this frame's
    // (all of them on the first frame), then lets the accumulator take the
    // output on its frames.
    Settings apply(long frame)
    {
        const Settings s = settingsAt(frame), was = settingsAt(frame - 1);
        const bool all = frame == 0;
        if (all || s.width != was.width || s.height != was.height)
            context->setDimensions({double(s.width), double(s.height)});
        if (all || s.caching != was.caching)
            context->setCachingEnabled(s.caching);
        if (all || s.pattern != was.pattern) {
            Pixel picture[texelsWide * texelsHigh];
            for (int n = 0; n < texelsWide * texelsHigh; ++n)
                picture[n] = texelAt(n % texelsWide, n / texelsWide, s.pattern);
            context->executeOpenGL([&] {
                glBindTexture(GL_TEXTURE_2D, texture);
                glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, texelsWide, texelsHigh, GL_RGBA, GL_UNSIGNED_BYTE, picture);
            });
            adapter->convertTexture(texture, {texelsWide, texelsHigh}, false, GL_TEXTURE_2D);
        }
        if (all || s.passthroughSource != was.passthroughSource) {
            const std::shared_ptr<LMDrawable> sources[] = {colourNodeA, adapter, accumulator};
            passthrough->setInput(sources[s.passthroughSource]);
            // The passthrough reports its input's flag, not the swap: the
            // node it feeds is told.
            decode->setNeedsRedraw(true);
        }
        if (all || s.mixSwapped != was.mixSwapped) {
            mixA->setInputA(s.mixSwapped ? std::shared_ptr<LMDrawable>(circle) : fader);
            mixA->setInputB(s.mixSwapped ? std::shared_ptr<LMDrawable>(colourNodeB) : circle);
        }
        if (all || s.fade != was.fade)
            fader->setControl(s.fade);
        if (all || s.centreX != was.centreX || s.centreY != was.centreY)
            circle->setCenterVector({s.centreX, s.centreY});
        if (all || s.radius != was.radius)
            circle->setRadius(s.radius);
        if (all || s.motion() != was.motion()) {
            LMAffineTransform affine;
            affine.translateXBy(s.dx, s.dy).rotateByDegrees(90.0 * s.quarterTurns);
            transform->setTransform(s.mirrored ? affine.scaleXBy(-1, 1) : affine);
        }
        if (frame % captureFrames == captureOffset)
            accumulator->setImage(encode), accumulator->setNeedsRedraw(true);
        return s;
    }

    // Every pixel of the output against the reference, within a level. The
    // accumulator starts each size phase black (what it holds is of another
    // size), so replaying the phase's captures gives what it holds.
    testing::AssertionResult matchesReference(long frame, const Settings& s, const std::shared_ptr<LMImage>& output)
    {
        std::vector<RGB> expected(size_t(s.width) * s.height, RGB{0, 0, 0});
        for (long capture = frame - frame % phaseFrames + captureOffset; capture <= frame; capture += captureFrames)
            expected = expectedOutput(settingsAt(capture), expected);
        expected = expectedOutput(s, expected);
        const Pixels reference = pixelsOf(s.width, s.height, [&](int x, int y) {
            const RGB& e = expected[size_t(y * s.width + x)];
            return Pixel{uint8_t(std::lround(e[0] * 255)), uint8_t(std::lround(e[1] * 255)),
                         uint8_t(std::lround(e[2] * 255)), 255};
        });
        return samePixels(pixelsOf(output), reference);
    }

    std::shared_ptr<LMContext> context = LMContext::contextWithDimensions({64, 64});
    GLuint texture = makeTexture(
        *context, texelsWide, texelsHigh, [](int, int) { return Pixel{}; }, GL_TEXTURE_2D);
    std::shared_ptr<LMColor> colourNodeA = LMColor::colorWithRed(colourA[0], colourA[1], colourA[2]);
    std::shared_ptr<LMColor> colourNodeB = LMColor::colorWithRed(colourB[0], colourB[1], colourB[2]);
    std::shared_ptr<LMOpenGLTextureAdapter> adapter = LMOpenGLTextureAdapter::adapterWithContext(context);
    std::shared_ptr<LMImageAccumulator> accumulator = LMImageAccumulator::accumulatorWithContext(context);
    std::shared_ptr<LMPassthrough> passthrough = LMPassthrough::passthrough();
    LMFilterRef<LMFilterConvertFromSRGB> decode = LMFilterConvertFromSRGB::filterWithInput(passthrough);
    LMFilterRef<LMFilterFader> fader = LMFilterFader::filterWithInput(decode);
    LMFilterRef<LMFilterInvert> invert = LMFilterInvert::filterWithInput(adapter);
    LMFilterRef<LMFilterTransform> transform = LMFilterTransform::filterWithInput(invert);
    LMFilterRef<LMFilterMaxComponent> maxComponent = LMFilterMaxComponent::filterWithInput(transform);
    LMFilterRef<LMFilterCircle> circle = LMFilterCircle::filter();
    LMFilterRef<LMFilterMax2> mixA = LMFilterMax2::filter();
    LMFilterRef<LMFilterMax2> mixB = LMFilterMax2::filter();
    LMFilterRef<LMFilterConvertToSRGB> encode = LMFilterConvertToSRGB::filterWithInput(mixB);
};

} // namespace

TEST_F(Soak, EveryKindOfNodeKeepsItsResourcesAndOutputsSteadyOverThousandsOfFrames)
{
    LogCapture log;
    const long cycles = std::max(warmUpCycles + 2, (framesAsked(3072) + cycleFrames - 1) / cycleFrames);
    const long frames = cycles * cycleFrames;
    std::vector<size_t> warmTargets(cycleFrames);
    long residentAfterWarmUp = 0, residentAtEnd = 0;

    // The first frame that breaks a steady-state rule stops the run.
    for (long frame = 0; frame < frames; ++frame) {
        const long cycle = frame / cycleFrames, inCycle = frame % cycleFrames;
        const Settings s = apply(frame);
        encode->updateNeedsRedraw();
        const std::shared_ptr<LMImage> output = encode->drawWithContext(context);
        ASSERT_EQ(pendingGLError(*context), GLenum(GL_NO_ERROR)) << "frame " << frame;
        if (cycle < warmUpCycles)
            warmTargets[inCycle] = context->renderTargetPool()->objectsAllocated();
        ASSERT_EQ(context->renderTargetPool()->objectsAllocated(), warmTargets[inCycle]) << "frame " << frame;
        // One program for each of the eight built-in filter classes, and the
        // adapter's two: rectangle textures and 2D textures.
        ASSERT_LE(context->programCache().size(), 8u + 2u) << "frame " << frame;
        // Every seventh frame of the first and last cycles: among them are
        // frames after each kind of change made with caching on.
        if ((cycle == 0 || cycle == cycles - 1) && inCycle % 7 == 3) {
            ASSERT_TRUE(matchesReference(frame, s, output)) << "frame " << frame;
        }
        // Memory is compared before the last cycle, whose reference checks
        // allocate on the heap themselves.
        if (inCycle == cycleFrames - 1 && (cycle == warmUpCycles - 1 || cycle == cycles - 2))
            (cycle == cycles - 2 ? residentAtEnd : residentAfterWarmUp) = residentKilobytes();
    }

    // Resident memory settles within about six cycles (glibc's heap and
    // llvmpipe's own allocations find their shape while textures are freed
    // and made again at every size change); after that it grew by 184 kB
    // over a thousand cycles, a page at a time, levelling off. 512 kB leaves
    // room for that, while a leak of 500 bytes a frame fails even the CI
    // run. Leaked render targets show in the pool's counts long before they
    // show here.
    EXPECT_LE(residentAtEnd - residentAfterWarmUp, 512);
    EXPECT_EQ(context->programCache().size(), 8u + 2u);
    EXPECT_EQ(log.lines(), std::vector<std::string>{});
}

// Sizes from 48x48 to about 512x384, each with a fraction of a pixel, nearly
// every frame another size of texture: kept for ever, the targets released by
// 3,000 frames would weigh about 2.4 GB. The budget is a sixteenth of the
// default, so that the CI run meets it early and often.
//
// Resident memory grows by more than the pool holds: with a budget of 0 it
// still grew by about 70 MB, levelling off after some 14,000 frames (llvmpipe's
// own memory and the allocator's, at a new size of texture every frame; no
// leak under heaptrack). So the bound is the pool's share plus 96 MiB, and a
// long run also checks that its last four fifths grow by less than 8 MiB.
TEST(SoakResizing, ACustomOutputSizeThatChangesEveryFrameKeepsThePoolWithinItsBudget)
{
    const long frames = std::max(1000L, framesAsked(3000));
    const size_t budget = LMRenderTargetPool::defaultIdleBudget / 16;
    const size_t largest = LMRenderTargetPool::bytesForDimensions({512, 384});

    auto context = LMContext::contextWithDimensions({64, 64});
    auto invert = LMFilterInvert::filterWithInput(LMColor::colorWithRed(0.25, 0.5, 1.0));
    LogCapture log;
    context->setRenderTargetIdleBudget(budget), invert->setUsesCustomOutputSize(true);
    const long residentAtStart = residentKilobytes();
    long residentAtAFifth = 0;
    for (long frame = 0; frame < frames; ++frame) {
        const LMSize size{48 + 464 * unit(7, frame), 48 + 336 * unit(8, frame)};
        invert->setCustomOutputSize(size);
        const std::shared_ptr<LMImage> output = invert->drawWithContext(context);
        ASSERT_TRUE(output && output->dimensions() == size) << "frame " << frame;
        // After the draw the filter has given back the previous frame's
        // output, which the next request trims; the output and the colour's
        // image are leased.
        ASSERT_LE(context->renderTargetBytesIdle(), budget + largest) << "frame " << frame;
        ASSERT_LE(context->renderTargetBytesAllocated(), budget + 3 * largest) << "frame " << frame;
        if (frame % 97 == 0) {
            const auto pixel = output->readPixelColorAtX(int(size.width) - 1, int(size.height) - 1);
            ASSERT_TRUE(pixel && std::abs(pixel->red - 0.75) < 0.002 && pixel->blue < 0.002) << "frame " << frame;
        }
        if (frame == frames / 5)
            residentAtAFifth = residentKilobytes();
    }
    const long residentAtEnd = residentKilobytes();
    EXPECT_LE(residentAtEnd - residentAtStart, long((budget + 3 * largest) / 1024) + 96 * 1024);
    EXPECT_TRUE(frames < 50000 || residentAtEnd - residentAtAFifth <= 8192)
        << residentAtEnd - residentAtAFifth << " kB";
    EXPECT_EQ(pendingGLError(*context), GLenum(GL_NO_ERROR));
    EXPECT_EQ(log.lines(), std::vector<std::string>{});
}
