#pragma once

#include <mutex>
#include <string>
#include <vector>

// Takes the library's log lines for as long as it lives: the tool prints
// them only when asked (--verbose), and quotes the one that explains a
// failure in its own message.
class LogRecorder {
public:
    explicit LogRecorder(bool echo);
    ~LogRecorder();
    LogRecorder(const LogRecorder&) = delete;
    LogRecorder& operator=(const LogRecorder&) = delete;

    // The lines logged since the last call, oldest first.
    std::vector<std::string> takeLines();
    // The last line logged since the last take that contains `needle`,
    // without a leading "Class: " prefix; empty when there is none.
    std::string lastLineContaining(const std::string& needle);

private:
    void record(const std::string& line);

    bool echo_;
    std::mutex mutex_;
    std::vector<std::string> lines_;
};
