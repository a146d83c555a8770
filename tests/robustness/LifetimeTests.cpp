// Contexts that go while objects still refer to them, and graphs that are
// their own input.

#include "robustness/Robustness.h"
#include "support/ProcessStats.h"

#include <functional>

using namespace robustness;

constexpr LMSize size{32, 24};

// Every kind of object is made with a context, the context goes, and each
// object is used again: what needs the context does nothing (or logs), and
// with the next context everything draws as before. Repeated, so that a
// leaked thread, GL context or image shows as growth.
TEST(ContextsThatGo, LeaveEveryObjectHarmlessAndLeakNothing)
{
    const LMRGBA cyan{0, 1, 1, 1};
    const int threadsBefore = threadCount();
    auto next = LMContext::contextWithDimensions(size);
    long residentAfterWarmUp = 0;
    constexpr int rounds = 24;
    for (int round = 0; round < rounds; ++round) {
        if (round == 4)
            residentAfterWarmUp = residentKilobytes();
        auto context = LMContext::contextWithDimensions(size);
        auto picture = halvesPicture(4, 2);
        const GLuint texture = picture->glTextureWithContext(context);
        auto image = LMColor::redColor()->drawWithContext(context);
        auto invert = LMFilterInvert::filterWithInput(LMColor::redColor());
        invert->setUsesCustomOutputSize(true);
        invert->setCustomOutputSize({16, 12});
        ASSERT_EQ(corner(invert->drawWithContext(context)), cyan);
        auto accumulator = LMImageAccumulator::accumulatorWithContext(context);
        accumulator->setImage(invert);
        auto adapter = LMOpenGLTextureAdapter::adapterWithContext(context);
        auto converted = adapter->convertTexture(texture, {4, 2});
        auto adapterFilter = LMFilterOpenGLTextureAdapter::filterWithContext(context);
        adapterFilter->setTexture(texture);
        adapterFilter->setTextureSize({4, 2});
        ASSERT_EQ(corner(adapterFilter->drawWithContext(context)), red);
        auto monitor = LMPerformanceMonitor::performanceMonitorWithContext(context);
        monitor->setInterval(0.001);
        monitor->startTiming();

        LogCapture log;
        context.reset();

        EXPECT_FALSE(image->readPixelColorLowerLeft());
        image->bind();
        EXPECT_FALSE(image->debugQuickLookObject());
        EXPECT_EQ(image->drawWithContext(next), image);
        EXPECT_EQ(adapter->convertTexture(texture, {4, 2}), converted) << "nothing converted without a context";
        accumulator->setImage(LMColor::redColor());
        monitor->stopTiming();
        monitor->startTiming();
        monitor->tick();
        monitor->start();
        EXPECT_FALSE(monitor->timerQueryCreated());
        EXPECT_FALSE(picture->lumetraImageWithContext(adapter->context()));
        EXPECT_EQ(log.lines(), std::vector<std::string>{"LMImageAccumulator: Image was set before context."});

        EXPECT_EQ(corner(invert->drawWithContext(next)), cyan);
        EXPECT_EQ(corner(accumulator->drawWithContext(next)), black);
        EXPECT_EQ(corner(adapter->drawWithContext(next)), black);
        accumulator->setContext(next);
        accumulator->setImage(LMColor::redColor());
        EXPECT_EQ(corner(accumulator->drawWithContext(next)), red);
        monitor->setContext(next);
        monitor->start();
        monitor->startTiming();
        monitor->stopTiming();
        EXPECT_TRUE(monitor->timerQueryCreated());
        EXPECT_EQ(log.lines().size(), 1u);
    }
    expectStillDrawing(next, "contexts that went before their objects");
    next.reset();
    EXPECT_EQ(threadCount(), threadsBefore) << "every GL and monitor thread has ended";
    EXPECT_LT(residentKilobytes() - residentAfterWarmUp, 8 * 1024) << "resident memory after " << rounds << " rounds";
}

// A block that lets go of the last reference to its own context: the
// context ends on its own GL thread, after the block.
TEST(ContextsThatGo, EvenFromInsideTheirOwnBlock)
{
    const int threadsBefore = threadCount();
    auto context = LMContext::contextWithDimensions(size);
    auto image = LMColor::redColor()->drawWithContext(context);
    auto* raw = context.get();
    raw->executeOpenGL([&] { context.reset(); });
    EXPECT_FALSE(image->readPixelColorLowerLeft());
    image.reset();
    for (int wait = 0; wait < 200 && threadCount() != threadsBefore; ++wait)
        usleep(5000);
    EXPECT_EQ(threadCount(), threadsBefore);
    expectStillDrawing(LMContext::contextWithDimensions(size), "a context that ended inside its own block");
}

// A graph that is its own input, directly or through other nodes: the node
// where the cycle closes draws black and says so once; nothing recurses
// without end, with caching on or off.
TEST(GraphCycles, DrawBlackAndAreReportedOnce)
{
    auto context = LMContext::contextWithDimensions(size);
    struct Cycle {
        std::string what;
        std::shared_ptr<LMDrawableCaching> root;
        std::string reported;
        std::function<void()> breakCycle;
    };
    auto makeCycles = [] {
        std::vector<Cycle> cycles;
        auto self = LMFilterInvert::filter();
        self->setInput(self);
        cycles.push_back({"an inverter of itself", self, "<LMFilterInvert: ", [self] { self->setInput(nullptr); }});

        auto max = LMFilterMax2::filter();
        auto through = LMPassthrough::passthroughWithInput(max);
        max->setInputA(LMFilterInvert::filterWithInput(through));
        max->setInputB(LMColor::redColor());
        cycles.push_back({"a maximum through an inverter and a passthrough", max, "<LMFilterMax2: ",
                          [through] { through->setInput(nullptr); }});

        auto first = LMPassthrough::passthrough();
        auto second = LMPassthrough::passthroughWithInput(first);
        first->setInput(second);
        cycles.push_back({"two passthroughs", first, "<LMPassthrough: ", [first] { first->setInput(nullptr); }});

        auto inner = LMFilterInvert::filter();
        inner->setInput(inner);
        auto fader = LMFilterFader::filterWithInput(inner);
        fader->setControl(1.0);
        cycles.push_back({"a fader over a cycle", fader, "<LMFilterInvert: ", [inner] { inner->setInput(nullptr); }});
        return cycles;
    };

    for (const bool caching : {false, true}) {
        context->setCachingEnabled(caching);
        for (const Cycle& cycle : makeCycles()) {
            const std::string what = cycle.what + (caching ? ", caching" : "");
            ++inputsTried;
            LogCapture log;
            for (int frame = 0; frame < 2; ++frame) {
                if (caching)
                    cycle.root->updateNeedsRedraw();
                auto image = cycle.root->drawWithContext(context);
                ASSERT_TRUE(image) << what;
                EXPECT_EQ(corner(image), black) << what;
            }
            ASSERT_EQ(log.lines().size(), 1u) << what << ":" << joined(log.lines());
            EXPECT_NE(log.lines()[0].find("cycle through " + cycle.reported), std::string::npos) << log.lines()[0];
            cycle.breakCycle();
            expectStillDrawing(context, what);
        }
    }
}
