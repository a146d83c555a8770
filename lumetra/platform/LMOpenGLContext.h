#pragma once

#include "lumetra/platform/LMOpenGLPixelFormat.h"

#include <memory>
#include <mutex>

// A GL context on the process's EGL display, made from a pixel format and
// optionally sharing objects with another context. Off-screen contexts are
// surfaceless; a view attaches a window surface of its own.
//
// Threads: no lock of its own (lock and unlock are for its users); the rendering context's is used only on its GL
// queue, a view's under the view's lock. currentContext and clearCurrentContext act on the calling thread.
class LMOpenGLContext : public std::enable_shared_from_this<LMOpenGLContext> {
public:
    // Null, with a log line saying why, when the context cannot be created.
    static std::shared_ptr<LMOpenGLContext> contextWithFormat(const std::shared_ptr<LMOpenGLPixelFormat>& format,
                                                              const std::shared_ptr<LMOpenGLContext>& shareContext);
    ~LMOpenGLContext();

    LMOpenGLContext(const LMOpenGLContext&) = delete;
    LMOpenGLContext& operator=(const LMOpenGLContext&) = delete;

    // Makes this context current on the calling thread.
    void makeCurrentContext();
    // Whether the platform's current GL context of the calling thread is this one.
    bool isCurrent() const;

    // The context last made current on the calling thread through this class,
    // if it is still current there.
    static std::shared_ptr<LMOpenGLContext> currentContext();
    static void clearCurrentContext();
    // Frees the EGL state the calling thread holds; for threads about to end.
    static void releaseThread();

    // The context's lock, for the code that draws with it outside a queue.
    void lock() { mutex_.lock(); }
    void unlock() { mutex_.unlock(); }

    // Attaches an EGL window surface for the X11 window (an Xlib Window id on
    // the process's X11 display), replacing any earlier one; 0 detaches. From
    // then on the context draws into the window whenever it is made current.
    // False, with a log line, when no surface can be made for the window.
    bool setView(unsigned long x11Window);
    unsigned long view() const { return window_; }
    // Shows what was drawn into the attached window. Does nothing without one.
    void flushBuffer();
    // Makes the context, current on the calling thread, draw at its window's
    // present size: call it after the window was resized.
    void update();

    std::shared_ptr<LMOpenGLPixelFormat> pixelFormat() const { return pixelFormat_; }
    void* eglContext() const { return context_; }
    void* eglDisplay() const { return display_; }
    // Whether GL_RENDERER names one of Mesa's software renderers (llvmpipe,
    // softpipe, swrast).
    static bool isSoftwareRenderer(const char* renderer);

private:
    LMOpenGLContext() = default;
    bool rendersInSoftware();
    void* drawSurface() const { return windowSurface_ ? windowSurface_ : fallbackSurface_; }
    void destroyWindowSurface();

    std::shared_ptr<LMOpenGLPixelFormat> pixelFormat_;
    void* display_ = nullptr;
    void* context_ = nullptr;
    // Only for displays that cannot make a context current without a surface.
    void* fallbackSurface_ = nullptr;
    void* windowSurface_ = nullptr;
    unsigned long window_ = 0;
    std::recursive_mutex mutex_;
};
