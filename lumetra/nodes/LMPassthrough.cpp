#include "lumetra/nodes/LMPassthrough.h"

#include "lumetra/graph/LMCycleGuard.h"
#include "lumetra/graph/LMGraphDepth.h"
#include "lumetra/graph/LMReleaseLater.h"
#include "lumetra/nodes/LMColor.h"
#include "lumetra/platform/LMLog.h"

#include <utility>

std::shared_ptr<LMPassthrough> LMPassthrough::passthrough()
{
    return std::shared_ptr<LMPassthrough>(new LMPassthrough());
}

std::shared_ptr<LMPassthrough> LMPassthrough::passthroughWithInput(std::shared_ptr<LMDrawable> input)
{
    auto created = passthrough();
    created->setInput(std::move(input));
    return created;
}

LMPassthrough::~LMPassthrough()
{
    LMReleaseLater(std::move(input_));
}

std::shared_ptr<LMImage> LMPassthrough::drawWithContext(const std::shared_ptr<LMContext>& context)
{
    const std::shared_ptr<LMPassthrough> keepAlive = weak_from_this().lock();
    ++count_;
    // Met again inside its own draw, the passthrough is its own input: there
    // it reads as black, and the draw where the cycle closes gives black.
    if (drawing_) {
        cycleMet_ = true;
        return LMColor::blackColor()->drawWithContext(context);
    }
    const std::shared_ptr<LMDrawable> input = input_;
    if (!input)
        return LMColor::blackColor()->drawWithContext(context);
    const LMGraphDepth depth;
    if (depth.tooDeep()) {
        if (!std::exchange(reportedDepth_, true))
            LMLog("LMPassthrough: The graph is more than %d nodes deep at <LMPassthrough: %p>; drawing black",
                  LMGraphDepth::maximumDepth, static_cast<const void*>(this));
        return LMColor::blackColor()->drawWithContext(context);
    }

    std::shared_ptr<LMImage> image;
    {
        LMCycleGuard guard(drawing_);
        cycleMet_ = false;
        image = input->drawWithContext(context);
    }
    if (!cycleMet_)
        return image;
    if (!std::exchange(reportedCycle_, true))
        LMLog("LMPassthrough: The graph has a cycle through <LMPassthrough: %p>; drawing black",
              static_cast<const void*>(this));
    return LMColor::blackColor()->drawWithContext(context);
}

bool LMPassthrough::updateNeedsRedraw()
{
    const LMGraphDepth depth;
    if (askingInput_ || depth.tooDeep())
        return needsRedraw_;
    LMCycleGuard guard(askingInput_);
    const std::shared_ptr<LMDrawable> input = input_;
    if (auto* caching = dynamic_cast<LMDrawableCaching*>(input.get()))
        needsRedraw_ = caching->updateNeedsRedraw();
    return needsRedraw_;
}
