#pragma once

#include <cstdint>

// How a picture or texture of one size is fitted to a context of another.
// Any value other than the two named ones behaves as fill.
using LMContentScaleMode = int64_t;

// Covers the whole context, keeping the aspect ratio; what overflows is cropped.
constexpr LMContentScaleMode LMContentScaleModeFill = 0;
// Covers the whole context exactly, changing the aspect ratio as needed.
constexpr LMContentScaleMode LMContentScaleModeStretch = 1;
