#pragma once

#include <stdexcept>
#include <string>

// What stops the tool: one message for standard error and the exit status.
// A usage error (status 2) is a mistake on the command line; any other
// failure (status 1) is something the tool met while working.
class CliError : public std::runtime_error {
public:
    static constexpr int usageStatus = 2;
    static constexpr int failureStatus = 1;

    explicit CliError(const std::string& message, int status = failureStatus)
        : std::runtime_error(message), status_(status)
    {}

    static CliError usage(const std::string& message) { return CliError(message, usageStatus); }

    int status() const { return status_; }

private:
    int status_;
};
