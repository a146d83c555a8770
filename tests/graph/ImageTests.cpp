#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

#include <thread>

namespace {

void expectColor(const std::optional<LMRGBA>& actual, LMRGBA expected, const char* what)
{
    ASSERT_TRUE(actual.has_value()) << what;
    EXPECT_NEAR(actual->red, expected.red, 1.0 / 255) << what;
    EXPECT_NEAR(actual->green, expected.green, 1.0 / 255) << what;
    EXPECT_NEAR(actual->blue, expected.blue, 1.0 / 255) << what;
    EXPECT_EQ(actual->alpha, 1.0) << what;
}

class Images : public testing::Test {
protected:
    std::shared_ptr<LMContext> context = LMContext::contextWithDimensions({64, 48});
};

} // namespace

TEST_F(Images, TakeTheirSizeFromTheContextOrTheCallerAndDrawAsThemselves)
{
    auto image = LMImage::imageWithContext(context);
    EXPECT_EQ(image->dimensions(), (LMSize{64, 48}));
    EXPECT_EQ(image->target()->dimensions(), (LMSize{64, 48}));
    EXPECT_EQ(LMImage::imageWithContext(context, {640, 480})->target()->dimensions(), (LMSize{640, 480}));
    EXPECT_EQ(image->drawWithContext(LMContext::contextWithDimensions({8, 8})), image);
    EXPECT_EQ(image->drawWithContext(nullptr), image);

    auto none = LMImage::imageWithContext(nullptr);
    EXPECT_EQ(none->dimensions(), (LMSize{0, 0}));
    EXPECT_EQ(none->texture(), 0u);
    none->bind();
    EXPECT_FALSE(none->readPixelColorLowerLeft().has_value());
}

TEST_F(Images, ColourNodesDrawOpaqueColoursAndReuseTheirImageWhileItFits)
{
    auto colour = LMColor::colorWithColor({0.25, 0.5, 1.0, 0.5});
    EXPECT_TRUE(colour->updateNeedsRedraw());
    auto image = colour->drawWithContext(context);
    EXPECT_EQ(image->dimensions(), context->dimensions());
    expectColor(image->readPixelColorLowerLeft(), {0.25, 0.5, 1, 1}, "lower left; alpha is never drawn");
    expectColor(image->readPixelColorAtX(63, 47), {0.25, 0.5, 1, 1}, "upper right");
    expectColor(image->readPixelColorAtX(64, 0), {0, 0, 0, 1}, "outside reads black");
    expectColor(image->readPixelColorAtX(-1, -1), {0, 0, 0, 1}, "outside reads black");
    const auto exact = LMColor::colorWithColor(LMRGBA::fromBytes(128, 0, 255))->drawWithContext(context);
    EXPECT_EQ(exact->readPixelColorLowerLeft(), (LMRGBA{128 / 255.0, 0, 1, 1})) << "a byte reads back exactly";

    EXPECT_FALSE(colour->updateNeedsRedraw());
    colour->setNeedsRedraw(true);
    colour->setColor(LMRGBA::redColor());
    EXPECT_EQ(colour->drawWithContext(context), image) << "reused whatever its flag, and setColor draws nothing";
    colour->setLastImage(nullptr);
    expectColor(colour->drawWithContext(context)->readPixelColorLowerLeft(), {1, 0, 0, 1}, "the colour stored");

    context->setDimensions({32, 24});
    EXPECT_EQ(colour->drawWithContext(context)->dimensions(), (LMSize{32, 24}));
    auto second = LMContext::contextWithDimensions({32, 24});
    auto elsewhere = colour->drawWithContext(second);
    EXPECT_EQ(elsewhere->context(), second);
    EXPECT_EQ(colour->lastImage(), elsewhere);
    expectColor(elsewhere->readPixelColorAtX(10, 10), {1, 0, 0, 1}, "drawn in the second context");
}

TEST_F(Images, GiveTheirTargetBackWhenTheLastReferenceGoesOnAnyThread)
{
    auto pool = context->renderTargetPool();
    auto image = LMImage::imageWithContext(context, {16, 16});
    const uint64_t id = image->target()->identifier();
    auto holder = image;
    image.reset();
    EXPECT_EQ(pool->objectsUsed(), 1u) << "another holder keeps it";
    std::thread([image = std::move(holder)]() mutable { image.reset(); }).join();
    EXPECT_EQ(pool->objectsUsed(), 0u) << "let go on another thread";
    EXPECT_EQ(LMImage::imageWithContext(context, {16, 16})->target()->identifier(), id) << "reused";

    // After its context has gone an image reads nothing and gives nothing back.
    auto orphan = LMColor::whiteColor()->drawWithContext(context);
    context.reset();
    EXPECT_EQ(orphan->context(), nullptr);
    EXPECT_FALSE(orphan->readPixelColorLowerLeft().has_value());
    orphan->bind();
    orphan.reset();
    EXPECT_EQ(pool->objectsUsed(), 1u);
}
