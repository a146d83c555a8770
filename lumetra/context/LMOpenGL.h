#pragma once

#include "lumetra/context/LMVertexArray.h"
#include "lumetra/context/LMVertexBuffer.h"
#include "lumetra/platform/LMGL.h"
#include "lumetra/platform/LMRect.h"

#include <memory>

// Stands between the library and a few binding calls of one GL context. Only
// the viewport is cached: a viewport equal to the last one set through this
// object is not sent again, which saves a call whenever consecutive targets
// have one size. It trusts that nobody else sets the viewport of its GL
// context; a host that does must reset currentViewport. Used only where its GL
// context is current and its use is serialised, so it takes no lock.
class LMOpenGL {
public:
    LMOpenGL() = default;

    // Always bind: a null array or buffer does nothing.
    void bindVertexArray(const std::shared_ptr<LMVertexArray>& array);
    void bindVertexBuffer(const std::shared_ptr<LMVertexBuffer>& buffer);
    void setViewport(const LMRect& viewport);
    void setActiveTexture(GLenum texture);

    std::shared_ptr<LMVertexArray> boundVAO() const { return boundVAO_.lock(); }
    void setBoundVAO(const std::shared_ptr<LMVertexArray>& array) { boundVAO_ = array; }
    std::shared_ptr<LMVertexBuffer> boundVertexBuffer() const { return boundVertexBuffer_.lock(); }
    void setBoundVertexBuffer(const std::shared_ptr<LMVertexBuffer>& buffer) { boundVertexBuffer_ = buffer; }
    // Setting it directly changes only what the next setViewport compares with.
    const LMRect& currentViewport() const { return currentViewport_; }
    void setCurrentViewport(const LMRect& viewport) { currentViewport_ = viewport; }
    GLenum activeTexture() const { return activeTexture_; }
    void setActiveTextureValue(GLenum texture) { activeTexture_ = texture; }
    bool activeTextureSet() const { return activeTextureSet_; }
    void setActiveTextureSet(bool set) { activeTextureSet_ = set; }

private:
    std::weak_ptr<LMVertexArray> boundVAO_;
    std::weak_ptr<LMVertexBuffer> boundVertexBuffer_;
    LMRect currentViewport_;
    GLenum activeTexture_ = 0;
    bool activeTextureSet_ = false;
};
