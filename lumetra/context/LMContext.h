#pragma once

#include "lumetra/context/LMOpenGL.h"
#include "lumetra/context/LMProgram.h"
#include "lumetra/context/LMRenderTarget.h"
#include "lumetra/context/LMRenderTargetPool.h"
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
#include <string>
#include <string_view>
#include <unordered_map>

// The root object of a drawing graph. A context owns an off-screen OpenGL 3.2
// core context and the serial GL queue that every GL call for it runs on,
// the state cache of that GL context, a pool of render targets leased by
// the size of their texture, a cache of shader programs by name (compiled once, kept for the
// context's life), and the geometry shared by every program: a full-viewport
// quad whose texture coordinates are the context's dimensions in pixels, and
// the vertex shader that passes them on.
//
// Blocks are handed to the queue one at a time and the caller waits for each.
// A draw is a run of blocks that rely on the bindings the previous one left,
// so one context, and every node drawn with it, serves one thread at a time.
//
// When the GL context cannot be created, the context logs so and stays
// usable as an object: every later operation on it does nothing.
//
// Threads: any thread may call it, one thread at a time (its settings and program cache take no lock); GL work
// runs on the context's own GL thread, one block at a time, and the caller waits for it (a block submitted from
// the GL thread itself runs at once). Images of the context may be released on any thread.
class LMContext : public std::enable_shared_from_this<LMContext> {
public:
    // A context of 640 by 480 pixels.
    static std::shared_ptr<LMContext> context();
    static std::shared_ptr<LMContext> contextWithDimensions(LMSize dimensions);
    virtual ~LMContext();

    LMContext(const LMContext&) = delete;
    LMContext& operator=(const LMContext&) = delete;

    // The default size of images drawn with this context. Setting it uploads
    // the shared quad for the new size and deletes every unused render target;
    // the viewport follows the next target that is bound.
    LMSize dimensions() const { return dimensions_; }
    void setDimensions(LMSize dimensions);

    // Whether filters may hand back their cached output instead of drawing.
    bool cachingEnabled() const { return cachingEnabled_; }
    void setCachingEnabled(bool enabled) { cachingEnabled_ = enabled; }
    // Whether a per-pixel filter whose inputs are per-pixel filters draws the
    // whole run of them as one pass (off by default: every filter then draws
    // its own pass, as documented).
    bool fusionEnabled() const { return fusionEnabled_; }
    void setFusionEnabled(bool enabled) { fusionEnabled_ = enabled; }

    // Makes the GL context current on the GL queue, for a following run of
    // executeOpenGLNoContextSwitch blocks.
    void makeCurrentContext();
    // Runs the block on the GL queue with the GL context current, and waits.
    // A block may leave GL state behind: the library's next draw, read-back
    // or upload sets what it relies on (see LMOpenGL). The library leaves
    // GL's defaults, so a host block relies on nothing it set in another.
    void executeOpenGL(LMBlockRef block);
    // As executeOpenGL, for the library's own nodes and filters: a block
    // that leaves GL state as the library relies on, so the state need not
    // be put back after it. Each filter's draw is one such block.
    void executeOwnOpenGL(LMBlockRef block);
    // Runs the block on the GL queue as it is, and waits: for work that
    // follows makeCurrentContext.
    void executeOpenGLNoContextSwitch(LMBlockRef block);
    // Creates the shared objects if needed, then binds the shared vertex array.
    void bindToSharedVAO();

    // A render target whose texture is these dimensions floored, reporting
    // these dimensions, leased once by the caller, who gives it back exactly
    // once with releaseRenderTarget; null when none could be made (the reason
    // is logged).
    std::shared_ptr<LMRenderTarget> requestRenderTargetWithDimensions(LMSize dimensions);
    // Makes the GL context current, sets the viewport to the target's floored
    // size and binds its framebuffer.
    void bindToRenderTarget(const std::shared_ptr<LMRenderTarget>& target);
    // Ends one lease; the target stays in the pool for the next request of its
    // size. Safe from any thread; no GL call. Both refuse, with a log line, a
    // target that is not one of this context's.
    void releaseRenderTarget(const std::shared_ptr<LMRenderTarget>& target);
    // Deletes every render target that nobody leases.
    void flushUnusedTargets();
    // What the render targets are taken to weigh (see LMRenderTargetPool):
    // all of them, and those that nobody leases.
    size_t renderTargetBytesAllocated() const;
    size_t renderTargetBytesIdle() const;
    // The most that unused render targets may weigh after a request: beyond
    // it the least recently released are deleted. 256 MiB unless set;
    // setting it deletes what is beyond it at once.
    size_t renderTargetIdleBudget() const;
    void setRenderTargetIdleBudget(size_t bytes);

    bool hasProgramWithName(std::string_view name) const;
    // The program cached under the name, compiled and linked first when there
    // is none; a known name compiles nothing, whatever the source. Failures are
    // logged and the program is cached all the same. Null only when the
    // context has no GL context.
    std::shared_ptr<LMProgram> createProgramWithName(const std::string& name, const char* fragmentShaderSource);
    // Cached under `key`; its compile and link failures are logged under
    // `nameForLogs` (a filter class whose printed name another class shares).
    std::shared_ptr<LMProgram> createProgramWithName(const std::string& key, const char* fragmentShaderSource,
                                                     const std::string& nameForLogs);
    std::shared_ptr<LMProgram> getProgramWithName(std::string_view name) const;

    const std::shared_ptr<LMRenderTargetPool>& renderTargetPool() const { return renderTargetPool_; }
    using ProgramCache =
        std::unordered_map<std::string, std::shared_ptr<LMProgram>, LMProgram::NameHash, std::equal_to<>>;
    const ProgramCache& programCache() const { return programCache_; }

    // Null when the GL context could not be created.
    std::shared_ptr<LMOpenGLContext> openGLContext() const { return openGLContext_; }
    // False when the GL context could not be made: every operation is a no-op.
    bool hasOpenGLContext() const { return openGLContext_ != nullptr; }
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
    // Creates the GL queue and context; the class constructors then call
    // createResources, which needs the context to be owned by a shared_ptr.
    explicit LMContext(LMSize dimensions);
    void createResources();

private:
    bool isOwnTarget(const std::shared_ptr<LMRenderTarget>& target, const char* operation) const;

    LMSize dimensions_;
    bool cachingEnabled_ = false;
    bool fusionEnabled_ = false;

    std::unique_ptr<VarnelDispatch> glQueue_;
    std::shared_ptr<LMOpenGL> gl_;
    std::shared_ptr<LMOpenGLPixelFormat> pixelFormat_;
    std::shared_ptr<LMOpenGLContext> openGLContext_;
    GLint maxTextureSize_ = 0;

    std::shared_ptr<LMVertexArray> sharedVAO_;
    std::shared_ptr<LMVertexBuffer> sharedVBO_;
    GLuint sharedVertexShader_ = 0;
    bool sharedSetupComplete_ = false;

    std::shared_ptr<LMRenderTargetPool> renderTargetPool_;
    ProgramCache programCache_;
};
