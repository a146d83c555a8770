#include "lumetra/platform/LMOpenGLContext.h"

#include "lumetra/platform/LMEGLDisplay.h"
#include "lumetra/platform/LMGL.h"
#include "lumetra/platform/LMLog.h"

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <cstring>

namespace {

thread_local std::weak_ptr<LMOpenGLContext> lastMadeCurrent;

bool isSoftwareRenderer(const char* renderer)
{
    if (!renderer)
        return false;
    for (const char* name : {"llvmpipe", "softpipe", "Software Rasterizer", "swrast", "SWR"}) {
        if (std::strstr(renderer, name))
            return true;
    }
    return false;
}

} // namespace

std::shared_ptr<LMOpenGLContext> LMOpenGLContext::contextWithFormat(std::shared_ptr<LMOpenGLPixelFormat> format,
                                                                    std::shared_ptr<LMOpenGLContext> shareContext)
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
        EGL_CONTEXT_MAJOR_VERSION, format->majorVersion(),
        EGL_CONTEXT_MINOR_VERSION, format->minorVersion(),
        EGL_CONTEXT_OPENGL_PROFILE_MASK, EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT,
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

LMOpenGLContext::~LMOpenGLContext()
{
    if (!context_)
        return;
    if (isCurrent())
        eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    // A context still current on another thread is destroyed by EGL once that
    // thread lets go of it.
    eglDestroyContext(display_, context_);
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

void LMOpenGLContext::makeCurrentContext()
{
    eglBindAPI(EGL_OPENGL_API);
    if (!eglMakeCurrent(display_, fallbackSurface_, fallbackSurface_, context_)) {
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
