#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

class Passthroughs : public testing::Test {
protected:
    std::shared_ptr<LMContext> context = LMContext::contextWithDimensions({64, 32});
    std::shared_ptr<LMPassthrough> node = LMPassthrough::passthrough();
};

TEST_F(Passthroughs, HandOnTheirInputsVeryImageOrBlackWithoutOne)
{
    EXPECT_EQ(node->drawWithContext(context)->readPixelColorAtX(3, 3), LMRGBA::blackColor());
    auto red = LMColor::redColor();
    node->setInput(red);
    const auto handedOn = node->drawWithContext(context);
    EXPECT_EQ(handedOn, red->lastImage());
}

TEST_F(Passthroughs, CountEveryDrawWithAnInputOrWithout)
{
    node->drawWithContext(context);
    node->setInput(LMColor::redColor());
    node->drawWithContext(context);
    EXPECT_EQ(node->count(), 2u);
}

TEST_F(Passthroughs, TakeTheirRedrawFlagFromACachingInputOnly)
{
    node->setInput(LMColor::redColor());
    EXPECT_TRUE(node->updateNeedsRedraw()) << "the colour has not drawn yet";
    node->drawWithContext(context);
    EXPECT_FALSE(node->updateNeedsRedraw());
    node->setInput(LMImage::imageWithContext(context));
    node->setNeedsRedraw(true);
    EXPECT_TRUE(node->updateNeedsRedraw()) << "an image does not answer, so the flag stays";
}
