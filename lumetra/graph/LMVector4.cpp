#include "lumetra/graph/LMVector4.h"

#include "lumetra/context/LMContext.h"

std::shared_ptr<LMVector4> LMVector4::vectorWithName(std::string name)
{
    auto vector = std::make_shared<LMVector4>();
    vector->setName(std::move(name));
    return vector;
}

std::string LMVector4::uniformString() const
{
    return "uniform vec4 " + uniformName(name()) + "; ";
}

void LMVector4::bindToLocation(GLint location, const LMValue& value, const std::shared_ptr<LMContext>& context)
{
    if (!context)
        return;
    const std::vector<float> v = componentsOf(value, 4, "LMVector4");
    context->executeOpenGLNoContextSwitch([&] { glUniform4f(location, v[0], v[1], v[2], v[3]); });
}
