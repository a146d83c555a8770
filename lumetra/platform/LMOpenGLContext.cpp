#include "lumetra/platform/LMOpenGLContext.h"

#include "lumetra/platform/LMEGLDisplay.h"
#include "lumetra/platform/LMGL.h"
#include "lumetra/platform/LMLog.h"

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <X11/Xlib.h>
#include <cstring>
#include <vector>

namespace {

thread_local std::weak_ptr<LMOpenGLContext> lastMadeCurrent;

// A window surface needs a config whose native visual is the window's. Of
// those, one that can keep the back buffer across a swap is preferred, so
// that what a frame does not draw over stays on screen.
EGLConfig windowConfig(EGLDisplay display, Display* x11, Window window)
{
    XWindowAttributes attributes;
    if (!XGetWindowAttributes(x11, window, &attributes))
        return nullptr;
    const VisualID visual = XVisualIDFromVisual(attributes.visual);

    const EGLint wanted[] = {EGL_SURFACE_TYPE, EGL_WINDOW_BIT, EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT, EGL_NONE};
    EGLint count = 0;
    if (!eglChooseConfig(display, wanted, nullptr, 0, &count) || count <= 0)
        return nullptr;
    std::vector<EGLConfig> configs(static_cast<size_t>(count));
    eglChooseConfig(display, wanted, configs.data(), count, &count);

    EGLConfig chosen = nullptr;
    for (EGLConfig config : configs) {
        EGLint nativeVisual = 0, surfaceType = 0;
        eglGetConfigAttrib(display, config, EGL_NATIVE_VISUAL_ID, &nativeVisual);
        eglGetConfigAttrib(display, config, EGL_SURFACE_TYPE, &surfaceType);
        if (static_cast<VisualID>(nativeVisual) != visual)
            continue;
        if (surfaceType & EGL_SWAP_BEHAVIOR_PRESERVED_BIT)
            return config;
        if (!chosen)
            chosen = config;
    }
    return chosen;
}

} // namespace

std::shared_ptr<LMOpenGLContext> LMOpenGLContext::contextWithFormat(
    const std::shared_ptr<LMOpenGLPixelFormat>& format, const std::shared_ptr<LMOpenGLContext>& shareContext)
{
    LMEGLDisplay* display = LMEGLDisplay::shared();
    if (!format || !display)
        return nullptr;

    std::shared_ptr<LMOpenGLContext> context(new LMOpenGLContext());
    context->pixelFormat_ = format;
    context->display_ = display->eglDisplay();

    if (!eglBindAPI(EGL_OPENGL_API)) {
        LMLog("LMOpenGLContext: This EGL display offers no desktop OpenGL");
        return nullptr;
    }
    const EGLint contextAttributes[] = {
        EGL_CONTEXT_MAJOR_VERSION,
        format->majorVersion(),
        EGL_CONTEXT_MINOR_VERSION,
        format->minorVersion(),
        EGL_CONTEXT_OPENGL_PROFILE_MASK,
        EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT,
        EGL_NONE,
    };
    context->context_ = eglCreateContext(context->display_, format->eglConfig(),
                                         shareContext ? shareContext->context_ : EGL_NO_CONTEXT, contextAttributes);
    if (context->context_ == EGL_NO_CONTEXT) {
        LMLog("LMOpenGLContext: eglCreateContext failed with EGL error 0x%x", eglGetError());
        return nullptr;
    }

    if (!format->doubleBuffer() && !display->hasExtension("EGL_KHR_surfaceless_context")) {
        const EGLint pbufferAttributes[] = {EGL_WIDTH, 1, EGL_HEIGHT, 1, EGL_NONE};
        context->fallbackSurface_ = eglCreatePbufferSurface(context->display_, format->eglConfig(), pbufferAttributes);
    }

    if (format->accelerated() && format->noRecovery() && display->hardwareAvailable() && context->rendersInSoftware())
        return nullptr;
    return context;
}

bool LMOpenGLContext::isSoftwareRenderer(const char* renderer)
{
    if (!renderer)
        return false;
    for (const char* name : {"llvmpipe", "softpipe", "Software Rasterizer", "swrast", "SWR"}) {
        if (std::strstr(renderer, name))
            return true;
    }
    return false;
}

LMOpenGLContext::~LMOpenGLContext()
{
    if (!context_)
        return;
    if (isCurrent())
        eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    // A context still current on another thread is destroyed by EGL once that
    // thread lets go of it.
    eglDestroyContext(display_, context_);
    if (windowSurface_)
        eglDestroySurface(display_, windowSurface_);
    if (fallbackSurface_)
        eglDestroySurface(display_, fallbackSurface_);
}

bool LMOpenGLContext::rendersInSoftware()
{
    // Look at the renderer on the calling thread, then put back what was current.
    const EGLenum previousAPI = eglQueryAPI();
    EGLDisplay previousDisplay = eglGetCurrentDisplay();
    EGLContext previousContext = eglGetCurrentContext();
    EGLSurface previousDraw = eglGetCurrentSurface(EGL_DRAW);
    EGLSurface previousRead = eglGetCurrentSurface(EGL_READ);

    const char* renderer = nullptr;
    if (eglMakeCurrent(display_, fallbackSurface_, fallbackSurface_, context_))
        renderer = reinterpret_cast<const char*>(glGetString(GL_RENDERER));
    const bool software = isSoftwareRenderer(renderer);
    if (software)
        LMLog("LMOpenGLContext: Refusing the software renderer %s where a hardware renderer exists", renderer);

    if (previousContext != EGL_NO_CONTEXT) {
        eglBindAPI(previousAPI);
        eglMakeCurrent(previousDisplay, previousDraw, previousRead, previousContext);
    } else {
        eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    }
    return software;
}

bool LMOpenGLContext::setView(unsigned long x11Window)
{
    if (!context_ || x11Window == window_)
        return true;
    destroyWindowSurface();
    if (x11Window == 0)
        return true;

    LMEGLDisplay* display = LMEGLDisplay::shared();
    Display* x11 = display ? static_cast<Display*>(display->x11Display()) : nullptr;
    if (!x11) {
        LMLog("LMOpenGLContext: Window surfaces need the X11 platform, not the %s platform",
              LMEGLDisplay::platformName(display ? display->platform() : LMEGLPlatform::Automatic));
        return false;
    }
    EGLConfig config = windowConfig(display_, x11, static_cast<Window>(x11Window));
    Window window = static_cast<Window>(x11Window);
    EGLSurface surface = config ? eglCreatePlatformWindowSurface(display_, config, &window, nullptr) : EGL_NO_SURFACE;
    if (surface == EGL_NO_SURFACE) {
        LMLog("LMOpenGLContext: No window surface for X11 window 0x%lx (EGL error 0x%x)", x11Window, eglGetError());
        return false;
    }
    EGLint surfaceType = 0;
    eglGetConfigAttrib(display_, config, EGL_SURFACE_TYPE, &surfaceType);
    if (surfaceType & EGL_SWAP_BEHAVIOR_PRESERVED_BIT)
        eglSurfaceAttrib(display_, surface, EGL_SWAP_BEHAVIOR, EGL_BUFFER_PRESERVED);

    windowSurface_ = surface;
    window_ = x11Window;
    // A context already current here would go on drawing where it was.
    if (isCurrent())
        makeCurrentContext();
    return true;
}

void LMOpenGLContext::destroyWindowSurface()
{
    if (!windowSurface_)
        return;
    EGLSurface surface = windowSurface_;
    windowSurface_ = nullptr;
    window_ = 0;
    // Off the surface first: EGL would keep a current surface alive, and its
    // window may be destroyed right after.
    if (isCurrent() && !eglMakeCurrent(display_, drawSurface(), drawSurface(), context_))
        clearCurrentContext();
    eglDestroySurface(display_, surface);
}

void LMOpenGLContext::flushBuffer()
{
    if (windowSurface_)
        eglSwapBuffers(display_, windowSurface_);
}

void LMOpenGLContext::update()
{
    if (!windowSurface_ || !isCurrent())
        return;
    // Binding the surface again makes EGL read the window's size anew; Mesa
    // would otherwise draw the next frame at the size it last saw.
    eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    if (!eglMakeCurrent(display_, windowSurface_, windowSurface_, context_))
        LMLog("LMOpenGLContext: eglMakeCurrent failed with EGL error 0x%x", eglGetError());
}

void LMOpenGLContext::makeCurrentContext()
{
    eglBindAPI(EGL_OPENGL_API);
    if (!eglMakeCurrent(display_, drawSurface(), drawSurface(), context_)) {
        LMLog("LMOpenGLContext: eglMakeCurrent failed with EGL error 0x%x", eglGetError());
        return;
    }
    lastMadeCurrent = weak_from_this();
}

bool LMOpenGLContext::isCurrent() const
{
    return context_ && eglGetCurrentContext() == context_;
}

std::shared_ptr<LMOpenGLContext> LMOpenGLContext::currentContext()
{
    std::shared_ptr<LMOpenGLContext> context = lastMadeCurrent.lock();
    return context && context->isCurrent() ? context : nullptr;
}

void LMOpenGLContext::clearCurrentContext()
{
    if (EGLDisplay display = eglGetCurrentDisplay(); display != EGL_NO_DISPLAY)
        eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    lastMadeCurrent.reset();
}

void LMOpenGLContext::releaseThread()
{
    lastMadeCurrent.reset();
    eglReleaseThread();
}
