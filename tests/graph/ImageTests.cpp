#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

#include <thread>

namespace {

// Colours of whole bytes read back exactly, as byte / 255.
constexpr LMRGBA blue = LMRGBA::fromBytes(64, 128, 255), red = LMRGBA::fromBytes(255, 0, 0),
                 black = LMRGBA::fromBytes(0, 0, 0);

} // namespace

TEST(Images, ColourNodesDrawOpaqueColoursAndReuseTheirImageWhileItFits)
{
    auto context = LMContext::contextWithDimensions({64, 48});
    auto colour = LMColor::colorWithColor({blue.red, blue.green, blue.blue, 0.5});
    auto image = colour->drawWithContext(context);
    EXPECT_EQ(image->readPixelColorLowerLeft(), blue) << "alpha is never drawn";
    EXPECT_EQ(image->readPixelColorAtX(63, 47), blue);
    EXPECT_EQ(image->readPixelColorAtX(64, 0), black) << "outside reads black";

    colour->setNeedsRedraw(true);
    colour->setColor(red);
    EXPECT_EQ(colour->drawWithContext(context), image) << "reused whatever its flag, and setColor draws nothing";
    colour->setLastImage(nullptr);
    EXPECT_EQ(colour->drawWithContext(context)->readPixelColorLowerLeft(), red) << "the colour stored";

    context->setDimensions({32, 24});
    EXPECT_EQ(colour->drawWithContext(context)->dimensions(), (LMSize{32, 24}));
    auto second = LMContext::contextWithDimensions({32, 24});
    auto elsewhere = colour->drawWithContext(second);
    EXPECT_EQ(elsewhere->context(), second);
    EXPECT_EQ(elsewhere->readPixelColorAtX(10, 10), red);
}

TEST(Images, HoldATargetOfTheirSizeUntilTheLastReferenceGoesOnAnyThread)
{
    auto context = LMContext::contextWithDimensions({64, 48});
    auto pool = context->renderTargetPool();
    auto image = LMImage::imageWithContext(context, {16, 12});
    EXPECT_EQ(image->target()->dimensions(), (LMSize{16, 12}));
    EXPECT_EQ(image->drawWithContext(LMContext::contextWithDimensions({8, 8})), image) << "drawn as itself anywhere";
    auto holder = image;
    image.reset();
    EXPECT_EQ(pool->objectsUsed(), 1u) << "another holder keeps it";
    std::thread([image = std::move(holder)]() mutable { image.reset(); }).join();
    EXPECT_EQ(pool->objectsUsed(), 0u) << "let go on another thread";

    // After its context has gone an image reads nothing and gives nothing back.
    auto orphan = LMColor::whiteColor()->drawWithContext(context);
    context.reset();
    EXPECT_EQ(orphan->context(), nullptr);
    EXPECT_FALSE(orphan->readPixelColorLowerLeft().has_value());
    orphan->bind();
    orphan.reset();
    EXPECT_EQ(pool->objectsUsed(), 1u);
}
