#pragma once

#include "lumetra/context/LMObjectPool.h"
#include "lumetra/context/LMRenderTarget.h"
#include "lumetra/platform/LMSize.h"

#include <cstddef>
#include <memory>

class LMContext;

// A context's render targets, reused by size: a request gets an unused
// target of exactly the requested dimensions (compared as doubles), or a new
// one. With reusesByTextureSize() a request takes any unused target whose
// texture has the floored size it asks for (its dimensions then become the
// requested ones), so sizes that drift by fractions of a pixel share one.
//
// Unused targets are kept for reuse until a flush, within a budget: after
// every request, the least recently released unused targets are deleted
// until the unused ones weigh no more than idleBudget() (256 MiB unless set).
// A release alone never makes a GL call, so the unused weight may exceed the
// budget between a release and the next request.
//
// GL work runs on the context's queue; once the context is gone, deleting a
// target only drops its bookkeeping, since its names ended with the GL
// context.
//
// Threads: any thread; requests, deletions and trims run their GL as blocks on the context's GL queue, and a
// release only counts under the pool's lock. setReusesByTextureSize is a plain store: set it while nothing draws.
class LMRenderTargetPool : public LMObjectPool {
public:
    explicit LMRenderTargetPool(std::weak_ptr<LMContext> context);
    ~LMRenderTargetPool() override;

    // The id of a target leased once, or LMNotFound when no target could be
    // made (the reason is logged; the failed id does not stay in the pool).
    uint64_t requestRenderTargetWithDimensions(LMSize dimensions);
    std::shared_ptr<LMRenderTarget> renderTargetWithId(uint64_t objectId) const;

    // What a target of these dimensions is taken to weigh: its texture as
    // drivers keep GL_RGB16, padded to four 16-bit channels (8 bytes a
    // texel), and 4 kB for the driver's records of the texture and the
    // framebuffer (both measured on llvmpipe).
    static size_t bytesForDimensions(LMSize dimensions);
    static constexpr size_t defaultIdleBudget = size_t(256) << 20;
    // The most that unused targets may weigh after a request. Setting it
    // deletes at once, on the GL queue, what is beyond it.
    size_t idleBudget() const { return unusedBytesBudget(); }
    void setIdleBudget(size_t bytes);
    // What the unused targets weigh; allocatedBytes() weighs them all.
    size_t idleBytes() const { return unusedBytes(); }
    // Off by default: exact sizes, as documented.
    bool reusesByTextureSize() const { return reusesByTextureSize_; }
    void setReusesByTextureSize(bool reuses) { reusesByTextureSize_ = reuses; }

    uint64_t requestNewObjectId() override;
    std::shared_ptr<LMPooledObject> createObjectWithId(uint64_t objectId) override;
    void deleteObjectWithId(uint64_t objectId) override;
    size_t bytesOfObject(const LMPooledObject& object) const override;

    std::shared_ptr<LMContext> context() const { return context_.lock(); }
    void setContext(std::weak_ptr<LMContext> context) { context_ = std::move(context); }
    LMSize requestedDims() const { return requestedDims_; }
    void setRequestedDims(LMSize dimensions) { requestedDims_ = dimensions; }

private:
    std::weak_ptr<LMContext> context_;
    // The size of the request in progress, read by the reuse test and creation.
    LMSize requestedDims_;
    bool reusesByTextureSize_ = false;
};
