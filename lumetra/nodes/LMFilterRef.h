#pragma once

#include "lumetra/graph/LMProxyCallScope.h"
#include "lumetra/nodes/LMFilterProxy.h"

#include <memory>

// A host's handle on a filter of class T, as its class constructors return
// it: `->` reaches every operation of T through the filter's proxy, so that
// setters of watched names mark the filter before they store; the handle
// converts to std::shared_ptr<LMDrawable> (the proxy) wherever a node is
// expected. Copies share one proxy and one filter.
//
// Threads: copies may be used on any thread, but they share one proxy and filter, which one thread at a time
// drives; each call through `->` opens its scope on the calling thread only.
template <class T>
class LMFilterRef {
public:
    LMFilterRef() = default;
    LMFilterRef(std::nullptr_t) {}
    explicit LMFilterRef(std::shared_ptr<LMFilterProxy> proxy) : proxy_(std::move(proxy)) {}

    // One call through the proxy: the scope lasts until the end of the
    // expression that made the call.
    class Call {
    public:
        Call(const LMFilterProxy* proxy, T* target)
            : scope_(target, proxy ? &proxy->watchedMethods() : nullptr), target_(target)
        {}
        T* operator->() const { return target_; }

    private:
        LMProxyCallScope scope_;
        T* target_;
    };

    Call operator->() const { return Call(proxy_.get(), get()); }

    // The filter itself, bypassing the proxy: its setters mark nothing.
    T* get() const { return proxy_ ? static_cast<T*>(proxy_->target().get()) : nullptr; }
    std::shared_ptr<T> target() const { return proxy_ ? std::static_pointer_cast<T>(proxy_->target()) : nullptr; }
    const std::shared_ptr<LMFilterProxy>& proxy() const { return proxy_; }

    explicit operator bool() const { return proxy_ != nullptr; }
    operator std::shared_ptr<LMDrawable>() const { return proxy_; }
    operator std::shared_ptr<LMDrawableCaching>() const { return proxy_; }

    // A handle on a subclass is a handle on its base classes too.
    // (clang-format 14 misplaces requires-clauses)
    // clang-format off
    template <class Base>
        requires std::is_base_of_v<Base, T>
    operator LMFilterRef<Base>() const
    {
        return LMFilterRef<Base>(proxy_);
    }
    // clang-format on

    friend bool operator==(const LMFilterRef& a, const LMFilterRef& b) { return a.proxy_ == b.proxy_; }

private:
    std::shared_ptr<LMFilterProxy> proxy_;
};
