#include "lumetra/graph/LMUniform.h"

#include "lumetra/platform/LMLog.h"

std::string uniformName(const std::string& name)
{
    return "lm_" + name;
}

std::string LMUniform::uniformString() const
{
    return "";
}

void LMUniform::bindToLocation(GLint, const LMValue&, const std::shared_ptr<LMContext>&)
{}

void LMUniform::bindToLocationWithTextureUnit(GLint location, const LMValue& value,
                                              const std::shared_ptr<LMContext>& context, GLint)
{
    bindToLocation(location, value, context);
}

std::vector<float> LMUniform::componentsOf(const LMValue& value, size_t count, const char* className) const
{
    std::vector<float> components(count, 0.0f);
    const std::vector<double>* numbers = value.numbers();
    if (!numbers) {
        if (!value.isNone() && !reportedWrongKind_.exchange(true))
            LMLog("%s: The value of %s is %s, not a list of %zu numbers; using zeros", className, name_.c_str(),
                  value.kindDescription(), count);
        return components;
    }
    if (numbers->size() >= count) {
        for (size_t i = 0; i < count; ++i)
            components[i] = static_cast<float>((*numbers)[i]);
    }
    return components;
}
