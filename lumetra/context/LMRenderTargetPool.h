#pragma once

#include "lumetra/context/LMObjectPool.h"
#include "lumetra/context/LMRenderTarget.h"
#include "lumetra/platform/LMSize.h"

#include <memory>

class LMContext;

// A context's render targets, reused by exact size: a request gets an unused
// target whose dimensions equal the requested ones as doubles, or a new one.
// GL work runs on the context's queue; once the context is gone, deleting a
// target only drops its bookkeeping, since its names ended with the GL
// context.
class LMRenderTargetPool : public LMObjectPool {
public:
    explicit LMRenderTargetPool(std::weak_ptr<LMContext> context);
    ~LMRenderTargetPool() override;

    // The id of a target leased once, or LMNotFound when no target could be
    // made (the reason is logged; the failed id does not stay in the pool).
    uint64_t requestRenderTargetWithDimensions(LMSize dimensions);
    std::shared_ptr<LMRenderTarget> renderTargetWithId(uint64_t objectId) const;

    uint64_t requestNewObjectId() override;
    std::shared_ptr<LMPooledObject> createObjectWithId(uint64_t objectId) override;
    void deleteObjectWithId(uint64_t objectId) override;

    std::shared_ptr<LMContext> context() const { return context_.lock(); }
    void setContext(std::weak_ptr<LMContext> context) { context_ = std::move(context); }
    LMSize requestedDims() const { return requestedDims_; }
    void setRequestedDims(LMSize dimensions) { requestedDims_ = dimensions; }

private:
    std::weak_ptr<LMContext> context_;
    // The size of the request in progress, read by the reuse test and creation.
    LMSize requestedDims_;
};
