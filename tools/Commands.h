#pragma once

#include "CommandLine.h"
#include "LogRecorder.h"

#include <lumetra/context/LMContext.h>

#include <memory>

// Each command returns the process's exit status or throws a CliError.
int runChainCommand(const CommandLine& line, LogRecorder& log);
int demoCommand(const CommandLine& line, LogRecorder& log);
int infoCommand(const CommandLine& line, LogRecorder& log);
int viewCommand(const CommandLine& line, LogRecorder& log);

// A rendering context of the size, or a CliError saying why there is none:
// no GL context, or a size outside the renderer's limits.
std::shared_ptr<LMContext> makeContext(LMSize size, LogRecorder& log);
void checkSizeFits(LMSize size, const LMContext& context, const std::string& what);
