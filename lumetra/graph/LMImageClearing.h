#pragma once

#include "lumetra/graph/LMImage.h"
#include "lumetra/platform/LMRGBA.h"
#include "lumetra/platform/LMSize.h"

#include <memory>

class LMContext;

// Leasing an image to draw into, and clearing one to a single colour: what a
// colour node draws, and what a filter draws when it cannot draw its own
// output (a missing input, a cycle, a graph too deep, a program that did not
// link).
//
// Threads: any thread; the GL steps run on the context's GL queue.

// A new image of `dimensions`, made the context's drawing target. Null when
// the pool gave it no target: nothing is bound then, and drawing would land
// in whatever target was bound before (the pool has said why).
std::shared_ptr<LMImage> leaseBoundImage(const std::shared_ptr<LMContext>& context, LMSize dimensions);

// Clears the bound drawing target to `color`, opaque. GL clamps clear colours
// to 0..1 but gives NaN no defined clamp: NaN components clear to 0.
void clearBoundTarget(LMContext& context, LMRGBA color);

// A new image of the context's size cleared to `color`, in one trip to the GL
// queue (it is often drawn on the host's thread). Without a GL context, or
// when the pool gave no target, an image with no target.
std::shared_ptr<LMImage> imageClearedToColor(const std::shared_ptr<LMContext>& context, LMRGBA color);
// What an input that cannot be drawn reads as.
std::shared_ptr<LMImage> blackImageWithContext(const std::shared_ptr<LMContext>& context);
