#include "lumetra/context/LMRenderTargetPool.h"

#include "lumetra/context/LMContext.h"
#include "lumetra/platform/LMLog.h"

#include <algorithm>

LMRenderTargetPool::LMRenderTargetPool(std::weak_ptr<LMContext> context) : context_(std::move(context))
{
    setUnusedBytesBudget(defaultIdleBudget);
}

LMRenderTargetPool::~LMRenderTargetPool()
{
    // Here, unlike in the base destructor, deleteObjectWithId is still ours.
    teardown();
}

uint64_t LMRenderTargetPool::requestRenderTargetWithDimensions(LMSize dimensions)
{
    std::shared_ptr<LMContext> owner = context_.lock();
    if (!owner)
        return LMNotFound;
    uint64_t objectId = LMNotFound;
    owner->executeOpenGL([&] {
        requestedDims_ = dimensions;
        objectId = requestNewObjectId();
        // A failed creation leaves an id with no target; it is dropped at once
        // rather than kept leased for the life of the pool.
        if (std::shared_ptr<LMRenderTarget> target = renderTargetWithId(objectId)) {
            // A reused target may have been made for another fraction of a
            // pixel; it reports what its holder asked for.
            target->setDimensions(dimensions);
        } else {
            LMObjectPool::deleteObjectWithId(objectId);
            objectId = LMNotFound;
        }
        // Here, on the queue, no other lease can take what is being trimmed.
        trimUnusedObjects();
    });
    return objectId;
}

std::shared_ptr<LMRenderTarget> LMRenderTargetPool::renderTargetWithId(uint64_t objectId) const
{
    return std::static_pointer_cast<LMRenderTarget>(objectWithId(objectId));
}

uint64_t LMRenderTargetPool::requestNewObjectId()
{
    const LMSize requested = requestedDims_;
    if (!reusesByTextureSize_) {
        return requestNewObjectIdPassing([requested](const std::shared_ptr<LMPooledObject>& object) {
            return object && static_cast<const LMRenderTarget&>(*object).dimensions() == requested;
        });
    }
    // Sizes that differ by a fraction of a pixel make the same texture; told
    // apart, a size that drifts by fractions makes a texture for each.
    const GLint width = LMFloorToGLint(requested.width);
    const GLint height = LMFloorToGLint(requested.height);
    return requestNewObjectIdPassing([width, height](const std::shared_ptr<LMPooledObject>& object) {
        if (!object)
            return false;
        const LMSize size = static_cast<const LMRenderTarget&>(*object).dimensions();
        return LMFloorToGLint(size.width) == width && LMFloorToGLint(size.height) == height;
    });
}

std::shared_ptr<LMPooledObject> LMRenderTargetPool::createObjectWithId(uint64_t objectId)
{
    const GLint width = LMFloorToGLint(requestedDims_.width);
    const GLint height = LMFloorToGLint(requestedDims_.height);

    // The error check below must see this creation's errors only, not one
    // that earlier GL work left pending.
    LMOpenGL::takeErrors();

    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_RECTANGLE, texture);
    glTexParameteri(GL_TEXTURE_RECTANGLE, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_RECTANGLE, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameterf(GL_TEXTURE_RECTANGLE, GL_TEXTURE_WRAP_S, static_cast<GLfloat>(GL_CLAMP_TO_EDGE));
    glTexParameterf(GL_TEXTURE_RECTANGLE, GL_TEXTURE_WRAP_T, static_cast<GLfloat>(GL_CLAMP_TO_EDGE));
    glTexImage2D(GL_TEXTURE_RECTANGLE, 0, GL_RGB16, width, height, 0, GL_RGB, GL_UNSIGNED_BYTE, nullptr);

    if (const GLenum error = LMOpenGL::takeErrors(); error != GL_NO_ERROR) {
        LMLog("LMRenderTargetPool: Error %i creating a %ix%i texture", static_cast<int>(error), width, height);
        glDeleteTextures(1, &texture);
        return nullptr;
    }

    GLuint framebuffer = 0;
    glGenFramebuffers(1, &framebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_RECTANGLE, texture, 0);

    if (glCheckFramebufferStatus(GL_FRAMEBUFFER) != GL_FRAMEBUFFER_COMPLETE) {
        LMLog("LMRenderTargetPool: Framebuffer not complete in time to render.");
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
        glDeleteFramebuffers(1, &framebuffer);
        glDeleteTextures(1, &texture);
        return nullptr;
    }

    return std::make_shared<LMRenderTarget>(objectId, texture, framebuffer, requestedDims_);
}

void LMRenderTargetPool::deleteObjectWithId(uint64_t objectId)
{
    std::shared_ptr<LMRenderTarget> target = renderTargetWithId(objectId);
    if (std::shared_ptr<LMContext> owner = context_.lock(); target && owner) {
        owner->executeOpenGL([&] {
            const GLuint texture = target->texture();
            const GLuint framebuffer = target->framebuffer();
            glDeleteTextures(1, &texture);
            glDeleteFramebuffers(1, &framebuffer);
        });
    }
    LMObjectPool::deleteObjectWithId(objectId);
}

size_t LMRenderTargetPool::bytesForDimensions(LMSize dimensions)
{
    const size_t width = static_cast<size_t>(std::max(LMFloorToGLint(dimensions.width), 0));
    const size_t height = static_cast<size_t>(std::max(LMFloorToGLint(dimensions.height), 0));
    return width * height * 8 + 4096;
}

size_t LMRenderTargetPool::bytesOfObject(const LMPooledObject& object) const
{
    return bytesForDimensions(static_cast<const LMRenderTarget&>(object).dimensions());
}

void LMRenderTargetPool::setIdleBudget(size_t bytes)
{
    setUnusedBytesBudget(bytes);
    // On the queue, as after a request, so that no lease runs meanwhile;
    // without a context there is no GL name left to delete.
    if (std::shared_ptr<LMContext> owner = context_.lock(); owner && owner->openGLContext())
        owner->executeOpenGL([this] { trimUnusedObjects(); });
    else
        trimUnusedObjects();
}
