#pragma once

#include "lumetra/graph/LMDrawableCaching.h"
#include "lumetra/graph/LMWatchedSetters.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

class LMFilter;

// What hosts hold instead of a filter. It keeps the filter alive, stands in
// for it in the graph (drawing, redraw flags), and knows the names of the
// setters that mark the filter: "set" plus the capitalised name of each
// input, control and other uniform, plus ":", as the filter listed them when
// the proxy was made. Typed access to the filter goes through LMFilterRef,
// whose calls open an LMProxyCallScope (graph/LMProxyCallScope.h) so that watched setters mark the
// filter before they store.
//
// Threads: not locked; one thread at a time drives it and its filter (the host's to ensure); draws and redraw
// flags pass to the filter on the calling thread.
class LMFilterProxy : public LMDrawableCaching, public std::enable_shared_from_this<LMFilterProxy> {
public:
    static std::shared_ptr<LMFilterProxy> proxyWithTarget(std::shared_ptr<LMFilter> target);
    ~LMFilterProxy() override;

    const std::shared_ptr<LMFilter>& target() const { return target_; }
    // Does not rebuild the watched list.
    void setTarget(std::shared_ptr<LMFilter> target) { target_ = std::move(target); }
    const std::vector<std::string>& watchedMethods() const { return watchedMethods_; }
    void setWatchedMethods(std::vector<std::string> watched) { watchedMethods_ = std::move(watched); }

    // The proxy's own description, " -> ", then the filter's.
    std::string description() const;

    // The graph's view of the filter: passed on unchanged, marking nothing.
    // The proxy and its filter stay alive until the draw returns, even when
    // a host callback during the draw lets go of the last handle or sets
    // another target.
    std::shared_ptr<LMImage> drawWithContext(const std::shared_ptr<LMContext>& context) override;
    LMFilter* filterBehind() override { return target_.get(); }
    bool needsRedraw() const override;
    void setNeedsRedraw(bool needsRedraw) override;
    bool updateNeedsRedraw() override;

    // "setInputA:" for "inputA"; "set:" for an empty name.
    static std::string setterNameForProperty(std::string_view name);

protected:
    explicit LMFilterProxy(std::shared_ptr<LMFilter> target);

private:
    std::shared_ptr<LMFilter> target_;
    std::vector<std::string> watchedMethods_;
};
