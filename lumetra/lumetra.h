#pragma once

// Everything a host needs, in one include: contexts, the nodes of a graph,
// the built-in filters, pictures and outside textures, the view and the
// performance monitor. Writing a filter class of one's own takes
// <lumetra/lumetra_authoring.h> as well.

#include "lumetra/LumetraVersion.h"

#include "lumetra/platform/LMAffineTransform.h"
#include "lumetra/platform/LMBitmap.h"
#include "lumetra/platform/LMBlockRef.h"
#include "lumetra/platform/LMEGLDisplay.h"
#include "lumetra/platform/LMException.h"
#include "lumetra/platform/LMFloatMatrix3.h"
#include "lumetra/platform/LMGL.h"
#include "lumetra/platform/LMLog.h"
#include "lumetra/platform/LMOpenGLContext.h"
#include "lumetra/platform/LMOpenGLPixelFormat.h"
#include "lumetra/platform/LMPoint.h"
#include "lumetra/platform/LMRGBA.h"
#include "lumetra/platform/LMRect.h"
#include "lumetra/platform/LMSize.h"
#include "lumetra/platform/VarnelDispatch.h"

#include "lumetra/context/LMContext.h"

#include "lumetra/graph/LMDrawable.h"
#include "lumetra/graph/LMDrawableCaching.h"
#include "lumetra/graph/LMFilterDeclaration.h"
#include "lumetra/graph/LMGraphDepth.h"
#include "lumetra/graph/LMImage.h"
#include "lumetra/graph/LMParameter.h"
#include "lumetra/graph/LMScaler.h"
#include "lumetra/graph/LMScalerFill.h"
#include "lumetra/graph/LMScalerStretch.h"
#include "lumetra/graph/LMValue.h"

#include "lumetra/nodes/LMColor.h"
#include "lumetra/nodes/LMFilterProxy.h"
#include "lumetra/nodes/LMFilterRef.h"
#include "lumetra/nodes/LMImageAccumulator.h"
#include "lumetra/nodes/LMPassthrough.h"

#include "lumetra/filters/LMFilterRegistry.h"
#include "lumetra/filters/LMFilters.h"

#include "lumetra/interop/LMContentScaleMode.h"
#include "lumetra/interop/LMFilterOpenGLTextureAdapter.h"
#include "lumetra/interop/LMOpenGLTextureAdapter.h"
#include "lumetra/interop/LMPicture.h"

#include "lumetra/view/LMDrawableView.h"

#include "lumetra/diagnostics/LMPerformanceMonitor.h"
#include "lumetra/diagnostics/LMTargetAction.h"
