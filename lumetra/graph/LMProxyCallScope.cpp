#include "lumetra/graph/LMProxyCallScope.h"

namespace {

struct OpenScope {
    const LMFilter* target;
    const std::vector<std::string>* watched;
    bool claimed;
};

// Innermost scope last. Scopes end in the reverse order they began (they are
// temporaries of one expression, or nested), so a stack suffices.
thread_local std::vector<OpenScope> openScopes;

// The innermost call on this filter decides: once it is settled, what runs
// inside it is the filter calling itself.
OpenScope* innermostScopeOn(const LMFilter* filter)
{
    if (!filter)
        return nullptr;
    for (auto scope = openScopes.rbegin(); scope != openScopes.rend(); ++scope) {
        if (scope->target == filter)
            return scope->claimed ? nullptr : &*scope;
    }
    return nullptr;
}

} // namespace

LMProxyCallScope::LMProxyCallScope(const LMFilter* target, const std::vector<std::string>* watched)
{
    openScopes.push_back({target, watched, false});
}

LMProxyCallScope::~LMProxyCallScope()
{
    openScopes.pop_back();
}

const std::vector<std::string>* LMProxyCallScope::undecided(const LMFilter* filter)
{
    const OpenScope* scope = innermostScopeOn(filter);
    return scope ? scope->watched : nullptr;
}

const std::vector<std::string>* LMProxyCallScope::claim(const LMFilter* filter)
{
    OpenScope* scope = innermostScopeOn(filter);
    if (!scope)
        return nullptr;
    scope->claimed = true;
    return scope->watched;
}
