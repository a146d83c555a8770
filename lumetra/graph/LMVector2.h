#pragma once

#include "lumetra/graph/LMFloatUniform.h"

// A vec2 uniform, uploaded from the first 2 numbers of a list.
//
// Threads: as LMUniform.
class LMVector2 : public LMFloatUniform {
public:
    LMVector2() : LMFloatUniform(Type::vec2) {}

    static std::shared_ptr<LMVector2> vectorWithName(std::string name)
    {
        return uniformWithName<LMVector2>(std::move(name));
    }
};
