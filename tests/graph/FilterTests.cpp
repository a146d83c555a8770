#include "support/GLObjects.h"
#include "support/LogCapture.h"

#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

namespace {

constexpr double oneStep = 1.0 / 255.0;

class DefaultFilter : public LMFilterClass<DefaultFilter> {};

// Red from inputA, green from inputB, blue from the control.
class TwoInputs : public LMFilterClass<TwoInputs> {
public:
    std::string kernelSource() const override
    {
        return "void main() { lm_output = vec3(texture(lm_inputA, lm_location).r, "
               "texture(lm_inputB, lm_location).g, lm_control); }";
    }
    std::vector<std::string> inputNames() const override { return {"inputA", "inputB"}; }
    std::vector<std::string> controlNames() const override { return {"control"}; }

    void setInputA(std::shared_ptr<LMDrawable> input) { setProperty("inputA", std::move(input)); }
    void setInputB(std::shared_ptr<LMDrawable> input) { setProperty("inputB", std::move(input)); }
    void setControl(std::optional<double> value) { setProperty("control", value ? LMValue(*value) : LMValue()); }
};

// Writes the dimension uniforms and where output pixel (100, 50) comes from.
class Geometry : public LMFilterClass<Geometry> {
public:
    std::string kernelSource() const override
    {
        return "void main() { vec2 source = lm_toInputCoords(vec2(100.0, 50.0));"
               " lm_output = vec3(lm_targetDimensions.x / 2000.0, lm_contextDimensions.x / 2000.0,"
               " source.x / 1000.0 + source.y / 100000.0); }";
    }
    bool automaticallyCreatesContextDimensionsUniform() const override { return true; }
    bool automaticallyCreatesTargetDimensionsUniform() const override { return true; }
};

// Where it is drawn, in the input's pixels.
class Location : public LMFilterClass<Location> {
public:
    std::string kernelSource() const override { return "void main() { lm_output = vec3(lm_location / 2000.0, 0.0); }"; }
};

class Passing : public LMFilterClass<Passing, LMFilterSingleInput> {
public:
    std::string kernelSource() const override
    {
        return "void main() { lm_output = texture(lm_input, lm_location).rgb; }";
    }
};

// A caching source that counts how often it is drawn and asked.
class CountingSource : public LMDrawableCaching {
public:
    explicit CountingSource(LMRGBA color) : color_(LMColor::colorWithColor(color)) {}
    std::shared_ptr<LMImage> drawWithContext(const std::shared_ptr<LMContext>& context) override
    {
        ++draws;
        return color_->drawWithContext(context);
    }
    bool needsRedraw() const override { return flag; }
    void setNeedsRedraw(bool value) override { flag = value; }
    bool updateNeedsRedraw() override
    {
        ++asked;
        return flag;
    }
    int draws = 0, asked = 0;
    bool flag = false;

private:
    std::shared_ptr<LMColor> color_;
};

LMRGBA centre(const std::shared_ptr<LMImage>& image)
{
    const LMSize size = image->dimensions();
    return image->readPixelColorAtX(static_cast<int32_t>(size.width / 2), static_cast<int32_t>(size.height / 2))
        .value_or(LMRGBA{-1, -1, -1, -1});
}

void expectNear(LMRGBA actual, LMRGBA expected, double tolerance = oneStep)
{
    EXPECT_NEAR(actual.red, expected.red, tolerance);
    EXPECT_NEAR(actual.green, expected.green, tolerance);
    EXPECT_NEAR(actual.blue, expected.blue, tolerance);
}

class Filters : public testing::Test {
protected:
    std::shared_ptr<LMContext> context = LMContext::contextWithDimensions({64, 48});
};

} // namespace

TEST_F(Filters, BindInputsToUnitsInOrderUploadControlsAndReadWhatIsMissingAsAbsent)
{
    auto filter = TwoInputs::filter();
    filter->setInputA(LMColor::redColor());
    filter->setInputB(LMColor::greenColor());
    filter->setControl(0.5);
    auto image = filter->drawWithContext(context);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->dimensions(), context->dimensions());
    expectNear(centre(image), {1, 1, 0.5, 1}); // red from the first unit, green from the second

    // Values of the wrong kind read as absent and are reported once.
    LogCapture capture;
    filter->setValueForKey(3.0, "inputA");
    filter->setValueForKey("loud", "control");
    expectNear(centre(filter->drawWithContext(context)), {0, 1, 0, 1});
    filter->setNeedsRedraw(true);
    filter->drawWithContext(context);
    EXPECT_EQ(capture.lines(),
              (std::vector<std::string>{
                  "(anonymous namespace)::TwoInputs: The value of inputA is a number, not a drawable; treating it as absent",
                  "(anonymous namespace)::TwoInputs: The value of control is a string, not a number; treating it as absent",
              }));

    // A missing control counts as 0; a missing input or one of another size reads black.
    filter->setControl(std::nullopt);
    filter->setInputA(nullptr);
    filter->setInputB(LMImage::imageWithContext(context, {10, 10}));
    expectNear(centre(filter->drawWithContext(context)), {0, 0, 0, 1});
}

TEST_F(Filters, CachedOutputIsReusedOnlyWhileItFits)
{
    auto source = std::make_shared<CountingSource>(LMRGBA{0.2, 0.4, 0.6, 1});
    auto filter = Passing::filterWithInput(source);
    EXPECT_TRUE(filter->needsRedraw());
    auto first = filter->drawWithContext(context);
    auto cached = filter->drawWithContext(context);
    EXPECT_NE(cached, first) << "caching is off by default";
    EXPECT_EQ(source->draws, 2);

    context->setCachingEnabled(true);
    const size_t leased = context->renderTargetPool()->objectsUsed();
    EXPECT_EQ(filter->drawWithContext(context), cached);
    EXPECT_EQ(filter->drawWithContext(context), cached);
    EXPECT_EQ(source->draws, 2) << "a cached draw pulls nothing";
    EXPECT_EQ(context->renderTargetPool()->objectsUsed(), leased) << "and leases nothing";
    expectNear(centre(cached), {0.2, 0.4, 0.6, 1});

    filter->setNeedsRedraw(true);
    auto marked = filter->drawWithContext(context);
    EXPECT_NE(marked, cached);
    EXPECT_FALSE(filter->needsRedraw());

    context->setDimensions({32, 24});
    auto resized = filter->drawWithContext(context);
    EXPECT_NE(resized, marked);
    EXPECT_EQ(resized->dimensions(), (LMSize{32, 24}));

    auto other = LMContext::contextWithDimensions({32, 24});
    other->setCachingEnabled(true);
    auto elsewhere = filter->drawWithContext(other);
    EXPECT_EQ(elsewhere->context(), other);
    expectNear(centre(elsewhere), {0.2, 0.4, 0.6, 1});

    filter->setUsesCustomOutputSize(true);
    filter->setCustomOutputSize({16, 12});
    auto custom = filter->drawWithContext(other);
    EXPECT_EQ(custom->dimensions(), (LMSize{16, 12}));
    EXPECT_EQ(filter->drawWithContext(other), custom);
    filter->setCustomOutputSize({8, 6});
    EXPECT_EQ(filter->drawWithContext(other)->dimensions(), (LMSize{8, 6}));
}

TEST_F(Filters, RedrawMarksTravelUpFromEveryInput)
{
    auto first = std::make_shared<CountingSource>(LMRGBA::redColor());
    auto second = std::make_shared<CountingSource>(LMRGBA::greenColor());
    auto filter = TwoInputs::filter();
    filter->setInputA(first);
    filter->setInputB(second);
    filter->drawWithContext(context);
    EXPECT_FALSE(filter->updateNeedsRedraw());

    second->flag = true;
    first->asked = 0;
    EXPECT_TRUE(filter->updateNeedsRedraw());
    EXPECT_EQ(first->asked, 1) << "every input is asked";
    second->flag = false;
    EXPECT_TRUE(filter->updateNeedsRedraw()) << "only a draw clears the flag";

    // Through a chain of filters.
    auto top = Passing::filterWithInput(Passing::filterWithInput(first));
    top->drawWithContext(context);
    EXPECT_FALSE(top->updateNeedsRedraw());
    first->flag = true;
    EXPECT_TRUE(top->updateNeedsRedraw());
}

TEST_F(Filters, CustomOutputSizeSetsDimensionsAndTheInputTransform)
{
    auto big = LMContext::contextWithDimensions({1280, 720});
    auto geometry = Geometry::filter();
    geometry->setUsesCustomOutputSize(true);
    geometry->setCustomOutputSize({320, 240});
    auto image = geometry->drawWithContext(big);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->dimensions(), (LMSize{320, 240}));
    const LMRGBA small = centre(image);
    EXPECT_NEAR(small.red, 320 / 2000.0, oneStep);
    EXPECT_NEAR(small.green, 1280 / 2000.0, oneStep);

    // Half the size, stretched: output (100, 50) comes from input (200, 100).
    geometry->setCustomOutputSize({640, 360});
    const LMRGBA half = centre(geometry->drawWithContext(big));
    EXPECT_NEAR(half.blue, 0.2 + 0.001, oneStep);

    // The custom-size quad spans the whole input: there lm_location is (201, 101).
    auto location = Location::filter();
    location->setUsesCustomOutputSize(true);
    location->setCustomOutputSize({640, 360});
    const auto at = location->drawWithContext(big)->readPixelColorAtX(100, 50);
    ASSERT_TRUE(at);
    EXPECT_NEAR(at->red, 201 / 2000.0, oneStep);
    EXPECT_NEAR(at->green, 101 / 2000.0, oneStep);

    // At the context's own size the transform is the identity.
    geometry->setUsesCustomOutputSize(false);
    const LMRGBA own = centre(geometry->drawWithContext(big));
    EXPECT_NEAR(own.red, 1280 / 2000.0, oneStep);
    EXPECT_NEAR(own.blue, 0.1 + 0.0005, oneStep);
}

TEST_F(Filters, ShareOneProgramPerClassAndContextAndDrawWithEitherOfTwoContexts)
{
    auto one = Passing::filterWithInput(LMColor::redColor());
    auto two = Passing::filterWithInput(LMColor::blueColor());
    one->drawWithContext(context);
    two->drawWithContext(context);
    EXPECT_EQ(one->program(), two->program());
    EXPECT_EQ(context->programCache().size(), 1u);
    EXPECT_TRUE(context->hasProgramWithName("(anonymous namespace)::Passing"));

    // One instance alternating between two living contexts, at a custom size too.
    auto second = LMContext::contextWithDimensions({40, 30});
    one->setUsesCustomOutputSize(true);
    one->setCustomOutputSize({20, 10});
    for (int round = 0; round < 2; ++round) {
        for (const auto& target : {context, second}) {
            auto image = one->drawWithContext(target);
            ASSERT_TRUE(image);
            EXPECT_EQ(image->context(), target);
            expectNear(centre(image), {1, 0, 0, 1});
            EXPECT_EQ(one->program(), target->getProgramWithName("(anonymous namespace)::Passing"));
        }
    }
    EXPECT_EQ(pendingGLError(*context), static_cast<GLenum>(GL_NO_ERROR));
}

TEST_F(Filters, KernelThatFailsToCompileIsLoggedAndDrawsWithoutCrashing)
{
    class Broken : public LMFilterClass<Broken> {
    public:
        std::string kernelSource() const override { return "void main() { lm_output = lm_nothing; }"; }
    };
    LogCapture capture;
    auto image = Broken::filter()->drawWithContext(context);
    ASSERT_TRUE(image) << "the filter still draws";
    expectNear(centre(image), {0, 0, 0, 1});
    // A filter with no kernel of its own compiles and draws black.
    expectNear(centre(DefaultFilter::filter()->drawWithContext(context)), {0, 0, 0, 1});
    ASSERT_EQ(capture.lines().size(), 1u) << "the compile failure, and nothing after it";
    EXPECT_NE(capture.lines()[0].find("Broken failed to compile: "), std::string::npos) << capture.lines()[0];
}

TEST_F(Filters, QuadStateIsDeletedOnItsContextWhenTheFilterGoes)
{
    GLuint vertexArray = 0, buffer = 0;
    {
        auto filter = Passing::filterWithInput(LMColor::whiteColor());
        filter->setUsesCustomOutputSize(true);
        filter->setCustomOutputSize({16, 16});
        filter->drawWithContext(context);
        vertexArray = filter->vaoState()->ourVAO()->number();
        buffer = filter->vaoState()->ourVBO()->number();
    }
    EXPECT_FALSE(isGLObject(*context, glIsVertexArray, vertexArray));
    EXPECT_FALSE(isGLObject(*context, glIsBuffer, buffer));

    // A filter that outlives its context calls nothing when it goes.
    auto orphan = Passing::filterWithInput(LMColor::whiteColor());
    orphan->setUsesCustomOutputSize(true);
    orphan->drawWithContext(context);
    context.reset();
    orphan = nullptr;
}

TEST(IsCompatible, RefusesOnlyImagesOfAnotherSize)
{
    auto context = LMContext::contextWithDimensions({20, 10});
    EXPECT_TRUE(isCompatible(LMColor::redColor(), context));
    EXPECT_TRUE(isCompatible(Passing::filter(), context));
    EXPECT_TRUE(isCompatible(LMImage::imageWithContext(context), context));
    EXPECT_FALSE(isCompatible(LMImage::imageWithContext(context, {20, 11}), context));
    EXPECT_TRUE(isCompatible(LMValue(), context));
    EXPECT_TRUE(isCompatible(LMValue(4.0), context));
}
