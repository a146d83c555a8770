#include "support/PixelsInOut.h"

#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

#include <thread>

namespace {

// Colours of whole bytes read back exactly, as byte / 255.
constexpr Pixel sky{64, 128, 255, 255};
constexpr LMRGBA skyColour = LMRGBA::fromBytes(64, 128, 255), redColour = LMRGBA::fromBytes(255, 0, 0);

Pixels filled(LMSize size, Pixel pixel)
{
    return pixelsOf(int(size.width), int(size.height), [=](int, int) { return pixel; });
}

class Images : public testing::Test {
protected:
    std::shared_ptr<LMContext> context = LMContext::contextWithDimensions({64, 48});
};

} // namespace

TEST_F(Images, OfAColourNodeAreOpaqueAndFillTheContext)
{
    auto image =
        LMColor::colorWithColor({skyColour.red, skyColour.green, skyColour.blue, 0.5})->drawWithContext(context);
    EXPECT_TRUE(samePixels(pixelsOf(image), filled({64, 48}, sky), 0)) << "alpha is never drawn";
    EXPECT_EQ(image->readPixelColorAtX(63, 47), skyColour);
    EXPECT_EQ(image->readPixelColorAtX(64, 0), LMRGBA::fromBytes(0, 0, 0)) << "outside reads black";
}

TEST_F(Images, OfAColourNodeAreReusedWhateverItsFlagUntilDropped)
{
    auto colour = LMColor::colorWithColor(skyColour);
    auto image = colour->drawWithContext(context);
    colour->setNeedsRedraw(true);
    colour->setColor(redColour);
    EXPECT_EQ(colour->drawWithContext(context), image) << "and setColor draws nothing";
    colour->setLastImage(nullptr);
    EXPECT_TRUE(samePixels(drawnPixels(colour, context), filled({64, 48}, red), 0)) << "the colour stored";
}

TEST_F(Images, OfAColourNodeAreDrawnAnewForAnotherSizeOrContext)
{
    auto colour = LMColor::redColor();
    colour->drawWithContext(context);
    context->setDimensions({32, 24});
    EXPECT_TRUE(samePixels(drawnPixels(colour, context), filled({32, 24}, red), 0));
    auto second = LMContext::contextWithDimensions({32, 24});
    auto elsewhere = colour->drawWithContext(second);
    EXPECT_EQ(elsewhere->context(), second);
    EXPECT_TRUE(samePixels(pixelsOf(elsewhere), filled({32, 24}, red), 0));
}

TEST_F(Images, HoldATargetOfTheirSizeUntilTheLastReferenceGoesOnAnyThread)
{
    auto pool = context->renderTargetPool();
    auto image = LMImage::imageWithContext(context, {16, 12});
    EXPECT_EQ(image->target()->dimensions(), (LMSize{16, 12}));
    EXPECT_EQ(image->drawWithContext(LMContext::contextWithDimensions({8, 8})), image) << "drawn as itself anywhere";
    auto holder = image;
    image.reset();
    EXPECT_EQ(pool->objectsUsed(), 1u) << "another holder keeps it";
    std::thread([image = std::move(holder)]() mutable { image.reset(); }).join();
    EXPECT_EQ(pool->objectsUsed(), 0u) << "let go on another thread";
}

// After its context has gone an image reads nothing and gives nothing back.
TEST_F(Images, WhoseContextHasGoneReadNothingAndGiveNothingBack)
{
    auto pool = context->renderTargetPool();
    auto orphan = LMColor::whiteColor()->drawWithContext(context);
    context.reset();
    EXPECT_EQ(orphan->context(), nullptr);
    EXPECT_FALSE(orphan->readPixelColorLowerLeft().has_value());
    orphan->bind();
    orphan.reset();
    EXPECT_EQ(pool->objectsUsed(), 1u);
}
