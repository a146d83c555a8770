#pragma once

#include <string>

// Which EGL platform the process-wide display is opened on.
enum class LMEGLPlatform {
    Automatic, // X11 when an X server can be opened, else a GPU device, else surfaceless
    X11, // the X server named by DISPLAY; on-screen views need it
    Device, // an EGL device directly (a GPU, or Mesa's software device)
    Surfaceless, // Mesa's surfaceless platform
};

// The one EGL display that every GL context of the process lives on, so that
// views can share objects with rendering contexts. It is opened on first use
// and stays open for the life of the process.
//
// Threads: any thread; choosing the platform and the first opening run under one process-wide lock, and the
// display does not change once open.
class LMEGLDisplay {
public:
    // Chooses the platform of the display before it is first opened. Returns
    // false, and changes nothing, once the display exists.
    static bool setPreferredPlatform(LMEGLPlatform platform);

    // The display, opened on first call; null when no platform could be opened.
    static LMEGLDisplay* shared();

    void* eglDisplay() const { return display_; }
    LMEGLPlatform platform() const { return platform_; }
    // The Xlib Display* of the X11 platform; null on the others.
    void* x11Display() const { return x11Display_; }
    // Whether this machine has an EGL device that is not a software renderer.
    bool hardwareAvailable() const { return hardwareAvailable_; }
    bool hasExtension(const char* name) const;

    static const char* platformName(LMEGLPlatform platform);

private:
    LMEGLDisplay() = default;
    static LMEGLDisplay* open(LMEGLPlatform preferred);

    void* display_ = nullptr;
    void* x11Display_ = nullptr;
    LMEGLPlatform platform_ = LMEGLPlatform::Automatic;
    bool hardwareAvailable_ = false;
    std::string extensions_;
};
