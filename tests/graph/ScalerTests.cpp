#include <lumetra/graph/LMScalerFill.h>
#include <lumetra/graph/LMScalerStretch.h>

#include <gtest/gtest.h>

#include <cmath>

namespace {

void expectRect(const LMRect& actual, const LMRect& expected)
{
    EXPECT_NEAR(actual.x, expected.x, 1e-9);
    EXPECT_NEAR(actual.y, expected.y, 1e-9);
    EXPECT_NEAR(actual.width, expected.width, 1e-9);
    EXPECT_NEAR(actual.height, expected.height, 1e-9);
}

void expectPoint(LMPoint actual, LMPoint expected)
{
    EXPECT_NEAR(actual.x, expected.x, 1e-9);
    EXPECT_NEAR(actual.y, expected.y, 1e-9);
}

} // namespace

TEST(LMAffineTransform, AppliesNewOperationsToPointsFirstAndInverts)
{
    LMAffineTransform transform;
    transform.translateXBy(10, 0).scaleBy(2);
    expectPoint(transform.transformPoint({1, 1}), {12, 2}); // scaled, then translated

    LMAffineTransform other;
    other.scaleBy(2).translateXBy(10, 0);
    expectPoint(other.transformPoint({1, 1}), {22, 2}); // translated, then scaled

    // Inverted, and the identity when singular.
    LMAffineTransform mixed;
    mixed.translateXBy(7, -3).rotateByDegrees(30).scaleXBy(2, 0.5);
    LMAffineTransform inverse = mixed;
    inverse.invert();
    expectPoint(inverse.transformPoint(mixed.transformPoint({5, 9})), {5, 9});

    LMAffineTransform singular;
    singular.scaleXBy(0, 1);
    EXPECT_TRUE(singular.invert().isIdentity());
}

// Stretch fills the viewport and scales each axis on its own; fill keeps the
// aspect, centres and crops.
TEST(LMScalers, PlaceTheInputOnTheOutput)
{
    LMScalerFill fill;
    LMScalerStretch stretch;
    struct Case {
        const LMScaler& scaler;
        LMSize input, output;
        LMRect rect;
        LMAffineTransform transform;
        const char* what;
    };
    const Case cases[] = {
        {stretch, {1280, 720}, {640, 480}, {-1, -1, 2, 2}, {0.5, 0, 0, 480.0 / 720, 0, 0}, "stretch"},
        {fill, {200, 100}, {100, 100}, {-2, -1, 4, 2}, {1, 0, 0, 1, -50, 0}, "fill, wider"},
        {fill, {100, 200}, {100, 100}, {-1, -2, 2, 4}, {1, 0, 0, 1, 0, -50}, "fill, taller"},
        {fill, {200, 100}, {100, 50}, {-1, -1, 2, 2}, {0.5, 0, 0, 0.5, 0, 0}, "fill, same aspect"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        expectRect(c.scaler.vertexPositionRectForInputSize(c.input, c.output), c.rect);
        EXPECT_EQ(c.scaler.transformForInputSize(c.input, c.output), c.transform);
    }

    const LMRect hd = fill.vertexPositionRectForInputSize({1920, 1080}, {640, 640});
    expectRect(hd, {-1920.0 / 1080.0, -1, 2 * 1920.0 / 1080.0, 2});
    expectPoint(fill.transformForInputSize({1920, 1080}, {640, 640}).transformPoint({960, 540}), {320, 320});
}

TEST(LMScalers, UnusableSizesGiveTheFullViewportAndTheIdentity)
{
    LMScalerFill fill;
    LMScalerStretch stretch;
    const LMSize bad[] = {{0, 100}, {100, 0}, {-5, 10}, {NAN, 10}, {INFINITY, 10}};
    for (const LMSize& size : bad) {
        for (const LMScaler* scaler : {static_cast<const LMScaler*>(&fill), static_cast<const LMScaler*>(&stretch)}) {
            expectRect(scaler->vertexPositionRectForInputSize(size, {100, 100}), {-1, -1, 2, 2});
            expectRect(scaler->vertexPositionRectForInputSize({100, 100}, size), {-1, -1, 2, 2});
            EXPECT_TRUE(scaler->transformForInputSize(size, {100, 100}).isIdentity());
            EXPECT_TRUE(scaler->transformForInputSize({100, 100}, size).isIdentity());
        }
    }
}
