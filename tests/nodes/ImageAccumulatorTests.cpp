#include "support/LogCapture.h"

#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

TEST(ImageAccumulators, RefuseImagesOnceTheirContextHasGone)
{
    LogCapture capture;
    auto context = LMContext::contextWithDimensions({16, 16});
    auto accumulator = LMImageAccumulator::accumulatorWithContext(context);
    accumulator->setImage(LMColor::redColor());
    auto kept = accumulator->image();
    capture.clear();
    context.reset();
    accumulator->setImage(LMColor::blueColor());
    EXPECT_EQ(accumulator->image(), kept);
    EXPECT_EQ(capture.lines(), (std::vector<std::string>{"LMImageAccumulator: Image was set before context."}))
        << "the accumulator does not keep its context alive";
}

TEST(ImageAccumulators, KeepTheImageForTheirContextAtItsSize)
{
    auto context = LMContext::contextWithDimensions({48, 24});
    auto accumulator = LMImageAccumulator::accumulatorWithContext(context);
    auto colour = LMColor::redColor();
    accumulator->setImage(colour);
    auto kept = accumulator->image();
    ASSERT_TRUE(kept);
    EXPECT_EQ(kept->dimensions(), context->dimensions());
    EXPECT_FALSE(accumulator->updateNeedsRedraw()) << "setting an image marks nothing";
    EXPECT_EQ(accumulator->drawWithContext(context), kept);

    // The graph redraws; what was kept is not drawn over.
    colour->setColor(LMRGBA::greenColor());
    colour->setLastImage(nullptr);
    EXPECT_EQ(colour->drawWithContext(context)->readPixelColorAtX(1, 1), LMRGBA::greenColor());
    EXPECT_EQ(kept->readPixelColorAtX(1, 1), LMRGBA::redColor());

    auto twin = LMContext::contextWithDimensions({48, 24});
    auto elsewhere = accumulator->drawWithContext(twin);
    EXPECT_EQ(elsewhere->context(), twin);
    EXPECT_EQ(elsewhere->readPixelColorAtX(1, 1), LMRGBA::blackColor());

    context->setDimensions({20, 20});
    auto resized = accumulator->drawWithContext(context);
    EXPECT_EQ(resized->dimensions(), (LMSize{20, 20}));
    EXPECT_EQ(resized->readPixelColorAtX(1, 1), LMRGBA::blackColor());
    context->setDimensions({48, 24});
    EXPECT_EQ(accumulator->drawWithContext(context), kept) << "the kept image was not dropped";

    accumulator->setNeedsRedraw(true);
    accumulator->drawWithContext(twin);
    EXPECT_FALSE(accumulator->updateNeedsRedraw()) << "every draw clears the flag";
}

// A passthrough stores what its input answers; drawn first, its red input
// would answer false.
TEST(ImageAccumulators, LetACachingNodeUpdateItsFlagBeforeDrawingWhenCachingIsOn)
{
    auto context = LMContext::contextWithDimensions({8, 8});
    auto accumulator = LMImageAccumulator::accumulatorWithContext(context);
    auto uncached = LMPassthrough::passthroughWithInput(LMColor::redColor());
    accumulator->setImage(uncached);
    EXPECT_FALSE(uncached->needsRedraw());

    context->setCachingEnabled(true);
    auto cached = LMPassthrough::passthroughWithInput(LMColor::redColor());
    accumulator->setImage(cached);
    EXPECT_TRUE(cached->needsRedraw());
    EXPECT_EQ(accumulator->image()->readPixelColorAtX(0, 0), LMRGBA::redColor());
}
