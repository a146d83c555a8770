#pragma once

// A point in pixels. Compared exactly, component by component; where it
// becomes a GL quantity it is floored to an integer.
struct LMPoint {
    double x = 0.0;
    double y = 0.0;

    friend bool operator==(const LMPoint&, const LMPoint&) = default;
};
