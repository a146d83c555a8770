#include "ChainBuilder.h"
#include "CliError.h"
#include "Commands.h"

#include <lumetra/lumetra.h>

#include <X11/Xlib.h>

#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <thread>

namespace {

volatile std::sig_atomic_t interrupted = 0;

// The window manager's close button arrives as a WM_DELETE_WINDOW message
// once the window says it takes part in that protocol.
struct CloseWatch {
    Display* display;
    Window window;
    Atom deleteWindow;

    CloseWatch(Display* x11, Window x11Window)
        : display(x11), window(x11Window), deleteWindow(XInternAtom(x11, "WM_DELETE_WINDOW", False))
    {
        XSetWMProtocols(display, window, &deleteWindow, 1);
    }
    bool closed()
    {
        XEvent event;
        while (XCheckTypedWindowEvent(display, window, ClientMessage, &event))
            if (static_cast<Atom>(event.xclient.data.l[0]) == deleteWindow)
                return true;
        return false;
    }
    void setTitle(const std::string& title)
    {
        XStoreName(display, window, title.c_str());
        XFlush(display);
    }
};

} // namespace

int viewCommand(const CommandLine& line, LogRecorder& log)
{
    const std::vector<CheckedFilter> chain = checkChain(line.chain);
    // A window needs the X11 platform: asked for before anything opens the display.
    LMEGLDisplay::setPreferredPlatform(LMEGLPlatform::X11);
    const LMEGLDisplay* display = LMEGLDisplay::shared();
    if (!display || display->platform() != LMEGLPlatform::X11 || !display->x11Display()) {
        const char* name = std::getenv("DISPLAY");
        throw CliError(std::string("view needs an X server, and none could be opened") +
                       (name && *name ? std::string(" on DISPLAY=") + name : " (DISPLAY is not set)"));
    }

    std::shared_ptr<LMPicture> picture = readPictureFile(line.inputs.front(), log, 1L << 30);
    const LMSize size = line.size ? LMSize{double(line.size->width), double(line.size->height)} : picture->size();
    auto context = makeContext({1, 1}, log);
    checkSizeFits(size, *context, line.size ? std::string("--size") : "picture " + line.inputs.front());
    checkSizeFits(picture->size(), *context, "picture " + line.inputs.front());
    context->setDimensions(size);
    context->setCachingEnabled(true);
    const LMContentScaleMode fit = line.fit == CliFit::Stretch ? LMContentScaleModeStretch : LMContentScaleModeFill;

    ChainBuilder builder(context, fit, log);
    // At its own size, then resampled to the context's.
    auto source = picture->lumetraImageOfOwnSizeWithContext(context);
    if (!source)
        throw CliError("cannot bring " + line.inputs.front() + " into the GL context");
    source = builder.fitted(source, size);
    auto result = builder.build(chain, source, size);

    auto view = LMDrawableView::viewWithContext(context);
    if (!view->openGLContext())
        throw CliError("no window could be made for the view");
    view->setFrame({0, 0, size.width, size.height});
    view->setHidden(false);
    CloseWatch watch(static_cast<Display*>(display->x11Display()), view->x11Window());
    const std::string title = "lumetra: " + line.inputs.front();
    watch.setTitle(title);

    auto monitor = LMPerformanceMonitor::performanceMonitorWithContext(context);
    monitor->setUsesTimerThread(false);
    monitor->start();

    std::signal(SIGINT, [](int) { interrupted = 1; });
    std::signal(SIGTERM, [](int) { interrupted = 1; });
    const auto start = std::chrono::steady_clock::now();
    auto lastTitle = start;
    const auto framePeriod = std::chrono::microseconds(16667);
    long drawn = 0;
    for (; (line.frames == 0 || drawn < line.frames) && !interrupted && !watch.closed(); ++drawn) {
        const auto frameStart = std::chrono::steady_clock::now();
        if (line.animate) {
            const double t = std::chrono::duration<double>(frameStart - start).count();
            for (const auto& circle : builder.circles()) {
                circle.filter->setRadius(circle.radius * (1 + 0.3 * std::sin(t * 2)));
                circle.filter->setCenter(
                    ChainBuilder::libraryPoint(circle.centerX + 0.15 * circle.size.width * std::cos(t),
                                               circle.centerY + 0.15 * circle.size.height * std::sin(t), circle.size));
            }
            for (const auto& transform : builder.transforms())
                transform.filter->setTransform(ChainBuilder::transformForSteps(transform.steps, transform.size, t));
        }
        monitor->startTiming();
        auto image = result->drawWithContext(context);
        monitor->stopTiming();
        view->setInput(image);

        if (frameStart - lastTitle > std::chrono::milliseconds(500)) {
            char gpu[64];
            std::snprintf(gpu, sizeof(gpu), " (GPU %.2f ms)", monitor->latestResultNanoseconds() / 1e6);
            watch.setTitle(title + gpu);
            lastTitle = frameStart;
        }
        std::this_thread::sleep_until(frameStart + framePeriod);
    }
    monitor->stop();
    std::printf("lumetra view: %ld frames shown, last GPU time %.3f ms\n", drawn,
                monitor->latestResultNanoseconds() / 1e6);
    return 0;
}
