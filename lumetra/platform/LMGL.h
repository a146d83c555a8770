#pragma once

// The one place where the library includes OpenGL: the 3.2+ core profile
// declarations, with prototypes, resolved through glvnd's libOpenGL.
#ifndef GL_GLEXT_PROTOTYPES
#define GL_GLEXT_PROTOTYPES 1
#endif
#include <GL/glcorearb.h>

#include <cmath>
#include <limits>

// Sizes and positions are doubles; GL takes 32-bit integers. These convert
// without undefined behaviour for NaN and out-of-range values: NaN becomes 0
// and the rest is clamped to the range of GLint.
inline GLint LMTruncateToGLint(double value)
{
    if (std::isnan(value))
        return 0;
    if (value >= static_cast<double>(std::numeric_limits<GLint>::max()))
        return std::numeric_limits<GLint>::max();
    if (value <= static_cast<double>(std::numeric_limits<GLint>::min()))
        return std::numeric_limits<GLint>::min();
    return static_cast<GLint>(value);
}

inline GLint LMFloorToGLint(double value)
{
    return LMTruncateToGLint(std::floor(value));
}
