#pragma once

#include <stdexcept>
#include <string>

// The one exception the library throws, where misuse cannot be reported and
// carried on from. It has a name, a sentence that says what kind of misuse
// this is, and a reason that names the objects involved; what() gives both.
//
// Threads: a plain value; no locks; copies may be used on any thread. It is thrown on the calling thread (from a
// block, rethrown to the block's submitter).
class LMException : public std::runtime_error {
public:
    LMException(std::string name, std::string reason);

    const std::string& name() const { return name_; }
    const std::string& reason() const { return reason_; }

private:
    std::string name_;
    std::string reason_;
};
