// Graphs a careless or hostile host builds: nodes that let go of their own
// owners while they are drawn, filters whose inputs change during their own
// draw, chains deeper than any stack, and kernels that write nothing.

#include "support/LogCapture.h"
#include "support/TexturePixels.h"

#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

#include <functional>
#include <pthread.h>

namespace {

constexpr LMSize size{8, 8};

// A host's node that runs a callback in the middle of its draw and then
// uses its own members, as real nodes do: if the callback freed it, the
// address sanitizer reports the use.
class CallbackNode : public LMDrawable {
public:
    std::function<void()> duringDraw;
    std::shared_ptr<LMDrawable> source = LMColor::colorWithRed(0.2, 0.4, 0.6);

    std::shared_ptr<LMImage> drawWithContext(const std::shared_ptr<LMContext>& context) override
    {
        if (auto callback = std::exchange(duringDraw, nullptr))
            callback();
        return source->drawWithContext(context);
    }
};

// Runs `work` on a thread with a stack of `bytes`, as a host's worker with a
// small stack would.
void runOnStackOf(size_t bytes, const std::function<void()>& work)
{
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, bytes);
    pthread_t thread;
    auto run = [](void* argument) -> void* {
        (*static_cast<const std::function<void()>*>(argument))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, const_cast<std::function<void()>*>(&work)), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

// Sanitizers make each frame several times larger.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr size_t smallStack = 8u << 20;
#else
constexpr size_t smallStack = 1u << 20;
#endif

std::shared_ptr<LMDrawable> chainOfInverts(std::shared_ptr<LMDrawable> bottom, int length)
{
    for (int i = 0; i < length; ++i)
        bottom = LMFilterInvert::filterWithInput(std::move(bottom));
    return bottom;
}

} // namespace

// The node whose draw is running keeps itself alive however its last owner
// goes: a passthrough's input replaced from the input's own draw, a proxy
// given another filter, the host's only handle dropped.
TEST(HostileGraphs, NodesLiveThroughTheirOwnDraw)
{
    auto context = LMContext::contextWithDimensions(size);
    const Pixel source = {51, 102, 153, 255}, inverse = {204, 153, 102, 255};

    auto passthrough = LMPassthrough::passthrough();
    auto node = std::make_shared<CallbackNode>();
    node->duringDraw = [&] { passthrough->setInput(nullptr); };
    passthrough->setInput(std::exchange(node, nullptr));
    EXPECT_EQ(pixelAt(passthrough->drawWithContext(context), 0, 0), source);

    auto swapped = LMFilterInvert::filter();
    auto input = std::make_shared<CallbackNode>();
    input->duringDraw = [&] { swapped.proxy()->setTarget(LMFilterInvert::filter().target()); };
    swapped->setInput(input);
    EXPECT_EQ(pixelAt(swapped->drawWithContext(context), 0, 0), inverse);

    auto handle = std::make_shared<LMFilterRef<LMFilterInvert>>(LMFilterInvert::filter());
    std::shared_ptr<LMDrawable> root = *handle;
    input->duringDraw = [&] { handle.reset(), root.reset(); };
    (*handle)->setInput(input);
    auto image = std::shared_ptr<LMDrawable>(root)->drawWithContext(context);
    EXPECT_EQ(pixelAt(image, 0, 0), inverse);
}

// Input names changed from inside the filter's own draw (by one of its
// inputs) take effect at the next draw; the draw writes nothing out of
// bounds and every lease goes back.
TEST(HostileGraphs, InputNamesChangedDuringTheFiltersOwnDraw)
{
    auto context = LMContext::contextWithDimensions(size);
    auto max = LMFilterMax2::filter();
    auto node = std::make_shared<CallbackNode>();
    for (const std::vector<std::string>& names :
         {std::vector<std::string>{"inputA", "inputB", "c", "d", "e"}, std::vector<std::string>{}}) {
        node->duringDraw = [&, names] { max.get()->setInputNames(names); };
        max.get()->setInputNames({"inputA", "inputB"});
        max->setInputA(node);
        EXPECT_EQ(pixelAt(max->drawWithContext(context), 0, 0), (Pixel{51, 102, 153, 255}));
        max->drawWithContext(context);
    }
    max = nullptr;
    node = nullptr;
    EXPECT_EQ(context->renderTargetPool()->objectsUsed(), 0u);
}

// Chains drawn on a thread with a small stack, which a recursion without
// bound would overflow.
class DeepChains : public testing::Test {
protected:
    std::shared_ptr<LMContext> context = LMContext::contextWithDimensions(size);
    std::shared_ptr<LMDrawable> colour = LMColor::colorWithRed(0.2, 0.4, 0.6);
    LogCapture log;
};

// An even number of inverts gives the colour back.
TEST_F(DeepChains, DrawExactlyAtTheGraphsDepthLimit)
{
    runOnStackOf(smallStack, [&] {
        auto atLimit = chainOfInverts(colour, LMGraphDepth::maximumDepth);
        EXPECT_EQ(pixelAt(atLimit->drawWithContext(context), 0, 0), (Pixel{51, 102, 153, 255}));
    });
    EXPECT_TRUE(log.lines().empty());
}

// The node past the limit draws black and says so once.
TEST_F(DeepChains, AreRefusedPastTheLimitWithOneLine)
{
    runOnStackOf(smallStack, [&] {
        auto beyond = chainOfInverts(colour, LMGraphDepth::maximumDepth + 1);
        for (int frame = 0; frame < 2; ++frame) {
            std::dynamic_pointer_cast<LMDrawableCaching>(beyond)->updateNeedsRedraw();
            EXPECT_EQ(pixelAt(beyond->drawWithContext(context), 0, 0), black) << "1,000 inverts of black";
        }
    });
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_TRUE(log.lines()[0].starts_with("LMFilter: The graph is more than 1000 nodes deep at <LMFilterInvert"))
        << log.lines()[0];
}

TEST_F(DeepChains, FarLongerThanAnyStackAreReleasedWithoutRecursion)
{
    runOnStackOf(smallStack, [&] {
        auto passthroughs = LMPassthrough::passthroughWithInput(chainOfInverts(colour, 20000));
        for (int i = 0; i < 20000; ++i)
            passthroughs = LMPassthrough::passthroughWithInput(passthroughs);
        passthroughs = nullptr;
    });
}

// A kernel that writes nothing, or discards every pixel, leaves what the
// leased target held before: targets are not cleared before a draw.
TEST(HostileGraphs, AKernelThatDiscardsLeavesTheTargetsFormerPixels)
{
    class Discarding : public LMFilterClass<Discarding> {
    public:
        std::string kernelSource() const override { return "void main() { discard; }"; }
    };
    auto context = LMContext::contextWithDimensions(size);
    LMColor::colorWithRed(0.2, 0.4, 0.6)->drawWithContext(context); // its target goes back to the pool
    EXPECT_EQ(pixelAt(Discarding::filter()->drawWithContext(context), 0, 0), (Pixel{51, 102, 153, 255}));
}
