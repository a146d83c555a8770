#pragma once

class LMFilter;
class LMFilterProxy;

// How a filter's setter learns that it was called through the filter's
// proxy. Every call made through a filter handle (`handle->setRadius(5)`)
// opens a scope for the length of the expression. C++ cannot tell the filter
// the name of the member function the handle reached, so the call is named
// by what it does: until the call is settled, each value it stores asks
// whether the setter of that key is watched, and the first watched one marks
// the filter and settles the call. A member that is not a setter of its own
// key (a circle's setCenter, which stores centerVector) may settle the call
// first under its real name, and a draw settles it without marking. Whatever
// runs after the call is settled marks nothing, and so does anything called
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
    // through one and the call is not settled yet; the call stays open.
    static const LMFilterProxy* undecided(const LMFilter* filter);
    // As undecided, and settles the call: nothing run after it marks.
    static const LMFilterProxy* claim(const LMFilter* filter);
};
