#include "lumetra/platform/LMAffineTransform.h"

#include <cmath>
#include <numbers>

LMAffineTransform& LMAffineTransform::prependTransform(const LMAffineTransform& other)
{
    // this ∘ other, in the column-vector form [m11 m21 tX; m12 m22 tY; 0 0 1].
    const LMAffineTransform self = *this;
    m11 = self.m11 * other.m11 + self.m21 * other.m12;
    m12 = self.m12 * other.m11 + self.m22 * other.m12;
    m21 = self.m11 * other.m21 + self.m21 * other.m22;
    m22 = self.m12 * other.m21 + self.m22 * other.m22;
    tX = self.m11 * other.tX + self.m21 * other.tY + self.tX;
    tY = self.m12 * other.tX + self.m22 * other.tY + self.tY;
    return *this;
}

LMAffineTransform& LMAffineTransform::translateXBy(double x, double y)
{
    return prependTransform({1, 0, 0, 1, x, y});
}

LMAffineTransform& LMAffineTransform::scaleXBy(double x, double y)
{
    return prependTransform({x, 0, 0, y, 0, 0});
}

LMAffineTransform& LMAffineTransform::scaleBy(double scale)
{
    return scaleXBy(scale, scale);
}

LMAffineTransform& LMAffineTransform::rotateByDegrees(double degrees)
{
    const double radians = degrees * std::numbers::pi / 180.0;
    const double c = std::cos(radians), s = std::sin(radians);
    return prependTransform({c, s, -s, c, 0, 0});
}

LMAffineTransform& LMAffineTransform::invert()
{
    const double determinant = m11 * m22 - m21 * m12;
    if (determinant == 0.0 || !std::isfinite(determinant)) {
        *this = LMAffineTransform{};
        return *this;
    }
    const LMAffineTransform self = *this;
    m11 = self.m22 / determinant;
    m12 = -self.m12 / determinant;
    m21 = -self.m21 / determinant;
    m22 = self.m11 / determinant;
    tX = (self.m21 * self.tY - self.m22 * self.tX) / determinant;
    tY = (self.m12 * self.tX - self.m11 * self.tY) / determinant;
    return *this;
}

LMPoint LMAffineTransform::transformPoint(LMPoint point) const
{
    return {m11 * point.x + m21 * point.y + tX, m12 * point.x + m22 * point.y + tY};
}
