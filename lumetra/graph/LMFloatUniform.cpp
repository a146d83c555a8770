#include "lumetra/graph/LMFloatUniform.h"

#include "lumetra/context/LMContext.h"

namespace {

struct TypeInfo {
    const char* glslName;
    size_t count;
    const char* className;
};

const TypeInfo& infoOf(LMFloatUniform::Type type)
{
    static constexpr TypeInfo infos[] = {
        {"vec2", 2, "LMVector2"},
        {"vec3", 3, "LMVector3"},
        {"vec4", 4, "LMVector4"},
        {"mat3", 9, "LMMatrix3"},
    };
    return infos[static_cast<size_t>(type)];
}

} // namespace

std::string LMFloatUniform::uniformString() const
{
    return std::string("uniform ") + infoOf(type_).glslName + " " + uniformName(name()) + "; ";
}

void LMFloatUniform::bindToLocation(GLint location, const LMValue& value, const std::shared_ptr<LMContext>& context)
{
    if (!context)
        return;
    const TypeInfo& info = infoOf(type_);
    const std::vector<float> v = componentsOf(value, info.count, info.className);
    context->executeOpenGLNoContextSwitch([&] {
        switch (type_) {
        case Type::vec2: glUniform2fv(location, 1, v.data()); break;
        case Type::vec3: glUniform3fv(location, 1, v.data()); break;
        case Type::vec4: glUniform4fv(location, 1, v.data()); break;
        case Type::mat3:
            // Column-major, as given: no transpose.
            glUniformMatrix3fv(location, 1, GL_FALSE, v.data());
            break;
        }
    });
}
