#pragma once

#include "lumetra/graph/LMFloatUniform.h"

// A vec4 uniform, uploaded from the first 4 numbers of a list.
//
// Threads: as LMUniform.
class LMVector4 : public LMFloatUniform {
public:
    LMVector4() : LMFloatUniform(Type::vec4) {}

    static std::shared_ptr<LMVector4> vectorWithName(std::string name)
    {
        return uniformWithName<LMVector4>(std::move(name));
    }
};
