#pragma once

// Runs up a layer: graph/ may not include nodes/.
#include "lumetra/nodes/LMNode.h"
