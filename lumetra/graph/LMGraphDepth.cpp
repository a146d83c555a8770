#include "lumetra/graph/LMGraphDepth.h"

namespace {

thread_local int currentDepth = 0;

} // namespace

LMGraphDepth::LMGraphDepth() : tooDeep_(++currentDepth > maximumDepth)
{}

LMGraphDepth::~LMGraphDepth()
{
    --currentDepth;
}
