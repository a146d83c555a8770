#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

// A passthrough hands on its input's very image (black without an input),
// counts every draw, and takes its redraw flag from a caching input only.
TEST(Passthroughs, HandOnTheirInputsImageCountDrawsAndTakeACachingInputsFlag)
{
    auto context = LMContext::contextWithDimensions({64, 32});
    auto node = LMPassthrough::passthrough();
    EXPECT_EQ(node->drawWithContext(context)->readPixelColorAtX(3, 3), LMRGBA::blackColor());

    auto red = LMColor::redColor();
    node->setInput(red);
    EXPECT_TRUE(node->updateNeedsRedraw()) << "the colour has not drawn yet";
    const auto handedOn = node->drawWithContext(context);
    EXPECT_EQ(handedOn, red->lastImage());
    EXPECT_FALSE(node->updateNeedsRedraw());
    EXPECT_EQ(node->count(), 2u) << "with an input or without";
    node->resetCount();
    EXPECT_EQ(node->count(), 0u);

    node->setInput(LMImage::imageWithContext(context));
    node->setNeedsRedraw(true);
    EXPECT_TRUE(node->updateNeedsRedraw()) << "an image does not answer, so the flag stays";
}
