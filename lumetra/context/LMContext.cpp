#include "lumetra/context/LMContext.h"

#include "lumetra/context/LMShader.h"
#include "lumetra/platform/LMLog.h"

#include <cstdint>

namespace {

const std::vector<uint32_t>& contextPixelFormatAttributes()
{
    static const std::vector<uint32_t> attributes = {
        LMOpenGLPFAAccelerated,
        LMOpenGLPFANoRecovery,
        LMOpenGLPFAColorSize,
        32,
        LMOpenGLPFAOpenGLProfile,
        LMOpenGLProfileVersion3_2Core,
        0,
    };
    return attributes;
}

const char* glString(GLenum name)
{
    const GLubyte* value = glGetString(name);
    return value ? reinterpret_cast<const char*>(value) : "(null)";
}

} // namespace

const char* LMContext::sharedVertexShaderSource()
{
    return "#version 150 \n"
           "in vec2 in_Position; in vec2 in_TexCoord; noperspective out vec2 lm_location; "
           "void main() {    lm_location = in_TexCoord;    "
           "gl_Position = vec4(in_Position.x, in_Position.y, 0.0, 1.0); } ";
}

const char* LMContext::openGLQueueLabel()
{
    return "Lumetra OpenGL Queue";
}

std::shared_ptr<LMContext> LMContext::context()
{
    return contextWithDimensions({640, 480});
}

std::shared_ptr<LMContext> LMContext::contextWithDimensions(LMSize dimensions)
{
    std::shared_ptr<LMContext> context(new LMContext(dimensions));
    context->createResources();
    return context;
}

LMContext::LMContext(LMSize dimensions)
    : dimensions_(dimensions), glQueue_(std::make_unique<VarnelDispatch>(openGLQueueLabel()))
{
    openGLSetup();
}

void LMContext::createResources()
{
    renderTargetPool_ = std::make_shared<LMRenderTargetPool>(weak_from_this());
    programCache_.clear();
}

LMContext::~LMContext()
{
    // GL objects are not deleted one by one: they end with the GL context.
    // The queue's thread lets go of the GL context and its EGL state before
    // it ends, so that the GL context can be destroyed right after.
    // The pool goes first: our weak references are already empty, so it only
    // drops its bookkeeping.
    programCache_.clear();
    renderTargetPool_.reset();
    glQueue_->dispatchSyncToQueue([] {
        LMOpenGLContext::clearCurrentContext();
        LMOpenGLContext::releaseThread();
    });
    glQueue_.reset();
}

void LMContext::openGLSetup()
{
    glQueue_->dispatchSyncToQueue([this] {
        gl_ = std::make_shared<LMOpenGL>();
        pixelFormat_ = LMOpenGLPixelFormat::pixelFormatWithAttributes(contextPixelFormatAttributes());
        openGLContext_ = LMOpenGLContext::contextWithFormat(pixelFormat_, nullptr);
        if (openGLContext_)
            openGLContext_->makeCurrentContext();

        if (!openGLContext_ || LMOpenGL::takeErrors() != GL_NO_ERROR)
            LMLog("Error creating the OpenGL context.");
        // Without a GL context there is nothing to configure or report.
        if (!openGLContext_)
            return;

        glDisable(GL_DITHER);
        glDisable(GL_BLEND);
        glDisable(GL_STENCIL_TEST);
        glDisable(GL_DEPTH_TEST);
        LMOpenGL::logErrors("Error configuring options for the OpenGL context");

        gl_->setViewport({0, 0, static_cast<double>(LMFloorToGLint(dimensions_.width)),
                          static_cast<double>(LMFloorToGLint(dimensions_.height))});
        LMOpenGL::logErrors("Error setting the viewport for the OpenGL context");

        glGetIntegerv(GL_MAX_TEXTURE_SIZE, &maxTextureSize_);
        LMLog("LMContext: Maximum texture size: %i", maxTextureSize_);
        LMLog("Lumetra context created with Renderer: %s, OpenGL Version: %s, GLSL Version: %s", glString(GL_RENDERER),
              glString(GL_VERSION), glString(GL_SHADING_LANGUAGE_VERSION));
    });
}

void LMContext::setupSharedObjects()
{
    if (sharedSetupComplete_)
        return;

    executeOpenGL([this] {
        sharedVAO_ = std::make_shared<LMVertexArray>();
        gl_->bindVertexArray(sharedVAO_);
        LMOpenGL::logErrors("LMContext: Error creating shared VAO");

        sharedVBO_ = std::make_shared<LMVertexBuffer>();
        updateSharedVBOSize();
        LMOpenGL::logErrors("LMContext: Error creating shared VBO");

        const LMShaderBuild vertexShader = LMCompileShader(GL_VERTEX_SHADER, sharedVertexShaderSource());
        sharedVertexShader_ = vertexShader.object;
        if (!vertexShader.succeeded)
            LMLog("LMContext: Shared Vertex Shader failed to compile: %s", vertexShader.log.c_str());

        // Recorded in the shared VAO, still bound, against the shared VBO,
        // still bound to GL_ARRAY_BUFFER.
        LMVertexBuffer::describeQuadLayout();
    });
    sharedSetupComplete_ = true;
}

void LMContext::updateSharedVBOSize()
{
    if (!sharedVBO_)
        return;
    // Texture coordinates are in pixels and follow the dimensions unfloored.
    gl_->bindVertexBuffer(sharedVBO_);
    sharedVBO_->setQuad({-1, -1, 2, 2}, {0, 0, dimensions_.width, dimensions_.height});
}

void LMContext::setDimensions(LMSize dimensions)
{
    dimensions_ = dimensions;
    executeOpenGL([this] { updateSharedVBOSize(); });
    flushUnusedTargets();
}

void LMContext::bindToSharedVAO()
{
    setupSharedObjects();
    if (!openGLContext_)
        return;
    glQueue_->dispatchSyncToQueue([this] { gl_->bindVertexArray(sharedVAO_); });
}

void LMContext::makeCurrentContextInternal()
{
    if (openGLContext_ && !openGLContext_->isCurrent())
        openGLContext_->makeCurrentContext();
}

void LMContext::makeCurrentContext()
{
    if (!openGLContext_)
        return;
    glQueue_->dispatchSyncToQueue([this] { makeCurrentContextInternal(); });
}

namespace {

// A block a host hands over from outside the GL queue may be the host's own
// GL, which may leave any state behind, both before library work nested in
// it and after it. So may the host's GL between two library calls inside
// such a block: a call nested directly in it says so when it returns. The
// library's own blocks (executeOwnOpenGL: each filter's draw, a colour's
// clear) leave nothing behind, so a chain of filters drawn after a host's
// block puts the state back once, however long it is.
class BlockScope {
public:
    BlockScope(LMOpenGL& gl, bool outside) : gl_(gl), outside_(outside)
    {
        if (outside_)
            gl_.noteOutsideGL();
        gl_.enterBlock(outside_);
    }
    ~BlockScope()
    {
        const int left = gl_.leaveBlock();
        if (outside_ || (left == 1 && gl_.outermostBlockIsHosts()))
            gl_.noteOutsideGL();
    }
    BlockScope(const BlockScope&) = delete;
    BlockScope& operator=(const BlockScope&) = delete;

private:
    LMOpenGL& gl_;
    bool outside_;
};

} // namespace

void LMContext::executeOpenGL(LMBlockRef block)
{
    if (!openGLContext_)
        return;
    const bool outside = !glQueue_->isCurrentQueue();
    // Held by the block: a block may end the context that runs it.
    std::shared_ptr<LMOpenGL> gl = gl_;
    glQueue_->dispatchSyncToQueue([this, &block, &gl, outside] {
        makeCurrentContextInternal();
        BlockScope scope(*gl, outside);
        block();
    });
}

void LMContext::executeOwnOpenGL(LMBlockRef block)
{
    if (!openGLContext_)
        return;
    // Unlike a host's block, the library's own cannot end the context: its
    // caller holds it, so the state cache needs no extra reference.
    glQueue_->dispatchSyncToQueue([this, &block] {
        makeCurrentContextInternal();
        BlockScope scope(*gl_, false);
        block();
    });
}

void LMContext::executeOpenGLNoContextSwitch(LMBlockRef block)
{
    if (!openGLContext_)
        return;
    const bool outside = !glQueue_->isCurrentQueue();
    std::shared_ptr<LMOpenGL> gl = gl_;
    glQueue_->dispatchSyncToQueue([&block, &gl, outside] {
        BlockScope scope(*gl, outside);
        block();
    });
}

std::shared_ptr<LMRenderTarget> LMContext::requestRenderTargetWithDimensions(LMSize dimensions)
{
    uint64_t targetId = LMNotFound;
    if (!openGLContext_) {
        targetId = renderTargetPool_->requestRenderTargetWithDimensions(dimensions);
    } else {
        // A new target's texture is allocated by an upload of nothing, which
        // a pixel-unpack buffer left bound would turn into a read from it.
        // The pool's own block runs nested in this one, at once.
        glQueue_->dispatchSyncToQueue([&] {
            makeCurrentContextInternal();
            gl_->restoreDrawingState();
            targetId = renderTargetPool_->requestRenderTargetWithDimensions(dimensions);
        });
    }
    return targetId == LMNotFound ? nullptr : renderTargetPool_->renderTargetWithId(targetId);
}

bool LMContext::isOwnTarget(const std::shared_ptr<LMRenderTarget>& target, const char* operation) const
{
    // Another pool's target may share an id with one of ours.
    if (renderTargetPool_->renderTargetWithId(target->identifier()) == target)
        return true;
    LMLog("LMContext: Cannot %s render target %llu: it is not one of this context's", operation,
          static_cast<unsigned long long>(target->identifier()));
    return false;
}

void LMContext::bindToRenderTarget(const std::shared_ptr<LMRenderTarget>& target)
{
    if (!target || !openGLContext_ || !isOwnTarget(target, "bind"))
        return;
    glQueue_->dispatchSyncToQueue([this, &target] {
        makeCurrentContextInternal();
        const LMSize size = target->dimensions();
        gl_->setViewport(
            {0, 0, static_cast<double>(LMFloorToGLint(size.width)), static_cast<double>(LMFloorToGLint(size.height))});
        glBindFramebuffer(GL_FRAMEBUFFER, target->framebuffer());
    });
}

void LMContext::releaseRenderTarget(const std::shared_ptr<LMRenderTarget>& target)
{
    if (target && isOwnTarget(target, "release"))
        renderTargetPool_->releaseObjectWithId(target->identifier());
}

void LMContext::flushUnusedTargets()
{
    renderTargetPool_->flushUnusedObjects();
}

size_t LMContext::renderTargetBytesAllocated() const
{
    return renderTargetPool_->allocatedBytes();
}

size_t LMContext::renderTargetBytesIdle() const
{
    return renderTargetPool_->idleBytes();
}

size_t LMContext::renderTargetIdleBudget() const
{
    return renderTargetPool_->idleBudget();
}

void LMContext::setRenderTargetIdleBudget(size_t bytes)
{
    renderTargetPool_->setIdleBudget(bytes);
}

bool LMContext::hasProgramWithName(std::string_view name) const
{
    return programCache_.find(name) != programCache_.end();
}

std::shared_ptr<LMProgram> LMContext::getProgramWithName(std::string_view name) const
{
    auto program = programCache_.find(name);
    return program == programCache_.end() ? nullptr : program->second;
}

std::shared_ptr<LMProgram> LMContext::createProgramWithName(const std::string& name, const char* fragmentShaderSource)
{
    return createProgramWithName(name, fragmentShaderSource, name);
}

std::shared_ptr<LMProgram> LMContext::createProgramWithName(const std::string& name, const char* fragmentShaderSource,
                                                            const std::string& nameForLogs)
{
    if (auto cached = getProgramWithName(name))
        return cached;
    if (!openGLContext_)
        return nullptr;

    makeCurrentContext();
    bindToSharedVAO();
    std::shared_ptr<LMProgram> program;
    glQueue_->dispatchSyncToQueue(
        [&] { program = std::make_shared<LMProgram>(nameForLogs, sharedVertexShader_, fragmentShaderSource); });
    programCache_.emplace(name, program);
    return program;
}
