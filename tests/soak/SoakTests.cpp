// The soak test: one graph made of every kind of node (all built-in filters,
// colour sources, an outside texture through its adapter, an accumulator fed
// back from the graph's own output, and a passthrough) is drawn for thousands
// of frames while, on a fixed schedule, filter parameters change, inputs are
// swapped, caching is switched on and off, the host's texture is rewritten,
// and the context changes size.
//
// After a warm-up of eight schedule cycles the render-target pool, the
// program cache and the process's resident memory must stop growing, no GL
// error may be left pending after any frame, nothing may be logged, and
// chosen frames of the first and last cycles must match a reference
// computed on the CPU.
//
// The CI run draws 3072 frames (16 cycles) at sizes around 64x64. For a long
// run, ask for more frames: LUMETRA_SOAK_FRAMES=200000 ./soak_tests. The frame
// count, rounded up to whole cycles, is the only difference between the two.

#include "soak/SoakReference.h"
#include "support/LogCapture.h"
#include "support/ProcessStats.h"
#include "support/TexturePixels.h"

#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <sstream>

namespace {

// Every structural change repeats with the cycle's period (192 frames), so
// the pool must hold the same number of targets at the same point of every
// cycle. Parameter values do not repeat.
constexpr long cycleFrames = 192;
constexpr long phaseFrames = 48; // one context size
// The accumulator takes the output every 12 frames, on frames 5, 17, ... of
// a phase, so that some captures happen while it feeds the passthrough.
constexpr long captureFrames = 12, captureOffset = 5;
constexpr long warmUpCycles = 8;
const LMSize phaseSizes[] = {{64, 64}, {48, 40}, {64, 64}, {40, 56}};

// Resident memory settles within about six cycles (glibc's heap and
// llvmpipe's own allocations find their shape while textures are freed and
// made again at every size change); after that it grew by 184 kB over a
// thousand cycles, a page at a time, levelling off. 512 kB leaves room for
// that, while a leak of 500 bytes a frame fails even the CI run (and 100
// bytes a frame would add 20 MB to a 200000-frame run). Leaked render
// targets show in the pool's counts long before they show here.
constexpr long residentToleranceKB = 512;

constexpr int texelsWide = 8, texelsHigh = 4;
constexpr soak::RGB colourA{0.85, 0.02, 0.35}, colourB{0.15, 0.55, 0.95};
enum { FromColour, FromTexture, FromAccumulator };

long soakFrames()
{
    long frames = 16 * cycleFrames;
    if (const char* asked = std::getenv("LUMETRA_SOAK_FRAMES"))
        frames = std::strtol(asked, nullptr, 10);
    return std::max(warmUpCycles + 2, (frames + cycleFrames - 1) / cycleFrames) * cycleFrames;
}

// The n-th number of a repeatable stream, in [0, 1).
double unit(uint64_t stream, uint64_t n)
{
    uint64_t z = stream * 0x9E3779B97F4A7C15ull + n * 0xBF58476D1CE4E5B9ull + 1;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return double((z ^ (z >> 31)) >> 11) * 0x1.0p-53;
}

// What the schedule asks for at one frame; a pure function of the frame.
struct Settings {
    int width = 0, height = 0;
    bool caching = false;
    int pattern = 0; // which picture the host's texture holds
    int passthroughSource = FromColour;
    bool mixSwapped = false;
    std::optional<double> fade;
    double centreX = 0, centreY = 0, radius = 0;
    soak::Motion motion;
};

Settings settingsAt(long frame)
{
    Settings s;
    const LMSize size = phaseSizes[(frame / phaseFrames) % 4];
    s.width = int(size.width);
    s.height = int(size.height);
    // The offsets put each kind of change on frames of its own, so that with
    // caching on a change that failed to mark its node is not covered by
    // another that marks the same node; the checked frames include one
    // after each kind.
    s.caching = (frame / 24) % 2 == 1;
    s.pattern = int((frame + 8) / 16) % 2;
    s.passthroughSource = int((frame + 3) / 8) % 3;
    s.mixSwapped = (frame + 7) / 16 % 2 == 1;
    const double u = unit(1, frame / 4);
    if (u >= 0.1)
        s.fade = 1.6 * u;
    // Centre and radius change on different frames, so that either alone
    // must redraw the circle.
    s.centreX = s.width * unit(2, frame / 6);
    s.centreY = s.height * unit(3, frame / 6);
    s.radius = 3 + 0.4 * std::min(s.width, s.height) * unit(4, (frame + 3) / 6);
    const long m = frame / 8;
    s.motion = {int(m % 4), m / 4 % 2 == 1, int(unit(5, m) * s.width) - s.width / 2,
                int(unit(6, m) * s.height) - s.height / 2};
    return s;
}

// The host's texture: bright enough that its inverse stays below the other
// branches in places.
std::vector<Pixel> texels(int pattern)
{
    std::vector<Pixel> out;
    for (int j = 0; j < texelsHigh; ++j)
        for (int i = 0; i < texelsWide; ++i)
            out.push_back({uint8_t(96 + (i * 29 + j * 71 + pattern * 113) % 160),
                           uint8_t(96 + (i * 53 + j * 17 + pattern * 7) % 160),
                           uint8_t(96 + ((i ^ j) * 31 + pattern * 90) % 160), 255});
    return out;
}

struct Expected {
    soak::Plane fader, maxComponent, output;
};

// The fixture's graph on the CPU, given what the accumulator holds.
Expected expectedAt(const Settings& s, const soak::Plane& accumulated)
{
    using namespace soak;
    const Plane texture = stretched(s.width, s.height, texelsWide, texelsHigh, texels(s.pattern));
    const Plane a(s.width, s.height, colourA), b(s.width, s.height, colourB);
    const Plane* sources[] = {&a, &texture, &accumulated};
    const Plane& passed = *sources[s.passthroughSource];
    Plane fader = fade(decodeSRGB(passed), s.fade.value_or(0));
    Plane maxComp = maxComponent(move(invert(texture), s.motion));
    const Plane ring = circle(s.width, s.height, s.centreX, s.centreY, s.radius);
    Plane output = encodeSRGB(maxOf(s.mixSwapped ? maxOf(ring, b) : maxOf(fader, ring), maxComp));
    return {std::move(fader), std::move(maxComp), std::move(output)};
}

// Empty when every sure pixel of the image is within 1.5/255 of the
// reference; otherwise how many differ and the first of them.
std::string difference(LMContext& context, const std::shared_ptr<LMImage>& image, const soak::Plane& expected)
{
    if (!image || image->dimensions() != LMSize{double(expected.width), double(expected.height)})
        return "no image of the context's size";
    std::vector<Pixel> pixels(expected.rgb.size());
    context.executeOpenGL([&] {
        glBindFramebuffer(GL_READ_FRAMEBUFFER, image->framebuffer());
        glReadPixels(0, 0, expected.width, expected.height, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
    });
    size_t wrong = 0, first = 0;
    for (size_t i = 0; i < pixels.size(); ++i) {
        bool differs = false;
        for (int k = 0; k < 3; ++k)
            differs |= std::abs(pixels[i][k] / 255.0 - expected.rgb[i][k]) > 1.5 / 255.0;
        if (differs && !expected.unsure[i] && wrong++ == 0)
            first = i;
    }
    if (wrong == 0)
        return "";
    std::ostringstream out;
    out << wrong << " of " << pixels.size() << " pixels differ; first at (" << first % expected.width << ", "
        << first / expected.width << "): read " << int(pixels[first][0]) << " " << int(pixels[first][1]) << " "
        << int(pixels[first][2]) << ", expected " << expected.rgb[first][0] * 255 << " "
        << expected.rgb[first][1] * 255 << " " << expected.rgb[first][2] * 255;
    return out.str();
}

LMAffineTransform affine(const soak::Motion& motion)
{
    LMAffineTransform transform;
    transform.translateXBy(motion.dx, motion.dy).rotateByDegrees(90.0 * motion.quarterTurns);
    if (motion.mirrored)
        transform.scaleXBy(-1, 1);
    return transform;
}

// colour A | texture | accumulator -> passthrough -> from sRGB -> fader
// mix A = max2(fader, circle), or max2(circle, colour B) while swapped
// texture -> invert -> transform -> max component
// output = to sRGB(max2(mix A, max component)); the accumulator takes it.
class Soak : public testing::Test {
protected:
    void SetUp() override
    {
        texture = makeTexture(*context, texelsWide, texelsHigh, [](int, int) { return Pixel{}; }, GL_TEXTURE_2D);
        adapter->setContentScaleMode(LMContentScaleModeStretch);
        mixB->setInputA(mixA);
        mixB->setInputB(maxComponent);
    }
    void TearDown() override { deleteTexture(*context, texture); }

    // Makes the changes from the previous frame's settings to these, then
    // lets the accumulator take the output on its frames.
    void apply(const Settings& s, const Settings* was, long frame)
    {
        if (!was || s.width != was->width || s.height != was->height)
            context->setDimensions({double(s.width), double(s.height)});
        if (!was || s.caching != was->caching)
            context->setCachingEnabled(s.caching);
        if (!was || s.pattern != was->pattern) {
            const auto picture = texels(s.pattern);
            context->executeOpenGL([&] {
                glBindTexture(GL_TEXTURE_2D, texture);
                glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, texelsWide, texelsHigh, GL_RGBA, GL_UNSIGNED_BYTE,
                                picture.data());
            });
            adapter->convertTexture(texture, {texelsWide, texelsHigh}, false, GL_TEXTURE_2D);
        }
        if (!was || s.passthroughSource != was->passthroughSource) {
            const std::shared_ptr<LMDrawable> sources[] = {colourNodeA, adapter, accumulator};
            passthrough->setInput(sources[s.passthroughSource]);
            // The passthrough reports its input's flag, not the swap: the
            // node it feeds is told.
            decode->setNeedsRedraw(true);
        }
        if (!was || s.mixSwapped != was->mixSwapped) {
            mixA->setInputA(s.mixSwapped ? std::shared_ptr<LMDrawable>(circle) : fader);
            mixA->setInputB(s.mixSwapped ? std::shared_ptr<LMDrawable>(colourNodeB) : circle);
        }
        if (!was || s.fade != was->fade)
            fader->setControl(s.fade);
        if (!was || s.centreX != was->centreX || s.centreY != was->centreY)
            circle->setCenterVector({s.centreX, s.centreY});
        if (!was || s.radius != was->radius)
            circle->setRadius(s.radius);
        if (!was || !(s.motion == was->motion))
            transform->setTransform(affine(s.motion));
        if (frame % captureFrames == captureOffset) {
            accumulator->setImage(encode);
            accumulator->setNeedsRedraw(true);
        }
    }

    std::shared_ptr<LMImage> drawFrame()
    {
        encode->updateNeedsRedraw();
        return encode->drawWithContext(context);
    }

    // The accumulator starts each size phase black (what it holds is of
    // another size), so replaying the phase's captures gives what it holds.
    void expectReference(long frame, const Settings& s, const std::shared_ptr<LMImage>& output)
    {
        soak::Plane accumulated(s.width, s.height);
        for (long capture = frame - frame % phaseFrames + captureOffset; capture <= frame; capture += captureFrames)
            accumulated = expectedAt(settingsAt(capture), accumulated).output;
        const Expected expected = expectedAt(s, accumulated);
        EXPECT_EQ(difference(*context, output, expected.output), "") << "output, frame " << frame;
        EXPECT_EQ(difference(*context, maxComponent->cachedOutput(), expected.maxComponent), "")
            << "max component, frame " << frame;
        if (!s.mixSwapped) {
            EXPECT_EQ(difference(*context, fader->cachedOutput(), expected.fader), "") << "fader, frame " << frame;
        }
    }

    std::shared_ptr<LMContext> context = LMContext::contextWithDimensions({64, 64});
    GLuint texture = 0;
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

// What one cycle of the schedule left behind.
struct CycleRecord {
    std::vector<size_t> targetsAtPhaseEnds;
    size_t mostTargets = 0;
    size_t programs = 0;
    long residentKB = 0;
};

} // namespace

TEST_F(Soak, EveryKindOfNodeKeepsItsResourcesAndOutputsSteadyOverThousandsOfFrames)
{
    LogCapture log;
    const long frames = soakFrames(), cycles = frames / cycleFrames;
    std::vector<CycleRecord> records(1);
    std::optional<Settings> previous;
    long firstErrorFrame = -1;
    GLenum firstError = GL_NO_ERROR;
    const auto started = std::chrono::steady_clock::now();

    for (long frame = 0; frame < frames; ++frame) {
        const Settings s = settingsAt(frame);
        apply(s, previous ? &*previous : nullptr, frame);
        previous = s;
        const std::shared_ptr<LMImage> output = drawFrame();

        GLenum error = GL_NO_ERROR;
        context->executeOpenGL([&] { error = glGetError(); });
        if (error != GL_NO_ERROR && firstErrorFrame < 0) {
            firstErrorFrame = frame;
            firstError = error;
        }

        CycleRecord& record = records.back();
        record.mostTargets = std::max(record.mostTargets, context->renderTargetPool()->objectsAllocated());
        if ((frame + 1) % phaseFrames == 0)
            record.targetsAtPhaseEnds.push_back(context->renderTargetPool()->objectsAllocated());
        // Every seventh frame of the first and last cycles: among them are
        // frames after each kind of change made with caching on.
        if (const long cycle = frame / cycleFrames; (cycle == 0 || cycle == cycles - 1) && frame % cycleFrames % 7 == 3)
            expectReference(frame, s, output);
        if ((frame + 1) % cycleFrames == 0) {
            record.programs = context->programCache().size();
            record.residentKB = residentKilobytes();
            records.emplace_back();
        }
    }
    records.pop_back();
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();

    // Memory is compared before the last cycle, whose reference checks
    // allocate on the heap themselves.
    const CycleRecord& warm = records[warmUpCycles - 1];
    const CycleRecord& last = records.back();
    const long residentAtEnd = records[cycles - 2].residentKB;
    std::printf("soak: %ld frames in %.1f s (%.0f us a frame); resident %ld kB after warm-up, %ld kB at the end; "
                "render targets at the phase ends %zu %zu %zu %zu, at most %zu; %zu programs\n",
                frames, seconds, seconds * 1e6 / frames, warm.residentKB, residentAtEnd, last.targetsAtPhaseEnds[0],
                last.targetsAtPhaseEnds[1], last.targetsAtPhaseEnds[2], last.targetsAtPhaseEnds[3], last.mostTargets,
                last.programs);

    for (long cycle = warmUpCycles; cycle < cycles; ++cycle) {
        const CycleRecord& r = records[cycle];
        if (r.targetsAtPhaseEnds != warm.targetsAtPhaseEnds || r.mostTargets != warm.mostTargets ||
            r.programs != warm.programs) {
            ADD_FAILURE() << "cycle " << cycle << " holds " << r.mostTargets << " targets at most and "
                          << r.programs << " programs, against " << warm.mostTargets << " and " << warm.programs
                          << " after warm-up";
            break;
        }
    }
    // One program for each of the eight built-in filter classes, and the
    // adapter's two: rectangle textures and 2D textures.
    EXPECT_EQ(last.programs, 8u + 2u);
    EXPECT_LE(residentAtEnd - warm.residentKB, residentToleranceKB);
    EXPECT_EQ(firstErrorFrame, -1) << "GL error " << firstError << " pending after frame " << firstErrorFrame;
    const auto lines = log.lines();
    EXPECT_TRUE(lines.empty()) << lines.size() << " lines logged, the first: " << lines.front();
}
