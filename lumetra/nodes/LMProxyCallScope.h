#pragma once

class LMFilter;
class LMFilterProxy;

// How a filter's setter learns that it was called through the filter's
// proxy. Every call made through a filter handle (`handle->setRadius(5)`)
// opens a scope for the length of the expression; the first setter of that
// filter to run in the scope claims it, and only a claimed scope lets a
// setter mark the filter. A setter that the filter then calls on itself finds
// the scope already claimed and marks nothing, and so does any setter called
// on the filter directly, outside a handle. Scopes nest (a handle used in the
// arguments of another handle's call opens its own) and live on the calling
// thread only.
class LMProxyCallScope {
public:
    explicit LMProxyCallScope(const LMFilterProxy* proxy);
    ~LMProxyCallScope();

    LMProxyCallScope(const LMProxyCallScope&) = delete;
    LMProxyCallScope& operator=(const LMProxyCallScope&) = delete;

    // The proxy through which the current call reached `filter`, if it came
    // through one and nothing has claimed the call yet; the call is claimed.
    static const LMFilterProxy* claim(const LMFilter* filter);
};
