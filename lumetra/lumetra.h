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
#include "lumetra/context/LMObjectPool.h"
#include "lumetra/context/LMOpenGL.h"
#include "lumetra/context/LMPooledNumber.h"
#include "lumetra/context/LMPooledObject.h"
#include "lumetra/context/LMProgram.h"
#include "lumetra/context/LMRenderTarget.h"
#include "lumetra/context/LMRenderTargetPool.h"
#include "lumetra/context/LMVertexArray.h"
#include "lumetra/context/LMVertexArrayBuilder.h"
#include "lumetra/context/LMVertexAttribute.h"
#include "lumetra/context/LMVertexBuffer.h"
