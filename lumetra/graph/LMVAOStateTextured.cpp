#include "lumetra/graph/LMVAOStateTextured.h"

#include "lumetra/graph/LMScalerStretch.h"

LMVAOStateTextured::LMVAOStateTextured() : scaler_(std::make_shared<LMScalerStretch>())
{}

void LMVAOStateTextured::setInputDims(LMSize dimensions)
{
    if (dimensions == inputDims_ || dimensions == LMSize{0, 0})
        return;
    inputDims_ = dimensions;
    needsVAOUpdate_ = true;
}

void LMVAOStateTextured::setOutputDims(LMSize dimensions)
{
    if (dimensions == outputDims_ || dimensions == LMSize{0, 0})
        return;
    outputDims_ = dimensions;
    needsVAOUpdate_ = true;
}

void LMVAOStateTextured::setIsFlipped(bool flipped)
{
    if (flipped == isFlipped_)
        return;
    isFlipped_ = flipped;
    needsVAOUpdate_ = true;
}

bool LMVAOStateTextured::update(LMOpenGL& gl)
{
    if (!needsVAOUpdate_)
        return false;
    if (hasExistingVAO_)
        cleanup();

    ourVAO_ = std::make_shared<LMVertexArray>();
    gl.bindVertexArray(ourVAO_);
    LMOpenGL::logErrors("LMVAOStateTextured: Error creating VAO");

    ourVBO_ = std::make_shared<LMVertexBuffer>();
    updateVBOSize(gl);
    LMVertexBuffer::describeQuadLayout();
    LMOpenGL::logErrors("LMVAOStateTextured: Error creating VBO");

    needsVAOUpdate_ = false;
    hasExistingVAO_ = true;
    return true;
}

void LMVAOStateTextured::bindVAO(LMOpenGL& gl)
{
    gl.bindVertexArray(ourVAO_);
}

void LMVAOStateTextured::cleanup()
{
    if (ourVAO_)
        ourVAO_->cleanup();
    if (ourVBO_)
        ourVBO_->cleanup();
}

LMRect LMVAOStateTextured::vertexPositionRect() const
{
    if (inputDims_.height <= 0 || outputDims_.height <= 0 || inputDims_.width <= 0 || outputDims_.width <= 0)
        return {-1, -1, 2, 2};
    if (!scaler_)
        return {0, 0, 0, 0};
    return scaler_->vertexPositionRectForInputSize(inputDims_, outputDims_);
}

LMRect LMVAOStateTextured::texturePositionRect() const
{
    return {0, 0, inputDims_.width, inputDims_.height};
}

void LMVAOStateTextured::updateVBOSize(LMOpenGL& gl)
{
    LMRect texture = texturePositionRect();
    if (isFlipped_)
        texture = {texture.x, texture.y + texture.height, texture.width, -texture.height};
    gl.bindVertexBuffer(ourVBO_);
    if (ourVBO_)
        ourVBO_->setQuad(vertexPositionRect(), texture);
}
