#pragma once

#include "lumetra/graph/LMUniform.h"

// A mat3 uniform, uploaded from nine numbers in column-major order: entries
// 0 to 2 are the first column. Fewer than nine give the zero matrix.
class LMMatrix3 : public LMUniform {
public:
    static std::shared_ptr<LMMatrix3> matrixWithName(std::string name);

    std::string uniformString() const override;
    void bindToLocation(GLint location, const LMValue& value, const std::shared_ptr<LMContext>& context) override;
};
