#include <lumetra/context/LMContext.h>
#include <lumetra/graph/LMImage.h>
#include <lumetra/nodes/LMColor.h>

#include <gtest/gtest.h>

#include <thread>

namespace {

constexpr double oneStep = 1.0 / 255.0;

void expectColorNear(const std::optional<LMRGBA>& actual, LMRGBA expected, const char* what)
{
    ASSERT_TRUE(actual.has_value()) << what;
    EXPECT_NEAR(actual->red, expected.red, oneStep) << what;
    EXPECT_NEAR(actual->green, expected.green, oneStep) << what;
    EXPECT_NEAR(actual->blue, expected.blue, oneStep) << what;
    EXPECT_EQ(actual->alpha, 1.0) << what;
}

class Images : public testing::Test {
protected:
    std::shared_ptr<LMContext> context = LMContext::contextWithDimensions({1280, 720});
};

} // namespace

TEST_F(Images, TakeTheirSizeFromTheContextOrTheCaller)
{
    auto image = LMImage::imageWithContext(context);
    EXPECT_EQ(image->dimensions(), (LMSize{1280, 720}));
    ASSERT_TRUE(image->target());
    EXPECT_EQ(image->target()->dimensions(), (LMSize{1280, 720}));

    auto sized = LMImage::imageWithContext(context, {640, 480});
    EXPECT_EQ(sized->dimensions(), (LMSize{640, 480}));
    EXPECT_EQ(sized->target()->dimensions(), (LMSize{640, 480}));

    auto other = LMContext::contextWithDimensions({8, 8});
    EXPECT_EQ(image->drawWithContext(context), image);
    EXPECT_EQ(image->drawWithContext(other), image);
    EXPECT_EQ(image->drawWithContext(nullptr), image);
}

TEST_F(Images, WithoutAContextHaveNothingToDoOrRead)
{
    auto image = LMImage::imageWithContext(nullptr);
    EXPECT_EQ(image->dimensions(), (LMSize{0, 0}));
    EXPECT_EQ(image->target(), nullptr);
    EXPECT_EQ(image->texture(), 0u);
    image->bind();
    EXPECT_FALSE(image->readPixelColorLowerLeft().has_value());
}

TEST_F(Images, ColourNodesDrawOpaqueColoursThatReadBack)
{
    auto quarter = LMColor::colorWithRed(0.25, 0.5, 1.0);
    auto image = quarter->drawWithContext(context);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->dimensions(), context->dimensions());
    expectColorNear(image->readPixelColorLowerLeft(), {0.25, 0.5, 1.0, 1}, "lower left");
    expectColorNear(image->readPixelColorAtX(1279, 719), {0.25, 0.5, 1.0, 1}, "upper right");
    expectColorNear(image->readPixelColorAtX(1280, 0), {0, 0, 0, 1}, "outside reads black");
    expectColorNear(image->readPixelColorAtX(-1, -1), {0, 0, 0, 1}, "outside reads black");

    auto translucent = LMColor::colorWithColor({0.2, 0.4, 0.6, 0.5});
    expectColorNear(translucent->drawWithContext(context)->readPixelColorAtX(10, 10), {0.2, 0.4, 0.6, 1},
                    "alpha is never drawn");

    auto exact = LMColor::colorWithColor(LMRGBA::fromBytes(128, 0, 255));
    auto exactColor = exact->drawWithContext(context)->readPixelColorLowerLeft();
    ASSERT_TRUE(exactColor);
    EXPECT_EQ(exactColor->red, 128 / 255.0);
    EXPECT_EQ(exactColor->green, 0.0);
    EXPECT_EQ(exactColor->blue, 1.0) << "a byte reads back as byte / 255 exactly";
}

TEST_F(Images, ColourNodeReusesItsImageWhileItFits)
{
    auto red = LMColor::redColor();
    EXPECT_TRUE(red->updateNeedsRedraw());
    EXPECT_TRUE(red->needsRedraw()) << "asking changes nothing";
    auto first = red->drawWithContext(context);
    EXPECT_FALSE(red->updateNeedsRedraw());
    EXPECT_EQ(red->drawWithContext(context), first);

    red->setNeedsRedraw(true);
    EXPECT_EQ(red->drawWithContext(context), first) << "a colour reuses its image whatever its flag";

    red->setColor(LMRGBA::blueColor());
    EXPECT_EQ(red->drawWithContext(context), first) << "setColor alone draws nothing";
    expectColorNear(first->readPixelColorLowerLeft(), {1, 0, 0, 1}, "still red");

    red->setLastImage(nullptr);
    auto blue = red->drawWithContext(context);
    expectColorNear(blue->readPixelColorLowerLeft(), {0, 0, 1, 1}, "redrawn with the colour stored");

    context->setDimensions({320, 200});
    auto resized = red->drawWithContext(context);
    EXPECT_NE(resized, blue);
    EXPECT_EQ(resized->dimensions(), (LMSize{320, 200}));

    auto second = LMContext::contextWithDimensions({320, 200});
    auto elsewhere = red->drawWithContext(second);
    EXPECT_NE(elsewhere, resized);
    EXPECT_EQ(elsewhere->context(), second);
    EXPECT_EQ(red->lastImage(), elsewhere);
    expectColorNear(elsewhere->readPixelColorAtX(100, 100), {0, 0, 1, 1}, "drawn in the second context");
}

TEST_F(Images, GiveTheirTargetBackWhenTheLastReferenceGoes)
{
    auto pool = context->renderTargetPool();
    auto image = LMImage::imageWithContext(context, {64, 64});
    const uint64_t id = image->target()->identifier();
    auto sharedHolder = image;
    image.reset();
    EXPECT_EQ(pool->objectsUsed(), 1u) << "another holder keeps it";
    sharedHolder.reset();
    EXPECT_EQ(pool->objectsUsed(), 0u);
    EXPECT_EQ(LMImage::imageWithContext(context, {64, 64})->target()->identifier(), id) << "reused";

    // Dropped on another thread.
    auto travelling = LMImage::imageWithContext(context, {32, 32});
    EXPECT_EQ(pool->objectsUsed(), 1u);
    std::thread([image = std::move(travelling)]() mutable { image.reset(); }).join();
    EXPECT_EQ(pool->objectsUsed(), 0u);
}

TEST(ImagesAfterTheirContext, ReadNothingAndGiveNothingBack)
{
    auto context = LMContext::contextWithDimensions({16, 16});
    auto image = LMColor::whiteColor()->drawWithContext(context);
    auto pool = context->renderTargetPool();
    ASSERT_EQ(pool->objectsUsed(), 1u);
    context.reset();

    EXPECT_EQ(image->context(), nullptr);
    EXPECT_FALSE(image->readPixelColorLowerLeft().has_value());
    image->bind();
    EXPECT_NE(image->texture(), 0u) << "the record stays as it was";
    image.reset();
    EXPECT_EQ(pool->objectsUsed(), 1u) << "nothing is given back to a context that is gone";
}
