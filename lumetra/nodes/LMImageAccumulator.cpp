#include "lumetra/nodes/LMImageAccumulator.h"

#include "lumetra/context/LMContext.h"
#include "lumetra/nodes/LMColor.h"
#include "lumetra/platform/LMLog.h"

std::shared_ptr<LMImageAccumulator> LMImageAccumulator::accumulator()
{
    return std::shared_ptr<LMImageAccumulator>(new LMImageAccumulator({}));
}

std::shared_ptr<LMImageAccumulator> LMImageAccumulator::accumulatorWithContext(
    const std::shared_ptr<LMContext>& context)
{
    return std::shared_ptr<LMImageAccumulator>(new LMImageAccumulator(context));
}

LMImageAccumulator::LMImageAccumulator(const std::weak_ptr<LMContext>& context) : context_(context)
{}

void LMImageAccumulator::setImage(const std::shared_ptr<LMDrawable>& drawable)
{
    auto context = context_.lock();
    if (!context) {
        LMLog("LMImageAccumulator: Image was set before context.");
        return;
    }
    if (!drawable) {
        internalImage_ = nullptr;
        return;
    }
    // With caching on, the node brings its own redraw flag up to date from
    // its inputs first, or it might hand back an output that is out of date.
    if (context->cachingEnabled()) {
        if (auto* caching = dynamic_cast<LMDrawableCaching*>(drawable.get()))
            caching->updateNeedsRedraw();
    }
    // The node's draw may run host code that lets go of this accumulator.
    const std::shared_ptr<LMImageAccumulator> keepAlive = weak_from_this().lock();
    internalImage_ = drawable->drawWithContext(context);
}

std::shared_ptr<LMImage> LMImageAccumulator::drawWithContext(const std::shared_ptr<LMContext>& context)
{
    needsRedraw_ = false;
    if (internalImage_ && context && internalImage_->context() == context &&
        internalImage_->dimensions() == context->dimensions())
        return internalImage_;
    return LMColor::blackColor()->drawWithContext(context);
}
