#include "support/GLObjects.h"
#include "support/LogCapture.h"
#include "support/PixelsInOut.h"

#include <lumetra/lumetra_authoring.h>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <thread>
#include <tuple>

namespace {

constexpr double oneStep = 1.0 / 255.0;

// Red from inputA, green from inputB, blue the control plus offset.x; offset
// is a watched uniform, and setShift an unwatched setter that stores it.
class TwoInputs : public LMFilterClass<TwoInputs> {
public:
    std::string kernelSource() const override
    {
        return "void main() { lm_output = vec3(texture(lm_inputA, lm_location).r, "
               "texture(lm_inputB, lm_location).g, lm_control + lm_offset.x); }";
    }
    std::vector<std::string> inputNames() const override { return {"inputA", "inputB"}; }
    std::vector<std::string> controlNames() const override { return {"control"}; }
    std::vector<std::shared_ptr<LMUniform>> otherUniforms() const override
    {
        return {LMVector2::vectorWithName("offset")};
    }

    std::optional<double> control() const { return numberProperty("control"); }
    void setInputA(std::shared_ptr<LMDrawable> input) { setProperty("inputA", std::move(input)); }
    void setInputB(std::shared_ptr<LMDrawable> input) { setProperty("inputB", std::move(input)); }
    void setControl(std::optional<double> value) { setProperty("control", value ? LMValue(*value) : LMValue()); }
    void setOffset(std::vector<double> offset) { setProperty("offset", std::move(offset)); }
    void setShift(double x)
    {
        announceSetter("setShift:");
        setOffset({x, 0});
    }
    void setLabel(std::string label) { setProperty("label", std::move(label)); }
};

// Red and green: where in the input (up to 255 pixels) each output pixel is
// drawn from. Blue: (lm_toInputCoords(lm_targetDimensions).x +
// lm_contextDimensions.x) / 512, the input's width at the output's far edge
// plus the context's width.
class Location : public LMFilterClass<Location> {
public:
    std::string kernelSource() const override
    {
        return "void main() { lm_output = vec3(lm_location / 256.0,"
               " (lm_toInputCoords(lm_targetDimensions).x + lm_contextDimensions.x) / 512.0); }";
    }
    bool automaticallyCreatesContextDimensionsUniform() const override { return true; }
    bool automaticallyCreatesTargetDimensionsUniform() const override { return true; }
};

// The colour at (x, y), to a step of the 8-bit read-back.
void expectColor(const std::shared_ptr<LMImage>& image, LMRGBA expected, const char* what = "", int x = 5, int y = 5)
{
    ASSERT_TRUE(image) << what;
    const LMRGBA actual = image->readPixelColorAtX(x, y).value_or(LMRGBA{-1, -1, -1, -1});
    EXPECT_NEAR(actual.red, expected.red, oneStep) << what;
    EXPECT_NEAR(actual.green, expected.green, oneStep) << what;
    EXPECT_NEAR(actual.blue, expected.blue, oneStep) << what;
}

class Broken : public LMFilterClass<Broken> {
public:
    std::string kernelSource() const override { return "void main() { lm_output = lm_nothing; }"; }
};

class Filters : public testing::Test {
protected:
    std::shared_ptr<LMContext> context = LMContext::contextWithDimensions({64, 48});
};

} // namespace

// Red from the first input's unit, green from the second's, blue the control
// plus the uniform.
TEST_F(Filters, DrawWithEachInputOnItsOwnUnitAndEveryUniformUploaded)
{
    const Pixels a = pixelsOf(64, 48, [](int x, int y) { return Pixel{uint8_t(x * 4), uint8_t(y), 9, 255}; });
    const Pixels b = pixelsOf(64, 48, [](int x, int y) { return Pixel{7, uint8_t(y * 5), uint8_t(x), 255}; });
    auto filter = TwoInputs::filter();
    filter->setInputA(imageOf(context, a)), filter->setInputB(imageOf(context, b));
    filter->setControl(0.25), filter->setOffset({0.5, 0});
    const Pixels expected = pixelsOf(64, 48, [&](int x, int y) {
        return Pixel{a.at(x, y)[0], b.at(x, y)[1], 191, 255};
    });
    EXPECT_TRUE(samePixels(drawnPixels(filter, context), expected));
}

// A control unset or of the wrong kind counts as 0; an input missing, of the
// wrong kind, or an image of another size, reads black. A value of the wrong
// kind is reported once.
TEST_F(Filters, ReadMissingValuesAndValuesOfTheWrongKindAsAbsent)
{
    auto filter = TwoInputs::filter();
    auto green = LMColor::greenColor()->drawWithContext(context);
    filter->setInputA(LMColor::redColor()), filter->setInputB(green), filter->setControl(0.25);
    filter->setOffset({0.5, 0}), filter->setControl(std::nullopt), filter->setInputA(nullptr);
    expectColor(filter->drawWithContext(context), {0, 1, 0.5, 1}, "missing");
    LogCapture capture;
    filter->setValueForKey(3.0, "inputA"), filter->setValueForKey("loud", "control");
    expectColor(filter->drawWithContext(context), {0, 1, 0.5, 1}, "of the wrong kind");
    filter->drawWithContext(context);
    EXPECT_EQ(
        capture.lines(),
        (std::vector<std::string>{
            "(anonymous namespace)::TwoInputs: The value of inputA is a number, not a drawable; treating it as absent",
            "(anonymous namespace)::TwoInputs: The value of control is a string, not a number; treating it as absent",
        }));
    context->setDimensions({64, 40});
    EXPECT_FALSE(isCompatible(green, context));
    expectColor(filter->drawWithContext(context), {0, 0, 0.5, 1}, "an image of another size");
}

// With caching on, a second draw hands back the first one's output, pulling
// and leasing nothing, unless the filter was marked or the output's size changed.
TEST_F(Filters, ReuseTheCachedOutputOnlyWhileItIsValid)
{
    auto source = LMPassthrough::passthroughWithInput(LMColor::colorWithRed(0.2, 0.4, 0.6));
    auto filter = LMFilterInvert::filterWithInput(source);
    const LMSize smaller{32, 24}, custom{8, 6};
    const std::tuple<const char*, bool, std::function<void()>, bool> steps[] = {
        {"caching off", false, [] {}, false},
        {"nothing changed", true, [] {}, true},
        {"marked", true, [&] { filter->setNeedsRedraw(true); }, false},
        {"the context resized", true, [&] { context->setDimensions(smaller); }, false},
        {"a custom size", true, [&] { filter->setUsesCustomOutputSize(true), filter->setCustomOutputSize(custom); },
         false},
        {"at the custom size again", true, [] {}, true},
    };
    for (const auto& [what, caching, step, reused] : steps) {
        context->setCachingEnabled(caching);
        auto before = filter->drawWithContext(context);
        const size_t pulls = source->count(), leased = context->renderTargetPool()->objectsUsed();
        step();
        auto after = filter->drawWithContext(context);
        EXPECT_EQ(after == before, reused) << what;
        EXPECT_EQ(after->dimensions(), (filter->usesCustomOutputSize() ? custom : context->dimensions()));
        EXPECT_TRUE(!reused || (source->count() == pulls && context->renderTargetPool()->objectsUsed() == leased))
            << what << ": a cached draw pulls and leases nothing";
    }
}

TEST_F(Filters, KeepACacheEntryProgramAndQuadForEachContext)
{
    context->setCachingEnabled(true);
    auto other = LMContext::contextWithDimensions({32, 24});
    other->setCachingEnabled(true);
    auto filter = LMFilterInvert::filterWithInput(LMColor::colorWithRed(0.2, 0.4, 0.6));
    for (const auto& target : {other, context, other}) {
        auto image = filter->drawWithContext(target);
        EXPECT_EQ(image->context(), target);
        expectColor(image, {0.8, 0.6, 0.4, 1});
        EXPECT_EQ(filter->program(), target->getProgramWithName("LMFilterInvert"));
        EXPECT_EQ(pendingGLError(*target), static_cast<GLenum>(GL_NO_ERROR));
    }
}

// A reader stays marked, whatever its inputs say after, until it is drawn.
TEST_F(Filters, AskEveryInputDownAChainWhetherToRedrawAndClearTheMarkOnlyByDrawing)
{
    auto first = LMFilterInvert::filterWithInput(LMColor::redColor());
    auto deep = LMFilterInvert::filterWithInput(LMColor::greenColor());
    auto second = LMFilterInvert::filterWithInput(deep);
    auto top = TwoInputs::filter();
    top->setInputA(first), top->setInputB(second);
    top->drawWithContext(context);
    EXPECT_FALSE(top->updateNeedsRedraw());
    first->setNeedsRedraw(true), deep->setNeedsRedraw(true);
    EXPECT_TRUE(top->updateNeedsRedraw());
    EXPECT_TRUE(second->needsRedraw()) << "the second input is asked although the first said yes";
    first->setNeedsRedraw(false), second->setNeedsRedraw(false), deep->setNeedsRedraw(false);
    EXPECT_TRUE(top->updateNeedsRedraw()) << "an input's cleared flag does not clear its reader's";
    top->drawWithContext(context);
    EXPECT_FALSE(top->updateNeedsRedraw());
    first->setNeedsRedraw(true);
    EXPECT_TRUE(top->updateNeedsRedraw()) << "the first input alone";
}

// Each step starts from a drawn, settled filter.
TEST_F(Filters, HandlesMarkTheFilterOnlyForWatchedSettersCalledThroughThem)
{
    auto filter = TwoInputs::filter();
    auto inner = TwoInputs::filter();
    inner->drawWithContext(context);
    std::shared_ptr<LMDrawable> asNode = filter; // in the graph the handle is the proxy
    const std::vector<double> offset{0.125, 0};
    const std::tuple<const char*, std::function<void()>, bool> steps[] = {
        {"a watched control", [&] { filter->setControl(0.25); }, true},
        {"reading and drawing mark nothing", [&] { (void)filter->control(), filter->drawWithContext(context); }, false},
        {"setShift is not watched, nor what it stores", [&] { filter->setShift(0.5); }, false},
        {"a watched uniform", [&] { filter->setOffset(offset); }, true},
        {"an unwatched setter", [&] { filter->setLabel("unwatched"); }, false},
        {"the key-value setter marks for any key", [&] { filter->setValueForKey("still unwatched", "label"); }, true},
        {"a call on the filter itself, on a thread with no handle call of its own, marks nothing",
         [&] { (void)filter->control(), std::thread([&] { filter.get()->setControl(0.5); }).join(); }, false},
        {"a handle's call inside another's marks its own filter",
         [&] { filter->setInputA(inner->drawWithContext(context)); }, true},
        {"a read inside a setter's call", [&] { filter->setControl(filter->control().value_or(0) + 0.25); }, true},
        {"the proxy's flag is the filter's", [&] { dynamic_cast<LMDrawableCaching&>(*asNode).setNeedsRedraw(true); },
         true},
    };
    for (const auto& [what, step, marks] : steps) {
        filter->drawWithContext(context);
        ASSERT_FALSE(filter->needsRedraw()) << what;
        step();
        EXPECT_EQ(filter->needsRedraw(), marks) << what;
    }
    EXPECT_FALSE(inner->needsRedraw());
    // Every setter stored its value: blue is the control, 0.75, plus the offset.
    expectColor(filter->drawWithContext(context), {0, 0, 0.875, 1});
}

// Each check reads output pixel (10, 5), drawn from a context of 200 by 100.
// Stretched, the input fills the output; filled, it keeps its aspect: the
// quad crops its sides, and is rebuilt when the input's or the output's size
// changes.
TEST_F(Filters, StretchOrFillTheInputOverACustomOutputSize)
{
    auto wide = LMContext::contextWithDimensions({200, 100});
    auto location = Location::filter();
    auto expectAt = [&](LMRGBA expected, const char* what) {
        expectColor(location->drawWithContext(wide), expected, what, 10, 5);
    };
    expectAt({10.5 / 256, 5.5 / 256, 400.0 / 512}, "at its own size");
    location->setUsesCustomOutputSize(true), location->setCustomOutputSize({100, 50});
    expectAt({21 / 256.0, 11 / 256.0, 400.0 / 512}, "stretched");
    location->setScaler(std::make_shared<LMScalerFill>()), location->setCustomOutputSize({100, 100});
    expectAt({60.5 / 256, 5.5 / 256, 350.0 / 512}, "filled");
    wide->setDimensions({100, 100});
    expectAt({10.5 / 256, 5.5 / 256, 200.0 / 512}, "the input resized");
    location->setCustomOutputSize({100, 50});
    expectAt({10.5 / 256, 30.5 / 256, 200.0 / 512}, "the output resized");
}

// A host can ask whether the program compiles.
TEST_F(Filters, WhoseKernelFailsToCompileDrawBlackAndLogItOnce)
{
    LogCapture capture;
    LMColor::whiteColor()->drawWithContext(context); // its white target goes back to the pool for the next draw
    auto broken = Broken::filter();
    expectColor(broken->drawWithContext(context), {0, 0, 0, 1});
    broken->drawWithContext(context);
    ASSERT_EQ(capture.lines().size(), 1u) << "the compile failure, and nothing after it";
    EXPECT_NE(capture.lines()[0].find("Broken failed to compile: "), std::string::npos) << capture.lines()[0];
    auto fresh = LMContext::contextWithDimensions({8, 8});
    EXPECT_FALSE(Broken::filter()->programIsUsableWithContext(fresh));
    EXPECT_TRUE(LMFilterInvert::filter()->programIsUsableWithContext(fresh));
}

// Rebuilt quads and the quad of a filter that goes are deleted on their context.
TEST_F(Filters, LeakNoGLObjectsForTheirQuads)
{
    auto filter = LMFilterInvert::filterWithInput(LMColor::whiteColor());
    filter->drawWithContext(context); // the context makes its own quad on the first draw
    auto live = [&] {
        return std::pair(liveGLObjects(*context, glIsVertexArray), liveGLObjects(*context, glIsBuffer));
    };
    const auto before = live();
    filter->setUsesCustomOutputSize(true);
    for (double width : {16, 20, 24}) {
        filter->setCustomOutputSize({width, 16});
        filter->drawWithContext(context);
    }
    filter = nullptr;
    EXPECT_EQ(live(), before);
}

TEST(LMAffineTransform, InvertsToTheMapBackOrForASingularOneToTheIdentity)
{
    const LMAffineTransform mixed = LMAffineTransform{}.translateXBy(7, -3).rotateByDegrees(30).scaleXBy(2, 0.5);
    const LMPoint back = LMAffineTransform(mixed).invert().transformPoint(mixed.transformPoint({5, 9}));
    EXPECT_NEAR(back.x, 5, 1e-9);
    EXPECT_NEAR(back.y, 9, 1e-9);
    EXPECT_TRUE(LMAffineTransform{}.scaleXBy(0, 1).invert().isIdentity());
}

// Stretch fills the viewport and scales each axis on its own; fill keeps the
// aspect, centres and crops.
TEST(LMScalers, PlaceTheInputOnTheOutput)
{
    const LMScalerFill fill;
    const LMScalerStretch stretch;
    const LMRect full{-1, -1, 2, 2};
    struct Case {
        const LMScaler& scaler;
        LMSize input, output;
        LMRect rect;
        LMAffineTransform transform;
    };
    const Case cases[] = {
        {stretch, {1280, 720}, {640, 480}, full, {0.5, 0, 0, 480.0 / 720, 0, 0}},
        {fill, {200, 100}, {100, 100}, {-2, -1, 4, 2}, {1, 0, 0, 1, -50, 0}},
        {fill, {100, 200}, {100, 100}, {-1, -2, 2, 4}, {1, 0, 0, 1, 0, -50}},
        {fill, {200, 100}, {100, 50}, full, {0.5, 0, 0, 0.5, 0, 0}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.scaler.vertexPositionRectForInputSize(c.input, c.output), c.rect);
        EXPECT_EQ(c.scaler.transformForInputSize(c.input, c.output), c.transform);
    }
}

TEST(LMScalers, GiveTheFullViewportAndTheIdentityForSizesTheyCannotUse)
{
    const LMScalerFill fill;
    const LMScalerStretch stretch;
    for (const LMSize bad : {LMSize{0, 100}, LMSize{100, 0}, LMSize{-5, 10}, LMSize{NAN, 10}, LMSize{INFINITY, 10}})
        for (const LMScaler* scaler : {static_cast<const LMScaler*>(&fill), static_cast<const LMScaler*>(&stretch)})
            for (const auto& [input, output] : {std::pair{bad, LMSize{100, 100}}, std::pair{LMSize{100, 100}, bad}}) {
                EXPECT_EQ(scaler->vertexPositionRectForInputSize(input, output), (LMRect{-1, -1, 2, 2}));
                EXPECT_TRUE(scaler->transformForInputSize(input, output).isIdentity());
            }
}

// Each upload is read back from GL, in a program whose declarations are the
// ones the uniform objects write and which uses every uniform. A short list,
// or nothing, uploads zeros silently; a value of another kind uploads zeros
// and is reported once per uniform.
TEST_F(Filters, UniformsUploadTheirLeadingEntriesOrZeros)
{
    auto center = LMVector2::vectorWithName("center");
    auto tint = LMVector3::vectorWithName("tint");
    auto weights = LMVector4::vectorWithName("weights");
    auto matrix = LMMatrix3::matrixWithName("matrix");
    const std::string source = "#version 150\nout vec3 lm_output; " + center->uniformString() + tint->uniformString() +
                               weights->uniformString() + matrix->uniformString() +
                               "\nvoid main() { lm_output = vec3(lm_center, 0.0) + lm_tint + lm_weights.xyz * "
                               "lm_weights.w + lm_matrix * vec3(1.0); }\n";
    auto program = context->createProgramWithName("Uniforms", source.c_str());
    context->executeOpenGL([&] { program->useProgram(); }); // current for the calls below

    const std::vector<float> nineZeros(9, 0.0f), oneToNine{1, 2, 3, 4, 5, 6, 7, 8, 9};
    const std::tuple<LMUniform&, LMValue, std::vector<float>, const char*> cases[] = {
        {*center, LMValue{3.0, 4.0, 5.0}, {3, 4}, "entries past the second are ignored"},
        {*center, LMValue{7.0}, {0, 0}, "a short list is never read in part"},
        {*tint, LMValue{0.5, 0.25, 0.125}, {0.5, 0.25, 0.125}, "three numbers"},
        {*tint, LMValue(), {0, 0, 0}, "nothing"},
        {*weights, LMValue{1.0, 2.0, 3.0, 4.0}, {1, 2, 3, 4}, "four numbers"},
        // glGetUniformfv gives a mat3 column by column: as it was given.
        {*matrix, LMValue{1, 2, 3, 4, 5, 6, 7, 8, 9}, oneToNine, "nine numbers"},
        {*center, LMValue(5.0), {0, 0}, "a number"},
        {*center, LMValue{1.0, 2.0}, {1, 2}, "two numbers"},
        {*center, LMValue("not numbers"), {0, 0}, "a string, not reported again"},
        {*matrix, LMValue("nine numbers"), nineZeros, "a string"},
    };
    LogCapture capture;
    for (const auto& [uniform, value, expected, what] : cases) {
        // The location is asked on the GL queue, where the program's context is current.
        GLint location = -1;
        context->executeOpenGLNoContextSwitch(
            [&] { location = program->uniformLocation(uniformName(uniform.name())); });
        uniform.bindToLocation(location, value, context);
        std::vector<float> uploaded(expected.size(), -1.0f);
        context->executeOpenGLNoContextSwitch([&] { glGetUniformfv(program->number(), location, uploaded.data()); });
        EXPECT_EQ(uploaded, expected) << what;
    }
    EXPECT_EQ(capture.lines(), (std::vector<std::string>{
                                   "LMVector2: The value of center is a number, not a list of 2 numbers; using zeros",
                                   "LMMatrix3: The value of matrix is a string, not a list of 9 numbers; using zeros",
                               }));
}
