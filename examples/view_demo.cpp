// A live graph in a window: a circle mask that wanders and breathes, the
// larger of it and an inverted colour, through a fader that pulses, shown by
// a view that encodes the linear result to sRGB. The GPU time of the frames
// is printed once a second.
//
//     view-demo              runs until interrupted
//     view-demo --frames N   draws N frames and exits: 0 when they were shown
//
// It needs an X server (DISPLAY); under none it says so and exits with 1.

#include <lumetra/lumetra.h>

#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace {

volatile std::sig_atomic_t interrupted = 0;

} // namespace

int main(int argc, char** argv)
{
    long frames = -1;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--frames") == 0 && i + 1 < argc) {
            frames = std::strtol(argv[++i], nullptr, 10);
        } else {
            std::fprintf(stderr, "usage: %s [--frames N]\n", argv[0]);
            return 2;
        }
    }
    std::signal(SIGINT, [](int) { interrupted = 1; });

    const LMSize size{640, 360};
    auto context = LMContext::contextWithDimensions(size);
    auto view = LMDrawableView::viewWithContext(context);
    if (!view->openGLContext()) {
        std::fprintf(stderr, "view-demo: no window to show the graph in\n");
        return 1;
    }
    view->setFrame({0, 0, size.width, size.height});
    view->setShouldConvertToSRGB(true);
    view->setHidden(false);

    auto circle = LMFilterCircle::filter();
    auto inverted = LMFilterInvert::filterWithInput(LMColor::colorWithRed(0.95, 0.75, 0.4));
    auto maxed = LMFilterMax2::filter();
    maxed->setInputA(circle);
    maxed->setInputB(inverted);
    auto fader = LMFilterFader::filterWithInput(maxed);

    auto monitor = LMPerformanceMonitor::performanceMonitorWithContext(context);
    auto reporter = std::make_shared<long>(0);
    monitor->setTargetAction({reporter, [](long&, LMPerformanceMonitor& m) {
                                  std::printf("GPU time of a frame: %.2f ms\n", m.latestResultNanoseconds() / 1e6);
                                  std::fflush(stdout);
                              }});
    monitor->setInterval(1.0);
    monitor->start();

    const auto start = std::chrono::steady_clock::now();
    const auto framePeriod = std::chrono::microseconds(16667);
    long drawn = 0;
    for (; (frames < 0 || drawn < frames) && !interrupted; ++drawn) {
        const auto frameStart = std::chrono::steady_clock::now();
        const double t = std::chrono::duration<double>(frameStart - start).count();
        circle->setCenterVector({size.width / 2 + 160 * std::cos(t * 0.7), size.height / 2 + 90 * std::sin(t * 1.1)});
        circle->setRadius(60 + 40 * std::sin(t * 2.0));
        fader->setControl(0.75 + 0.25 * std::sin(t * 3.0));

        monitor->startTiming();
        auto image = fader->drawWithContext(context);
        monitor->stopTiming();
        view->setInput(image);

        std::this_thread::sleep_until(frameStart + framePeriod);
    }
    monitor->stop();
    std::printf("view-demo: %ld frames shown in window 0x%lx\n", drawn, view->x11Window());
    return view->framebufferComplete() ? 0 : 1;
}
