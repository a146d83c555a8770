// The bad-input sweep: public entry points that take a size, a number, a
// node, a texture name or a render target, called with values they cannot
// use. Each call must say so in the log (or through its documented result)
// and leave the context drawing correctly. Then contexts that go while
// objects still refer to them, and graphs that are their own input.

#include "support/GLObjects.h"
#include "support/LogCapture.h"
#include "support/ProcessStats.h"

#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <optional>
#include <unistd.h>

namespace {

// Numbers that no size, control or colour may choke on.
const std::vector<double> badNumbers = {NAN, INFINITY, -INFINITY, -1.0, 0.0, 0.5, 1e300};
const LMRGBA red{1, 0, 0, 1}, blue{0, 0, 1, 1}, black{0, 0, 0, 1}, white{1, 1, 1, 1}, cyan{0, 1, 1, 1};
constexpr LMSize good{32, 24};

std::string text(double number)
{
    char buffer[32];
    std::snprintf(buffer, sizeof(buffer), "%g", number);
    return buffer;
}

// Two pixels, red on the left and blue on the right: any move of the picture shows.
std::shared_ptr<LMPicture> halvesPicture()
{
    auto bitmap = newBIR(2, 1);
    uint8_t* pixels = bitmap->rowAt(0);
    pixels[0] = pixels[3] = pixels[6] = pixels[7] = 255;
    return LMPicture::pictureWithBitmap(bitmap);
}

// An image's lower-left pixel, or its upper-right one; nothing without an image.
std::optional<LMRGBA> corner(const std::shared_ptr<LMImage>& image, bool upperRight = false)
{
    if (!image || !upperRight)
        return image ? image->readPixelColorLowerLeft() : std::nullopt;
    return image->readPixelColorAtX(int32_t(image->dimensions().width) - 1, int32_t(image->dimensions().height) - 1);
}

// No GL error left behind, and an ordinary draw (a colour, inverted) on the
// context reads the inverse in both far corners, so the viewport is whole
// too. The colour changes from one check to the next, so that a pooled
// target still holding an earlier result cannot pass for a new one.
void expectStillDrawing(const std::shared_ptr<LMContext>& context, const std::string& after)
{
    EXPECT_EQ(pendingGLError(*context), static_cast<GLenum>(GL_NO_ERROR)) << "GL error left behind by " << after;
    static int checks = 0;
    const LMRGBA colour = std::vector<LMRGBA>{red, LMRGBA::greenColor(), blue}[checks++ % 3];
    const LMRGBA inverse{1 - colour.red, 1 - colour.green, 1 - colour.blue, 1};
    auto image = LMFilterInvert::filterWithInput(LMColor::colorWithColor(colour))->drawWithContext(context);
    ASSERT_TRUE(image && image->target()) << "no ordinary draw after " << after;
    ASSERT_EQ(image->dimensions(), context->dimensions()) << "after " << after;
    EXPECT_EQ(corner(image), inverse) << "after " << after;
    EXPECT_EQ(corner(image, true), inverse) << "after " << after;
}

// One bad input: the call must log a line containing `logged` (nothing at
// all when it is empty), and the context must still draw afterwards, adding
// no log line of its own.
template <class Call>
void sweep(const std::shared_ptr<LMContext>& context, const std::string& what, const std::string& logged, Call&& call)
{
    LogCapture log;
    call();
    const std::vector<std::string> lines = log.lines();
    const bool found = std::any_of(lines.begin(), lines.end(), [&](auto& l) { return l.find(logged) != l.npos; });
    EXPECT_TRUE(logged.empty() ? lines.empty() : found)
        << what << " should log \"" << logged << "\"; logged: " << testing::PrintToString(lines);
    expectStillDrawing(context, what);
    EXPECT_EQ(log.lines(), lines) << "the draw after " << what << " logged";
}

struct BadInputs : testing::Test {
    std::shared_ptr<LMContext> context = LMContext::contextWithDimensions(good);
};

} // namespace

TEST_F(BadInputs, SizesAreRefusedWithALogLine)
{
    // Every bad number on either axis, and one pixel more than GL allows.
    const double tooLarge = context->maxTextureSize() + 1.0;
    std::vector<LMSize> sizes = {{tooLarge, good.height}, {good.width, tooLarge}};
    for (double number : badNumbers)
        sizes.insert(sizes.end(), {{number, good.height}, {good.width, number}});
    auto picture = halvesPicture();
    const GLuint texture = picture->glTextureWithContext(context);
    for (const LMSize size : sizes) {
        const std::string name = text(size.width) + " by " + text(size.height);
        // A context made at the size, and one resized to it, draw nothing
        // until they are given a good size again; a filter's output of the
        // size is nothing.
        sweep(context, "a context and a filter output of " + name, "LMRenderTargetPool: ", [&] {
            auto bad = LMContext::contextWithDimensions(size);
            auto image = LMColor::redColor()->drawWithContext(bad);
            EXPECT_FALSE(image->target() || image->readPixelColorLowerLeft() || image->debugQuickLookObject());
            bad->setDimensions(good);
            expectStillDrawing(bad, "resizing a context of " + name);
            bad->setDimensions(size);
            auto invert = LMFilterInvert::filterWithInput(LMColor::redColor());
            EXPECT_EQ(invert->drawWithContext(bad), nullptr);
            invert->setUsesCustomOutputSize(true);
            invert->setCustomOutputSize(size);
            EXPECT_EQ(invert->drawWithContext(context), nullptr);
        });
        // Less than a pixel either way is refused before any bitmap is made,
        // and more than a bitmap can hold before any texture is.
        const std::string pictureLine =
            !(size.width >= 1 && size.height >= 1)    ? "LMPicture: Cannot draw a picture of " + name + " points"
            : std::max(size.width, size.height) < 1e9 ? "LMPicture: Error uploading a texture of "
                                                      : "LMBitmap: Cannot make a bitmap of ";
        sweep(context, "a picture of " + name, pictureLine, [&] {
            picture->setSize(size);
            EXPECT_EQ(picture->lumetraImageWithContext(context), nullptr);
        });
        // A texture's size only says how much of it to sample: more than GL
        // allows is no harm, but the quad cannot be made without a size.
        const bool sized = size.width > 0 && size.height > 0 && std::isfinite(size.width) && std::isfinite(size.height);
        const std::string textureLine = "LMFilterOpenGLTextureAdapter: Cannot draw a texture of " + name + " pixels";
        sweep(context, "a texture of " + name, sized ? "" : textureLine, [&] {
            auto adapter = LMOpenGLTextureAdapter::adapterWithContext(context);
            const auto read = corner(adapter->convertTexture(texture, size), true);
            EXPECT_TRUE(sized ? read.has_value() : read == black) << "a texture of " << name;
        });
    }

    for (const auto& [width, height] :
         std::vector<std::pair<int32_t, int32_t>>{{0, 4}, {4, -1}, {INT32_MIN, 4}, {INT32_MAX, 4}, {65536, 65536}}) {
        const std::string name = std::to_string(width) + " by " + std::to_string(height);
        sweep(context, "a bitmap of " + name, "LMBitmap: Cannot make a bitmap of " + name, [&] {
            EXPECT_EQ(newBIR(width, height), nullptr);
            EXPECT_EQ(flippedBIR(newBIR(2, 2), width, height), nullptr);
        });
    }
}

// GL clamps a clear colour to 0...1, and NaN clears as 0. A hue that is no
// finite number reads as 0, red.
TEST_F(BadInputs, ColoursClampAndHuesOfNoNumberAreRed)
{
    for (double number : badNumbers) {
        const std::string name = text(number);
        sweep(context, "a colour and a hue of " + name, "", [&] {
            const double expected = std::isnan(number) ? 0.0 : std::clamp(number, 0.0, 1.0);
            auto read = corner(LMColor::colorWithRed(number, 0, 1)->drawWithContext(context), true);
            ASSERT_TRUE(read);
            EXPECT_NEAR(read->red, expected, 0.5 / 255) << name;
            EXPECT_EQ(read->blue, 1.0);
            // The colour itself, not its pixels: a NaN component would clear as 0 too.
            EXPECT_EQ(LMRGBA::fromHSB(number, 1, 1), number == 0.5 ? cyan : red) << name;
        });
    }
}

// One entry of the 2-by-2 matrix, and one of the translation: a transform
// that cannot be inverted, or whose inverse is not a finite matrix, leaves
// the input (red in the lower-left corner, blue in the upper-right) where it is.
TEST_F(BadInputs, TransformsWithoutAFiniteInverseLeaveTheInputWhereItIs)
{
    auto input = halvesPicture()->lumetraImageWithContext(context, LMContentScaleModeStretch);
    const std::pair<const char*, double LMAffineTransform::*> entries[] = {{"m11", &LMAffineTransform::m11},
                                                                           {"tX", &LMAffineTransform::tX}};
    for (double number : badNumbers)
        for (const auto& [entryName, entry] : entries) {
            sweep(context, std::string("a transform ") + entryName + " of " + text(number), "", [&] {
                LMAffineTransform transform;
                transform.*entry = number;
                auto filter = LMFilterTransform::filterWithInput(input);
                filter->setTransform(transform);
                auto image = filter->drawWithContext(context);
                if (number == 0.0 || !std::isfinite(static_cast<float>(number))) {
                    EXPECT_EQ(corner(image), red) << entryName << " = " << number;
                    EXPECT_EQ(corner(image, true), blue) << entryName << " = " << number;
                }
            });
        }
}

TEST_F(BadInputs, MonitorIntervalsThatAreNotPositiveAreRefused)
{
    for (double number : badNumbers) {
        const std::string name = text(number);
        const std::string intervalLine = "LMPerformanceMonitor: Interval " + name + " is not a positive number";
        sweep(context, "a monitor interval of " + name, number > 0 ? "" : intervalLine, [&] {
            auto monitor = LMPerformanceMonitor::performanceMonitorWithContext(context);
            monitor->setInterval(number);
            EXPECT_TRUE(monitor->timerRunning());
        });
    }
}

// Each case is an input that gives no usable image of the context, or a
// texture name that is none (0, or one never made: a deleted texture's name
// may be given to the next texture made), or a texture not of the target it
// is said to be (no input at all, and an image of another size, are the
// filter suite's):
// it reads as black, so an inverter over it draws white and a maximum of it
// and blue draws blue.
TEST_F(BadInputs, MissingForeignAndUnboundInputsReadAsBlack)
{
    const GLuint live = halvesPicture()->glTextureWithContext(context);
    const auto adapting = [&](GLuint texture, GLenum target) -> std::shared_ptr<LMDrawable> {
        auto adapter = LMFilterOpenGLTextureAdapter::filterWithContext(context);
        adapter->setTexture(texture);
        adapter->setTextureSize({2, 1});
        adapter->setTextureTarget(target);
        return adapter;
    };
    auto other = LMContext::contextWithDimensions(good);
    auto orphan = LMColor::redColor()->drawWithContext(LMContext::contextWithDimensions(good));

    const std::vector<std::tuple<std::string, std::shared_ptr<LMDrawable>, std::string>> cases = {
        {"a proxy without a filter", LMFilterProxy::proxyWithTarget(nullptr), ""},
        {"an accumulator without a context", LMImageAccumulator::accumulator(), ""},
        {"an adapter that converted nothing", LMOpenGLTextureAdapter::adapterWithContext(context), ""},
        {"an image of another context", LMColor::redColor()->drawWithContext(other), "another context"},
        {"an image whose context has gone", orphan, "another context"},
        {"a name never made", adapting(0xFFFFFFF0u, GL_TEXTURE_RECTANGLE), "Cannot bind texture"},
        {"texture 0", adapting(0, GL_TEXTURE_RECTANGLE), "Cannot bind texture"},
        {"a rectangle texture said to be 2D", adapting(live, GL_TEXTURE_2D), "Cannot bind texture"},
        {"a 3D texture target", adapting(live, GL_TEXTURE_3D), "Cannot draw a texture of target 0x806F"},
    };
    for (const auto& [what, input, logged] : cases) {
        sweep(context, "an inverter over, and a maximum of blue and, " + what, logged, [&] {
            EXPECT_EQ(corner(LMFilterInvert::filterWithInput(input)->drawWithContext(context)), white) << what;
            auto max = LMFilterMax2::filter();
            max->setInputA(input);
            max->setInputB(LMColor::blueColor());
            EXPECT_EQ(corner(max->drawWithContext(context), true), blue) << what;
        });
    }

    // No scaler is the default one: a custom-size quad still covers the output.
    sweep(context, "a filter without a scaler", "", [&] {
        auto invert = LMFilterInvert::filterWithInput(LMColor::blueColor());
        invert->setUsesCustomOutputSize(true);
        invert->setCustomOutputSize({16, 12});
        invert->setScaler(nullptr);
        EXPECT_EQ(invert->drawWithContext(context)->readPixelColorAtX(15, 11), (LMRGBA{1, 1, 0, 1}));
    });
}

TEST_F(BadInputs, ProgramsWithoutSourceOrMainAreRefused)
{
    sweep(context, "a program of no source", "LMFilter: Fragment Shader for NoSource failed to compile",
          [&] { EXPECT_FALSE(context->createProgramWithName("NoSource", nullptr)->isLinked()); });
    sweep(context, "a program without main", "LMFilter: Shader program for NoMain failed to link",
          [&] { EXPECT_FALSE(context->createProgramWithName("NoMain", "#version 150\nvoid f() {}\n")->isLinked()); });
}

// A host block may throw; the bindings it leaves are the host GL state suite's.
TEST_F(BadInputs, HostBlocksThatThrowLeaveDrawingWhole)
{
    sweep(context, "a block that throws", "", [&] {
        EXPECT_THROW(context->executeOpenGL([] { throw LMException("Robustness", "thrown on purpose"); }), LMException);
    });
}

// Each context's pool numbers its own targets from the same start, so a new
// context's first target has the id of another new context's first.
TEST_F(BadInputs, AnotherContextsRenderTargetIsRefused)
{
    auto other = LMContext::contextWithDimensions(good);
    auto own = context->requestRenderTargetWithDimensions(good),
         foreign = other->requestRenderTargetWithDimensions(good);
    ASSERT_EQ(own->identifier(), foreign->identifier());
    sweep(context, "releasing another context's render target", "LMContext: Cannot release render target ", [&] {
        context->releaseRenderTarget(foreign);
        EXPECT_EQ(context->renderTargetPool()->objectsUsed(), 1u);
    });
    sweep(context, "binding another context's render target", "LMContext: Cannot bind render target ",
          [&] { context->bindToRenderTarget(foreign); });
    sweep(context, "binding no render target", "", [&] { context->bindToRenderTarget(nullptr); });
}

TEST_F(BadInputs, PixelFormatsThatCannotBeMadeAreRefused)
{
    sweep(context, "an unsupported GL profile", "LMOpenGLPixelFormat: Unsupported OpenGL profile 0x9999", [&] {
        EXPECT_EQ(LMOpenGLPixelFormat::pixelFormatWithAttributes({LMOpenGLPFAOpenGLProfile, 0x9999, 0}), nullptr);
        EXPECT_EQ(LMOpenGLContext::contextWithFormat(nullptr, nullptr), nullptr);
    });
    sweep(context, "a profile without its value", "LMOpenGLPixelFormat: Attribute 99 has no value",
          [&] { EXPECT_EQ(LMOpenGLPixelFormat::pixelFormatWithAttributes({LMOpenGLPFAOpenGLProfile}), nullptr); });
}

// Documented as null or an image without a target, and nothing logged.
TEST_F(BadInputs, NodesAndPicturesGiveNothingWithoutAContext)
{
    sweep(context, "every kind of node drawn with no context", "", [&] {
        for (const auto& node : std::vector<std::shared_ptr<LMDrawable>>{
                 LMColor::redColor(), LMPassthrough::passthrough(), LMOpenGLTextureAdapter::adapterWithContext(context),
                 LMFilterInvert::filter(), LMImageAccumulator::accumulatorWithContext(context),
                 LMFilterOpenGLTextureAdapter::filterWithContext(context)})
            if (auto image = node->drawWithContext(nullptr)) {
                EXPECT_FALSE(image->target());
            }
        EXPECT_EQ(halvesPicture()->glTextureWithContext(nullptr), 0u);
        EXPECT_EQ(halvesPicture()->lumetraImageWithContext(nullptr), nullptr);
        EXPECT_EQ(LMPicture::imageWithLMImage(nullptr), nullptr);
        EXPECT_EQ(LMPicture::pictureWithBitmap(nullptr), nullptr);
    });
}

// Objects made with a context that then goes: what needs the context does
// nothing, and given the next context each draws as before. Repeated, so
// that a leaked thread or GL context shows as growth (a context that is
// never destroyed keeps about 3 MB of the driver's).
TEST(ContextsThatGo, LeaveEveryObjectHarmlessAndLeaveNoThreadOrMemory)
{
    // Counted once a context exists: the driver keeps the threads that its
    // first context starts.
    auto next = LMContext::contextWithDimensions(good);
    const int threadsBefore = threadCount();
    long residentAfterWarmUp = 0;
    constexpr int rounds = 16;
    for (int round = 0; round < rounds; ++round) {
        if (round == 4)
            residentAfterWarmUp = residentKilobytes();
        auto context = LMContext::contextWithDimensions(good);
        auto invert = LMFilterInvert::filterWithInput(LMColor::redColor());
        invert->setUsesCustomOutputSize(true);
        invert->setCustomOutputSize({16, 12});
        ASSERT_EQ(corner(invert->drawWithContext(context)), cyan);
        auto monitor = LMPerformanceMonitor::performanceMonitorWithContext(context);
        monitor->setInterval(0.001);
        monitor->startTiming();

        LogCapture log;
        context.reset();
        monitor->stopTiming();
        monitor->startTiming();
        monitor->tick();
        EXPECT_EQ(corner(invert->drawWithContext(next)), cyan);
        // Given the next context, the monitor times nothing with the query of
        // the one that went, and makes its own when it starts again.
        monitor->setContext(next);
        monitor->startTiming();
        monitor->stopTiming();
        expectStillDrawing(next, "timing with the query of a context that went");
        monitor->start();
        monitor->startTiming();
        monitor->stopTiming();
        EXPECT_TRUE(monitor->timerQueryCreated());
        EXPECT_TRUE(log.lines().empty()) << testing::PrintToString(log.lines());
    }
    expectStillDrawing(next, "contexts that went before their objects");
    EXPECT_EQ(threadCount(), threadsBefore) << "every GL and monitor thread has ended";
    EXPECT_LT(residentKilobytes() - residentAfterWarmUp, 8 * 1024) << "resident memory after " << rounds << " rounds";
}

// A block that lets go of the last reference to its own context while an
// image still holds one of its targets: the context ends on its own GL
// thread, after the block.
TEST(ContextsThatGo, EvenFromInsideTheirOwnBlock)
{
    auto after = LMContext::contextWithDimensions(good);
    const int threadsBefore = threadCount();
    auto context = LMContext::contextWithDimensions(good);
    auto image = LMColor::redColor()->drawWithContext(context);
    context->executeOpenGL([&] { context.reset(); });
    image.reset();
    for (int wait = 0; wait < 200 && threadCount() != threadsBefore; ++wait)
        usleep(5000);
    EXPECT_EQ(threadCount(), threadsBefore);
    expectStillDrawing(after, "a context that ended inside its own block");
}

// A graph that is its own input, directly or through other nodes: the node
// where the cycle closes draws black and says so once; nothing recurses
// without end, with caching on or off.
TEST(GraphCycles, DrawBlackAndAreReportedOnce)
{
    auto context = LMContext::contextWithDimensions(good);
    for (const bool caching : {false, true}) {
        context->setCachingEnabled(caching);
        auto inner = LMFilterInvert::filter();
        inner->setInput(inner);
        auto max = LMFilterMax2::filter();
        auto through = LMPassthrough::passthroughWithInput(max);
        max->setInputA(LMFilterInvert::filterWithInput(through));
        auto first = LMPassthrough::passthrough();
        first->setInput(LMPassthrough::passthroughWithInput(first));
        auto fader = LMFilterFader::filterWithInput(inner);
        const std::vector<std::tuple<std::string, std::shared_ptr<LMDrawableCaching>, std::string>> cycles = {
            {"a maximum through an inverter and a passthrough", max, "LMFilterMax2"},
            {"two passthroughs", first, "LMPassthrough"},
            {"a fader over an inverter of itself", fader, "LMFilterInvert"},
        };
        for (const auto& [cycle, root, reported] : cycles) {
            const std::string what = cycle + (caching ? ", caching" : "");
            LogCapture log;
            for (int frame = 0; frame < 2; ++frame) {
                if (caching)
                    root->updateNeedsRedraw();
                EXPECT_EQ(corner(root->drawWithContext(context)), black) << what;
            }
            const auto lines = log.lines();
            EXPECT_TRUE(lines.size() == 1 && lines[0].find("cycle through <" + reported + ": ") != std::string::npos)
                << what << ": " << testing::PrintToString(lines);
            expectStillDrawing(context, what);
        }
        inner->setInput(nullptr);
        through->setInput(nullptr);
        first->setInput(nullptr);
    }
}
