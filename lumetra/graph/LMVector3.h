#pragma once

#include "lumetra/graph/LMFloatUniform.h"

// A vec3 uniform, uploaded from the first 3 numbers of a list.
//
// Threads: as LMUniform.
class LMVector3 : public LMFloatUniform {
public:
    LMVector3() : LMFloatUniform(Type::vec3) {}

    static std::shared_ptr<LMVector3> vectorWithName(std::string name)
    {
        return uniformWithName<LMVector3>(std::move(name));
    }
};
