// A host program reaching an engine header.
#include <lumetra/graph/LMHidden.h>
