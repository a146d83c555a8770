#include "lumetra/graph/LMVector3.h"

#include "lumetra/context/LMContext.h"

std::shared_ptr<LMVector3> LMVector3::vectorWithName(std::string name)
{
    auto vector = std::make_shared<LMVector3>();
    vector->setName(std::move(name));
    return vector;
}

std::string LMVector3::uniformString() const
{
    return "uniform vec3 " + uniformName(name()) + "; ";
}

void LMVector3::bindToLocation(GLint location, const LMValue& value, const std::shared_ptr<LMContext>& context)
{
    if (!context)
        return;
    const std::vector<float> v = componentsOf(value, 3, "LMVector3");
    context->executeOpenGLNoContextSwitch([&] { glUniform3f(location, v[0], v[1], v[2]); });
}
