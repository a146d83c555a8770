#include "lumetra/graph/LMVector2.h"

#include "lumetra/context/LMContext.h"

std::shared_ptr<LMVector2> LMVector2::vectorWithName(std::string name)
{
    auto vector = std::make_shared<LMVector2>();
    vector->setName(std::move(name));
    return vector;
}

std::string LMVector2::uniformString() const
{
    return "uniform vec2 " + uniformName(name()) + "; ";
}

void LMVector2::bindToLocation(GLint location, const LMValue& value, const std::shared_ptr<LMContext>& context)
{
    if (!context)
        return;
    const std::vector<float> v = componentsOf(value, 2, "LMVector2");
    context->executeOpenGLNoContextSwitch([&] { glUniform2f(location, v[0], v[1]); });
}
