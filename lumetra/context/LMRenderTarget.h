#pragma once

#include "lumetra/context/LMPooledObject.h"
#include "lumetra/platform/LMGL.h"
#include "lumetra/platform/LMSize.h"

#include <cstdint>

// One rectangle texture (GL_RGB16, no alpha) and the framebuffer that draws
// into it. `dimensions` is the size that was asked for, unfloored; the
// texture is its floor. A plain record: its pool owns and deletes the names.
//
// Threads: a plain record, not locked; its pool fills it in on the context's GL queue, and its names mean
// something only in that context's GL context.
class LMRenderTarget : public LMPooledObject {
public:
    LMRenderTarget() = default;
    LMRenderTarget(uint64_t identifier, GLuint texture, GLuint framebuffer, LMSize dimensions)
        : identifier_(identifier), texture_(texture), framebuffer_(framebuffer), dimensions_(dimensions)
    {}

    uint64_t identifier() const { return identifier_; }
    void setIdentifier(uint64_t identifier) { identifier_ = identifier; }
    GLuint texture() const { return texture_; }
    void setTexture(GLuint texture) { texture_ = texture; }
    GLuint framebuffer() const { return framebuffer_; }
    void setFramebuffer(GLuint framebuffer) { framebuffer_ = framebuffer; }
    LMSize dimensions() const { return dimensions_; }
    void setDimensions(LMSize dimensions) { dimensions_ = dimensions; }

private:
    uint64_t identifier_ = 0;
    GLuint texture_ = 0;
    GLuint framebuffer_ = 0;
    LMSize dimensions_;
};
