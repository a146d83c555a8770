#include "support/LogCapture.h"

#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

#include <functional>

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

// Each step, then what the accumulator draws in its own context: what the
// colour drew when it was set (red), or black. Setting an image marks nothing.
TEST_F(ImageAccumulators, HandOutWhatTheirInputDrewOnlyAtItsContextAndSize)
{
    const LMRGBA kept = LMRGBA::redColor(), black = LMRGBA::blackColor();
    const LMSize own{48, 24}, small{20, 20};
    auto redrawGreen = [&] { colour->setColor(LMRGBA::greenColor()), colour->setLastImage(nullptr); };
    auto elsewhere = [&] { EXPECT_EQ(drawnAt(LMContext::contextWithDimensions(own)), black); };
    EXPECT_FALSE(accumulator->updateNeedsRedraw());
    const std::tuple<const char*, std::function<void()>, LMRGBA> steps[] = {
        {"the input drawn again, green", [&] { redrawGreen(), colour->drawWithContext(context); }, kept},
        {"drawn black in another context of its size", elsewhere, kept},
        {"its context at another size", [&] { context->setDimensions(small); }, black},
        {"its context at the size again", [&] { context->setDimensions(own); }, kept},
        {"its image unset", [&] { accumulator->setImage(nullptr); }, black},
    };
    for (const auto& [what, step, expected] : steps) {
        step();
        EXPECT_EQ(drawnAt(context), expected) << what;
        EXPECT_FALSE(accumulator->updateNeedsRedraw()) << what << ": a draw clears its flag";
        accumulator->setNeedsRedraw(true);
    }
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
