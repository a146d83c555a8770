#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

#include <cmath>

namespace {

// Read-back is 8 bits a channel: half a step of rounding, plus the 16-bit
// targets and single-precision shading.
constexpr double tolerance = 0.6 / 255.0;

// What a 16-bit target stores for a colour component.
double stored(double component)
{
    return std::round(std::clamp(component, 0.0, 1.0) * 65535.0) / 65535.0;
}

LMRGBA at(const std::shared_ptr<LMImage>& image, int x, int y)
{
    return image->readPixelColorAtX(x, y).value_or(LMRGBA{-1, -1, -1, -1});
}

void expectColor(LMRGBA actual, double red, double green, double blue, const std::string& what = "")
{
    EXPECT_NEAR(actual.red, red, tolerance) << what;
    EXPECT_NEAR(actual.green, green, tolerance) << what;
    EXPECT_NEAR(actual.blue, blue, tolerance) << what;
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

class BuiltInFilters : public testing::Test {
protected:
    std::shared_ptr<LMContext> context = LMContext::contextWithDimensions({100, 100});
};

} // namespace

TEST_F(BuiltInFilters, PerPixelKernelsComputeTheirFormulas)
{
    expectColor(at(LMFilterInvert::filterWithInput(LMColor::colorWithRed(0.2, 0.5, 1.0))->drawWithContext(context), 3, 3),
                1 - stored(0.2), 1 - stored(0.5), 0.0, "invert");
    expectColor(
        at(LMFilterMaxComponent::filterWithInput(LMColor::colorWithRed(0.2, 0.7, 0.4))->drawWithContext(context), 3, 3),
        stored(0.7), stored(0.7), stored(0.7), "max component");

    auto max2 = LMFilterMax2::filter();
    max2->setInputA(LMColor::colorWithRed(0.2, 0.9, 0.1));
    max2->setInputB(LMColor::colorWithRed(0.5, 0.3, 0.1));
    expectColor(at(max2->drawWithContext(context), 3, 3), stored(0.5), stored(0.9), stored(0.1), "max2");

    auto fader = LMFilterFader::filterWithInput(LMColor::colorWithRed(0.8, 0.6, 0.2));
    fader->setControl(0.5);
    expectColor(at(fader->drawWithContext(context), 3, 3), stored(0.8) / 2, stored(0.6) / 2, stored(0.2) / 2, "fader");
}

TEST_F(BuiltInFilters, SRGBConversionsFollowTheirCurvesAndThresholds)
{
    auto toSRGB = [](double c) { return c >= 0.00313 ? std::pow(c, 0.4167) * 1.055 - 0.055 : c * 12.92; };
    auto fromSRGB = [](double c) { return c >= 0.04045 ? std::pow(c * 0.9479 + 0.05213, 2.4) : c * 0.0774; };
    for (double value : {0.0, 0.002, 0.00313, 0.04, 0.04045, 0.5, 1.0}) {
        auto source = LMColor::colorWithRed(value, value, value);
        // The threshold is applied to what the 16-bit input target holds.
        const double input = stored(value);
        const double encoded = at(LMFilterConvertToSRGB::filterWithInput(source)->drawWithContext(context), 1, 1).red;
        EXPECT_NEAR(encoded, stored(toSRGB(input)), tolerance) << "to sRGB " << value;
        const double decoded = at(LMFilterConvertFromSRGB::filterWithInput(source)->drawWithContext(context), 1, 1).red;
        EXPECT_NEAR(decoded, stored(fromSRGB(input)), tolerance) << "from sRGB " << value;
    }
    EXPECT_NEAR(toSRGB(0.002), 0.02584, 1e-5);
    EXPECT_NEAR(fromSRGB(0.04), 0.003096, 1e-6);
}

TEST_F(BuiltInFilters, CircleMasksPixelCentresWithinTheRadius)
{
    auto circle = LMFilterCircle::filter();
    expectColor(at(circle->drawWithContext(context), 0, 0), 0, 0, 0, "a new circle is black");
    EXPECT_EQ(circle.proxy()->watchedMethods(), (std::vector<std::string>{"setRadius:", "setCenterVector:"}));

    circle->setCenter({50, 50});
    circle->setRadius(10);
    auto image = circle->drawWithContext(context);
    expectColor(at(image, 50, 50), 1, 1, 1, "centre");
    expectColor(at(image, 59, 50), 1, 1, 1, "distance 9.5");
    expectColor(at(image, 60, 50), 0, 0, 0, "distance 10.5");

    // Centred on a pixel centre, a pixel at exactly the radius is inside.
    circle->setCenterVector({50.5, 50.5});
    EXPECT_EQ(circle->center().x, 50.0) << "the vector does not move the point";
    image = circle->drawWithContext(context);
    expectColor(at(image, 50, 60), 1, 1, 1, "distance exactly 10");
    expectColor(at(image, 60, 50), 1, 1, 1, "distance exactly 10");
    expectColor(at(image, 57, 58), 0, 0, 0, "distance 10.6");

    circle->setCenter({12.5, 7.0});
    EXPECT_EQ(circle->centerVector(), (std::vector<double>{12.5, 7.0}));
    circle->setRadius(-3);
    expectColor(at(circle->drawWithContext(context), 12, 7), 0, 0, 0, "a negative radius is black");
}

TEST_F(BuiltInFilters, TransformMovesTheInputWithWrapAround)
{
    auto transform = LMFilterTransform::filterWithInput(Ramp::filter());
    EXPECT_EQ(transform.proxy()->watchedMethods(), (std::vector<std::string>{"setInput:", "setTransformMatrix:"}));
    expectColor(at(transform->drawWithContext(context), 30, 40), 0.305, 0.405, 0, "identity");

    LMAffineTransform move;
    move.translateXBy(10, 0);
    transform->setTransform(move);
    auto moved = transform->drawWithContext(context);
    expectColor(at(moved, 30, 40), 0.205, 0.405, 0, "moved right by 10");
    expectColor(at(moved, 5, 40), 0.955, 0.405, 0, "the left columns show the right edge");

    LMAffineTransform scale;
    scale.scaleBy(2);
    transform->setTransform(scale);
    EXPECT_EQ(transform->transformMatrix(), (std::vector<double>{0.5, 0, 0, 0, 0.5, 0, 0, 0, 1}));
    expectColor(at(transform->drawWithContext(context), 20, 20), 0.1025, 0.1025, 0, "scaled about the corner");

    // Rotated a quarter turn: output (x, y) shows input (y, -x), wrapped.
    LMAffineTransform rotation;
    rotation.rotateByDegrees(90);
    transform->setTransform(rotation);
    expectColor(at(transform->drawWithContext(context), 30, 40), 0.405, (100 - 30.5) / 100, 0, "rotated");

    LMAffineTransform singular;
    singular.scaleXBy(0, 1);
    transform->setTransform(singular);
    EXPECT_EQ(transform->mat(), LMFloatMatrix3::identity());
    expectColor(at(transform->drawWithContext(context), 30, 40), 0.305, 0.405, 0, "singular shows the input");

    // The list alone drives the kernel.
    transform->setTransformMatrix({1, 0, 0, 0, 1, 0, -20, 0, 1});
    EXPECT_EQ(transform->mat(), LMFloatMatrix3::identity());
    EXPECT_EQ(transform->transform(), singular);
    expectColor(at(transform->drawWithContext(context), 30, 40), 0.105, 0.405, 0, "matrix set directly");
}

// The transform filter's singular case covers a zero determinant.
TEST(LMFloatMatrix3, InvertsInSinglePrecision)
{
    const LMFloatMatrix3 matrix{{2, 1, 0, -1, 3, 0, 5, 7, 1}};
    const LMFloatMatrix3 inverse = matrix.inverted();
    // matrix × inverse = identity, column by column.
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) {
            float sum = 0;
            for (int k = 0; k < 3; ++k)
                sum += matrix.m[k * 3 + row] * inverse.m[column * 3 + k];
            EXPECT_NEAR(sum, row == column ? 1.0f : 0.0f, 1e-6f);
        }
    }
}

// invert -> fader -> to sRGB and a circle meet in max2. With caching on, a
// change to the circle redraws the circle and max2 only.
TEST_F(BuiltInFilters, OnlyTheChangedBranchOfAChainRedraws)
{
    context->setCachingEnabled(true);
    auto invert = LMFilterInvert::filterWithInput(LMColor::colorWithRed(0.75, 0.5, 0.25));
    auto fader = LMFilterFader::filterWithInput(invert);
    fader->setControl(0.5);
    auto encode = LMFilterConvertToSRGB::filterWithInput(fader);
    auto circle = LMFilterCircle::filter();
    circle->setCenter({50, 50});
    circle->setRadius(20);
    auto top = LMFilterMax2::filter();
    top->setInputA(encode);
    top->setInputB(circle);

    auto frame = [&] {
        top->updateNeedsRedraw();
        return top->drawWithContext(context);
    };
    auto first = frame();
    auto encoded = encode->cachedOutput();
    auto mask = circle->cachedOutput();
    EXPECT_EQ(frame(), first) << "nothing changed";

    circle->setRadius(30);
    auto second = frame();
    EXPECT_NE(second, first);
    EXPECT_NE(circle->cachedOutput(), mask);
    EXPECT_EQ(encode->cachedOutput(), encoded) << "the untouched branch was not redrawn";

    // Each node's output as its 16-bit target holds it: inverted, halved, encoded.
    auto branch = [](double c) { return stored(std::pow(stored(stored(1 - stored(c)) * 0.5), 0.4167) * 1.055 - 0.055); };
    expectColor(at(second, 5, 5), branch(0.75), branch(0.5), branch(0.25), "outside the circle");
    expectColor(at(second, 50, 75), 1, 1, 1, "inside the grown circle");
}
