#pragma once

#include "lumetra/graph/LMUniform.h"

// A vec2 uniform, uploaded from the first 2 numbers of a list.
class LMVector2 : public LMUniform {
public:
    static std::shared_ptr<LMVector2> vectorWithName(std::string name);

    std::string uniformString() const override;
    void bindToLocation(GLint location, const LMValue& value, const std::shared_ptr<LMContext>& context) override;
};
