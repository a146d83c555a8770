#pragma once

#include "lumetra/context/LMContext.h"
#include "lumetra/context/LMOpenGL.h"
#include "lumetra/context/LMVertexArray.h"
#include "lumetra/context/LMVertexBuffer.h"
#include "lumetra/graph/LMImage.h"
#include "lumetra/platform/LMGL.h"
#include "lumetra/platform/LMOpenGLContext.h"
#include "lumetra/platform/LMOpenGLPixelFormat.h"
#include "lumetra/platform/LMRect.h"
#include "lumetra/platform/LMSize.h"

#include <memory>

// Shows one image in an X11 window of its own. The view has its own GL
// context, made to share objects with the rendering context's, so it draws
// the image's texture straight from the share group, with no copy: one texel
// to one pixel from the window's lower-left corner, optionally encoding
// linear colour to sRGB on the way. Pixels the image does not cover keep
// what they held.
//
// The view draws on the thread that calls it, under its own GL context's
// lock; it never runs its GL work on the rendering context's queue. Before
// sampling an image it waits, on the GPU, for a fence that the rendering
// context sets after the work that drew the image. Like any object bound to
// a window, it serves one thread at a time.
//
// Without an X server (or on a process whose EGL display is not the X11 one)
// the view logs so when it is created and then does nothing. When its window
// is destroyed by someone else, or its X server goes away, the view logs
// once, lets go of its window surface, and from then on does nothing; the
// rendering context is not affected (see LMX11Connection).
//
// Threads: one thread at a time (the host's to ensure); it draws on the calling thread under its GL context's lock
// and hands the rendering context's GL queue only the one fence block of each redraw.
class LMDrawableView {
public:
    // A view of the rendering context with a 1 by 1 window that has not
    // been shown; it is set up for the context and shows a new image of it.
    static std::shared_ptr<LMDrawableView> viewWithContext(const std::shared_ptr<LMContext>& context);
    // A view whose window has the frame's size; nothing GL happens until a
    // context is set.
    static std::shared_ptr<LMDrawableView> viewWithFrame(LMRect frame);
    virtual ~LMDrawableView();

    LMDrawableView(const LMDrawableView&) = delete;
    LMDrawableView& operator=(const LMDrawableView&) = delete;

    // The image that is shown. Setting it redraws, also with the image that
    // is already set.
    std::shared_ptr<LMImage> input() const { return input_; }
    void setInput(std::shared_ptr<LMImage> input);

    // The rendering context, held weakly. Setting a live one runs the whole
    // GL set-up again, and gives a view without an input a new image of it.
    std::shared_ptr<LMContext> context() const { return context_.lock(); }
    void setContext(const std::shared_ptr<LMContext>& context);

    // Rebuilds the program only when the value changes and a context is set;
    // otherwise the next GL set-up builds it with the value.
    bool shouldConvertToSRGB() const { return shouldConvertToSRGB_; }
    void setShouldConvertToSRGB(bool convert);

    // Draws the input into the window, when there is a context and an input.
    void redraw();
    // Called when the window's size changed; it never fails.
    void reshape();
    // Reads the window's frame back from the X server, where a host's
    // toolkit may have resized it.
    void updateChildFrame();
    // Every pixel the view draws is opaque.
    bool isOpaque() const { return true; }
    // Kept for hosts that build views from a saved description: the same
    // resetting of state as a view made in code.
    void awakeFromNib() { setup(); }
    // X11 windows have one pixel per unit, so there is no scale to follow.
    void updateContentScale() {}

    // The X11 window (an Xlib Window id on LMEGLDisplay's X11 display), for
    // toolkits that embed it; 0 without an X server.
    unsigned long x11Window() const { return window_; }
    // The window's position and size in its parent. Setting it moves and
    // resizes the window, then reshapes.
    LMRect frame() const { return frame_; }
    void setFrame(LMRect frame);
    // Whether the window is unmapped; a new view's window is.
    bool isHidden() const { return hidden_; }
    void setHidden(bool hidden);
    // Whether the view has a window that it can still draw into: false
    // without an X server, and once the window or the X server has gone.
    bool hasUsableWindow();

    // The view's GL context and its lock.
    void lockContext();
    void unlockContext();
    // Makes the view's GL context current on the calling thread unless it
    // already is.
    void makeCurrentContext();

    // The view's own steps, public for those who build on it.
    // Resets the program flag, the sRGB switch and the size.
    void setup();
    // Frees the GL objects of an earlier set-up, then makes a new GL context,
    // state cache, vertex array, vertex buffer and program.
    void setupOpenGL();
    // Compiles and links the program for the current sRGB switch, replacing
    // the old one. The caller holds the lock with the context current.
    void setupProgram();
    // Re-uploads the quad and sets the viewport when the size differs from
    // currentSize.
    void updateSize(LMSize size);
    void updateVBOSize();
    void updateViewport();
    // Asks GL until the window's framebuffer first reports complete.
    bool isFramebufferComplete();

    // The view's GL state, read only: replacing any of it from outside would
    // break the set-up.
    std::shared_ptr<LMOpenGLPixelFormat> pixelFormat() const { return pixelFormat_; }
    std::shared_ptr<LMOpenGLContext> openGLContext() const { return openGLContext_; }
    const std::shared_ptr<LMOpenGL>& gl() const { return gl_; }
    const std::shared_ptr<LMVertexArray>& vao() const { return vao_; }
    const std::shared_ptr<LMVertexBuffer>& vbo() const { return vbo_; }
    GLuint program() const { return program_; }
    bool programCreated() const { return programCreated_; }
    LMSize currentSize() const { return currentSize_; }
    bool framebufferComplete() const { return framebufferComplete_; }

protected:
    LMDrawableView() = default;
    // Two-phase creation, as for every object of the library whose
    // initialisers do real work.
    virtual void initWithFrame(LMRect frame);
    virtual void initWithContext(const std::shared_ptr<LMContext>& context);

private:
    void createWindow();
    void teardownOpenGL();
    // Logs the line, lets go of the window surface, and makes every later
    // operation a no-op.
    void abandonWindow(const char* line);
    void waitForRendering(const std::shared_ptr<LMContext>& context);

    std::shared_ptr<LMImage> input_;
    std::weak_ptr<LMContext> context_;
    bool shouldConvertToSRGB_ = false;

    std::shared_ptr<LMOpenGLPixelFormat> pixelFormat_;
    std::shared_ptr<LMOpenGLContext> openGLContext_;
    std::shared_ptr<LMOpenGL> gl_;
    std::shared_ptr<LMVertexArray> vao_;
    std::shared_ptr<LMVertexBuffer> vbo_;
    GLuint program_ = 0;
    bool programCreated_ = false;
    LMSize currentSize_;
    bool framebufferComplete_ = false;

    LMRect frame_;
    unsigned long window_ = 0;
    bool hidden_ = true;
    bool abandoned_ = false;
};
