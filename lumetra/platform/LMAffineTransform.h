#pragma once

#include "lumetra/platform/LMPoint.h"

// An affine map of the plane: (x, y) goes to (m11 x + m21 y + tX,
// m12 x + m22 y + tY). The identity when default-constructed. Each operation
// applies to points before what the transform already holds, so the newest
// comes first: T.translateXBy(1, 0).scaleBy(2) maps p to T(translate(scale(p))).
//
// Threads: a plain value; no locks; copies may be used on any thread.
struct LMAffineTransform {
    double m11 = 1.0;
    double m12 = 0.0;
    double m21 = 0.0;
    double m22 = 1.0;
    double tX = 0.0;
    double tY = 0.0;

    friend bool operator==(const LMAffineTransform&, const LMAffineTransform&) = default;

    LMAffineTransform& translateXBy(double x, double y);
    LMAffineTransform& scaleXBy(double x, double y);
    LMAffineTransform& scaleBy(double scale);
    LMAffineTransform& rotateByDegrees(double degrees);
    // Points are mapped by `other` first, then by this transform.
    LMAffineTransform& prependTransform(const LMAffineTransform& other);
    // The inverse map; a singular transform becomes the identity.
    LMAffineTransform& invert();

    LMPoint transformPoint(LMPoint point) const;
    bool isIdentity() const { return *this == LMAffineTransform{}; }
};
