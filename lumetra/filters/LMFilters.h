#pragma once

// Every built-in filter.

#include "lumetra/filters/LMFilterBlend.h"
#include "lumetra/filters/LMFilterBoxBlur.h"
#include "lumetra/filters/LMFilterCircle.h"
#include "lumetra/filters/LMFilterConvertFromSRGB.h"
#include "lumetra/filters/LMFilterConvertToSRGB.h"
#include "lumetra/filters/LMFilterCrop.h"
#include "lumetra/filters/LMFilterCurves.h"
#include "lumetra/filters/LMFilterFader.h"
#include "lumetra/filters/LMFilterFlip.h"
#include "lumetra/filters/LMFilterGaussianBlur.h"
#include "lumetra/filters/LMFilterInvert.h"
#include "lumetra/filters/LMFilterLut.h"
#include "lumetra/filters/LMFilterMax2.h"
#include "lumetra/filters/LMFilterMaxComponent.h"
#include "lumetra/filters/LMFilterMedian.h"
#include "lumetra/filters/LMFilterResize.h"
#include "lumetra/filters/LMFilterRotate.h"
#include "lumetra/filters/LMFilterTransform.h"
#include "lumetra/filters/LMFilterUnsharp.h"
