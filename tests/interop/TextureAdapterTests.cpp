#include "support/TexturePixels.h"

#include <gtest/gtest.h>

namespace {

// 100 by 50: a magenta band on the left, then red under blue, then green
// under white, so that a wrong fit, a mirror or a flip all show.
Pixel quadrants(int x, int y)
{
    if (x < 25)
        return magenta;
    if (x < 60)
        return y < 25 ? red : blue;
    return y < 25 ? green : white;
}

// A context of 200 by 200 and a texture of it drawn with quadrants.
class TextureAdapters : public testing::Test {
protected:
    void TearDown() override
    {
        if (context)
            deleteTexture(*context, texture);
    }

    // The filter over the whole texture, made without a context and given a
    // fill scaler then, which is stored but does not reach the quad.
    LMFilterRef<LMFilterOpenGLTextureAdapter> unboundFilter()
    {
        auto filter = LMFilterOpenGLTextureAdapter::filter();
        filter->setScaler(fill);
        filter->setTexture(texture);
        filter->setTextureSize({100, 50});
        return filter;
    }

    std::shared_ptr<LMContext> context = LMContext::contextWithDimensions({200, 200});
    const GLuint texture = makeTexture(*context, 100, 50, quadrants);
    const std::shared_ptr<LMScalerFill> fill = std::make_shared<LMScalerFill>();
};

} // namespace

TEST_F(TextureAdapters, FilterDrawsAfreshEveryTime)
{
    auto filter = unboundFilter();
    auto first = filter->drawWithContext(context);
    EXPECT_NE(filter->drawWithContext(context), first);
    EXPECT_TRUE(filter->updateNeedsRedraw());
}

TEST_F(TextureAdapters, FilterGivenAScalerBeforeItsContextStretchesTheTexture)
{
    auto filter = unboundFilter();
    auto image = filter->drawWithContext(context);
    EXPECT_EQ(pixelAt(image, 2, 2), magenta);
    EXPECT_EQ(pixelAt(image, 198, 198), white);
}

TEST_F(TextureAdapters, FilterRefusesASecondContext)
{
    auto filter = unboundFilter();
    filter->drawWithContext(context);
    auto second = LMContext::contextWithDimensions({200, 200});
    EXPECT_THROW(filter->drawWithContext(second), LMException);
    EXPECT_EQ(pixelAt(filter->drawWithContext(context), 60, 2), red) << "and goes on in its own";
}

// The same scaler again is nothing new; a new one reaches the quad but
// shapes it only from the next rebuild, here brought by the flip.
TEST_F(TextureAdapters, FilterKeepsItsQuadUntilAFlipOrSizeRebuildsItWithTheLatestScaler)
{
    auto filter = unboundFilter();
    filter->drawWithContext(context);
    filter->setScaler(fill);
    filter->setScaler(std::make_shared<LMScalerFill>());
    EXPECT_EQ(pixelAt(filter->drawWithContext(context), 2, 2), magenta);
    filter->setIsFlipped(true);
    EXPECT_EQ(pixelAt(filter->drawWithContext(context), 2, 2), blue) << "filled, flipped";
    // Half the texture's width: only its left half is fitted to the image.
    filter->setIsFlipped(false);
    filter->setTextureSize({50, 50});
    EXPECT_EQ(pixelAt(filter->drawWithContext(context), 198, 198), blue);
}

// Once its context has gone the filter binds to the next one, and its quad
// is made anew there rather than bound from the dead context.
TEST_F(TextureAdapters, FilterWhoseContextWentServesTheNext)
{
    auto filter = unboundFilter();
    filter->drawWithContext(context);
    deleteTexture(*context, texture);
    context.reset();
    auto second = LMContext::contextWithDimensions({200, 200});
    const GLuint secondTexture = makeTexture(*second, 100, 50, quadrants);
    filter->setTexture(secondTexture);
    auto rebound = filter->drawWithContext(second);
    EXPECT_EQ(pixelAt(rebound, 198, 2), green);
    EXPECT_EQ(pixelAt(rebound, 198, 198), white);
    deleteTexture(*second, secondTexture);
}

TEST_F(TextureAdapters, FillByDefaultAndForAnUnknownMode)
{
    auto adapter = LMOpenGLTextureAdapter::adapterWithContext(context);
    EXPECT_EQ(pixelAt(adapter->convertTexture(texture, {100, 50}), 2, 2), red) << "the band is cropped";
    adapter->setContentScaleMode(LMContentScaleMode{7});
    EXPECT_EQ(pixelAt(adapter->convertTexture(texture, {100, 50}), 2, 2), red);
}

// A new mode keeps the fit while the texture's size, its flip and the
// context's size stay as they were, and shows once one of them changes.
TEST_F(TextureAdapters, TakeANewModeAtTheNextChangeOfSizeOrFlip)
{
    auto adapter = LMOpenGLTextureAdapter::adapterWithContext(context);
    adapter->convertTexture(texture, {100, 50});
    adapter->setContentScaleMode(LMContentScaleModeStretch);
    EXPECT_EQ(pixelAt(adapter->convertTexture(texture, {100, 50}), 2, 2), red) << "still filled";
    auto converted = adapter->convertTexture(texture, {100, 50}, true);
    EXPECT_EQ(pixelAt(converted, 2, 2), magenta);
    EXPECT_EQ(pixelAt(converted, 60, 2), blue) << "flipped";
}

TEST_F(TextureAdapters, HandOutTheirCopyUntilTheContextIsResizedThenConvertAgain)
{
    auto adapter = LMOpenGLTextureAdapter::adapterWithContext(context);
    adapter->setContentScaleMode(LMContentScaleModeStretch);
    auto converted = adapter->convertTexture(texture, {100, 50}, true);
    EXPECT_TRUE(adapter->updateNeedsRedraw());
    EXPECT_EQ(adapter->drawWithContext(context), converted);
    EXPECT_FALSE(adapter->updateNeedsRedraw());

    // A new context size converts again, as flipped as before.
    context->setDimensions({80, 60});
    auto resized = adapter->drawWithContext(context);
    EXPECT_EQ(resized->dimensions(), (LMSize{80, 60}));
    EXPECT_EQ(pixelAt(resized, 30, 2), blue);
    EXPECT_EQ(pixelAt(resized, 30, 57), red);
    EXPECT_TRUE(adapter->updateNeedsRedraw());
    EXPECT_EQ(adapter->drawWithContext(context), resized);
    EXPECT_FALSE(adapter->needsRedraw());
}

// Another context gets black of its own size, and no conversion.
TEST_F(TextureAdapters, GiveAnotherContextBlack)
{
    auto adapter = LMOpenGLTextureAdapter::adapterWithContext(context);
    adapter->convertTexture(texture, {100, 50});
    auto other = LMContext::contextWithDimensions({16, 16});
    auto foreign = adapter->drawWithContext(other);
    EXPECT_EQ(foreign->context(), other);
    EXPECT_EQ(pixelAt(foreign, 8, 8), black);
    EXPECT_TRUE(adapter->needsRedraw());
}
