#include "lumetra/LumetraVersion.h"

// The build reads the number below to set the shared object's version.
extern "C" {
const double LumetraVersionNumber = 1.0;
const unsigned char LumetraVersionString[] = "@(#)PROGRAM:Lumetra  PROJECT:Lumetra-1\n";
}
