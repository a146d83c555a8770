#include "support/LogCapture.h"

#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

// The accumulator keeps what its input drew when the image was set, and hands
// it out only to its own context at that size; anywhere else it draws black.
class ImageAccumulators : public testing::Test {
protected:
    void SetUp() override { accumulator->setImage(colour); }
    LMRGBA drawnAt(const std::shared_ptr<LMContext>& where)
    {
        return accumulator->drawWithContext(where)->readPixelColorAtX(1, 1).value_or(LMRGBA{});
    }

    std::shared_ptr<LMContext> context = LMContext::contextWithDimensions({48, 24});
    std::shared_ptr<LMImageAccumulator> accumulator = LMImageAccumulator::accumulatorWithContext(context);
    std::shared_ptr<LMColor> colour = LMColor::redColor();
};

TEST_F(ImageAccumulators, KeepWhatTheirInputDrewWhenSetThoughTheGraphRedraws)
{
    auto kept = accumulator->image();
    EXPECT_FALSE(accumulator->updateNeedsRedraw()) << "setting an image marks nothing";
    EXPECT_EQ(accumulator->drawWithContext(context), kept);
    colour->setColor(LMRGBA::greenColor());
    colour->setLastImage(nullptr);
    EXPECT_EQ(colour->drawWithContext(context)->readPixelColorAtX(1, 1), LMRGBA::greenColor());
    EXPECT_EQ(drawnAt(context), LMRGBA::redColor());
}

TEST_F(ImageAccumulators, DrawBlackForAnotherContextOrSizeWithoutDroppingTheImage)
{
    auto kept = accumulator->image();
    EXPECT_EQ(drawnAt(LMContext::contextWithDimensions({48, 24})), LMRGBA::blackColor());
    context->setDimensions({20, 20});
    EXPECT_EQ(drawnAt(context), LMRGBA::blackColor());
    context->setDimensions({48, 24});
    EXPECT_EQ(accumulator->drawWithContext(context), kept);
}

TEST_F(ImageAccumulators, ClearTheirFlagWithEveryDraw)
{
    accumulator->setNeedsRedraw(true);
    accumulator->drawWithContext(LMContext::contextWithDimensions({48, 24}));
    EXPECT_FALSE(accumulator->updateNeedsRedraw());
}

TEST_F(ImageAccumulators, DrawBlackOnceTheirImageIsUnset)
{
    accumulator->setImage(nullptr);
    EXPECT_EQ(drawnAt(context), LMRGBA::blackColor());
}

// An accumulator whose context has gone keeps nothing new and says why.
TEST_F(ImageAccumulators, RefuseImagesOnceTheirContextHasGone)
{
    const auto before = accumulator->image();
    context.reset();
    LogCapture log;
    accumulator->setImage(LMColor::greenColor());
    EXPECT_EQ(accumulator->image(), before);
    EXPECT_EQ(log.lines(), std::vector<std::string>{"LMImageAccumulator: Image was set before context."});
}
