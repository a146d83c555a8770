#pragma once

// A rectangle in pixels: x and y of its lower-left corner, then its width
// and height. Compared exactly, field by field.
//
// Threads: a plain value; no locks; copies may be used on any thread.
struct LMRect {
    double x = 0.0;
    double y = 0.0;
    double width = 0.0;
    double height = 0.0;

    friend bool operator==(const LMRect&, const LMRect&) = default;
};
