#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

#include <cmath>
#include <tuple>

namespace {

// What a 16-bit target stores for a colour component.
double stored(double component)
{
    return std::round(std::clamp(component, 0.0, 1.0) * 65535.0) / 65535.0;
}

// Read-back is 8 bits a channel: half a step of rounding, plus the 16-bit
// targets and single-precision shading.
void expectColor(const std::shared_ptr<LMImage>& image, int x, int y, LMRGBA expected, const std::string& what)
{
    const LMRGBA actual = image->readPixelColorAtX(x, y).value_or(LMRGBA{-1, -1, -1, -1});
    EXPECT_NEAR(actual.red, expected.red, 0.6 / 255) << what;
    EXPECT_NEAR(actual.green, expected.green, 0.6 / 255) << what;
    EXPECT_NEAR(actual.blue, expected.blue, 0.6 / 255) << what;
}

// A source whose colour tells where a pixel came from: red is x / 100 and
// green is y / 100, in pixel-centre coordinates.
class Ramp : public LMFilterClass<Ramp> {
public:
    std::string kernelSource() const override
    {
        return "void main() { lm_output = vec3(lm_location.x / 100.0, lm_location.y / 100.0, 0.0); }";
    }
};

// Caching is on: a setter that failed to mark its filter would show the image before.
class BuiltInFilters : public testing::Test {
protected:
    void SetUp() override { context->setCachingEnabled(true); }
    std::shared_ptr<LMContext> context = LMContext::contextWithDimensions({100, 100});
};

} // namespace

TEST_F(BuiltInFilters, PerPixelKernelsComputeTheirFormulas)
{
    auto max2 = LMFilterMax2::filter();
    max2->setInputA(LMColor::colorWithRed(0.2, 0.9, 0.1));
    max2->setInputB(LMColor::colorWithRed(0.5, 0.3, 0.1));
    auto fader = LMFilterFader::filterWithInput(LMColor::colorWithRed(0.8, 0.6, 0.2));
    fader->setControl(0.5);
    std::vector<std::tuple<std::string, std::shared_ptr<LMDrawable>, LMRGBA>> cases = {
        {"invert",
         LMFilterInvert::filterWithInput(LMColor::colorWithRed(0.2, 0.5, 1.0)),
         {1 - stored(0.2), 1 - stored(0.5), 0, 1}},
        {"max component",
         LMFilterMaxComponent::filterWithInput(LMColor::colorWithRed(0.2, 0.4, 0.7)),
         {stored(0.7), stored(0.7), stored(0.7), 1}},
        {"max2", max2, {stored(0.5), stored(0.9), stored(0.1), 1}},
        {"fader", fader, {stored(0.8) / 2, stored(0.6) / 2, stored(0.2) / 2, 1}},
    };
    // The sRGB curves, each side of their thresholds (applied to what the input target holds).
    auto toSRGB = [](double c) { return stored(c >= 0.00313 ? std::pow(c, 0.4167) * 1.055 - 0.055 : c * 12.92); };
    auto fromSRGB = [](double c) { return stored(c >= 0.04045 ? std::pow(c * 0.9479 + 0.05213, 2.4) : c * 0.0774); };
    for (double value : {0.0, 0.002, 0.01, 0.04, 0.2, 0.5, 1.0}) {
        auto source = LMColor::colorWithRed(value, value, value);
        const double to = toSRGB(stored(value)), from = fromSRGB(stored(value));
        cases.emplace_back("to sRGB " + std::to_string(value), LMFilterConvertToSRGB::filterWithInput(source),
                           LMRGBA{to, to, to, 1});
        cases.emplace_back("from sRGB " + std::to_string(value), LMFilterConvertFromSRGB::filterWithInput(source),
                           LMRGBA{from, from, from, 1});
    }
    for (const auto& [what, node, expected] : cases)
        expectColor(node->drawWithContext(context), 3, 3, expected, what);
}

TEST_F(BuiltInFilters, CircleMasksPixelCentresWithinTheRadius)
{
    auto circle = LMFilterCircle::filter();
    circle->setRadius(10);
    const std::tuple<std::vector<double>, int, int, double, const char*> spots[] = {
        {{50, 50}, 50, 50, 1, "centre"},
        {{50, 50}, 59, 50, 1, "distance 9.5"},
        {{50, 50}, 60, 50, 0, "distance 10.5"},
        {{50.5, 50.5}, 50, 60, 1, "distance exactly 10"},
        {{50.5, 50.5}, 60, 50, 1, "distance exactly 10"},
        {{50.5, 50.5}, 57, 58, 0, "distance 10.6"},
    };
    for (const auto& [center, x, y, shade, what] : spots) {
        circle->setCenterVector(center);
        expectColor(circle->drawWithContext(context), x, y, {shade, shade, shade, 1}, what);
    }

    circle->setCenter({12.5, 7.0});
    EXPECT_EQ(circle->centerVector(), (std::vector<double>{12.5, 7.0}));
    circle->setRadius(-3);
    expectColor(circle->drawWithContext(context), 12, 7, {0, 0, 0, 1}, "a negative radius is black");
}

// Output (x, y) shows the input where the inverse transform takes it, the
// input tiling over the edges.
TEST_F(BuiltInFilters, TransformMovesTheInputWithWrapAround)
{
    auto transform = LMFilterTransform::filterWithInput(Ramp::filter());
    const LMAffineTransform move = LMAffineTransform{}.translateXBy(10, 0);
    // Output (30, 40) - (20, 10), turned back a quarter (y, -x), then halved: input (15.25, -5.25), wrapped.
    const LMAffineTransform mixed = LMAffineTransform{}.translateXBy(20, 10).rotateByDegrees(90).scaleBy(2);
    const std::tuple<LMAffineTransform, int, int, double, double, const char*> cases[] = {
        {{}, 30, 40, 0.305, 0.405, "identity"},
        {move, 30, 40, 0.205, 0.405, "moved right by 10"},
        {move, 5, 40, 0.955, 0.405, "the left columns show the right edge"},
        {mixed, 30, 40, 0.1525, 0.9475, "moved, turned and scaled"},
    };
    for (const auto& [affine, x, y, red, green, what] : cases) {
        transform->setTransform(affine);
        expectColor(transform->drawWithContext(context), x, y, {red, green, 0, 1}, what);
    }

    // The list alone drives the kernel.
    const LMFloatMatrix3 inverse = transform->mat();
    transform->setTransformMatrix({1, 0, 0, 0, 1, 0, -20, 0, 1});
    EXPECT_EQ(transform->mat(), inverse);
    EXPECT_EQ(transform->transform(), mixed);
    expectColor(transform->drawWithContext(context), 30, 40, {0.105, 0.405, 0, 1}, "matrix set directly");
}
