#include "lumetra/platform/LMException.h"

LMException::LMException(std::string name, std::string reason)
    : std::runtime_error(name + " " + reason), name_(std::move(name)), reason_(std::move(reason))
{}
