#pragma once

#include "lumetra/graph/LMUniform.h"

#include <memory>
#include <string>

// What LMVector2, LMVector3, LMVector4 and LMMatrix3 share: a uniform of a
// GLSL float type, declared by its type name and uploaded from the first
// numbers of a list. The subclasses only say which type they are and give
// their named constructors. A value of the wrong kind is reported under the
// name of the library's class for the type (LMVector2 for vec2, and so on).
//
// Threads: as LMUniform.
class LMFloatUniform : public LMUniform {
public:
    enum class Type { vec2, vec3, vec4, mat3 };

    std::string uniformString() const override;
    void bindToLocation(GLint location, const LMValue& value, const std::shared_ptr<LMContext>& context) override;

protected:
    explicit LMFloatUniform(Type type) : type_(type) {}

    template <class Uniform>
    static std::shared_ptr<Uniform> uniformWithName(std::string name)
    {
        auto uniform = std::make_shared<Uniform>();
        uniform->setName(std::move(name));
        return uniform;
    }

private:
    Type type_;
};
