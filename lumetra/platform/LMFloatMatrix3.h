#pragma once

#include <array>

// A 3×3 single-precision matrix, its nine elements stored column by column
// (elements 0 to 2 are the first column), as GL takes them untransposed.
//
// Threads: a plain value; no locks; copies may be used on any thread.
struct LMFloatMatrix3 {
    std::array<float, 9> m{1, 0, 0, 0, 1, 0, 0, 0, 1};

    friend bool operator==(const LMFloatMatrix3&, const LMFloatMatrix3&) = default;

    static LMFloatMatrix3 identity() { return {}; }
    // The inverse, or the identity when the determinant is zero (or not finite).
    LMFloatMatrix3 inverted() const;
};
