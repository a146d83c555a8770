#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

#include <functional>
#include <tuple>

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

// Each step starts from a drawn, settled filter.
TEST(LMFilterProxy, MarksTheFilterOnlyForWatchedSettersCalledThroughIt)
{
    auto context = LMContext::contextWithDimensions({8, 8});
    auto spot = Spot::filter();
    auto inner = Spot::filter();
    inner->drawWithContext(context);
    std::shared_ptr<LMDrawable> asNode = spot; // in the graph the handle is the proxy
    const std::tuple<const char*, std::function<void()>, bool> steps[] = {
        {"a watched control", [&] { spot->setRadius(4); }, true},
        {"the same value marks too", [&] { spot->setRadius(4); }, true},
        {"reading and drawing mark nothing", [&] { (void)spot->radius(), spot->drawWithContext(context); }, false},
        {"setCenter is not watched, nor what it stores",
         [&] {
             spot->setCenter({3, 4});
             EXPECT_EQ(spot.get()->centerVector(), (std::vector<double>{3, 4}));
         },
         false},
        {"a watched uniform", [&] { spot->setCenterVector({5, 6}); }, true},
        {"an unwatched setter", [&] { spot->setLabel("unwatched"); }, false},
        {"the key-value setter marks for any key", [&] { spot->setValueForKey("still unwatched", "label"); }, true},
        {"the filter itself, outside its proxy, marks nothing", [&] { spot.get()->setRadius(9); }, false},
        {"a handle's call inside another's marks its own filter",
         [&] { spot->setInputA(inner->drawWithContext(context)); }, true},
        {"a read inside a setter's call", [&] { spot->setRadius(spot->radius().value_or(0) + 1); }, true},
        {"the proxy's flag is the filter's",
         [&] { dynamic_cast<LMDrawableCaching&>(*asNode).setNeedsRedraw(true); }, true},
    };
    for (const auto& [what, step, marks] : steps) {
        spot->drawWithContext(context);
        ASSERT_FALSE(spot->needsRedraw()) << what;
        step();
        EXPECT_EQ(spot->needsRedraw(), marks) << what;
    }
    EXPECT_FALSE(inner->needsRedraw());
    EXPECT_EQ(spot->valueForKey("radius"), LMValue(10.0)) << "every setter stored its value";
}
