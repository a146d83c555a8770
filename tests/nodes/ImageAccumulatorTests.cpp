#include "support/LogCapture.h"

#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

// The accumulator keeps what its input drew when the image was set, and hands
// it out only to its own context at that size; anywhere else it draws black.
TEST(ImageAccumulators, KeepTheImageForTheirContextAtItsSize)
{
    auto context = LMContext::contextWithDimensions({48, 24}), twin = LMContext::contextWithDimensions({48, 24});
    auto accumulator = LMImageAccumulator::accumulatorWithContext(context);
    auto colour = LMColor::redColor();
    accumulator->setImage(colour);
    auto kept = accumulator->image();
    EXPECT_FALSE(accumulator->updateNeedsRedraw()) << "setting an image marks nothing";
    EXPECT_EQ(accumulator->drawWithContext(context), kept);

    // The graph redraws; what was kept is not drawn over.
    colour->setColor(LMRGBA::greenColor());
    colour->setLastImage(nullptr);
    EXPECT_EQ(colour->drawWithContext(context)->readPixelColorAtX(1, 1), LMRGBA::greenColor());
    EXPECT_EQ(kept->readPixelColorAtX(1, 1), LMRGBA::redColor());

    EXPECT_EQ(accumulator->drawWithContext(twin)->readPixelColorAtX(1, 1), LMRGBA::blackColor());
    context->setDimensions({20, 20});
    EXPECT_EQ(accumulator->drawWithContext(context)->readPixelColorAtX(1, 1), LMRGBA::blackColor());
    context->setDimensions({48, 24});
    EXPECT_EQ(accumulator->drawWithContext(context), kept) << "the kept image was not dropped";

    accumulator->setNeedsRedraw(true);
    accumulator->drawWithContext(twin);
    EXPECT_FALSE(accumulator->updateNeedsRedraw()) << "every draw clears the flag";

    accumulator->setImage(nullptr);
    EXPECT_EQ(accumulator->drawWithContext(context)->readPixelColorAtX(1, 1), LMRGBA::blackColor());
}

// An accumulator whose context has gone keeps nothing new and says why.
TEST(ImageAccumulators, RefuseImagesOnceTheirContextHasGone)
{
    auto context = LMContext::contextWithDimensions({8, 8});
    auto accumulator = LMImageAccumulator::accumulatorWithContext(context);
    context.reset();
    LogCapture log;
    accumulator->setImage(LMColor::redColor());
    EXPECT_EQ(accumulator->image(), nullptr);
    EXPECT_EQ(log.lines(), std::vector<std::string>{"LMImageAccumulator: Image was set before context."});
}
