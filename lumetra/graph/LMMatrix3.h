#pragma once

#include "lumetra/graph/LMFloatUniform.h"

// A mat3 uniform, uploaded from nine numbers in column-major order: entries
// 0 to 2 are the first column. Fewer than nine give the zero matrix.
//
// Threads: as LMUniform.
class LMMatrix3 : public LMFloatUniform {
public:
    LMMatrix3() : LMFloatUniform(Type::mat3) {}

    static std::shared_ptr<LMMatrix3> matrixWithName(std::string name)
    {
        return uniformWithName<LMMatrix3>(std::move(name));
    }
};
