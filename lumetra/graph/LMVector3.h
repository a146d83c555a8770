#pragma once

#include "lumetra/graph/LMUniform.h"

// A vec3 uniform, uploaded from the first 3 numbers of a list.
class LMVector3 : public LMUniform {
public:
    static std::shared_ptr<LMVector3> vectorWithName(std::string name);

    std::string uniformString() const override;
    void bindToLocation(GLint location, const LMValue& value, const std::shared_ptr<LMContext>& context) override;
};
