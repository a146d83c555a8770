#include "LogRecorder.h"

#include <lumetra/platform/LMLog.h>

#include <cstdio>
#include <utility>

LogRecorder::LogRecorder(bool echo) : echo_(echo)
{
    LMSetLogSink([this](const std::string& line) { record(line); });
}

LogRecorder::~LogRecorder()
{
    LMSetLogSink({});
}

void LogRecorder::record(const std::string& line)
{
    if (echo_)
        std::fprintf(stderr, "%s\n", line.c_str());
    std::lock_guard<std::mutex> lock(mutex_);
    // A runaway logger must not grow the tool without bound.
    if (lines_.size() >= 1000)
        lines_.erase(lines_.begin(), lines_.begin() + 500);
    lines_.push_back(line);
}

std::vector<std::string> LogRecorder::takeLines()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return std::exchange(lines_, {});
}

std::string LogRecorder::lastLineContaining(const std::string& needle)
{
    std::lock_guard<std::mutex> lock(mutex_);
    for (auto line = lines_.rbegin(); line != lines_.rend(); ++line) {
        if (line->find(needle) == std::string::npos)
            continue;
        const size_t prefix = line->find(": ");
        const bool hasClassPrefix = prefix != std::string::npos && line->find(' ') > prefix;
        return hasClassPrefix ? line->substr(prefix + 2) : *line;
    }
    return {};
}
