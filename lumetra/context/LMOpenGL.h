#pragma once

#include "lumetra/context/LMVertexArray.h"
#include "lumetra/context/LMVertexBuffer.h"
#include "lumetra/platform/LMGL.h"
#include "lumetra/platform/LMRect.h"

#include <cstddef>
#include <cstdint>
#include <memory>

// Stands between the library and the state of one GL context. Only the
// viewport is cached: a viewport equal to the last one set through this
// object is not sent again, which saves a call whenever consecutive targets
// have one size.
//
// A host runs GL of its own in the same context (executeOpenGL) and may leave
// any state behind: pixel-store parameters, a bound pixel buffer, scissor,
// colour mask, culling, rasterizer discard, logic op, blending, depth and
// stencil tests, a polygon mode, sampler objects, a moved viewport. The
// context calls noteOutsideGL around every block a host hands over from
// outside the GL queue and after every block nested directly in one (the
// host's GL may follow it there), but not around the library's own
// (LMContext::executeOwnOpenGL); the next library draw, clear or target creation then puts
// the drawing state back once (restoreDrawingState), and later ones pay
// nothing until the next such mark. Read-backs and uploads are rare and
// costly anyway, so they set their whole pixel-store state every time.
//
// Used only where its GL context is current and its use is serialised, so it
// takes no lock.
//
// Threads: not locked; used only on the thread where its GL context is current: a rendering context's GL
// queue, or a view's drawing thread under the view's lock.
class LMOpenGL {
public:
    LMOpenGL() = default;

    // Always bind: a null array or buffer does nothing.
    void bindVertexArray(const std::shared_ptr<LMVertexArray>& array);
    void bindVertexBuffer(const std::shared_ptr<LMVertexBuffer>& buffer);
    void setViewport(const LMRect& viewport);
    void setActiveTexture(GLenum texture);

    // GL work the library does not control may have run: the next
    // restoreDrawingState sends everything again and the viewport is sent
    // whatever it was.
    void noteOutsideGL() { outsideGLMayHaveRun_ = true; }
    bool outsideGLMayHaveRun() const { return outsideGLMayHaveRun_; }
    // The context's blocks running now, one inside the other; leaveBlock
    // answers how many are left. The outermost says whether it is the
    // host's (GL of the host's may run between the blocks nested in it).
    void enterBlock(bool hosts)
    {
        if (blockDepth_++ == 0)
            outermostBlockIsHosts_ = hosts;
    }
    int leaveBlock() { return --blockDepth_; }
    bool outermostBlockIsHosts() const { return outermostBlockIsHosts_; }
    // When outside GL may have run since the last call: every capability the
    // library's draws and clears rely on back off (blend, scissor, culling,
    // depth, stencil, logic op, rasterizer discard, dither, the first eight
    // clip distances), all four colour channels written, polygons filled, no
    // sampler objects on the texture units, no pixel-unpack buffer (which
    // would turn a new target's allocation into a read from it), and the
    // cached viewport forgotten. Otherwise nothing, not even a GL call.
    void restoreDrawingState();
    // The bound draw framebuffer draws its colour attachment 0 (a host that
    // bound one of the library's framebuffers may have set another draw
    // buffer on it): one query, and a call only when it is not so.
    static void useColorAttachmentForDrawing();
    // Packing as GL's defaults have it (tightly by rows of 4-byte alignment,
    // no skips, no byte swapping), no pixel-pack buffer, and the bound read
    // framebuffer reading its colour attachment 0: what glReadPixels into a
    // buffer of the library's needs.
    static void setReadBackState();
    // Unpacking as GL's defaults have it and no pixel-unpack buffer: what
    // glTexImage2D from a buffer of the library's needs.
    static void setUploadState();
    // Reads the lower-left `width` by `height` pixels of the bound read
    // framebuffer (a 16-bit target) into `pixels`, rows bottom up and
    // `bytesPerRow` apart (whole pixels, at least a row's own), `channels` 3
    // (RGB) or 4 (RGBA, alpha opaque) samples a pixel, each 16 bits (native
    // byte order) or 8: the sample's nearest of 255 steps,
    // round(s × 255 / 65535). Bytes come straight from GL where
    // readsBytesStraight says so; elsewhere GL reads 16 bits a band of rows
    // at a time into memory of its own, rounded from there. Sets the
    // read-back state first and leaves packing as GL's defaults have it. GL
    // errors are left for the caller to take.
    void readPixels(GLsizei width, GLsizei height, int channels, int bitsPerSample, void* pixels, size_t bytesPerRow);
    // Whether this context's glReadPixels of a 16-bit target into bytes
    // gives each sample's nearest step, as GL asks, rather than its high
    // byte (as some drivers do, a step low for about half the values): asked
    // of the driver the first time, with samples either side of half steps,
    // and remembered.
    bool driverRoundsBytes();
    // Whether 8-bit read-backs take bytes straight from GL: on a hardware
    // renderer whose driver rounds them (half the data to carry), not where
    // it does not, nor on a software renderer, whose own conversion costs
    // more than reading 16 bits and rounding them here. Decided the first
    // time unless set: false, through 16 bits on any driver; true, straight
    // (exact only where the driver rounds), which tests and measures either
    // way anywhere.
    bool readsBytesStraight();
    void setReadsBytesStraight(bool straight) { readsBytesStraight_ = straight ? 1 : 0; }
    // A sampler object that reads the texel a coordinate falls in, edges
    // clamped, made the first time it is asked for; 0 where the context has
    // no sampler objects. Whoever binds it to a unit unbinds it after the
    // draw: every other draw reads a texture as its own parameters say.
    GLuint nearestSampler();
    // A 16-bit sample's nearest of 255 steps (exact for every sample).
    static uint8_t nearestByte(GLushort sample) { return uint8_t((sample * 255u + 32895u) >> 16); }
    // The first GL error pending, after reading out all of them, so that the
    // next check sees only its own. GL_NO_ERROR when none.
    static GLenum takeErrors();
    // takeErrors, logging `line` when there was an error: the check after a
    // step of set-up.
    static void logErrors(const char* line);

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
    void findSamplerUnits();

    std::weak_ptr<LMVertexArray> boundVAO_;
    std::weak_ptr<LMVertexBuffer> boundVertexBuffer_;
    LMRect currentViewport_;
    GLenum activeTexture_ = 0;
    bool activeTextureSet_ = false;
    // A new context has run nothing of the host's, but its defaults are
    // worth setting once all the same.
    bool outsideGLMayHaveRun_ = true;
    int blockDepth_ = 0;
    bool outermostBlockIsHosts_ = false;
    // Texture units whose sampler binding is cleared, and whether the
    // context can do it in one call; -1 until asked.
    GLint samplerUnits_ = -1;
    bool multiBind_ = false;
    GLuint nearestSampler_ = 0;
    // The answers of driverRoundsBytes and readsBytesStraight; -1 until asked.
    int driverRoundsBytes_ = -1;
    int readsBytesStraight_ = -1;
};
