#pragma once

// Everything a host needs, in one include.

#include "lumetra/LumetraVersion.h"

#include "lumetra/platform/LMBlockRef.h"
#include "lumetra/platform/LMEGLDisplay.h"
#include "lumetra/platform/LMGL.h"
#include "lumetra/platform/LMLog.h"
#include "lumetra/platform/LMOpenGLContext.h"
#include "lumetra/platform/LMOpenGLPixelFormat.h"
#include "lumetra/platform/LMPoint.h"
#include "lumetra/platform/LMRect.h"
#include "lumetra/platform/LMSize.h"
#include "lumetra/platform/VarnelDispatch.h"

#include "lumetra/context/LMBuffer.h"
#include "lumetra/context/LMContext.h"
#include "lumetra/context/LMOpenGL.h"
#include "lumetra/context/LMVertexArray.h"
#include "lumetra/context/LMVertexArrayBuilder.h"
#include "lumetra/context/LMVertexAttribute.h"
#include "lumetra/context/LMVertexBuffer.h"
