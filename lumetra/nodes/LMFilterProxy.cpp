#include "lumetra/nodes/LMFilterProxy.h"

#include "lumetra/graph/LMFilter.h"
#include "lumetra/graph/LMReleaseLater.h"

#include <cstdio>

std::string LMFilterProxy::setterNameForProperty(std::string_view name)
{
    return setterNameForKey(name);
}

std::shared_ptr<LMFilterProxy> LMFilterProxy::proxyWithTarget(std::shared_ptr<LMFilter> target)
{
    return std::shared_ptr<LMFilterProxy>(new LMFilterProxy(std::move(target)));
}

LMFilterProxy::LMFilterProxy(std::shared_ptr<LMFilter> target) : target_(std::move(target))
{
    if (!target_)
        return;
    for (const std::string& name : target_->inputNames())
        watchedMethods_.push_back(setterNameForProperty(name));
    for (const std::string& name : target_->controlNames())
        watchedMethods_.push_back(setterNameForProperty(name));
    for (const auto& uniform : target_->otherUniforms()) {
        if (uniform)
            watchedMethods_.push_back(setterNameForProperty(uniform->name()));
    }
    // A declared setting changes what the filter draws as much as a control does.
    if (const LMFilterDeclaration* declaration = target_->filterDeclaration()) {
        for (const std::string& name : declaration->namesWithRole(LMParameter::Role::Setting))
            watchedMethods_.push_back(setterNameForProperty(name));
    }
}

LMFilterProxy::~LMFilterProxy()
{
    LMReleaseLater(std::move(target_));
}

std::string LMFilterProxy::description() const
{
    char own[64];
    std::snprintf(own, sizeof(own), "<LMFilterProxy: %p>", static_cast<const void*>(this));
    return std::string(own) + " -> " + (target_ ? target_->description() : "(null)");
}

std::shared_ptr<LMImage> LMFilterProxy::drawWithContext(const std::shared_ptr<LMContext>& context)
{
    if (!target_)
        return nullptr;
    const std::shared_ptr<LMFilterProxy> keepAlive = weak_from_this().lock();
    const std::shared_ptr<LMFilter> target = target_;
    return target->drawWithContext(context);
}

bool LMFilterProxy::needsRedraw() const
{
    return target_ && target_->needsRedraw();
}

void LMFilterProxy::setNeedsRedraw(bool needsRedraw)
{
    if (target_)
        target_->setNeedsRedraw(needsRedraw);
}

bool LMFilterProxy::updateNeedsRedraw()
{
    return target_ && target_->updateNeedsRedraw();
}
