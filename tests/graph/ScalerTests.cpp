#include <lumetra/graph/LMScalerFill.h>
#include <lumetra/graph/LMScalerStretch.h>

#include <gtest/gtest.h>

#include <cmath>

TEST(LMAffineTransform, AppliesNewOperationsToPointsFirstAndInverts)
{
    LMAffineTransform transform;
    transform.translateXBy(10, 0).scaleBy(2);
    EXPECT_EQ(transform.transformPoint({1, 1}), (LMPoint{12, 2})) << "scaled, then translated";
    LMAffineTransform other;
    other.scaleBy(2).translateXBy(10, 0);
    EXPECT_EQ(other.transformPoint({1, 1}), (LMPoint{22, 2})) << "translated, then scaled";

    LMAffineTransform mixed;
    mixed.translateXBy(7, -3).rotateByDegrees(30).scaleXBy(2, 0.5);
    LMAffineTransform inverse = mixed;
    const LMPoint back = inverse.invert().transformPoint(mixed.transformPoint({5, 9}));
    EXPECT_NEAR(back.x, 5, 1e-9);
    EXPECT_NEAR(back.y, 9, 1e-9);
    LMAffineTransform singular;
    EXPECT_TRUE(singular.scaleXBy(0, 1).invert().isIdentity());
}

// Stretch fills the viewport and scales each axis on its own; fill keeps the
// aspect, centres and crops. Sizes that cannot be used give the full viewport
// and the identity.
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
    for (const LMSize bad : {LMSize{0, 100}, LMSize{100, 0}, LMSize{-5, 10}, LMSize{NAN, 10}, LMSize{INFINITY, 10}}) {
        for (const LMScaler* scaler : {static_cast<const LMScaler*>(&fill), static_cast<const LMScaler*>(&stretch)}) {
            EXPECT_EQ(scaler->vertexPositionRectForInputSize(bad, {100, 100}), full);
            EXPECT_EQ(scaler->vertexPositionRectForInputSize({100, 100}, bad), full);
            EXPECT_TRUE(scaler->transformForInputSize(bad, {100, 100}).isIdentity());
            EXPECT_TRUE(scaler->transformForInputSize({100, 100}, bad).isIdentity());
        }
    }
}
