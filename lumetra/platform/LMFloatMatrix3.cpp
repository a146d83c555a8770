#include "lumetra/platform/LMFloatMatrix3.h"

#include <cmath>

LMFloatMatrix3 LMFloatMatrix3::inverted() const
{
    // Element (row r, column c) is m[c * 3 + r].
    auto at = [this](int row, int column) { return m[column * 3 + row]; };
    const float c00 = at(1, 1) * at(2, 2) - at(1, 2) * at(2, 1);
    const float c01 = at(1, 2) * at(2, 0) - at(1, 0) * at(2, 2);
    const float c02 = at(1, 0) * at(2, 1) - at(1, 1) * at(2, 0);
    const float determinant = at(0, 0) * c00 + at(0, 1) * c01 + at(0, 2) * c02;
    if (determinant == 0.0f || !std::isfinite(determinant))
        return identity();

    const float inverse = 1.0f / determinant;
    // The inverse is the adjugate (the transposed cofactors) over the determinant.
    const float row0[3] = {c00, at(0, 2) * at(2, 1) - at(0, 1) * at(2, 2), at(0, 1) * at(1, 2) - at(0, 2) * at(1, 1)};
    const float row1[3] = {c01, at(0, 0) * at(2, 2) - at(0, 2) * at(2, 0), at(0, 2) * at(1, 0) - at(0, 0) * at(1, 2)};
    const float row2[3] = {c02, at(0, 1) * at(2, 0) - at(0, 0) * at(2, 1), at(0, 0) * at(1, 1) - at(0, 1) * at(1, 0)};
    LMFloatMatrix3 result;
    for (int column = 0; column < 3; ++column) {
        result.m[column * 3 + 0] = row0[column] * inverse;
        result.m[column * 3 + 1] = row1[column] * inverse;
        result.m[column * 3 + 2] = row2[column] * inverse;
    }
    return result;
}
