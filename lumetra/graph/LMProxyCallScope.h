#pragma once

#include <string>
#include <vector>

class LMFilter;

// How a filter's setter learns that it was called through the filter's
// handle. Every call made through a handle (`handle->setRadius(5)`) opens a
// scope for the length of the expression, holding the filter it reached and
// the setters its proxy watches. C++ cannot tell the filter the name of the
// member function the handle reached, so the call is named by what it does:
// until the call is settled, each value it stores asks whether the setter of
// that key is watched, and the first watched one marks the filter and
// settles the call. A member that is not a setter of its own key (a circle's
// setCenter, which stores centerVector) may settle the call first under its
// real name, and a draw settles it without marking. Whatever runs after the
// call is settled marks nothing, and so does anything called on the filter
// directly, outside a handle. Scopes nest (a handle used in the arguments of
// another handle's call opens its own).
//
// Threads: a scope lives on the thread that opened it and is seen by that
// thread only; nothing is locked.
class LMProxyCallScope {
public:
    // `watched` must outlive the scope (the proxy's own list does).
    LMProxyCallScope(const LMFilter* target, const std::vector<std::string>* watched);
    ~LMProxyCallScope();

    LMProxyCallScope(const LMProxyCallScope&) = delete;
    LMProxyCallScope& operator=(const LMProxyCallScope&) = delete;

    // The watched setters of the handle through which the current call
    // reached `filter`, if it came through one and the call is not settled
    // yet; the call stays open.
    static const std::vector<std::string>* undecided(const LMFilter* filter);
    // As undecided, and settles the call: nothing run after it marks.
    static const std::vector<std::string>* claim(const LMFilter* filter);
};
