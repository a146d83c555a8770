#pragma once

#include "lumetra/context/LMPooledObject.h"

#include <cstdint>

// What a plain LMObjectPool creates for a new id: the id itself.
//
// Threads: unchanged once made; no locks; any thread may read it.
class LMPooledNumber : public LMPooledObject {
public:
    explicit LMPooledNumber(uint64_t value) : value_(value) {}
    uint64_t value() const { return value_; }

private:
    uint64_t value_;
};
