#pragma once

#include <cstdint>
#include <memory>
#include <vector>

// Attribute codes of a pixel format description: a list of codes, some
// followed by a value, ended by 0.
enum : uint32_t {
    LMOpenGLPFADoubleBuffer = 5,
    LMOpenGLPFAColorSize = 8, // followed by bits per pixel, e.g. 32
    LMOpenGLPFAAlphaSize = 11, // followed by bits
    LMOpenGLPFADepthSize = 12, // followed by bits
    LMOpenGLPFAStencilSize = 13, // followed by bits
    LMOpenGLPFANoRecovery = 72,
    LMOpenGLPFAAccelerated = 73,
    LMOpenGLPFAOpenGLProfile = 99, // followed by a profile below
};

enum : uint32_t {
    LMOpenGLProfileVersion3_2Core = 0x3200,
    LMOpenGLProfileVersion4_1Core = 0x4100,
};

// What kind of GL context to create, resolved against the process's EGL
// display. "Accelerated" with "no recovery" asks for a hardware renderer and
// forbids falling back from one to software: where the machine has a GPU, a
// context that turns out to run in software is refused. On a machine whose
// only renderer is software, that renderer is the platform's, and is used.
//
// Threads: unchanged once made; no locks; any thread may read it.
class LMOpenGLPixelFormat {
public:
    // Null when the list asks for something the display cannot give, or when
    // no EGL display could be opened.
    static std::shared_ptr<LMOpenGLPixelFormat> pixelFormatWithAttributes(const std::vector<uint32_t>& attributes);

    bool accelerated() const { return accelerated_; }
    bool noRecovery() const { return noRecovery_; }
    bool doubleBuffer() const { return doubleBuffer_; }
    int colorSize() const { return colorSize_; }
    int alphaSize() const { return alphaSize_; }
    int depthSize() const { return depthSize_; }
    int stencilSize() const { return stencilSize_; }
    // GL version asked for, e.g. 3 and 2 for LMOpenGLProfileVersion3_2Core.
    int majorVersion() const { return majorVersion_; }
    int minorVersion() const { return minorVersion_; }

    // The EGLConfig contexts of this format are made with; EGL_NO_CONFIG_KHR
    // (null) for surfaceless contexts on displays that allow them.
    void* eglConfig() const { return config_; }

private:
    LMOpenGLPixelFormat() = default;
    bool parse(const std::vector<uint32_t>& attributes);
    bool chooseConfig();

    bool accelerated_ = false;
    bool noRecovery_ = false;
    bool doubleBuffer_ = false;
    int colorSize_ = 0;
    int alphaSize_ = 0;
    int depthSize_ = 0;
    int stencilSize_ = 0;
    int majorVersion_ = 3;
    int minorVersion_ = 2;
    void* config_ = nullptr;
};
