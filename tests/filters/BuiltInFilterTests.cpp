// Each built-in filter drawn over a small picture, every pixel of its output
// compared with the filter's formula computed here on the CPU.

#include "support/PixelsInOut.h"

#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

#include <tuple>

namespace {

// Six by four, every pixel unlike its neighbours, dark and bright channels both.
const Pixels picture = pixelsOf(6, 4, [](int x, int y) {
    return Pixel{uint8_t(x * 45 + 5), uint8_t(y * 80 + 3), uint8_t(250 - x * 20 - y * 30), 255};
});

// Caching is on: a setter that failed to mark its filter would show the image before.
class BuiltInFilters : public testing::Test {
protected:
    void SetUp() override { context->setCachingEnabled(true); }
    std::shared_ptr<LMContext> context = LMContext::contextWithDimensions({6, 4});
    std::shared_ptr<LMImage> input = imageOf(context, picture);
};

} // namespace

// One formula per filter, applied to every channel of every pixel.
TEST_F(BuiltInFilters, InvertFaderMax2AndMaxComponentFollowTheirFormulas)
{
    const Pixels other = pixelsOf(6, 4, [](int x, int y) {
        return Pixel{120, uint8_t(200 - y * 40), uint8_t(x * 50), 255};
    });
    auto fader = LMFilterFader::filterWithInput(input);
    fader->setControl(0.5);
    auto max2 = LMFilterMax2::filter();
    max2->setInputA(input);
    max2->setInputB(imageOf(context, other));
    const Pixels grey = pixelsOf(6, 4, [](int x, int y) {
        const Pixel p = picture.at(x, y);
        const uint8_t brightest = std::max({p[0], p[1], p[2]});
        return Pixel{brightest, brightest, brightest, 255};
    });
    const std::tuple<const char*, std::shared_ptr<LMDrawable>, Pixels> cases[] = {
        {"invert: 1 - c", LMFilterInvert::filterWithInput(input), perChannel(picture, [](double c) { return 1 - c; })},
        {"fader: c * control", fader, perChannel(picture, [](double c) { return c / 2; })},
        {"max2: the larger", max2, perChannel(picture, other, [](double a, double b) { return std::max(a, b); })},
        {"max component: the brightest channel as grey", LMFilterMaxComponent::filterWithInput(input), grey},
    };
    for (const auto& [what, filter, expected] : cases)
        EXPECT_TRUE(samePixels(drawnPixels(filter, context), expected)) << what;
}

// Levels each side of the curves' thresholds: from sRGB changes formula
// between bytes 10 and 11; to sRGB's threshold lies below the first byte
// above 0, so its input is first dimmed to a tenth.
TEST_F(BuiltInFilters, SRGBConversionsFollowTheirCurvesEachSideOfTheThreshold)
{
    const Pixels greys = pixelsOf(6, 4, [](int x, int y) {
        const uint8_t level =
            std::array<uint8_t, 24>{0,  1,  2,   5,   8,   9,   10,  11,  12,  16,  30,  50,
                                    70, 90, 110, 128, 150, 170, 190, 210, 230, 245, 254, 255}[size_t(y * 6 + x)];
        return Pixel{level, level, uint8_t(255 - level), 255};
    });
    auto greyImage = imageOf(context, greys);
    EXPECT_TRUE(samePixels(drawnPixels(LMFilterConvertFromSRGB::filterWithInput(greyImage), context),
                           perChannel(greys, fromSRGB)));
    auto dimmed = LMFilterFader::filterWithInput(greyImage);
    dimmed->setControl(0.1);
    EXPECT_TRUE(samePixels(drawnPixels(LMFilterConvertToSRGB::filterWithInput(dimmed), context),
                           perChannel(greys, [](double c) { return toSRGB(stored(c * 0.1)); })));
}

// A pixel is white when its centre lies within the radius of the centre.
// Centred on a pixel corner, the rim passes 9.5 and 10.5 pixels from some
// pixel centres; centred on a pixel centre, it passes through some exactly,
// and those are inside. A negative radius holds no pixel.
TEST_F(BuiltInFilters, CircleIsWhereThePixelCentresLieWithinTheRadius)
{
    context->setDimensions({24, 24});
    const std::tuple<const char*, LMPoint, double> cases[] = {{"on a pixel corner", {12, 12}, 10},
                                                              {"on a pixel centre", {12.5, 12.5}, 10},
                                                              {"small, near the edge", {2, 3}, 1},
                                                              {"a negative radius", {3, 2}, -3}};
    auto circle = LMFilterCircle::filter();
    for (const auto& [what, centre, radius] : cases) {
        circle->setCenter(centre);
        circle->setRadius(radius);
        const Pixels expected = pixelsOf(24, 24, [&](int x, int y) {
            return std::hypot(x + 0.5 - centre.x, y + 0.5 - centre.y) <= radius ? white : black;
        });
        EXPECT_TRUE(samePixels(drawnPixels(circle, context), expected)) << what;
    }
    circle->setRadius(10);
    circle->setCenterVector({12.5, 12.5});
    EXPECT_EQ(pixelsOf(circle->drawWithContext(context)).at(12, 22), white) << "a centre given as a list";
}

// Output pixel (x, y) shows the input pixel the inverse transform takes its
// centre to, the input tiling over the edges. New operations apply to
// points first, so the inverse undoes the last one given first.
TEST_F(BuiltInFilters, TransformMovesTurnsMirrorsAndScalesWholePixelsWithWrapAround)
{
    // The inverse, as {m11, m12, m21, m22, tX, tY}: where an output pixel centre lies in the input.
    const std::tuple<const char*, LMAffineTransform, LMAffineTransform> cases[] = {
        {"identity", {}, {}},
        {"moved by (2, 1)", LMAffineTransform{}.translateXBy(2, 1), {1, 0, 0, 1, -2, -1}},
        {"turned a quarter", LMAffineTransform{}.rotateByDegrees(90), {0, -1, 1, 0, 0, 0}},
        {"mirrored", LMAffineTransform{}.scaleXBy(-1, 1), {-1, 0, 0, 1, 0, 0}},
        {"a third as wide", LMAffineTransform{}.scaleXBy(1.0 / 3, 1), {3, 0, 0, 1, 0, 0}},
        {"turned, then moved", LMAffineTransform{}.translateXBy(2, 1).rotateByDegrees(90), {0, -1, 1, 0, -1, 2}},
    };
    auto transform = LMFilterTransform::filterWithInput(input);
    for (const auto& [what, affine, inverse] : cases) {
        transform->setTransform(affine);
        const Pixels expected = pixelsOf(6, 4, [&](int x, int y) {
            const LMPoint at = inverse.transformPoint({x + 0.5, y + 0.5});
            return picture.at(int(at.x - 6 * std::floor(at.x / 6)), int(at.y - 4 * std::floor(at.y / 4)));
        });
        EXPECT_TRUE(samePixels(drawnPixels(transform, context), expected)) << what;
    }
}

// Moved by (2, -1): what comes in from outside is the edge pixel or black,
// by the edge setting; a change of edge marks the filter (caching is on).
TEST_F(BuiltInFilters, TransformEdgeSaysWhatLiesOutsideTheImage)
{
    auto transform = LMFilterTransform::filterWithInput(input);
    transform->setTransform(LMAffineTransform{}.translateXBy(2, -1));
    const auto inside = [](int x, int y) { return x - 2 >= 0 && y + 1 < 4; };
    const std::tuple<const char*, Pixels> cases[] = {
        {"clamp", pixelsOf(6, 4, [](int x, int y) { return picture.at(std::max(x - 2, 0), std::min(y + 1, 3)); })},
        {"black", pixelsOf(6, 4,
                           [&](int x, int y) {
                               return inside(x, y) ? picture.at(x - 2, y + 1) : Pixel{0, 0, 0, 255};
                           })},
        {"tile", pixelsOf(6, 4, [](int x, int y) { return picture.at((x + 4) % 6, (y + 1) % 4); })},
    };
    for (const auto& [edge, expected] : cases) {
        transform->setEdge(edge);
        EXPECT_TRUE(samePixels(drawnPixels(transform, context), expected)) << edge;
    }
}

// Half a pixel over, each output pixel is the mean of the two input pixels
// it straddles; at the left edge the first column is clamped, not wrapped.
TEST_F(BuiltInFilters, TransformBlendsThePixelsAFractionalMoveStraddles)
{
    auto transform = LMFilterTransform::filterWithInput(input);
    transform->setTransform(LMAffineTransform{}.translateXBy(0.5, 0));
    const Pixels left = pixelsOf(6, 4, [](int x, int y) { return picture.at(std::max(x - 1, 0), y); });
    EXPECT_TRUE(samePixels(drawnPixels(transform, context),
                           perChannel(left, picture, [](double a, double b) { return (a + b) / 2; })));
}

// The kernel reads the list, whatever transform was set before it.
TEST_F(BuiltInFilters, TransformMatrixSetDirectlyDrivesTheKernel)
{
    auto transform = LMFilterTransform::filterWithInput(input);
    transform->setTransform(LMAffineTransform{}.rotateByDegrees(90));
    transform->setTransformMatrix({1, 0, 0, 0, 1, 0, 2, 0, 1}); // column by column: x + 2
    EXPECT_TRUE(samePixels(drawnPixels(transform, context),
                           pixelsOf(6, 4, [](int x, int y) { return picture.at((x + 2) % 6, y); })));
}
