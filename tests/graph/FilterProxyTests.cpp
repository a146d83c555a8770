#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

namespace {

// A filter with a watched uniform "centerVector" and an unwatched setter that
// stores it, as a circle mask does.
class Spot : public LMFilterClass<Spot> {
public:
    std::vector<std::string> inputNames() const override { return {"inputA", "Backdrop"}; }
    std::vector<std::string> controlNames() const override { return {"radius"}; }
    std::vector<std::shared_ptr<LMUniform>> otherUniforms() const override
    {
        return {LMVector2::vectorWithName("centerVector")};
    }

    std::optional<double> radius() const { return numberProperty("radius"); }
    void setRadius(double radius) { setProperty("radius", radius); }
    std::vector<double> centerVector() const { return numbersProperty("centerVector"); }
    void setCenterVector(std::vector<double> center) { setProperty("centerVector", std::move(center)); }
    void setCenter(LMPoint center)
    {
        announceSetter("setCenter:");
        setCenterVector({center.x, center.y});
    }
    void setInputA(std::shared_ptr<LMDrawable> input) { setProperty("inputA", std::move(input)); }
    void setLabel(std::string label) { setProperty("label", std::move(label)); }
};

} // namespace

TEST(LMFilterProxy, WatchesTheSettersOfInputsControlsAndUniforms)
{
    auto spot = Spot::filter();
    EXPECT_EQ(spot.proxy()->watchedMethods(),
              (std::vector<std::string>{"setInputA:", "setBackdrop:", "setRadius:", "setCenterVector:"}));

    const std::string description = spot.proxy()->description();
    EXPECT_TRUE(description.starts_with("<LMFilterProxy: 0x")) << description;
    EXPECT_TRUE(description.ends_with(" -> " + spot.get()->description())) << description;
    EXPECT_TRUE(spot.get()->description().starts_with("<(anonymous namespace)::Spot: 0x"));
}

TEST(LMFilterProxy, MarksTheFilterOnlyForWatchedSettersCalledThroughIt)
{
    auto context = LMContext::contextWithDimensions({8, 8});
    auto spot = Spot::filter();
    auto settle = [&] {
        spot->drawWithContext(context);
        ASSERT_FALSE(spot->needsRedraw());
    };

    settle();
    spot->setRadius(4);
    EXPECT_TRUE(spot->needsRedraw());
    EXPECT_EQ(spot->radius(), 4.0);

    settle();
    spot->setRadius(4);
    EXPECT_TRUE(spot->needsRedraw()) << "the same value marks too";

    settle();
    (void)spot->radius();
    spot->drawWithContext(context);
    EXPECT_FALSE(spot->needsRedraw()) << "reading and drawing mark nothing";

    settle();
    spot->setCenter({3, 4});
    EXPECT_FALSE(spot->needsRedraw()) << "setCenter is not watched, nor what it stores";
    EXPECT_EQ(spot->centerVector(), (std::vector<double>{3, 4}));

    settle();
    spot->setCenterVector({5, 6});
    EXPECT_TRUE(spot->needsRedraw());

    settle();
    spot->setLabel("unwatched");
    EXPECT_FALSE(spot->needsRedraw());
    spot->setValueForKey("still unwatched", "label");
    EXPECT_TRUE(spot->needsRedraw()) << "the key-value setter marks for any key";

    settle();
    spot.get()->setRadius(9);
    EXPECT_FALSE(spot->needsRedraw()) << "the filter itself, outside its proxy, marks nothing";
    EXPECT_EQ(spot->valueForKey("radius"), LMValue(9.0));

    // A handle's call inside the call on another handle marks its own filter.
    auto inner = Spot::filter();
    inner->drawWithContext(context);
    settle();
    spot->setInputA(inner->drawWithContext(context));
    EXPECT_TRUE(spot->needsRedraw());
    EXPECT_FALSE(inner->needsRedraw());
    settle();
    spot->setRadius(spot->radius().value_or(0) + 1);
    EXPECT_TRUE(spot->needsRedraw());
}

TEST(LMFilterProxy, StandsInForTheFilterInTheGraph)
{
    auto context = LMContext::contextWithDimensions({8, 8});
    auto spot = Spot::filter();
    std::shared_ptr<LMDrawable> asNode = spot;
    auto* caching = dynamic_cast<LMDrawableCaching*>(asNode.get());
    ASSERT_NE(caching, nullptr);
    EXPECT_TRUE(caching->needsRedraw());
    auto image = asNode->drawWithContext(context);
    EXPECT_EQ(image, spot->cachedOutput());
    EXPECT_FALSE(caching->needsRedraw());
    caching->setNeedsRedraw(true);
    EXPECT_TRUE(spot->needsRedraw());
}
