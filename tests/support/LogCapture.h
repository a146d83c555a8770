#pragma once

#include <lumetra/platform/LMLog.h>

#include <mutex>
#include <string>
#include <vector>

// Collects every log line while it exists, then restores the default sink.
class LogCapture {
public:
    LogCapture()
    {
        LMSetLogSink([this](const std::string& line) {
            std::lock_guard<std::mutex> lock(mutex_);
            lines_.push_back(line);
        });
    }
    ~LogCapture() { LMSetLogSink({}); }

    std::vector<std::string> lines() const
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return lines_;
    }

    void clear()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        lines_.clear();
    }

private:
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
};
