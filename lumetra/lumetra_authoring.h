#pragma once

// Everything a filter author needs: the host API, and what a filter class
// or a node that draws with GL itself builds on (the filter base classes,
// uniforms, programs, buffers, the GL state cache and the pools).

#include "lumetra/lumetra.h"

#include "lumetra/context/LMBuffer.h"
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

#include "lumetra/graph/LMFilter.h"
#include "lumetra/graph/LMFilterSingleInput.h"
#include "lumetra/graph/LMMatrix3.h"
#include "lumetra/graph/LMMultiPassFilter.h"
#include "lumetra/graph/LMProxyCallScope.h"
#include "lumetra/graph/LMRenderPass.h"
#include "lumetra/graph/LMTableUniform.h"
#include "lumetra/graph/LMUniform.h"
#include "lumetra/graph/LMVAOStateTextured.h"
#include "lumetra/graph/LMVector2.h"
#include "lumetra/graph/LMVector3.h"
#include "lumetra/graph/LMVector4.h"
#include "lumetra/graph/LMWatchedSetters.h"

#include "lumetra/nodes/LMFilterClass.h"
