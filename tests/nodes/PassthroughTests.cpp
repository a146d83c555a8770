#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

TEST(Passthroughs, CountEveryDrawAndHandOnTheInputsVeryImage)
{
    auto context = LMContext::contextWithDimensions({64, 32});
    auto node = LMPassthrough::passthrough();
    auto black = node->drawWithContext(context);
    EXPECT_EQ(black->dimensions(), context->dimensions());
    EXPECT_EQ(black->readPixelColorAtX(3, 3), LMRGBA::blackColor());

    auto red = LMColor::redColor();
    node->setInput(red);
    auto handedOn = node->drawWithContext(context);
    EXPECT_EQ(handedOn, red->lastImage());
    node->drawWithContext(context);
    EXPECT_EQ(node->count(), 3u) << "with an input or without";
    node->resetCount();
    node->drawWithContext(context);
    EXPECT_EQ(node->count(), 1u);
}

TEST(Passthroughs, TakeTheirRedrawFlagFromACachingInputOnly)
{
    auto context = LMContext::contextWithDimensions({64, 32});
    auto node = LMPassthrough::passthroughWithInput(LMColor::redColor());
    EXPECT_FALSE(node->needsRedraw());
    EXPECT_TRUE(node->updateNeedsRedraw()) << "the colour has not drawn yet";
    node->drawWithContext(context);
    EXPECT_FALSE(node->updateNeedsRedraw());

    node->setInput(LMImage::imageWithContext(context));
    node->setNeedsRedraw(true);
    EXPECT_TRUE(node->updateNeedsRedraw()) << "an image does not answer, so the flag stays";
}
