#pragma once

#include "lumetra/context/LMOpenGL.h"
#include "lumetra/context/LMVertexArray.h"
#include "lumetra/context/LMVertexAttribute.h"
#include "lumetra/context/LMVertexBuffer.h"
#include "lumetra/platform/LMBlockRef.h"
#include "lumetra/platform/LMGL.h"
#include "lumetra/platform/LMOpenGLContext.h"
#include "lumetra/platform/LMOpenGLPixelFormat.h"
#include "lumetra/platform/LMSize.h"
#include "lumetra/platform/VarnelDispatch.h"

#include <memory>

// The root object of a drawing graph. A context owns an off-screen OpenGL 3.2
// core context and the serial GL queue that every GL call for it runs on,
// the state cache of that GL context, and the geometry shared by every
// program: a full-viewport quad whose texture coordinates are the context's
// dimensions in pixels, and the vertex shader that passes them on.
//
// Blocks are handed to the queue one at a time and the caller waits for each.
// A draw is a run of blocks that rely on the bindings the previous one left,
// so one context, and every node drawn with it, serves one thread at a time.
//
// When the GL context cannot be created, the context logs so and stays
// usable as an object: every later operation on it does nothing.
class LMContext : public std::enable_shared_from_this<LMContext> {
public:
    // A context of 640 by 480 pixels.
    static std::shared_ptr<LMContext> context();
    static std::shared_ptr<LMContext> contextWithDimensions(LMSize dimensions);
    virtual ~LMContext();

    LMContext(const LMContext&) = delete;
    LMContext& operator=(const LMContext&) = delete;

    // The default size of images drawn with this context. Setting it uploads
    // the shared quad for the new size; the viewport follows the next target
    // that is bound.
    LMSize dimensions() const { return dimensions_; }
    void setDimensions(LMSize dimensions);

    // Whether filters may hand back their cached output instead of drawing.
    bool cachingEnabled() const { return cachingEnabled_; }
    void setCachingEnabled(bool enabled) { cachingEnabled_ = enabled; }

    // Makes the GL context current on the GL queue, for a following run of
    // executeOpenGLNoContextSwitch blocks.
    void makeCurrentContext();
    // Runs the block on the GL queue with the GL context current, and waits.
    void executeOpenGL(LMBlockRef block);
    // Runs the block on the GL queue as it is, and waits: for work that
    // follows makeCurrentContext.
    void executeOpenGLNoContextSwitch(LMBlockRef block);
    // Creates the shared objects if needed, then binds the shared vertex array.
    void bindToSharedVAO();

    // Null when the GL context could not be created.
    std::shared_ptr<LMOpenGLContext> openGLContext() const { return openGLContext_; }
    std::shared_ptr<LMOpenGLPixelFormat> openGLPixelFormat() const { return pixelFormat_; }
    std::shared_ptr<LMOpenGLPixelFormat> pixelFormat() const { return pixelFormat_; }
    VarnelDispatch& glQueue() { return *glQueue_; }
    const std::shared_ptr<LMOpenGL>& gl() const { return gl_; }

    std::shared_ptr<LMVertexArray> sharedVAO() const { return sharedVAO_; }
    std::shared_ptr<LMVertexBuffer> sharedVBO() const { return sharedVBO_; }
    GLuint sharedVertexShader() const { return sharedVertexShader_; }
    bool sharedSetupComplete() const { return sharedSetupComplete_; }
    // GL_MAX_TEXTURE_SIZE, read once at set-up; for information only.
    GLint maxTextureSize() const { return maxTextureSize_; }

    // The source of the vertex shader every program of a context links with.
    static const char* sharedVertexShaderSource();
    // The label of every context's GL queue.
    static const char* openGLQueueLabel();

    // The context's own steps, public for those who build on it.
    // Creates the GL context on the queue and configures it.
    void openGLSetup();
    // Creates the shared quad, its vertex array and the shared vertex shader once.
    void setupSharedObjects();
    // On the GL queue: makes the GL context current unless it already is.
    void makeCurrentContextInternal();
    // On the GL queue with the context current: uploads the quad for the
    // current dimensions, once the shared buffer exists.
    void updateSharedVBOSize();

protected:
    explicit LMContext(LMSize dimensions);

private:
    LMSize dimensions_;
    bool cachingEnabled_ = false;

    std::unique_ptr<VarnelDispatch> glQueue_;
    std::shared_ptr<LMOpenGL> gl_;
    std::shared_ptr<LMOpenGLPixelFormat> pixelFormat_;
    std::shared_ptr<LMOpenGLContext> openGLContext_;
    GLint maxTextureSize_ = 0;

    std::shared_ptr<LMVertexArray> sharedVAO_;
    std::shared_ptr<LMVertexBuffer> sharedVBO_;
    GLuint sharedVertexShader_ = 0;
    bool sharedSetupComplete_ = false;
};
