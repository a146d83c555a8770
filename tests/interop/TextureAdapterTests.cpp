#include "support/TexturePixels.h"

#include <gtest/gtest.h>

#include <cstdio>

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

std::string describe(const std::shared_ptr<LMContext>& context)
{
    char text[48];
    std::snprintf(text, sizeof(text), "<LMContext: %p>", static_cast<const void*>(context.get()));
    return text;
}

std::shared_ptr<LMOpenGLTextureAdapter> adapterFor(const std::shared_ptr<LMContext>& context, LMContentScaleMode mode)
{
    auto adapter = LMOpenGLTextureAdapter::adapterWithContext(context);
    adapter->setContentScaleMode(mode);
    return adapter;
}

} // namespace

TEST(TextureAdapterFilter, DrawsAfreshEachTimeAndFollowsItsScalerAndFlip)
{
    auto context = LMContext::contextWithDimensions({200, 200});
    const GLuint texture = makeTexture(*context, 100, 50, quadrants);
    // Made without a context: the scaler given now still shapes the quad.
    auto filter = LMFilterOpenGLTextureAdapter::filter();
    filter->setScaler(std::make_shared<LMScalerFill>());
    filter->setTexture(texture);
    filter->setTextureSize({100, 50});

    auto first = filter->drawWithContext(context);
    auto second = filter->drawWithContext(context);
    ASSERT_TRUE(first && second);
    EXPECT_NE(first, second);
    EXPECT_TRUE(filter->updateNeedsRedraw());
    EXPECT_EQ(pixelAt(second, 2, 2), red); // the magenta band is cropped
    EXPECT_EQ(pixelAt(second, 198, 198), white);

    // A new scaler reshapes the quad although no size has changed.
    filter->setScaler(std::make_shared<LMScalerStretch>());
    EXPECT_EQ(pixelAt(filter->drawWithContext(context), 2, 2), magenta);
    filter->setIsFlipped(true);
    auto flipped = filter->drawWithContext(context);
    EXPECT_EQ(pixelAt(flipped, 60, 2), blue);
    EXPECT_EQ(pixelAt(flipped, 60, 198), red);
    deleteTexture(*context, texture);
}

TEST(TextureAdapterFilter, ServesOneContextAndRebuildsItsQuadOnlyWhenNeeded)
{
    auto first = LMContext::contextWithDimensions({200, 200});
    auto second = LMContext::contextWithDimensions({200, 200});
    const GLuint texture = makeTexture(*first, 100, 50, quadrants);
    auto filter = LMFilterOpenGLTextureAdapter::filterWithContext(first);
    filter->setTexture(texture);
    filter->setTextureSize({100, 50});
    ASSERT_TRUE(filter->drawWithContext(first));
    const auto quad = filter->vaoState()->ourVAO();

    try {
        filter->drawWithContext(second);
        ADD_FAILURE() << "a second context was accepted";
    } catch (const LMException& exception) {
        EXPECT_EQ(exception.name(), "LMFilterOpenGLTextureAdapter can only be used with a single context.");
        EXPECT_EQ(exception.reason(), describe(second) + " is not the existing context, " + describe(first) + ".");
    }
    EXPECT_EQ(pixelAt(filter->drawWithContext(first), 60, 2), red);
    EXPECT_EQ(filter->vaoState()->ourVAO(), quad);

    // Half the texture's width: only its left half is stretched over the image.
    filter->setTextureSize({50, 50});
    auto half = filter->drawWithContext(first);
    EXPECT_EQ(pixelAt(half, 198, 2), red);
    EXPECT_EQ(pixelAt(half, 198, 198), blue);

    // Once its context has gone the filter binds to the next one, and its
    // quad is made anew there rather than bound from the dead context.
    first.reset();
    const GLuint secondTexture = makeTexture(*second, 100, 50, quadrants);
    filter->setTexture(secondTexture);
    auto rebound = filter->drawWithContext(second);
    EXPECT_EQ(pixelAt(rebound, 198, 2), red);
    EXPECT_EQ(pixelAt(rebound, 198, 198), blue);
    deleteTexture(*second, secondTexture);
}

TEST(TextureAdapter, FillKeepsTheAspectRatioAndStretchDoesNot)
{
    auto context = LMContext::contextWithDimensions({640, 480});
    // Red side bands of 240 texels, exactly what fill crops, then an
    // 18-texel white stripe, then blue under green.
    const GLuint texture = makeTexture(*context, 1920, 1080, [](int x, int y) {
        if (x < 240 || x >= 1680)
            return red;
        return x < 258 ? white : y < 540 ? blue : green;
    });

    for (LMContentScaleMode mode : {LMContentScaleModeFill, LMContentScaleMode{7}}) {
        auto image = adapterFor(context, mode)->convertTexture(texture, {1920, 1080});
        EXPECT_EQ(image->dimensions(), (LMSize{640, 480}));
        // 2.25 texels per pixel both ways: the stripe is 8 pixels wide.
        EXPECT_EQ(pixelAt(image, 1, 100), white) << mode;
        EXPECT_EQ(pixelAt(image, 7, 100), white) << mode;
        EXPECT_EQ(pixelAt(image, 9, 100), blue) << mode;
        EXPECT_EQ(pixelAt(image, 638, 100), blue) << mode;
        EXPECT_EQ(pixelAt(image, 320, 380), green) << mode;
    }

    auto stretched = adapterFor(context, LMContentScaleModeStretch)->convertTexture(texture, {1920, 1080});
    EXPECT_EQ(pixelAt(stretched, 1, 100), red);
    EXPECT_EQ(pixelAt(stretched, 80, 100), white);
    EXPECT_EQ(pixelAt(stretched, 86, 100), blue);
    EXPECT_EQ(pixelAt(stretched, 638, 100), red);
    EXPECT_EQ(pixelAt(stretched, 320, 380), green);
    deleteTexture(*context, texture);
}

TEST(TextureAdapter, HandsOutItsCopyUntilTheContextIsResized)
{
    auto context = LMContext::contextWithDimensions({64, 48});
    const GLuint texture =
        makeTexture(*context, 32, 24, [](int x, int y) { return x < 4 ? green : y < 12 ? red : blue; });
    auto adapter = adapterFor(context, LMContentScaleModeStretch);

    auto before = adapter->drawWithContext(context);
    EXPECT_EQ(before->dimensions(), (LMSize{64, 48}));
    EXPECT_EQ(pixelAt(before, 32, 24), black);
    EXPECT_TRUE(adapter->updateNeedsRedraw());

    auto converted = adapter->convertTexture(texture, {32, 24}, true);
    EXPECT_TRUE(adapter->updateNeedsRedraw());
    EXPECT_EQ(adapter->drawWithContext(context), converted);
    EXPECT_FALSE(adapter->updateNeedsRedraw());
    EXPECT_EQ(pixelAt(converted, 2, 2), green);
    EXPECT_EQ(pixelAt(converted, 32, 2), blue);

    // A new context size converts again, as flipped as before.
    context->setDimensions({80, 60});
    auto resized = adapter->drawWithContext(context);
    EXPECT_EQ(resized->dimensions(), (LMSize{80, 60}));
    EXPECT_EQ(pixelAt(resized, 40, 2), blue);
    EXPECT_EQ(pixelAt(resized, 40, 57), red);
    EXPECT_TRUE(adapter->updateNeedsRedraw());
    EXPECT_EQ(adapter->drawWithContext(context), resized);
    EXPECT_FALSE(adapter->needsRedraw());

    // Another context gets black of its own size, and no conversion.
    auto other = LMContext::contextWithDimensions({16, 16});
    auto foreign = adapter->drawWithContext(other);
    EXPECT_EQ(foreign->context(), other);
    EXPECT_EQ(pixelAt(foreign, 8, 8), black);
    EXPECT_TRUE(adapter->needsRedraw());

    deleteTexture(*context, texture);
    context.reset();
    EXPECT_EQ(adapter->convertTexture(99, {1, 1}), resized);
}
