#pragma once

#include "lumetra/graph/LMVAOStateTextured.h"
#include "lumetra/nodes/LMFilterClass.h"
#include "lumetra/platform/LMGL.h"
#include "lumetra/platform/LMSize.h"

#include <memory>

// Draws a GL texture it does not own (given by name, size, target and
// orientation) into a new image of its context, fitted to the context's size
// by its scaler. It has no inputs and keeps no output: every draw renders
// anew into a freshly leased image. Its quad is its own, sized from the
// texture; the base class's quad stays unused.
//
// One instance serves one context: the one it is made with, or else the
// first it draws with, for as long as that context lives. Drawing with any
// other throws LMException. It never deletes the texture.
//
// Rectangle textures (GL_TEXTURE_RECTANGLE) and 2D textures (GL_TEXTURE_2D)
// are drawn; a texture of any other target is reported and drawn as black,
// and so is a name GL cannot bind (0, deleted, never made, or made for
// another target) or a texture size that is not a positive number.
//
// Threads: not locked; one thread at a time drives it (the host's to ensure). Each draw is one block on its
// context's GL queue, and so is handing a new scaler to its quad.
class LMFilterOpenGLTextureAdapter : public LMFilterClass<LMFilterOpenGLTextureAdapter> {
public:
    // A new filter, its program loaded in the context and bound to it.
    static LMFilterRef<LMFilterOpenGLTextureAdapter> filterWithContext(const std::shared_ptr<LMContext>& context);

    LMFilterOpenGLTextureAdapter();
    ~LMFilterOpenGLTextureAdapter() override;

    void init() override;
    std::string kernelSource() const override;

    GLuint texture() const { return texture_; }
    void setTexture(GLuint texture) { texture_ = texture; }
    // Also the quad's input size.
    LMSize textureSize() const { return textureSize_; }
    void setTextureSize(LMSize size);
    GLenum textureTarget() const { return textureTarget_; }
    void setTextureTarget(GLenum target) { textureTarget_ = target; }
    // Whether the texture's rows run top-down; also the quad's flip.
    bool isFlipped() const { return isFlipped_; }
    void setIsFlipped(bool flipped);
    std::shared_ptr<LMContext> context() const { return context_.lock(); }
    void setContext(const std::shared_ptr<LMContext>& context) { context_ = context; }
    // The filter's own quad, sized from the texture. It has a name of its
    // own so that the base's vaoState(), which stays null for this filter,
    // is not hidden: one object answers one way whatever the reference.
    const std::shared_ptr<LMVAOStateTextured>& textureVAOState() const { return vaoState_; }

    // The same scaler again changes nothing. Another is stored and, once the
    // filter has a context, handed to the quad on the context's GL queue; the
    // quad takes its shape from it at its next rebuild, which a new texture
    // size, flip or context size brings. Without a context the quad keeps its
    // old scaler.
    void setScaler(std::shared_ptr<LMScaler> scaler) override;

    // Null for a null context; throws LMException for a context other than
    // the bound one, before any GL work.
    std::shared_ptr<LMImage> drawWithContext(const std::shared_ptr<LMContext>& context) override;
    // Always true: the texture may have changed behind the filter's back.
    bool updateNeedsRedraw() override { return true; }
    std::shared_ptr<LMImage> applyProgramWithContext(const std::shared_ptr<LMContext>& context) override;
    void updateVAOIfNeededForContext(const std::shared_ptr<LMContext>& context) override;
    // Frees the quad's GL objects; on the context's GL queue.
    void cleanUpVAOForContext(const std::shared_ptr<LMContext>& context);

private:
    // The program that samples the texture's target; null for an unsupported one.
    std::shared_ptr<LMProgram> programForTarget(const std::shared_ptr<LMContext>& context);
    // The same quad settings with no GL objects yet, for another GL context.
    std::shared_ptr<LMVAOStateTextured> newQuadState() const;

    GLuint texture_ = 0;
    LMSize textureSize_;
    GLenum textureTarget_ = GL_TEXTURE_RECTANGLE;
    bool isFlipped_ = false;
    std::weak_ptr<LMContext> context_;
    std::shared_ptr<LMVAOStateTextured> vaoState_;
    // The context whose GL objects the quad holds.
    std::weak_ptr<LMContext> vaoContext_;
};
