#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

namespace {

class Copy : public LMFilterClass<Copy, LMFilterSingleInput> {
public:
    std::string kernelSource() const override
    {
        return "void main() { lm_output = texture(lm_input, lm_location).rgb; }";
    }
};

} // namespace

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

// What the node is for: with caching on, a filter that has not changed does
// not pull the graph above it again.
TEST(Passthroughs, ShowOutputCachingAtWork)
{
    auto context = LMContext::contextWithDimensions({64, 32});
    context->setCachingEnabled(true);
    auto counter = LMPassthrough::passthroughWithInput(LMColor::greenColor());
    auto copy = Copy::filterWithInput(counter);
    for (int frame = 0; frame < 3; ++frame) {
        copy->updateNeedsRedraw();
        copy->drawWithContext(context);
    }
    EXPECT_EQ(counter->count(), 1u);

    copy->setInput(counter);
    copy->updateNeedsRedraw();
    EXPECT_EQ(copy->drawWithContext(context)->readPixelColorAtX(1, 1), LMRGBA::greenColor());
    EXPECT_EQ(counter->count(), 2u) << "setting the input through the handle marks the filter";
}
