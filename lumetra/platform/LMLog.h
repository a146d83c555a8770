#pragma once

#include <functional>
#include <string>

// Writes one printf-style message as one line to the current log sink
// (standard error unless a sink is installed): newlines inside the message
// become "; ". Safe from any thread. A line that a sink logs while it runs
// goes to standard error.
void LMLog(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Installs the function that receives every log line, without its newline.
// An empty function restores the default sink, standard error. A sink may
// install another (the next line goes to it).
void LMSetLogSink(std::function<void(const std::string&)> sink);
