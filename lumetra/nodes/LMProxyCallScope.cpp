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

const LMFilterProxy* LMProxyCallScope::claim(const LMFilter* filter)
{
    for (auto scope = openScopes.rbegin(); scope != openScopes.rend(); ++scope) {
        if (scope->proxy->target().get() != filter)
            continue;
        // The innermost call on this filter decides: once claimed, what runs
        // inside it is the filter calling itself.
        if (scope->claimed)
            return nullptr;
        scope->claimed = true;
        return scope->proxy;
    }
    return nullptr;
}
