// The bad-input sweep: every public entry point that takes a size, a number,
// a node, a texture name or a file, called with values it cannot use. Each
// call must say so in the log (or through its documented result) and leave
// the context drawing correctly; see Robustness.h.

#include "robustness/Robustness.h"
#include "support/PictureBytes.h"

#include <cstdio>
#include <filesystem>
#include <functional>
#include <unistd.h>

using namespace robustness;

namespace {

std::string text(double number)
{
    char buffer[32];
    std::snprintf(buffer, sizeof(buffer), "%g", number);
    return buffer;
}

std::string text(LMSize size)
{
    return text(size.width) + " by " + text(size.height);
}

class BadInputs : public testing::Test {
protected:
    static constexpr LMSize good{32, 24};
    std::shared_ptr<LMContext> context = LMContext::contextWithDimensions(good);

    // Every bad number on either axis, and one pixel more than GL allows.
    std::vector<LMSize> badSizes() const
    {
        std::vector<LMSize> sizes;
        for (double number : badNumbers) {
            sizes.push_back({number, good.height});
            sizes.push_back({good.width, number});
        }
        const double tooLarge = context->maxTextureSize() + 1.0;
        sizes.push_back({tooLarge, good.height});
        sizes.push_back({good.width, tooLarge});
        return sizes;
    }
};

// Counts the inputs once every suite has run.
class SweepReport : public testing::Environment {
public:
    void TearDown() override { std::printf("The bad-input sweep tried %d inputs.\n", inputsTried); }
};
const auto* report = testing::AddGlobalTestEnvironment(new SweepReport);

} // namespace

TEST_F(BadInputs, SizesAreRefusedWithALogLine)
{
    auto picture = halvesPicture(4, 2);
    const GLuint texture = picture->glTextureWithContext(context);
    for (const LMSize size : badSizes()) {
        const std::string name = text(size);
        const bool usableByAdapter = size.width > 0 && size.height > 0 && std::isfinite(size.width) &&
                                     std::isfinite(size.height);

        sweep(context, "a context of " + name, "LMRenderTargetPool: ", [&] {
            auto bad = LMContext::contextWithDimensions(size);
            ASSERT_TRUE(bad->openGLContext());
            EXPECT_FALSE(LMColor::redColor()->drawWithContext(bad)->target());
            bad->setDimensions(good);
            expectStillDrawing(bad, "resizing a context of " + name);
        });
        sweep(context, "setDimensions " + name, "LMRenderTargetPool: ", [&] {
            context->setDimensions(size);
            EXPECT_EQ(LMFilterInvert::filterWithInput(LMColor::redColor())->drawWithContext(context), nullptr);
            context->setDimensions(good);
        });
        sweep(context, "a render target of " + name, "LMRenderTargetPool: ",
              [&] { EXPECT_EQ(context->requestRenderTargetWithDimensions(size), nullptr); });
        sweep(context, "an image of " + name, "LMRenderTargetPool: ", [&] {
            auto image = LMImage::imageWithContext(context, size);
            EXPECT_FALSE(image->target());
            EXPECT_FALSE(image->readPixelColorLowerLeft());
            EXPECT_FALSE(image->debugQuickLookObject());
        });
        sweep(context, "a filter output of " + name, "LMRenderTargetPool: ", [&] {
            auto invert = LMFilterInvert::filterWithInput(LMColor::redColor());
            invert->setUsesCustomOutputSize(true);
            invert->setCustomOutputSize(size);
            EXPECT_EQ(invert->drawWithContext(context), nullptr);
        });
        // Less than a pixel either way is refused before any bitmap is made,
        // and more than a bitmap can hold before any texture is.
        const std::string pictureLine = !(size.width >= 1 && size.height >= 1)
                                            ? "LMPicture: Cannot draw a picture of " + name + " points"
                                        : std::max(size.width, size.height) < 1e9
                                            ? "LMPicture: Error uploading a texture of "
                                            : "LMBitmap: Cannot make a bitmap of ";
        sweep(context, "a picture of " + name, pictureLine, [&] {
            picture->setSize(size);
            EXPECT_EQ(picture->lumetraImageWithContext(context), nullptr);
        });
        // A texture's size only says how much of it to sample: more than GL
        // allows is no harm, but the quad cannot be made without a size.
        sweep(context, "a texture of " + name, usableByAdapter ? "" : "LMFilterOpenGLTextureAdapter: ", [&] {
            auto image = LMOpenGLTextureAdapter::adapterWithContext(context)->convertTexture(texture, size);
            ASSERT_TRUE(image);
            if (!usableByAdapter)
                EXPECT_EQ(corner(image, true), black);
        });
    }
    context->executeOpenGL([&] { glDeleteTextures(1, &texture); });

    for (const auto& [width, height] : std::vector<std::pair<int32_t, int32_t>>{
             {0, 4}, {4, -1}, {INT32_MIN, 4}, {INT32_MAX, 4}, {65536, 65536}}) {
        const std::string name = std::to_string(width) + " by " + std::to_string(height);
        sweep(context, "a bitmap of " + name, "LMBitmap: Cannot make a bitmap of " + name,
              [&] { EXPECT_EQ(newBIR(width, height), nullptr); });
        sweep(context, "a flipped bitmap of " + name, "LMBitmap: Cannot make a bitmap of " + name,
              [&] { EXPECT_EQ(flippedBIR(newBIR(2, 2), width, height), nullptr); });
    }
}

TEST_F(BadInputs, NumbersReachFiltersAndColoursWithoutHarm)
{
    auto input = halvesPicture(4, 2)->lumetraImageWithContext(context, LMContentScaleModeStretch);
    ASSERT_EQ(corner(input), red);
    ASSERT_EQ(corner(input, true), blue);
    using Entry = double LMAffineTransform::*;
    const std::pair<const char*, Entry> entries[] = {{"m11", &LMAffineTransform::m11}, {"m12", &LMAffineTransform::m12},
                                                     {"m21", &LMAffineTransform::m21}, {"m22", &LMAffineTransform::m22},
                                                     {"tX", &LMAffineTransform::tX},   {"tY", &LMAffineTransform::tY}};

    for (double number : badNumbers) {
        const std::string name = text(number);
        sweep(context, "a circle radius of " + name, "", [&] {
            auto circle = LMFilterCircle::filter();
            circle->setRadius(number);
            EXPECT_TRUE(corner(circle->drawWithContext(context)));
        });
        sweep(context, "a circle centre of " + name, "", [&] {
            auto circle = LMFilterCircle::filter();
            circle->setRadius(4.0);
            circle->setCenter({number, number});
            EXPECT_TRUE(corner(circle->drawWithContext(context)));
        });
        sweep(context, "a fader control of " + name, "", [&] {
            auto fader = LMFilterFader::filterWithInput(input);
            fader->setControl(number);
            EXPECT_TRUE(corner(fader->drawWithContext(context)));
        });
        // GL clamps a clear colour to 0...1, and NaN clears as 0.
        sweep(context, "a colour of " + name, "", [&] {
            const double expected = std::isnan(number) ? 0.0 : std::clamp(number, 0.0, 1.0);
            auto read = corner(LMColor::colorWithRed(number, 0, 1)->drawWithContext(context), true);
            ASSERT_TRUE(read);
            EXPECT_NEAR(read->red, expected, 0.5 / 255) << name;
            EXPECT_EQ(read->blue, 1.0);
        });
        sweep(context, "a hue of " + name, "", [&] {
            EXPECT_TRUE(corner(LMColor::colorWithColor(LMRGBA::fromHSB(number, 1, 1))->drawWithContext(context), true));
        });
        // A transform that cannot be inverted, or whose inverse is not a
        // finite matrix, leaves the input where it is.
        for (const auto& [entryName, entry] : entries) {
            sweep(context, std::string("a transform ") + entryName + " of " + name, "", [&] {
                LMAffineTransform transform;
                transform.*entry = number;
                auto filter = LMFilterTransform::filterWithInput(input);
                filter->setTransform(transform);
                auto image = filter->drawWithContext(context);
                ASSERT_TRUE(image);
                if (number == 0.0 || !std::isfinite(static_cast<float>(number))) {
                    EXPECT_EQ(corner(image), red) << entryName << " = " << name;
                    EXPECT_EQ(corner(image, true), blue) << entryName << " = " << name;
                }
            });
        }
        const std::string intervalLine = number > 0 ? "" : "LMPerformanceMonitor: Interval " + name;
        sweep(context, "a monitor interval of " + name, intervalLine, [&] {
            auto monitor = LMPerformanceMonitor::performanceMonitorWithContext(context);
            monitor->setInterval(number);
            EXPECT_TRUE(monitor->timerRunning());
            monitor->startTiming();
            LMColor::redColor()->drawWithContext(context);
            monitor->stopTiming();
        });
    }
}

TEST_F(BadInputs, ValuesOfTheWrongKindAreReportedAndReadAsAbsent)
{
    const std::vector<std::function<LMFilterRef<LMFilter>()>> makers = {
        [] { return LMFilterInvert::filter(); },         [] { return LMFilterFader::filter(); },
        [] { return LMFilterMax2::filter(); },           [] { return LMFilterCircle::filter(); },
        [] { return LMFilterTransform::filter(); },      [] { return LMFilterMaxComponent::filter(); },
        [] { return LMFilterConvertToSRGB::filter(); },  [] { return LMFilterConvertFromSRGB::filter(); },
    };
    const std::shared_ptr<LMDrawable> node = LMColor::redColor();
    const std::vector<LMValue> notDrawables = {3.0, LMValue{1.0, 2.0}, "text"};
    const std::vector<LMValue> notNumbers = {node, LMValue{1.0, 2.0}, "text"};
    const std::vector<LMValue> notLists = {3.0, node, "text"};

    for (const auto& make : makers) {
        const LMFilterRef<LMFilter> sample = make();
        const std::string className = sample->className();
        std::vector<std::pair<std::string, const std::vector<LMValue>*>> keys;
        for (const std::string& key : sample.get()->storedInputNames())
            keys.emplace_back(key, &notDrawables);
        for (const std::string& key : sample.get()->storedControlNames())
            keys.emplace_back(key, &notNumbers);
        for (const auto& uniform : sample.get()->storedOtherUniforms())
            keys.emplace_back(uniform->name(), &notLists);

        for (const auto& [key, values] : keys)
            for (const LMValue& value : *values) {
                const std::string what = className + "'s " + key + " given " + value.kindDescription();
                sweep(context, what, "The value of " + key + " is " + value.kindDescription() + ", not ", [&] {
                    auto filter = make();
                    filter->setValueForKey(value, key);
                    EXPECT_TRUE(corner(filter->drawWithContext(context))) << what;
                });
            }
    }
}

// Each case is an input that gives no usable image of the context: the
// filter reads it as black, so an inverter over it draws white and a
// maximum of it and blue draws blue.
TEST_F(BadInputs, MissingAndForeignInputsReadAsBlack)
{
    auto other = LMContext::contextWithDimensions(good);
    auto gone = LMContext::contextWithDimensions(good);
    auto orphan = LMColor::redColor()->drawWithContext(gone);
    gone.reset();
    auto accumulatorWithoutContext = LMImageAccumulator::accumulator();
    auto emptyAccumulator = LMImageAccumulator::accumulatorWithContext(context);
    emptyAccumulator->setImage(nullptr);
    auto failingFilter = LMFilterInvert::filterWithInput(LMColor::redColor());
    failingFilter->setUsesCustomOutputSize(true);
    failingFilter->setCustomOutputSize({notANumber, notANumber});

    const std::vector<std::tuple<std::string, std::shared_ptr<LMDrawable>, std::string>> cases = {
        {"no input", nullptr, ""},
        {"a null handle", LMFilterRef<LMFilterInvert>(), ""},
        {"a proxy without a filter", LMFilterProxy::proxyWithTarget(nullptr), ""},
        {"a passthrough of nothing", LMPassthrough::passthrough(), ""},
        {"an accumulator without a context", accumulatorWithoutContext, ""},
        {"an accumulator that keeps nothing", emptyAccumulator, ""},
        {"an adapter that converted nothing", LMOpenGLTextureAdapter::adapterWithContext(context), ""},
        {"a filter that cannot draw", failingFilter, "LMRenderTargetPool: "},
        {"an image of another size", LMImage::imageWithContext(context, {good.width + 1, good.height}), "another size"},
        {"an image of another context", LMColor::redColor()->drawWithContext(other), "another context"},
        {"an image whose context has gone", orphan, "another context"},
    };
    for (const auto& [what, input, logged] : cases) {
        sweep(context, "an inverter over " + what, logged, [&] {
            auto invert = LMFilterInvert::filterWithInput(input);
            auto image = invert->drawWithContext(context);
            EXPECT_EQ(corner(image), white) << what;
            EXPECT_EQ(corner(image, true), white) << what;
        });
        sweep(context, "a maximum of blue and " + what, logged, [&] {
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
    const GLuint texture = halvesPicture(4, 2)->glTextureWithContext(context);
    sweep(context, "an adapter without a scaler", "", [&] {
        auto adapter = LMOpenGLTextureAdapter::adapterWithContext(context);
        adapter->setScaler(nullptr);
        EXPECT_EQ(corner(adapter->convertTexture(texture, {4, 2}), true), blue);
    });
    context->executeOpenGL([&] { glDeleteTextures(1, &texture); });
}

TEST_F(BadInputs, TexturesThatAreGoneOrNeverWereDrawBlack)
{
    auto picture = halvesPicture(4, 2);
    const GLuint live = picture->glTextureWithContext(context);
    GLuint deleted = picture->glTextureWithContext(context);
    context->executeOpenGL([&] { glDeleteTextures(1, &deleted); });
    const GLuint neverMade = 0x7FFF0000;

    const std::vector<std::tuple<std::string, GLuint, GLenum, std::string>> cases = {
        {"a deleted texture", deleted, GL_TEXTURE_RECTANGLE, "Cannot bind texture"},
        {"a deleted 2D texture", deleted, GL_TEXTURE_2D, "Cannot bind texture"},
        {"a name never made", neverMade, GL_TEXTURE_RECTANGLE, "Cannot bind texture"},
        {"a 2D name never made", neverMade, GL_TEXTURE_2D, "Cannot bind texture"},
        {"texture 0", 0, GL_TEXTURE_RECTANGLE, "Cannot bind texture"},
        {"a rectangle texture said to be 2D", live, GL_TEXTURE_2D, "Cannot bind texture"},
        {"a 3D target", live, GL_TEXTURE_3D, "Cannot draw a texture of target 0x806F"},
        {"no target", live, 0, "Cannot draw a texture of target 0x0000"},
    };
    for (const auto& [what, texture, target, logged] : cases) {
        sweep(context, what, "LMFilterOpenGLTextureAdapter: " + logged, [&] {
            auto adapter = LMOpenGLTextureAdapter::adapterWithContext(context);
            auto image = adapter->convertTexture(texture, {4, 2}, false, target);
            EXPECT_EQ(corner(image), black) << what;
            EXPECT_EQ(corner(image, true), black) << what;
        });
    }
    context->executeOpenGL([&] { glDeleteTextures(1, &live); });
}

TEST_F(BadInputs, DamagedAndMissingFilesGiveNoPicture)
{
    char pattern[] = "/tmp/lumetra-robustness-XXXXXX";
    const std::string folder = mkdtemp(pattern);
    auto picture = halvesPicture(16, 8);
    ASSERT_TRUE(picture->writePNGToFile(folder + "/whole.png"));
    ASSERT_TRUE(picture->writeJPEGToFile(folder + "/whole.jpg"));
    const auto files = damagedPictures(readBytes(folder + "/whole.png"), readBytes(folder + "/whole.jpg"));
    for (const auto& [name, bytes, logged] : files) {
        writeBytes(folder + "/" + name, bytes);
        sweep(context, "the file " + name, logged, [&, name = name] {
            EXPECT_EQ(LMPicture::pictureWithContentsOfFile(folder + "/" + name), nullptr) << name;
        });
    }
    for (const std::string& path : {std::string(), folder, folder + "/missing.png"})
        sweep(context, "the file \"" + path + "\"", "LMPicture: ",
              [&] { EXPECT_EQ(LMPicture::pictureWithContentsOfFile(path), nullptr) << path; });

    for (const std::string& path : {std::string(), folder, folder + "/no/such/folder/out.png"}) {
        sweep(context, "writing a PNG to \"" + path + "\"", "LMPicture: Cannot write",
              [&] { EXPECT_FALSE(picture->writePNGToFile(path)); });
        sweep(context, "writing a JPEG to \"" + path + "\"", "LMPicture: Cannot write",
              [&] { EXPECT_FALSE(picture->writeJPEGToFile(path)); });
    }
    sweep(context, "a picture of no bitmap", "", [&] { EXPECT_EQ(LMPicture::pictureWithBitmap(nullptr), nullptr); });

    std::filesystem::remove_all(folder);
}

TEST_F(BadInputs, ContextOperationsRefuseWhatTheyCannotUse)
{
    for (const auto& [name, source] : std::vector<std::pair<std::string, const char*>>{
             {"NoSource", nullptr}, {"EmptySource", ""}, {"NotGLSL", "not a shader"}}) {
        sweep(context, "a program of " + name, "LMFilter: Fragment Shader for " + name + " failed to compile", [&] {
            auto program = context->createProgramWithName(name, source);
            ASSERT_TRUE(program);
            EXPECT_FALSE(program->isLinked());
        });
    }
    sweep(context, "a program without main", "LMFilter: Shader program for NoMain failed to link", [&] {
        EXPECT_FALSE(context->createProgramWithName("NoMain", "#version 150\nvoid helper() {}\n")->isLinked());
    });
    sweep(context, "a block that throws", "", [&] {
        EXPECT_THROW(context->executeOpenGL([] { throw LMException("Robustness", "thrown on purpose"); }), LMException);
    });
    // The library binds what it needs for every draw, so a host block may
    // leave any binding behind. The viewport is cached: a block that moves it
    // says so by resetting the cache, as the state cache asks.
    sweep(context, "a block that changes the bindings", "", [&] {
        context->executeOpenGL([&] {
            glBindFramebuffer(GL_FRAMEBUFFER, 0);
            glUseProgram(0);
            glBindVertexArray(0);
            glBindBuffer(GL_ARRAY_BUFFER, 0);
            glActiveTexture(GL_TEXTURE5);
            glBindTexture(GL_TEXTURE_RECTANGLE, 0);
            glClearColor(0.5f, 0.5f, 0.5f, 1.0f);
            glViewport(0, 0, 1, 1);
            context->gl()->setCurrentViewport({});
        });
    });

    auto other = LMContext::contextWithDimensions(good);
    auto foreign = other->requestRenderTargetWithDimensions(good);
    auto own = context->requestRenderTargetWithDimensions(good);
    // The foreign target's id is that of a target this context leased.
    for (int i = 0; i < 64 && own && foreign && own->identifier() != foreign->identifier(); ++i) {
        if (own->identifier() < foreign->identifier())
            own = context->requestRenderTargetWithDimensions(good);
        else
            foreign = other->requestRenderTargetWithDimensions(good);
    }
    ASSERT_TRUE(own && foreign && own->identifier() == foreign->identifier());
    const size_t used = context->renderTargetPool()->objectsUsed();
    sweep(context, "releasing another context's render target", "LMContext: ", [&] {
        context->releaseRenderTarget(foreign);
        EXPECT_EQ(context->renderTargetPool()->objectsUsed(), used);
    });
    sweep(context, "binding another context's render target", "LMContext: ", [&] {
        context->bindToRenderTarget(foreign);
    });
    sweep(context, "binding no render target", "", [&] { context->bindToRenderTarget(nullptr); });

    sweep(context, "an unsupported GL profile", "LMOpenGLPixelFormat: Unsupported OpenGL profile 0x9999", [&] {
        auto format = LMOpenGLPixelFormat::pixelFormatWithAttributes({LMOpenGLPFAOpenGLProfile, 0x9999, 0});
        EXPECT_EQ(format, nullptr);
        EXPECT_EQ(LMOpenGLContext::contextWithFormat(format, nullptr), nullptr);
    });
    sweep(context, "a profile without its value", "LMOpenGLPixelFormat: Attribute 99 has no value", [&] {
        EXPECT_EQ(LMOpenGLPixelFormat::pixelFormatWithAttributes({LMOpenGLPFAOpenGLProfile}), nullptr);
    });

    // Drawing with no context at all: documented as null or an image without
    // a target, and nothing logged.
    const std::vector<std::pair<std::string, std::shared_ptr<LMDrawable>>> nodes = {
        {"a colour", LMColor::redColor()},
        {"a filter", LMFilterInvert::filterWithInput(LMColor::redColor())},
        {"a passthrough", LMPassthrough::passthroughWithInput(LMColor::redColor())},
        {"an accumulator", LMImageAccumulator::accumulatorWithContext(context)},
        {"an adapter", LMOpenGLTextureAdapter::adapterWithContext(context)},
        {"an adapter filter", LMFilterOpenGLTextureAdapter::filterWithContext(context)},
    };
    for (const auto& [what, node] : nodes)
        sweep(context, what + " drawn with no context", "", [&] {
            auto image = node->drawWithContext(nullptr);
            EXPECT_TRUE(!image || !image->target()) << what;
        });
    sweep(context, "a picture with no context", "", [&] {
        EXPECT_EQ(halvesPicture(4, 2)->glTextureWithContext(nullptr), 0u);
        EXPECT_EQ(halvesPicture(4, 2)->lumetraImageWithContext(nullptr), nullptr);
        EXPECT_EQ(LMPicture::imageWithLMImage(nullptr), nullptr);
    });
    sweep(context, "a monitor with no context", "", [&] {
        auto monitor = LMPerformanceMonitor::performanceMonitorWithContext(nullptr);
        monitor->start();
        monitor->startTiming();
        monitor->stopTiming();
        EXPECT_FALSE(monitor->timerQueryCreated());
    });
}
