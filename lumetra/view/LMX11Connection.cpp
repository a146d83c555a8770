#include "lumetra/view/LMX11Connection.h"

#include "lumetra/platform/LMEGLDisplay.h"
#include "lumetra/platform/LMLog.h"

#include <X11/Xlib.h>
#include <atomic>
#include <mutex>
#include <unordered_set>

namespace {

std::atomic<Display*> watched{nullptr};
std::atomic<bool> broken{false};
std::mutex goneMutex;
std::unordered_set<unsigned long> gone;
XErrorHandler previousErrorHandler = nullptr;
XIOErrorHandler previousIOErrorHandler = nullptr;

Display* libraryDisplay()
{
    LMEGLDisplay* display = LMEGLDisplay::shared();
    return display ? static_cast<Display*>(display->x11Display()) : nullptr;
}

int recordError(Display* display, XErrorEvent* error)
{
    if (display != watched.load())
        return previousErrorHandler ? previousErrorHandler(display, error) : 0;
    if (error->error_code == BadWindow || error->error_code == BadDrawable) {
        std::lock_guard<std::mutex> lock(goneMutex);
        gone.insert(error->resourceid);
        return 0;
    }
    // Anything else is a mistake of ours: said, and then the work goes on.
    char text[128] = {};
    XGetErrorText(display, error->error_code, text, sizeof(text));
    LMLog("LMDrawableView: X error %s (request %d.%d, resource 0x%lx); going on", text, error->request_code,
          error->minor_code, error->resourceid);
    return 0;
}

// Xlib calls the I/O error handler and then the connection's exit handler;
// both return here, which leaves the connection marked as broken.
int recordIOError(Display* display)
{
    if (display != watched.load())
        return previousIOErrorHandler ? previousIOErrorHandler(display) : 0;
    broken = true;
    return 0;
}

void recordExit(Display*, void*)
{
    broken = true;
}

} // namespace

void* LMX11Connection::display()
{
    return broken ? nullptr : libraryDisplay();
}

void LMX11Connection::watch()
{
    static std::once_flag once;
    std::call_once(once, [] {
        Display* display = libraryDisplay();
        if (!display)
            return;
        watched = display;
        previousErrorHandler = XSetErrorHandler(recordError);
        previousIOErrorHandler = XSetIOErrorHandler(recordIOError);
        XSetIOErrorExitHandler(display, recordExit, nullptr);
    });
}

bool LMX11Connection::check()
{
    Display* display = watched.load();
    if (!display || broken)
        return !broken;
    // Sends what is buffered and reads what has come, without blocking; a
    // connection the server closed is found here and reported to the
    // handlers above.
    XEventsQueued(display, QueuedAfterFlush);
    return !broken;
}

bool LMX11Connection::lost()
{
    return broken;
}

bool LMX11Connection::resourceGone(unsigned long resource)
{
    std::lock_guard<std::mutex> lock(goneMutex);
    return gone.count(resource) != 0;
}

void LMX11Connection::forget(unsigned long resource)
{
    std::lock_guard<std::mutex> lock(goneMutex);
    gone.erase(resource);
}
