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
    EXPECT_TRUE(transform.isIdentity());
    transform.translateXBy(10, 0).scaleBy(2);
    expectPoint(transform.transformPoint({1, 1}), {12, 2}); // scaled, then translated

    LMAffineTransform other;
    other.scaleBy(2).translateXBy(10, 0);
    expectPoint(other.transformPoint({1, 1}), {22, 2}); // translated, then scaled

    LMAffineTransform rotation;
    rotation.rotateByDegrees(90);
    expectPoint(rotation.transformPoint({1, 0}), {0, 1});

    LMAffineTransform stretch;
    stretch.scaleXBy(3, 5);
    expectPoint(stretch.transformPoint({1, 1}), {3, 5});

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

TEST(LMScalerStretch, CoversTheViewportAndScalesEachAxis)
{
    LMScalerStretch stretch;
    expectRect(stretch.vertexPositionRectForInputSize({1280, 720}, {640, 640}), {-1, -1, 2, 2});
    expectRect(stretch.vertexPositionRectForInputSize({3, 7}, {11, 5}), {-1, -1, 2, 2});

    LMAffineTransform transform = stretch.transformForInputSize({1280, 720}, {640, 360});
    EXPECT_EQ(transform, (LMAffineTransform{0.5, 0, 0, 0.5, 0, 0}));
    transform.invert();
    expectPoint(transform.transformPoint({100, 50}), {200, 100}); // output pixels back to input pixels
}

TEST(LMScalerFill, CentresAndCropsWhileKeepingTheAspect)
{
    LMScalerFill fill;
    struct Case {
        LMSize input, output;
        LMRect rect;
        LMAffineTransform transform;
    };
    const Case cases[] = {
        {{200, 100}, {100, 100}, {-2, -1, 4, 2}, {1, 0, 0, 1, -50, 0}},   // wider
        {{100, 200}, {100, 100}, {-1, -2, 2, 4}, {1, 0, 0, 1, 0, -50}},   // taller
        {{200, 100}, {100, 50}, {-1, -1, 2, 2}, {0.5, 0, 0, 0.5, 0, 0}},  // same aspect
    };
    for (const Case& c : cases) {
        expectRect(fill.vertexPositionRectForInputSize(c.input, c.output), c.rect);
        EXPECT_EQ(fill.transformForInputSize(c.input, c.output), c.transform);
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
