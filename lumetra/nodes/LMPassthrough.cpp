#include "lumetra/nodes/LMPassthrough.h"

#include "lumetra/nodes/LMColor.h"

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

std::shared_ptr<LMImage> LMPassthrough::drawWithContext(const std::shared_ptr<LMContext>& context)
{
    ++count_;
    if (input_)
        return input_->drawWithContext(context);
    return LMColor::blackColor()->drawWithContext(context);
}

bool LMPassthrough::updateNeedsRedraw()
{
    if (auto* caching = dynamic_cast<LMDrawableCaching*>(input_.get()))
        needsRedraw_ = caching->updateNeedsRedraw();
    return needsRedraw_;
}
