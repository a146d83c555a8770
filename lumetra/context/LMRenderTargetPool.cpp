#include "lumetra/context/LMRenderTargetPool.h"

#include "lumetra/context/LMContext.h"
#include "lumetra/platform/LMLog.h"

LMRenderTargetPool::LMRenderTargetPool(std::weak_ptr<LMContext> context)
    : context_(std::move(context))
{
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
        if (!objectWithId(objectId)) {
            LMObjectPool::deleteObjectWithId(objectId);
            objectId = LMNotFound;
        }
    });
    return objectId;
}

std::shared_ptr<LMRenderTarget> LMRenderTargetPool::renderTargetWithId(uint64_t objectId) const
{
    return std::static_pointer_cast<LMRenderTarget>(objectWithId(objectId));
}

uint64_t LMRenderTargetPool::requestNewObjectId()
{
    const LMSize wanted = requestedDims_;
    return requestNewObjectIdPassing([wanted](const std::shared_ptr<LMPooledObject>& object) {
        return object && static_cast<const LMRenderTarget&>(*object).dimensions() == wanted;
    });
}

std::shared_ptr<LMPooledObject> LMRenderTargetPool::createObjectWithId(uint64_t objectId)
{
    const GLint width = LMFloorToGLint(requestedDims_.width);
    const GLint height = LMFloorToGLint(requestedDims_.height);

    // The error check below must see this creation's errors only, not one
    // that earlier GL work left pending.
    while (glGetError() != GL_NO_ERROR) {
    }

    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_RECTANGLE, texture);
    glTexParameteri(GL_TEXTURE_RECTANGLE, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_RECTANGLE, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameterf(GL_TEXTURE_RECTANGLE, GL_TEXTURE_WRAP_S, static_cast<GLfloat>(GL_CLAMP_TO_EDGE));
    glTexParameterf(GL_TEXTURE_RECTANGLE, GL_TEXTURE_WRAP_T, static_cast<GLfloat>(GL_CLAMP_TO_EDGE));
    glTexImage2D(GL_TEXTURE_RECTANGLE, 0, GL_RGB16, width, height, 0, GL_RGB, GL_UNSIGNED_BYTE, nullptr);

    if (const GLenum error = glGetError(); error != GL_NO_ERROR) {
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
