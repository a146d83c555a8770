#include "lumetra/nodes/LMProxyCallScope.h"

#include "lumetra/nodes/LMFilterProxy.h"

#include <vector>

namespace {

struct OpenScope {
    const LMFilterProxy* proxy;
    bool claimed;
};

// Innermost scope last. Scopes end in the reverse order they began (they are
// temporaries of one expression, or nested), so a stack suffices.
thread_local std::vector<OpenScope> openScopes;

} // namespace

LMProxyCallScope::LMProxyCallScope(const LMFilterProxy* proxy)
{
    openScopes.push_back({proxy, false});
}

LMProxyCallScope::~LMProxyCallScope()
{
    openScopes.pop_back();
}

namespace {

// The innermost call on this filter decides: once it is settled, what runs
// inside it is the filter calling itself.
OpenScope* innermostScopeOn(const LMFilter* filter)
{
    for (auto scope = openScopes.rbegin(); scope != openScopes.rend(); ++scope) {
        if (scope->proxy->target().get() == filter)
            return scope->claimed ? nullptr : &*scope;
    }
    return nullptr;
}

} // namespace

const LMFilterProxy* LMProxyCallScope::undecided(const LMFilter* filter)
{
    const OpenScope* scope = innermostScopeOn(filter);
    return scope ? scope->proxy : nullptr;
}

const LMFilterProxy* LMProxyCallScope::claim(const LMFilter* filter)
{
    OpenScope* scope = innermostScopeOn(filter);
    if (!scope)
        return nullptr;
    scope->claimed = true;
    return scope->proxy;
}
