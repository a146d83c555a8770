#include "lumetra/platform/LMEGLDisplay.h"

#include "lumetra/platform/LMLog.h"

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <X11/Xlib.h>
#include <cstring>
#include <mutex>
#include <vector>

namespace {

std::mutex displayMutex;
LMEGLPlatform preferredPlatform = LMEGLPlatform::Automatic;
bool displayOpened = false;
LMEGLDisplay* openedDisplay = nullptr;

bool hasWord(const char* list, const char* word)
{
    if (!list)
        return false;
    const size_t length = std::strlen(word);
    for (const char* p = std::strstr(list, word); p; p = std::strstr(p + 1, word)) {
        const bool startsWord = p == list || p[-1] == ' ';
        const bool endsWord = p[length] == ' ' || p[length] == '\0';
        if (startsWord && endsWord)
            return true;
    }
    return false;
}

struct Devices {
    std::vector<EGLDeviceEXT> hardware;
    std::vector<EGLDeviceEXT> software;
};

Devices enumerateDevices(const char* clientExtensions)
{
    Devices devices;
    // EGL_EXT_device_base is enumeration and query under one older name,
    // which some vendors list instead of the two.
    if (!hasWord(clientExtensions, "EGL_EXT_device_enumeration") && !hasWord(clientExtensions, "EGL_EXT_device_base"))
        return devices;
    auto queryDevices = reinterpret_cast<PFNEGLQUERYDEVICESEXTPROC>(eglGetProcAddress("eglQueryDevicesEXT"));
    auto queryString = reinterpret_cast<PFNEGLQUERYDEVICESTRINGEXTPROC>(eglGetProcAddress("eglQueryDeviceStringEXT"));
    if (!queryDevices || !queryString)
        return devices;
    EGLint count = 0;
    if (!queryDevices(0, nullptr, &count) || count <= 0)
        return devices;
    std::vector<EGLDeviceEXT> all(static_cast<size_t>(count));
    queryDevices(count, all.data(), &count);
    all.resize(static_cast<size_t>(count));
    for (EGLDeviceEXT device : all) {
        const bool software = hasWord(queryString(device, EGL_EXTENSIONS), "EGL_MESA_device_software");
        (software ? devices.software : devices.hardware).push_back(device);
    }
    return devices;
}

EGLDisplay initialised(EGLDisplay display)
{
    if (display == EGL_NO_DISPLAY)
        return EGL_NO_DISPLAY;
    EGLint major = 0, minor = 0;
    if (!eglInitialize(display, &major, &minor))
        return EGL_NO_DISPLAY;
    return display;
}

} // namespace

bool LMEGLDisplay::setPreferredPlatform(LMEGLPlatform platform)
{
    std::lock_guard<std::mutex> lock(displayMutex);
    if (displayOpened)
        return false;
    preferredPlatform = platform;
    return true;
}

LMEGLDisplay* LMEGLDisplay::shared()
{
    std::lock_guard<std::mutex> lock(displayMutex);
    if (!displayOpened) {
        displayOpened = true;
        openedDisplay = open(preferredPlatform);
    }
    return openedDisplay;
}

const char* LMEGLDisplay::platformName(LMEGLPlatform platform)
{
    switch (platform) {
    case LMEGLPlatform::Automatic: return "automatic";
    case LMEGLPlatform::X11: return "X11";
    case LMEGLPlatform::Device: return "device";
    case LMEGLPlatform::Surfaceless: return "surfaceless";
    }
    return "unknown";
}

bool LMEGLDisplay::hasExtension(const char* name) const
{
    return hasWord(extensions_.c_str(), name);
}

LMEGLDisplay* LMEGLDisplay::open(LMEGLPlatform preferred)
{
    const char* clientExtensions = eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS);
    const Devices devices = enumerateDevices(clientExtensions);
    const bool automatic = preferred == LMEGLPlatform::Automatic;

    auto result = new LMEGLDisplay();
    result->hardwareAvailable_ = !devices.hardware.empty();
    EGLDisplay display = EGL_NO_DISPLAY;

    if ((automatic || preferred == LMEGLPlatform::X11) && hasWord(clientExtensions, "EGL_KHR_platform_x11")) {
        // Views and rendering contexts share one display, and views draw from
        // more than one thread.
        XInitThreads();
        if (Display* x11 = XOpenDisplay(nullptr)) {
            display = initialised(eglGetPlatformDisplay(EGL_PLATFORM_X11_KHR, x11, nullptr));
            if (display != EGL_NO_DISPLAY) {
                result->x11Display_ = x11;
                result->platform_ = LMEGLPlatform::X11;
            } else {
                XCloseDisplay(x11);
            }
        }
    }

    const bool deviceAllowed = hasWord(clientExtensions, "EGL_EXT_platform_device");
    // A GPU comes before any software renderer.
    if (display == EGL_NO_DISPLAY && deviceAllowed && (automatic || preferred == LMEGLPlatform::Device)) {
        for (EGLDeviceEXT device : devices.hardware) {
            display = initialised(eglGetPlatformDisplay(EGL_PLATFORM_DEVICE_EXT, device, nullptr));
            if (display != EGL_NO_DISPLAY)
                break;
        }
        if (display != EGL_NO_DISPLAY)
            result->platform_ = LMEGLPlatform::Device;
    }

    if (display == EGL_NO_DISPLAY && (automatic || preferred == LMEGLPlatform::Surfaceless) &&
        hasWord(clientExtensions, "EGL_MESA_platform_surfaceless")) {
        display = initialised(eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr));
        if (display != EGL_NO_DISPLAY)
            result->platform_ = LMEGLPlatform::Surfaceless;
    }

    if (display == EGL_NO_DISPLAY && deviceAllowed && (automatic || preferred == LMEGLPlatform::Device)) {
        for (EGLDeviceEXT device : devices.software) {
            display = initialised(eglGetPlatformDisplay(EGL_PLATFORM_DEVICE_EXT, device, nullptr));
            if (display != EGL_NO_DISPLAY)
                break;
        }
        if (display != EGL_NO_DISPLAY)
            result->platform_ = LMEGLPlatform::Device;
    }

    if (display == EGL_NO_DISPLAY) {
        LMLog("LMEGLDisplay: No EGL display could be opened on the %s platform", platformName(preferred));
        delete result;
        return nullptr;
    }

    result->display_ = display;
    if (const char* extensions = eglQueryString(display, EGL_EXTENSIONS))
        result->extensions_ = extensions;
    return result;
}
