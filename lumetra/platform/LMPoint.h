#pragma once

// A point in pixels. Compared exactly, component by component; where it
// becomes a GL quantity it is floored to an integer.
//
// Threads: a plain value; no locks; copies may be used on any thread.
struct LMPoint {
    double x = 0.0;
    double y = 0.0;

    friend bool operator==(const LMPoint&, const LMPoint&) = default;
};
