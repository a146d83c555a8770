#include "lumetra/graph/LMMatrix3.h"

#include "lumetra/context/LMContext.h"

std::shared_ptr<LMMatrix3> LMMatrix3::matrixWithName(std::string name)
{
    auto matrix = std::make_shared<LMMatrix3>();
    matrix->setName(std::move(name));
    return matrix;
}

std::string LMMatrix3::uniformString() const
{
    return "uniform mat3 " + uniformName(name()) + "; ";
}

void LMMatrix3::bindToLocation(GLint location, const LMValue& value, const std::shared_ptr<LMContext>& context)
{
    if (!context)
        return;
    const std::vector<float> slots = componentsOf(value, 9, "LMMatrix3");
    context->executeOpenGLNoContextSwitch([&] { glUniformMatrix3fv(location, 1, GL_FALSE, slots.data()); });
}
