#include "lumetra/interop/LMFilterOpenGLTextureAdapter.h"

#include "lumetra/context/LMContext.h"
#include "lumetra/graph/LMImageClearing.h"
#include "lumetra/graph/LMProxyCallScope.h"
#include "lumetra/platform/LMException.h"
#include "lumetra/platform/LMLog.h"

#include <cmath>
#include <cstdio>

namespace {

// The same copy for a 2D texture, whose coordinates are normalised: the quad
// gives texel positions, as for a rectangle texture.
constexpr const char* kernelSource2D =
    "uniform sampler2D lm_input;void main() {    "
    "lm_output = texture(lm_input, lm_location / vec2(textureSize(lm_input, 0))).rgb; } ";

std::string contextDescription(const LMContext* context)
{
    char description[48];
    std::snprintf(description, sizeof(description), "<LMContext: %p>", static_cast<const void*>(context));
    return description;
}

} // namespace

LMFilterRef<LMFilterOpenGLTextureAdapter> LMFilterOpenGLTextureAdapter::filterWithContext(
    const std::shared_ptr<LMContext>& context)
{
    LMFilterRef<LMFilterOpenGLTextureAdapter> created = filter();
    created->preloadWithContext(context);
    created->setContext(context);
    return created;
}

LMFilterOpenGLTextureAdapter::LMFilterOpenGLTextureAdapter() : vaoState_(std::make_shared<LMVAOStateTextured>())
{}

LMFilterOpenGLTextureAdapter::~LMFilterOpenGLTextureAdapter()
{
    if (std::shared_ptr<LMContext> owner = vaoContext_.lock())
        owner->executeOpenGL([&] { cleanUpVAOForContext(owner); });
}

void LMFilterOpenGLTextureAdapter::init()
{
    LMFilter::init();
    textureTarget_ = GL_TEXTURE_RECTANGLE;
    context_.reset();
    vaoState_ = std::make_shared<LMVAOStateTextured>();
    vaoContext_.reset();
}

std::string LMFilterOpenGLTextureAdapter::kernelSource() const
{
    return "uniform sampler2DRect lm_input;void main() {    lm_output = texture(lm_input, lm_location).rgb; } ";
}

void LMFilterOpenGLTextureAdapter::setTextureSize(LMSize size)
{
    textureSize_ = size;
    vaoState_->setInputDims(size);
}

void LMFilterOpenGLTextureAdapter::setIsFlipped(bool flipped)
{
    isFlipped_ = flipped;
    vaoState_->setIsFlipped(flipped);
}

void LMFilterOpenGLTextureAdapter::setScaler(std::shared_ptr<LMScaler> scaler)
{
    if (scaler == this->scaler())
        return;
    LMFilter::setScaler(std::move(scaler));
    // The quad only stores the scaler: a new content scale mode must not
    // change the fit of a conversion whose sizes and flip are unchanged.
    if (std::shared_ptr<LMContext> context = context_.lock())
        context->executeOpenGLNoContextSwitch([&] { vaoState_->setScaler(this->scaler()); });
}

std::shared_ptr<LMImage> LMFilterOpenGLTextureAdapter::drawWithContext(const std::shared_ptr<LMContext>& context)
{
    // Drawing through the handle is not a setter.
    LMProxyCallScope::claim(this);
    if (!context)
        return nullptr;
    std::shared_ptr<LMContext> bound = context_.lock();
    if (!bound) {
        context_ = context;
        bound = context;
    }
    if (bound != context)
        throw LMException("LMFilterOpenGLTextureAdapter can only be used with a single context.",
                          contextDescription(context.get()) + " is not the existing context, " +
                              contextDescription(bound.get()) + ".");

    // One trip to the GL queue; the steps inside run there at once.
    std::shared_ptr<LMImage> output;
    context->executeOpenGL([&] {
        preloadWithContext(context);
        output = applyProgramWithContext(context);
    });
    return output;
}

std::shared_ptr<LMImage> LMFilterOpenGLTextureAdapter::applyProgramWithContext(
    const std::shared_ptr<LMContext>& context)
{
    if (!context)
        return nullptr;
    updateVAOIfNeededForContext(context);
    std::shared_ptr<LMProgram> program = programForTarget(context);
    if (program && program->isLinked())
        context->executeOpenGLNoContextSwitch([&] { program->useProgram(); });

    std::shared_ptr<LMImage> output = leaseBoundImage(context, context->dimensions());
    if (!output)
        return nullptr;
    auto drawBlack = [&] {
        clearBoundTarget(*context, LMRGBA::blackColor());
        return output;
    };

    if (!program || !program->isLinked())
        return drawBlack();
    // The quad spans the texture's size: without one there is nothing to sample.
    const LMSize size = textureSize_;
    if (!(size.width > 0 && size.height > 0 && std::isfinite(size.width) && std::isfinite(size.height))) {
        LMLog("LMFilterOpenGLTextureAdapter: Cannot draw a texture of %g by %g pixels; drawing black", size.width,
              size.height);
        return drawBlack();
    }
    const std::shared_ptr<LMOpenGL>& gl = context->gl();
    bool bound = false;
    context->executeOpenGLNoContextSwitch([&] {
        gl->setActiveTexture(GL_TEXTURE0);
        // Unbound first, so that unit 0 holds nothing of before if the bind
        // fails. GL refuses a name that was deleted, never made, or made for
        // another target; its error is read here, so that no later step
        // takes it for its own.
        glBindTexture(textureTarget_, 0);
        LMOpenGL::takeErrors();
        glBindTexture(textureTarget_, texture_);
        bound = texture_ != 0 && LMOpenGL::takeErrors() == GL_NO_ERROR;
        if (!bound)
            return;
        glUniform1i(program->uniformLocation("lm_input"), 0);
        vaoState_->bindVAO(*gl);
        glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
    });
    if (bound)
        return output;
    LMLog("LMFilterOpenGLTextureAdapter: Cannot bind texture %u as target 0x%04X; drawing black", texture_,
          textureTarget_);
    return drawBlack();
}

std::shared_ptr<LMProgram> LMFilterOpenGLTextureAdapter::programForTarget(const std::shared_ptr<LMContext>& context)
{
    if (textureTarget_ == GL_TEXTURE_RECTANGLE)
        return program();
    if (textureTarget_ != GL_TEXTURE_2D) {
        LMLog("LMFilterOpenGLTextureAdapter: Cannot draw a texture of target 0x%04X; drawing black", textureTarget_);
        return nullptr;
    }
    // A second program in the context's cache, named after the first.
    const std::string name = programKey() + "2D";
    if (std::shared_ptr<LMProgram> cached = context->getProgramWithName(name))
        return cached;
    std::string source = preprocessedFragmentShaderSource();
    source.replace(source.size() - kernelSource().size(), std::string::npos, kernelSource2D);
    return context->createProgramWithName(name, source.c_str());
}

std::shared_ptr<LMVAOStateTextured> LMFilterOpenGLTextureAdapter::newQuadState() const
{
    auto state = std::make_shared<LMVAOStateTextured>();
    state->setInputDims(vaoState_->inputDims());
    state->setOutputDims(vaoState_->outputDims());
    state->setIsFlipped(vaoState_->isFlipped());
    state->setScaler(vaoState_->scaler());
    return state;
}

void LMFilterOpenGLTextureAdapter::updateVAOIfNeededForContext(const std::shared_ptr<LMContext>& context)
{
    // Vertex arrays belong to one GL context: a quad made in a context that
    // has gone (the filter then binds to the next one) is made anew here.
    if (vaoState_->hasExistingVAO() && vaoContext_.lock() != context) {
        if (std::shared_ptr<LMContext> previous = vaoContext_.lock())
            previous->executeOpenGL([&] { cleanUpVAOForContext(previous); });
        vaoState_ = newQuadState();
    }
    vaoContext_ = context;

    context->executeOpenGLNoContextSwitch([&] {
        vaoState_->setOutputDims(context->dimensions());
        vaoState_->update(*context->gl());
    });
}

void LMFilterOpenGLTextureAdapter::cleanUpVAOForContext(const std::shared_ptr<LMContext>& context)
{
    if (context)
        context->executeOpenGLNoContextSwitch([&] { vaoState_->cleanup(); });
}
