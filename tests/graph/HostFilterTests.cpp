// Filters and nodes written by a host, as a host writes them: setters that
// store more than their own key, nodes that take the host's own locks, keys
// that are misspelt, kernels that fail, and two classes of one name.

#include "support/LogCapture.h"
#include "support/TexturePixels.h"

#include <lumetra/lumetra_authoring.h>

#include <gtest/gtest.h>

#include <mutex>
#include <thread>
#include <type_traits>

std::shared_ptr<LMDrawable> bluePainterFromAnotherFile();

namespace {

// A host's setter that counts its changes before it stores its control.
class CountingFader : public LMFilterClass<CountingFader, LMFilterSingleInput> {
public:
    std::string kernelSource() const override
    {
        return "void main() { lm_output = texture(lm_input, lm_location).rgb * lm_amount; }";
    }
    std::vector<std::string> controlNames() const override { return {"amount"}; }
    void setAmount(double amount)
    {
        setProperty("changes", numberProperty("changes").value_or(0) + 1);
        setProperty("amount", amount);
    }
};

class Painter : public LMFilterClass<Painter> {
public:
    std::string kernelSource() const override { return "void main() { lm_output = vec3(1.0, 0.0, 0.0); }"; }
};

// A node of the host's own that takes the host's lock while it draws, as a
// node over the host's own data does.
struct LockingNode : LMDrawable {
    std::recursive_mutex hostLock;
    std::thread::id drawnOn;
    std::shared_ptr<LMImage> drawWithContext(const std::shared_ptr<LMContext>& context) override
    {
        std::lock_guard<std::recursive_mutex> lock(hostLock); // drawn on another thread, it would deadlock
        drawnOn = std::this_thread::get_id();
        return LMColor::whiteColor()->drawWithContext(context);
    }
};

// Made any other way than by their class constructors, filters would skip
// their set-up: it does not compile.
static_assert(std::is_abstract_v<LMFilterInvert> && std::is_abstract_v<CountingFader>);

class HostFilters : public testing::Test {
protected:
    std::shared_ptr<LMContext> context = LMContext::contextWithDimensions({16, 8});
};

} // namespace

TEST_F(HostFilters, ASetterThatStoresAnotherKeyFirstStillMarksItsFilter)
{
    context->setCachingEnabled(true);
    auto fader = CountingFader::filterWithInput(LMColor::whiteColor());
    fader->setAmount(1.0);
    EXPECT_EQ(pixelAt(fader->drawWithContext(context), 3, 3), white);
    fader->setAmount(0.0);
    EXPECT_TRUE(fader->needsRedraw());
    EXPECT_EQ(pixelAt(fader->drawWithContext(context), 3, 3), black) << "the cached white image is stale";
}

TEST_F(HostFilters, InputsAreDrawnOnTheCallersThreadUnderTheHostsLock)
{
    auto node = std::make_shared<LockingNode>();
    auto invert = LMFilterInvert::filterWithInput(node);
    std::lock_guard<std::recursive_mutex> held(node->hostLock);
    EXPECT_EQ(pixelAt(invert->drawWithContext(context), 1, 1), black);
    EXPECT_EQ(node->drawnOn, std::this_thread::get_id());
}

TEST_F(HostFilters, AnUnknownKeyIsStoredAndReportedOnceWithTheKeysTheFilterKnows)
{
    auto circle = LMFilterCircle::filter();
    circle->setValueForKey("kept", "note");
    LogCapture log;
    circle->setValueForKey(5.0, "radius");
    circle->setValueForKey("still kept", "note");
    circle->setValueForKey(5.0, "raduis");
    circle->setValueForKey(6.0, "raduis");
    EXPECT_EQ(log.lines(),
              std::vector<std::string>{"LMFilterCircle: No input, control or uniform is named raduis; it is "
                                       "stored, but the filter knows only: radius, centerVector, note"});
    EXPECT_EQ(*circle->valueForKey("raduis").number(), 6.0) << "nothing is lost";
}

TEST_F(HostFilters, TwoClassesOfOneNameDrawTheirOwnPixels)
{
    auto red = Painter::filter();
    auto blue = bluePainterFromAnotherFile();
    EXPECT_EQ(pixelAt(red->drawWithContext(context), 1, 1), ::red);
    EXPECT_EQ(pixelAt(blue->drawWithContext(context), 1, 1), ::blue);
}
