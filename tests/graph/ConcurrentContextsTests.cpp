#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

#include <barrier>
#include <cmath>
#include <thread>
#include <vector>

// Several hosts at once: each thread makes its own context and draws its own
// chain while the others draw theirs, so the GL queues, the EGL display, the
// driver and the handles' call scopes are all in use from several threads
// together. With caching on, a frame shows its control only if the handle's
// setter marked the fader on that thread.
TEST(ConcurrentContexts, DrawTheirOwnChainsOnTheirOwnThreadsAtOnce)
{
    constexpr int threads = 4, frames = 30;
    std::barrier start(threads);
    std::vector<int> wrongPixels(threads, 0);
    std::vector<std::thread> hosts;
    for (int t = 0; t < threads; ++t) {
        hosts.emplace_back([&, t] {
            auto context = LMContext::contextWithDimensions({24.0 + 8 * t, 16.0 + 4 * t});
            context->setCachingEnabled(true);
            const double red = 0.1 + 0.2 * t, green = 0.9 - 0.2 * t;
            auto fader =
                LMFilterFader::filterWithInput(LMFilterInvert::filterWithInput(LMColor::colorWithRed(red, green, 0.5)));
            start.arrive_and_wait();
            for (double control = 1.0 / frames; control <= 1; control += 1.0 / frames) {
                fader->setControl(control);
                const LMRGBA pixel = fader->drawWithContext(context)->readPixelColorAtX(5 + t, 3).value_or(LMRGBA{});
                // Targets hold 16 bits, read-back gives 8.
                wrongPixels[t] += std::abs(pixel.red - (1 - red) * control) >= 0.6 / 255 ||
                                  std::abs(pixel.green - (1 - green) * control) >= 0.6 / 255 ||
                                  std::abs(pixel.blue - 0.5 * control) >= 0.6 / 255;
            }
        });
    }
    for (auto& host : hosts)
        host.join();
    EXPECT_EQ(wrongPixels, std::vector<int>(threads, 0));
}
