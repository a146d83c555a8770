// Crop, flip and rot move whole pixels: their outputs are compared exactly
// with the same moves made here on the CPU, on a picture whose every pixel
// differs, drawn in a context of another size (they work at their input's).

#include "support/PixelsInOut.h"

#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

namespace {

constexpr int width = 7, height = 5;

// Pixel (x, y) from the lower left holds x and y in two of its channels.
const Pixels picture = pixelsOf(width, height, [](int x, int y) {
    return Pixel{uint8_t(x * 30 + 7), uint8_t(y * 50 + 3), uint8_t(200 - x * 10 - y * 20), 255};
});

// The same picture counted from the top-left, as the filters' settings are.
Pixel fromTopLeft(int x, int y)
{
    return picture.at(x, height - 1 - y);
}

class GeometryFilters : public testing::Test {
protected:
    void SetUp() override { context->setCachingEnabled(true); }
    std::shared_ptr<LMContext> context = LMContext::contextWithDimensions({width, height});
    std::shared_ptr<LMImage> input = imageOf(context, picture);
};

} // namespace

TEST_F(GeometryFilters, CropFlipAndRotMoveWholePixels)
{
    auto crop = LMFilterCrop::filterWithInput(input);
    crop->setX(2), crop->setY(1), crop->setWidth(4), crop->setHeight(3);
    auto horizontal = LMFilterFlip::filterWithInput(input);
    auto vertical = LMFilterFlip::filterWithInput(input);
    vertical->setDirection("vertical");
    std::vector<std::tuple<std::string, std::shared_ptr<LMDrawable>, Pixels>> cases = {
        {"crop 4x3 at (2, 1)", crop, pixelsOf(4, 3, [](int x, int y) { return fromTopLeft(x + 2, 1 + (2 - y)); })},
        {"flip horizontal", horizontal,
         pixelsOf(width, height, [](int x, int y) { return picture.at(width - 1 - x, y); })},
        {"flip vertical", vertical,
         pixelsOf(width, height, [](int x, int y) { return picture.at(x, height - 1 - y); })},
    };
    // Clockwise, in GL's bottom-up pixels: output (x, y) reads the input at
    // 90: (width-1-y, x); 180: (width-1-x, height-1-y); 270: (y, height-1-x).
    for (const char* angle : {"90", "180", "270"}) {
        auto rot = LMFilterRotate::filterWithInput(input);
        rot->setAngle(angle);
        const std::string turn = angle;
        const bool quarter = turn != "180";
        cases.emplace_back("rot " + turn, rot,
                           pixelsOf(quarter ? height : width, quarter ? width : height, [&](int x, int y) {
                               if (turn == "90")
                                   return picture.at(width - 1 - y, x);
                               if (turn == "270")
                                   return picture.at(y, height - 1 - x);
                               return picture.at(width - 1 - x, height - 1 - y);
                           }));
    }
    for (const auto& [what, filter, expected] : cases)
        EXPECT_TRUE(samePixels(drawnPixels(filter, context), expected, 0)) << what;
}

// A crop reaching past the picture is cut to it, however far it reaches.
TEST_F(GeometryFilters, CropIsCutToItsInput)
{
    auto crop = LMFilterCrop::filterWithInput(input);
    crop->setX(5), crop->setY(3), crop->setWidth(100), crop->setHeight(100);
    EXPECT_TRUE(samePixels(drawnPixels(crop, context),
                           pixelsOf(2, 2, [](int x, int y) { return fromTopLeft(5 + x, 3 + (1 - y)); }), 0));
    crop->setX(1000), crop->setY(1000);
    EXPECT_TRUE(samePixels(drawnPixels(crop, context), pixelsOf(1, 1, [](int, int) { return fromTopLeft(6, 4); }), 0));
}

// One node to the host: the cached output comes back until a setting
// changes through the handle, and a size change reaches the filters after
// it when they are told their working size.
TEST_F(GeometryFilters, MultiPassFiltersCacheAndMarkLikeAnyFilter)
{
    auto rot = LMFilterRotate::filterWithInput(input);
    const std::shared_ptr<LMImage> first = rot->drawWithContext(context);
    EXPECT_EQ(rot->drawWithContext(context), first);
    rot->setAngle("180");
    EXPECT_TRUE(rot->needsRedraw());
    const Pixels turned = drawnPixels(rot, context);
    EXPECT_EQ(turned.width, width);

    auto quarter = LMFilterRotate::filterWithInput(input);
    auto invert = LMFilterInvert::filterWithInput(quarter);
    invert->setWorkingSize(LMSize{height, width});
    const Pixels expected = perChannel(drawnPixels(quarter, context), [](double c) { return 1 - c; });
    EXPECT_TRUE(samePixels(drawnPixels(invert, context), expected, 0));
    // Without it the 5 by 7 image is of another size than the context's: black, and said once.
    auto unaware = LMFilterInvert::filterWithInput(quarter);
    EXPECT_EQ(drawnPixels(unaware, context).width, width);
}

// Shrunk to 0.3 and turned, a one-pixel checkerboard is grey when the
// transform resamples first, and aliases into stripes when it does not.
TEST(TransformResampling, ShrinkingDoesNotAliasWhenResamplingIsOn)
{
    auto context = LMContext::contextWithDimensions({120, 90});
    const Pixels checks = pixelsOf(120, 90, [](int x, int y) { return (x + y) % 2 ? white : black; });
    auto transform = LMFilterTransform::filterWithInput(imageOf(context, checks));
    transform->setTransform(
        LMAffineTransform{}.translateXBy(60, 45).rotateByDegrees(20).scaleBy(0.3).translateXBy(-60, -45));
    transform->setEdge("clamp");
    auto spread = [&] {
        const Pixels drawn = drawnPixels(transform, context);
        int lowest = 255, highest = 0;
        for (int y = 35; y < 55; ++y)
            for (int x = 45; x < 75; ++x)
                lowest = std::min<int>(lowest, drawn.at(x, y)[0]), highest = std::max<int>(highest, drawn.at(x, y)[0]);
        return highest - lowest;
    };
    EXPECT_GT(spread(), 100);
    transform->setResample(true);
    EXPECT_LE(spread(), 3);
}
