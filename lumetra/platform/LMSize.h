#pragma once

// A size in pixels. Compared exactly, component by component; where it
// becomes a GL quantity it is floored to an integer.
//
// Threads: a plain value; no locks; copies may be used on any thread.
struct LMSize {
    double width = 0.0;
    double height = 0.0;

    friend bool operator==(const LMSize&, const LMSize&) = default;
};
