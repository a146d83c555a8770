#include "lumetra/view/LMDrawableView.h"

#include "lumetra/context/LMShader.h"
#include "lumetra/platform/LMLog.h"
#include "lumetra/view/LMX11Connection.h"

#include <X11/Xlib.h>
#include <algorithm>
#include <string>

namespace {

const char* vertexShaderSource()
{
    return "#version 150 \n"
           "in vec2 in_Position; in vec2 in_TexCoord; noperspective out vec2 out_TexCoord; "
           "void main() {    out_TexCoord = in_TexCoord;    "
           "gl_Position = vec4(in_Position.x, in_Position.y, 0.0, 1.0); } ";
}

std::string fragmentShaderSource(bool convertToSRGB)
{
    const char* conversion =
        convertToSRGB
            ? "outColor = mix(outColor * 12.92, pow(outColor, vec3(0.4167)) * 1.055 - 0.055, step(0.00313, outColor));"
            : "";
    return std::string("#version 150 \n"
                       "noperspective in vec2 out_TexCoord; uniform sampler2DRect tex; out vec3 outColor; "
                       "void main() {    outColor = texture(tex, out_TexCoord.st).rgb;    ") +
           conversion + " } ";
}

const std::vector<uint32_t>& viewPixelFormatAttributes()
{
    static const std::vector<uint32_t> attributes = {
        LMOpenGLPFAAccelerated, LMOpenGLPFANoRecovery, LMOpenGLPFAOpenGLProfile, LMOpenGLProfileVersion3_2Core, 0,
    };
    return attributes;
}

// Null without an X server and once the connection broke: a broken
// connection is never used again.
Display* x11Display()
{
    return static_cast<Display*>(LMX11Connection::display());
}

// X11 sizes are 16-bit and never zero; NaN, negative and huge frames are
// clamped rather than handed to the server, whose error would end the process.
unsigned windowExtent(double value)
{
    return static_cast<unsigned>(std::clamp(LMFloorToGLint(value), 1, 16384));
}

int windowPosition(double value)
{
    return std::clamp(LMFloorToGLint(value), -16384, 16384);
}

// Holds the view's GL context locked and current for a scope.
class CurrentContextScope {
public:
    explicit CurrentContextScope(LMDrawableView& view) : view_(view)
    {
        view_.lockContext();
        view_.makeCurrentContext();
    }
    ~CurrentContextScope() { view_.unlockContext(); }

private:
    LMDrawableView& view_;
};

} // namespace

std::shared_ptr<LMDrawableView> LMDrawableView::viewWithContext(const std::shared_ptr<LMContext>& context)
{
    std::shared_ptr<LMDrawableView> view(new LMDrawableView());
    view->initWithContext(context);
    return view;
}

std::shared_ptr<LMDrawableView> LMDrawableView::viewWithFrame(LMRect frame)
{
    std::shared_ptr<LMDrawableView> view(new LMDrawableView());
    view->initWithFrame(frame);
    return view;
}

void LMDrawableView::initWithFrame(LMRect frame)
{
    frame_ = frame;
    createWindow();
    setup();
}

void LMDrawableView::initWithContext(const std::shared_ptr<LMContext>& context)
{
    initWithFrame({});
    setContext(context);
}

LMDrawableView::~LMDrawableView()
{
    // A loss not yet noticed is found before GL touches the window surface.
    const bool usable = hasUsableWindow();
    teardownOpenGL();
    if (Display* x11 = x11Display(); x11 && usable) {
        XDestroyWindow(x11, window_);
        XFlush(x11);
    }
    LMX11Connection::forget(window_);
}

bool LMDrawableView::hasUsableWindow()
{
    if (!window_ || abandoned_)
        return false;
    if (!LMX11Connection::check()) {
        abandonWindow("LMDrawableView: The X server has gone; the view will draw nothing");
        return false;
    }
    if (LMX11Connection::resourceGone(window_)) {
        abandonWindow("LMDrawableView: The view's window is gone; it will draw nothing");
        return false;
    }
    return true;
}

void LMDrawableView::abandonWindow(const char* line)
{
    LMLog("%s", line);
    abandoned_ = true;
    // Off the window surface for good: GL work that follows (the teardown's)
    // runs without one, and nothing is ever swapped to the window again.
    if (openGLContext_) {
        openGLContext_->lock();
        openGLContext_->setView(0);
        openGLContext_->unlock();
    }
}

void LMDrawableView::createWindow()
{
    Display* x11 = x11Display();
    if (!x11 || !LMX11Connection::check()) {
        LMLog("LMDrawableView: No X11 display to show the view on; it will draw nothing");
        return;
    }
    LMX11Connection::watch();
    // The screen's default visual: EGL offers a window config for it, and an
    // embedding toolkit's windows use it too. Black until the first frame.
    const int screen = DefaultScreen(x11);
    window_ = XCreateSimpleWindow(x11, RootWindow(x11, screen), windowPosition(frame_.x), windowPosition(frame_.y),
                                  windowExtent(frame_.width), windowExtent(frame_.height), 0, BlackPixel(x11, screen),
                                  BlackPixel(x11, screen));
    XStoreName(x11, window_, "Lumetra");
    XSync(x11, False);
    updateChildFrame();
}

void LMDrawableView::setup()
{
    programCreated_ = false;
    shouldConvertToSRGB_ = false;
    currentSize_ = {0, 0};
}

void LMDrawableView::setContext(const std::shared_ptr<LMContext>& context)
{
    context_ = context;
    if (!context)
        return;
    setupOpenGL();
    if (!input_)
        setInput(LMImage::imageWithContext(context));
}

void LMDrawableView::setInput(std::shared_ptr<LMImage> input)
{
    input_ = std::move(input);
    redraw();
}

void LMDrawableView::setShouldConvertToSRGB(bool convert)
{
    if (convert == shouldConvertToSRGB_)
        return;
    shouldConvertToSRGB_ = convert;
    if (!context() || !openGLContext_)
        return;
    CurrentContextScope current(*this);
    setupProgram();
}

void LMDrawableView::lockContext()
{
    if (openGLContext_)
        openGLContext_->lock();
}

void LMDrawableView::unlockContext()
{
    if (openGLContext_)
        openGLContext_->unlock();
}

void LMDrawableView::makeCurrentContext()
{
    if (openGLContext_ && !openGLContext_->isCurrent())
        openGLContext_->makeCurrentContext();
}

void LMDrawableView::setupOpenGL()
{
    teardownOpenGL();
    std::shared_ptr<LMContext> context = this->context();
    if (!context || !hasUsableWindow())
        return;
    if (!context->openGLContext()) {
        LMLog("LMDrawableView: The rendering context has no OpenGL context to share objects with");
        return;
    }

    gl_ = std::make_shared<LMOpenGL>();
    pixelFormat_ = LMOpenGLPixelFormat::pixelFormatWithAttributes(viewPixelFormatAttributes());
    openGLContext_ = LMOpenGLContext::contextWithFormat(pixelFormat_, context->openGLContext());
    if (!openGLContext_ || !openGLContext_->setView(window_)) {
        LMLog("LMDrawableView: Error creating the view's OpenGL context");
        openGLContext_.reset();
        return;
    }

    CurrentContextScope current(*this);
    glDisable(GL_DITHER);
    glDisable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glDisable(GL_STENCIL_TEST);
    glDisable(GL_DEPTH_TEST);
    LMOpenGL::logErrors("LMDrawableView: Error configuring options");

    vao_ = std::make_shared<LMVertexArray>();
    gl_->bindVertexArray(vao_);
    LMOpenGL::logErrors("LMDrawableView: Error creating VAO");

    vbo_ = std::make_shared<LMVertexBuffer>();
    // The new buffer holds no quad yet, whatever size an earlier set-up left.
    currentSize_ = {0, 0};
    updateSize(context->dimensions());
    LMOpenGL::logErrors("LMDrawableView: Error updating DrawableView context size");

    setupProgram();

    // The pointers are recorded against the buffer bound now, which must be
    // ours even when the size above was empty and uploaded nothing.
    constexpr GLsizei stride = 4 * sizeof(float);
    gl_->bindVertexBuffer(vbo_);
    const GLint position = glGetAttribLocation(program_, "in_Position");
    glEnableVertexAttribArray(static_cast<GLuint>(position));
    glVertexAttribPointer(static_cast<GLuint>(position), 2, GL_FLOAT, GL_FALSE, stride, nullptr);
    const GLint texCoord = glGetAttribLocation(program_, "in_TexCoord");
    glEnableVertexAttribArray(static_cast<GLuint>(texCoord));
    glVertexAttribPointer(static_cast<GLuint>(texCoord), 2, GL_FLOAT, GL_TRUE, stride,
                          reinterpret_cast<const void*>(2 * sizeof(float)));
    LMOpenGL::logErrors("LMDrawableView: Error linking vertex attrib array");
}

void LMDrawableView::teardownOpenGL()
{
    if (openGLContext_) {
        // The buffer and program live in the rendering context's share group
        // and would outlive the view there; the vertex array is ours alone.
        CurrentContextScope current(*this);
        if (programCreated_)
            glDeleteProgram(program_);
        if (vbo_)
            vbo_->cleanup();
        if (vao_)
            vao_->cleanup();
        openGLContext_->setView(0);
    }
    programCreated_ = false;
    program_ = 0;
    vao_.reset();
    vbo_.reset();
    gl_.reset();
    openGLContext_.reset();
    pixelFormat_.reset();
}

void LMDrawableView::setupProgram()
{
    // Without a GL context of its own the view must not touch whichever
    // context is current on this thread.
    if (!openGLContext_)
        return;
    const LMShaderBuild vertexShader = LMCompileShader(GL_VERTEX_SHADER, vertexShaderSource());
    if (!vertexShader.succeeded)
        LMLog("LMDrawableView: Vertex Shader failed to compile: %s", vertexShader.log.c_str());
    const LMShaderBuild fragmentShader =
        LMCompileShader(GL_FRAGMENT_SHADER, fragmentShaderSource(shouldConvertToSRGB_).c_str());
    if (!fragmentShader.succeeded)
        LMLog("LMDrawableView: Fragment Shader failed to compile: %s", fragmentShader.log.c_str());
    LMOpenGL::logErrors("LMDrawableView: Error compiling shaders");

    if (programCreated_)
        glDeleteProgram(program_);
    // The vertex array was set up for the first program; every rebuilt one
    // reads its attributes from the same places, the library's attribute
    // indices, which the link binds. A link failure is not logged: the
    // view's shaders are fixed, and a failed compile was logged above.
    program_ = LMLinkProgram(vertexShader.object, fragmentShader.object, "outColor").object;
    glUseProgram(program_);
    // Attached shaders live on with the program and go with it.
    glDeleteShader(vertexShader.object);
    glDeleteShader(fragmentShader.object);
    LMOpenGL::logErrors("LMDrawableView: Error creating shader program");
    programCreated_ = true;
}

void LMDrawableView::updateSize(LMSize size)
{
    if (size == currentSize_)
        return;
    currentSize_ = size;
    updateVBOSize();
    updateViewport();
    if (openGLContext_) {
        CurrentContextScope current(*this);
        openGLContext_->update();
    }
}

void LMDrawableView::updateVBOSize()
{
    if (!openGLContext_ || !vbo_)
        return;
    CurrentContextScope current(*this);
    // Texture coordinates in texels, row 0 at the bottom.
    gl_->bindVertexBuffer(vbo_);
    vbo_->setQuad({-1, -1, 2, 2}, {0, 0, currentSize_.width, currentSize_.height});
}

void LMDrawableView::updateViewport()
{
    if (!openGLContext_ || !gl_)
        return;
    CurrentContextScope current(*this);
    // GL refuses negative sizes; NaN already becomes 0 on the way to GL.
    gl_->setViewport({0, 0, std::max(currentSize_.width, 0.0), std::max(currentSize_.height, 0.0)});
}

bool LMDrawableView::isFramebufferComplete()
{
    if (!framebufferComplete_ && openGLContext_)
        framebufferComplete_ = glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
    return framebufferComplete_;
}

void LMDrawableView::redraw()
{
    std::shared_ptr<LMContext> context = this->context();
    if (!context || !input_ || !openGLContext_ || !hasUsableWindow())
        return;
    if (input_->context() != context) {
        // Its texture name would mean nothing, or something else, in our share group.
        LMLog("LMDrawableView: The input image is not an image of the view's context; not drawing it");
        return;
    }
    // Asked before our context is made current: from the rendering context's
    // own queue thread the request runs at once and switches that thread's
    // current context.
    GLsync rendered = nullptr;
    context->executeOpenGL([&] {
        rendered = glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
        glFlush();
    });

    CurrentContextScope current(*this);
    updateSize(input_->dimensions());
    if (isFramebufferComplete()) {
        if (rendered)
            glWaitSync(rendered, 0, GL_TIMEOUT_IGNORED);
        glUseProgram(program_);
        vao_->bind();
        glBindTexture(GL_TEXTURE_RECTANGLE, input_->texture());
        glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
        glFlush();
        // The window surface is back-buffered on Mesa's X11 platform, so the
        // frame appears only with a swap; the surface keeps its back buffer,
        // so pixels outside the image stay as they were. Asked again just
        // before: a swap on a connection that broke spins for ever in Mesa.
        if (hasUsableWindow())
            openGLContext_->flushBuffer();
    }
    if (rendered)
        glDeleteSync(rendered);
}

void LMDrawableView::reshape()
{
    updateChildFrame();
}

void LMDrawableView::updateChildFrame()
{
    Display* x11 = x11Display();
    if (!x11 || !hasUsableWindow())
        return;
    Window root = 0;
    int x = 0, y = 0;
    unsigned width = 0, height = 0, border = 0, depth = 0;
    if (XGetGeometry(x11, window_, &root, &x, &y, &width, &height, &border, &depth))
        frame_ = {static_cast<double>(x), static_cast<double>(y), static_cast<double>(width),
                  static_cast<double>(height)};
    // Without this the first frame after a resize would go to a drawable of
    // the old size.
    if (openGLContext_) {
        CurrentContextScope current(*this);
        openGLContext_->update();
    }
}

void LMDrawableView::setFrame(LMRect frame)
{
    frame_ = frame;
    if (Display* x11 = x11Display(); x11 && hasUsableWindow()) {
        XMoveResizeWindow(x11, window_, windowPosition(frame.x), windowPosition(frame.y), windowExtent(frame.width),
                          windowExtent(frame.height));
        XSync(x11, False);
    }
    reshape();
}

void LMDrawableView::setHidden(bool hidden)
{
    hidden_ = hidden;
    Display* x11 = x11Display();
    if (!x11 || !hasUsableWindow())
        return;
    if (hidden)
        XUnmapWindow(x11, window_);
    else
        XMapWindow(x11, window_);
    // Without a window manager the window is viewable once the server has
    // handled the request.
    XSync(x11, False);
}
