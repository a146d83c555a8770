#pragma once

#include "lumetra/context/LMOpenGL.h"
#include "lumetra/context/LMVertexArray.h"
#include "lumetra/context/LMVertexBuffer.h"
#include "lumetra/graph/LMScaler.h"
#include "lumetra/platform/LMRect.h"
#include "lumetra/platform/LMSize.h"

#include <memory>

// A quad of a filter's own, for drawing at a size other than the context's or
// from a texture of another size: its corners place the input inside the
// output as the scaler says, its texture coordinates span the input in
// pixels, optionally upside down. The vertex array and buffer are rebuilt only
// when the input size, the output size or the flip changes. The layout is
// the shared quad's: x, y, s, t per vertex; lower-left, lower-right,
// upper-left, upper-right; drawn as a triangle strip.
//
// Threads: not locked; its filter drives it, and its GL steps (update, bindVAO, describeVertexLayout,
// updateVBOSize, cleanup) run on the context's GL queue with the GL context current.
class LMVAOStateTextured {
public:
    LMVAOStateTextured();

    // A size equal to the one held, or zero by zero, changes nothing.
    void setInputDims(LMSize dimensions);
    void setOutputDims(LMSize dimensions);
    void setIsFlipped(bool flipped);
    // Shapes the quad from the next rebuild on; marks nothing.
    void setScaler(std::shared_ptr<LMScaler> scaler) { scaler_ = std::move(scaler); }

    // On the GL queue with the GL context current: rebuilds the quad (its
    // vertex array and buffer, laid out for every program) when needed and
    // says whether it did.
    bool update(LMOpenGL& gl);
    void bindVAO(LMOpenGL& gl);
    // Deletes the GL vertex array and buffer; on the GL queue.
    void cleanup();

    // In normalised device coordinates: the full viewport for a size of zero
    // or less, nothing without a scaler, else the scaler's rectangle.
    LMRect vertexPositionRect() const;
    LMRect texturePositionRect() const;
    void updateVBOSize(LMOpenGL& gl);

    LMSize inputDims() const { return inputDims_; }
    LMSize outputDims() const { return outputDims_; }
    bool isFlipped() const { return isFlipped_; }
    std::shared_ptr<LMScaler> scaler() const { return scaler_; }
    std::shared_ptr<LMVertexArray> ourVAO() const { return ourVAO_; }
    void setOurVAO(std::shared_ptr<LMVertexArray> array) { ourVAO_ = std::move(array); }
    std::shared_ptr<LMVertexBuffer> ourVBO() const { return ourVBO_; }
    void setOurVBO(std::shared_ptr<LMVertexBuffer> buffer) { ourVBO_ = std::move(buffer); }
    bool needsVAOUpdate() const { return needsVAOUpdate_; }
    void setNeedsVAOUpdate(bool needed) { needsVAOUpdate_ = needed; }
    bool hasExistingVAO() const { return hasExistingVAO_; }
    void setHasExistingVAO(bool exists) { hasExistingVAO_ = exists; }

private:
    bool isFlipped_ = false;
    bool needsVAOUpdate_ = true;
    bool hasExistingVAO_ = false;
    std::shared_ptr<LMScaler> scaler_;
    std::shared_ptr<LMVertexArray> ourVAO_;
    std::shared_ptr<LMVertexBuffer> ourVBO_;
    LMSize inputDims_;
    LMSize outputDims_;
};
