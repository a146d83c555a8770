#pragma once

#include "lumetra/graph/LMUniform.h"

// A vec4 uniform, uploaded from the first 4 numbers of a list.
class LMVector4 : public LMUniform {
public:
    static std::shared_ptr<LMVector4> vectorWithName(std::string name);

    std::string uniformString() const override;
    void bindToLocation(GLint location, const LMValue& value, const std::shared_ptr<LMContext>& context) override;
};
