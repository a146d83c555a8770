// Runs of per-pixel filters drawn as one pass give what the same filters
// give one pass each, read back at 16 bits; caching and marking behave as
// they do unfused.

#include "support/LogCapture.h"
#include "support/PixelsInOut.h"

#include <lumetra/lumetra_authoring.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <random>
#include <unistd.h>

namespace {

constexpr int width = 24, height = 16;

// A host's per-pixel filter with a helper function of its own.
class Posterizer : public LMFilterClass<Posterizer, LMFilterSingleInput> {
public:
    static const LMFilterDeclaration& declaration()
    {
        static const LMFilterDeclaration declared = LMFilterDeclaration("posterizer", "colour", "bands")
                                                        .input("input", "the image")
                                                        .perPixel()
                                                        .control("levels", 4, 1, 255, "", "how many");
        return declared;
    }
    std::string kernelSource() const override
    {
        return "vec3 band(vec3 c, float n) { return floor(c * n) / n; }\n"
               "void main() { lm_output = band(texture(lm_input, lm_location).rgb, lm_levels); }";
    }
};

// Every channel of every pixel as 16-bit values.
std::vector<uint16_t> pixels16(const std::shared_ptr<LMImage>& image)
{
    std::vector<uint16_t> values(size_t(width * height * 3));
    auto context = image->context();
    context->executeOpenGL([&] {
        glBindFramebuffer(GL_READ_FRAMEBUFFER, image->framebuffer());
        LMOpenGL::setReadBackState();
        glReadPixels(0, 0, width, height, GL_RGB, GL_UNSIGNED_SHORT, values.data());
    });
    return values;
}

testing::AssertionResult within2(const std::vector<uint16_t>& a, const std::vector<uint16_t>& b)
{
    for (size_t i = 0; i < a.size(); ++i)
        if (std::abs(int(a[i]) - int(b[i])) > 2)
            return testing::AssertionFailure() << "value " << i << " is " << a[i] << ", not " << b[i];
    return testing::AssertionSuccess();
}

class Fusion : public testing::Test {
protected:
    std::shared_ptr<LMContext> context = LMContext::contextWithDimensions({width, height});
    std::shared_ptr<LMImage> photo =
        imageOf(context, pixelsOf(width, height, [](int x, int y) {
                    return Pixel{uint8_t(x * 10 + 3), uint8_t(y * 15 + 7), uint8_t((x * y) % 256), 255};
                }));
    std::shared_ptr<LMImage> other =
        imageOf(context, pixelsOf(width, height, [](int x, int y) {
                    return Pixel{uint8_t(250 - x * 9), uint8_t((x + y) % 2 * 200), 90, 255};
                }));

    std::vector<uint16_t> drawn(const std::shared_ptr<LMDrawable>& node, bool fused)
    {
        context->setFusionEnabled(fused);
        return pixels16(node->drawWithContext(context));
    }

    // A random per-pixel filter on `previous`.
    std::shared_ptr<LMDrawable> randomFilter(std::mt19937& random, std::shared_ptr<LMDrawable> previous)
    {
        std::uniform_real_distribution<double> amount(0.2, 1.6);
        switch (random() % 7) {
        case 0: return LMFilterInvert::filterWithInput(previous);
        case 1: {
            auto fader = LMFilterFader::filterWithInput(previous);
            fader->setControl(amount(random));
            return fader;
        }
        case 2: return LMFilterConvertToSRGB::filterWithInput(previous);
        case 3: return LMFilterConvertFromSRGB::filterWithInput(previous);
        case 4: return LMFilterMaxComponent::filterWithInput(previous);
        case 5: {
            auto max2 = LMFilterMax2::filter();
            max2->setInputA(random() % 2 ? previous : std::shared_ptr<LMDrawable>(other));
            max2->setInputB(random() % 2 ? previous : std::shared_ptr<LMDrawable>(other));
            return max2;
        }
        default: {
            auto posterizer = Posterizer::filterWithInput(previous);
            posterizer->setValueForKey(LMValue(double(2 + random() % 6)), "levels");
            return posterizer;
        }
        }
    }
};

} // namespace

TEST_F(Fusion, RandomChainsDrawAsTheyDoUnfused)
{
    LogCapture log;
    std::mt19937 random(2026);
    for (int chain = 0; chain < 40; ++chain) {
        const int length = 1 + chain % 12;
        std::shared_ptr<LMDrawable> node = photo;
        for (int i = 0; i < length; ++i)
            node = randomFilter(random, node);
        SCOPED_TRACE("chain " + std::to_string(chain) + " of " + std::to_string(length));
        const std::vector<uint16_t> unfused = drawn(node, false);
        EXPECT_TRUE(within2(drawn(node, true), unfused));
    }
    // Every run's program compiled: none fell back to drawing unfused.
    for (const std::string& line : log.lines())
        EXPECT_EQ(line.find("fused run"), std::string::npos) << line;
}

// A transform is no per-pixel filter: the run stops at it, and what feeds
// it draws (and fuses) on its own.
TEST_F(Fusion, AFilterThatIsNotPerPixelBreaksTheRun)
{
    auto fader = LMFilterFader::filterWithInput(LMFilterInvert::filterWithInput(photo));
    fader->setControl(0.7);
    auto moved = LMFilterTransform::filterWithInput(fader);
    moved->setTransform(LMAffineTransform{}.translateXBy(3, 2));
    auto last = LMFilterConvertToSRGB::filterWithInput(LMFilterInvert::filterWithInput(moved));
    EXPECT_TRUE(within2(drawn(last, true), drawn(last, false)));
}

// With caching on, a fused run hands back its output until a member is
// marked; a member drawn directly afterwards is drawn, not stale; an output
// the host holds keeps its pixels through a redraw.
TEST_F(Fusion, CachingAndMarkingThroughARun)
{
    context->setCachingEnabled(true);
    auto fader = LMFilterFader::filterWithInput(photo);
    fader->setControl(0.5);
    auto inverted = LMFilterInvert::filterWithInput(fader);
    auto last = LMFilterMaxComponent::filterWithInput(inverted);

    context->setFusionEnabled(true);
    const std::shared_ptr<LMImage> first = last->drawWithContext(context);
    const std::vector<uint16_t> firstPixels = pixels16(first);
    // Drawn as one pass: the members drew nothing of their own.
    EXPECT_EQ(inverted->cachedOutput(), nullptr);
    EXPECT_EQ(fader->cachedOutput(), nullptr);
    EXPECT_FALSE(last->updateNeedsRedraw());
    EXPECT_EQ(last->drawWithContext(context), first);

    fader->setControl(0.25);
    EXPECT_TRUE(last->updateNeedsRedraw());
    const std::vector<uint16_t> fused = pixels16(last->drawWithContext(context));
    EXPECT_FALSE(last->updateNeedsRedraw());
    // The redraw let go of the old output, but the host still holds it.
    EXPECT_EQ(pixels16(first), firstPixels);
    EXPECT_NE(fused, firstPixels);

    // The member's own output, never drawn in the run, is drawn when asked.
    const std::vector<uint16_t> member = pixels16(inverted->drawWithContext(context));
    context->setFusionEnabled(false);
    context->setCachingEnabled(false);
    EXPECT_TRUE(within2(member, pixels16(LMFilterInvert::filterWithInput(fader)->drawWithContext(context))));
    EXPECT_TRUE(within2(fused, pixels16(last->drawWithContext(context))));
}

// After a crop the run works at the crop's size, not the context's.
TEST_F(Fusion, RunsAtAWorkingSizeOfTheirOwn)
{
    auto crop = LMFilterCrop::filterWithInput(photo);
    crop->setX(3), crop->setY(2), crop->setWidth(10), crop->setHeight(7);
    auto invert = LMFilterInvert::filterWithInput(crop);
    auto fader = LMFilterFader::filterWithInput(invert);
    fader->setControl(0.6);
    invert->setWorkingSize(LMSize{10, 7});
    fader->setWorkingSize(LMSize{10, 7});
    context->setFusionEnabled(true);
    const Pixels fused = drawnPixels(fader, context);
    context->setFusionEnabled(false);
    EXPECT_TRUE(samePixels(fused, drawnPixels(fader, context), 0));
    EXPECT_EQ(fused.width, 10);
}

// A uniform array (a host's palette) is carried into the run whole.
TEST_F(Fusion, UniformArraysKeepTheirLength)
{
    class Palette : public LMUniform {
    public:
        std::string uniformString() const override { return "uniform vec3 lm_" + name() + "[2]; "; }
        void bindToLocation(GLint location, const LMValue&, const std::shared_ptr<LMContext>&) override
        {
            const GLfloat colours[6] = {0.2f, 0.4f, 0.6f, 0.9f, 0.1f, 0.3f};
            glUniform3fv(location, 2, colours);
        }
    };
    class Mixer : public LMFilterClass<Mixer, LMFilterSingleInput> {
    public:
        std::string kernelSource() const override
        {
            return "void main() { lm_output = mix(lm_palette[0], lm_palette[1], texture(lm_input, lm_location).r); }";
        }
        std::vector<std::shared_ptr<LMUniform>> otherUniforms() const override
        {
            auto palette = std::make_shared<Palette>();
            palette->setName("palette");
            return {palette};
        }
        bool isPerPixel() const override { return true; }
    };
    LogCapture log;
    auto mixed = LMFilterInvert::filterWithInput(Mixer::filterWithInput(photo));
    EXPECT_TRUE(within2(drawn(mixed, true), drawn(mixed, false)));
    for (const std::string& line : log.lines())
        EXPECT_EQ(line.find("fused run"), std::string::npos) << line;
}

// Filters that sample tables of their own (curves, a 3D lut) and a blend
// join runs: their tables take units after the outside inputs', and each
// sets up its table or mode as its own draw would. Two luts of one class
// keep their own tables.
TEST_F(Fusion, TablesAndBlendsJoinRuns)
{
    const std::string cube = testing::TempDir() + "lumetra_fusion_" + std::to_string(::getpid()) + ".cube";
    {
        std::ofstream file(cube);
        file << "LUT_3D_SIZE 2\n";
        for (int b = 0; b < 2; ++b)
            for (int g = 0; g < 2; ++g)
                for (int r = 0; r < 2; ++r)
                    file << 0.1 + 0.8 * g << " " << 0.9 - 0.7 * r << " " << 0.3 + 0.5 * b << "\n";
    }
    LogCapture log;
    auto curves = LMFilterCurves::filterWithInput(LMFilterInvert::filterWithInput(photo));
    curves->setPoints({0, 0.1, 0.4, 0.7, 1, 0.9});
    auto lut = LMFilterLut::filterWithInput(curves);
    lut->setFile(cube);
    auto blend = LMFilterBlend::filterWithInput(lut);
    blend->setSource(other);
    blend->setMode("soft-light");
    blend->setOpacity(0.8);
    auto again = LMFilterLut::filterWithInput(LMFilterFader::filterWithInput(blend));
    again->setFile(cube);
    again->setStrength(0.5);
    EXPECT_TRUE(within2(drawn(again, true), drawn(again, false)));
    EXPECT_EQ(curves->cachedOutput(), nullptr); // drawn within the run
    for (const std::string& line : log.lines())
        EXPECT_EQ(line.find("fused run"), std::string::npos) << line;
    std::remove(cube.c_str());
}

// An outside input smaller than the run's working size reads as it does
// unfused: its edge pixels go on past it.
TEST_F(Fusion, AnOutsideInputSmallerThanTheRunReadsItsEdges)
{
    auto crop = LMFilterCrop::filterWithInput(photo);
    crop->setX(3), crop->setY(2), crop->setWidth(10), crop->setHeight(7);
    auto fader = LMFilterFader::filterWithInput(LMFilterInvert::filterWithInput(crop));
    fader->setControl(0.6);
    EXPECT_TRUE(within2(drawn(fader, true), drawn(fader, false)));
    // The run reads through a sampler of its own, bound only for its draw.
    fader->drawWithContext(context);
    context->executeOpenGL([] {
        GLint active = 0, sampler = -1;
        glGetIntegerv(GL_ACTIVE_TEXTURE, &active);
        glActiveTexture(GL_TEXTURE0);
        glGetIntegerv(GL_SAMPLER_BINDING, &sampler);
        glActiveTexture(GLenum(active));
        EXPECT_EQ(sampler, 0);
    });
}

// The rounding between members moves past filters that pick among their
// inputs, and stays where a value also feeds one that does not. The values
// are dark, where the sRGB curve is steep: half a level unrounded there is
// several levels after it.
TEST_F(Fusion, RoundingMovesPastFiltersThatPick)
{
    auto dark = LMFilterFader::filterWithInput(photo);
    dark->setControl(0.01);
    auto pick = [](const std::shared_ptr<LMDrawable>& a, const std::shared_ptr<LMDrawable>& b) {
        auto max2 = LMFilterMax2::filter();
        max2->setInputA(a);
        max2->setInputB(b);
        return max2;
    };
    const std::shared_ptr<LMDrawable> graphs[] = {
        // Two pickers in a row, then the curve.
        LMFilterConvertToSRGB::filterWithInput(pick(LMFilterMaxComponent::filterWithInput(dark), dark)),
        // The dark value feeds a picker and the curve.
        pick(LMFilterMaxComponent::filterWithInput(dark), LMFilterConvertToSRGB::filterWithInput(dark)),
    };
    for (const auto& graph : graphs)
        EXPECT_TRUE(within2(drawn(graph, true), drawn(graph, false)));
}

// At a size of no whole number of pixels each filter resamples what the one
// before it drew, between texel centres: such a run draws as it does
// unfused. The ramp comes from a filter that is no per-pixel one.
TEST_F(Fusion, ASizeBetweenWholePixelsDrawsAsUnfused)
{
    class Ramp : public LMFilterClass<Ramp, LMFilterSingleInput> {
    public:
        static const LMFilterDeclaration& declaration()
        {
            static const LMFilterDeclaration declared =
                LMFilterDeclaration("ramp", "test", "a ramp").input("input", "unused");
            return declared;
        }
        std::string kernelSource() const override
        {
            return "void main() { lm_output = vec3(fract(lm_location.x * 0.37), lm_location.y / 17.0, 0.5); }";
        }
    };
    LogCapture log;
    context->setDimensions({width + 0.5, height + 0.25});
    auto fader = LMFilterFader::filterWithInput(LMFilterInvert::filterWithInput(Ramp::filterWithInput(photo)));
    fader->setControl(0.6);
    EXPECT_TRUE(within2(drawn(fader, true), drawn(fader, false)));
}
