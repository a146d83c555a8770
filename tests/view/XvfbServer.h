#pragma once

#include <sys/types.h>

// The process id of the virtual X server that XvfbServer.cpp starts for the
// suite it is linked into; 0 before it has started.
pid_t xvfbServerPid();
