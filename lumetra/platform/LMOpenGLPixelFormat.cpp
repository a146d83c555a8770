#include "lumetra/platform/LMOpenGLPixelFormat.h"

#include "lumetra/platform/LMEGLDisplay.h"
#include "lumetra/platform/LMLog.h"

#include <EGL/egl.h>
#include <EGL/eglext.h>

std::shared_ptr<LMOpenGLPixelFormat> LMOpenGLPixelFormat::pixelFormatWithAttributes(
    const std::vector<uint32_t>& attributes)
{
    std::shared_ptr<LMOpenGLPixelFormat> format(new LMOpenGLPixelFormat());
    if (!format->parse(attributes) || !format->chooseConfig())
        return nullptr;
    return format;
}

bool LMOpenGLPixelFormat::parse(const std::vector<uint32_t>& attributes)
{
    for (size_t i = 0; i < attributes.size() && attributes[i] != 0; ++i) {
        const uint32_t code = attributes[i];
        const bool takesValue = code == LMOpenGLPFAColorSize || code == LMOpenGLPFAAlphaSize ||
                                code == LMOpenGLPFADepthSize || code == LMOpenGLPFAStencilSize ||
                                code == LMOpenGLPFAOpenGLProfile;
        if (takesValue && i + 1 >= attributes.size()) {
            LMLog("LMOpenGLPixelFormat: Attribute %u has no value", code);
            return false;
        }
        const uint32_t value = takesValue ? attributes[++i] : 0;
        switch (code) {
        case LMOpenGLPFADoubleBuffer: doubleBuffer_ = true; break;
        case LMOpenGLPFAColorSize: colorSize_ = static_cast<int>(value); break;
        case LMOpenGLPFAAlphaSize: alphaSize_ = static_cast<int>(value); break;
        case LMOpenGLPFADepthSize: depthSize_ = static_cast<int>(value); break;
        case LMOpenGLPFAStencilSize: stencilSize_ = static_cast<int>(value); break;
        case LMOpenGLPFANoRecovery: noRecovery_ = true; break;
        case LMOpenGLPFAAccelerated: accelerated_ = true; break;
        case LMOpenGLPFAOpenGLProfile:
            if (value == LMOpenGLProfileVersion3_2Core) {
                majorVersion_ = 3;
                minorVersion_ = 2;
            } else if (value == LMOpenGLProfileVersion4_1Core) {
                majorVersion_ = 4;
                minorVersion_ = 1;
            } else {
                LMLog("LMOpenGLPixelFormat: Unsupported OpenGL profile 0x%x", value);
                return false;
            }
            break;
        default: LMLog("LMOpenGLPixelFormat: Ignoring unknown attribute %u", code); break;
        }
    }
    return true;
}

bool LMOpenGLPixelFormat::chooseConfig()
{
    LMEGLDisplay* display = LMEGLDisplay::shared();
    if (!display)
        return false;
    EGLDisplay egl = display->eglDisplay();

    // Off-screen contexts draw only into framebuffer objects and need no config
    // at all; on-screen ones need a config that matches a window.
    const bool needsConfig = doubleBuffer_ || !display->hasExtension("EGL_KHR_no_config_context") ||
                             !display->hasExtension("EGL_KHR_surfaceless_context");
    if (!needsConfig) {
        config_ = EGL_NO_CONFIG_KHR;
        return true;
    }

    // A colour size counts every channel but alpha is asked for separately.
    const int channelBits = colorSize_ >= 24 ? 8 : (colorSize_ > 0 ? colorSize_ / 3 : 8);
    const EGLint configAttributes[] = {
        EGL_SURFACE_TYPE,
        doubleBuffer_ ? EGL_WINDOW_BIT : EGL_PBUFFER_BIT,
        EGL_RENDERABLE_TYPE,
        EGL_OPENGL_BIT,
        EGL_RED_SIZE,
        channelBits,
        EGL_GREEN_SIZE,
        channelBits,
        EGL_BLUE_SIZE,
        channelBits,
        EGL_ALPHA_SIZE,
        alphaSize_,
        EGL_DEPTH_SIZE,
        depthSize_,
        EGL_STENCIL_SIZE,
        stencilSize_,
        EGL_NONE,
    };
    EGLConfig config = nullptr;
    EGLint count = 0;
    if (!eglChooseConfig(egl, configAttributes, &config, 1, &count) || count < 1) {
        LMLog("LMOpenGLPixelFormat: No EGL configuration matches the attributes");
        return false;
    }
    config_ = config;
    return true;
}
