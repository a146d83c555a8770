#include "lumetra/context/LMVertexArray.h"

LMVertexArray::LMVertexArray()
{
    glGenVertexArrays(1, &number_);
}

void LMVertexArray::bind()
{
    glBindVertexArray(number_);
}

void LMVertexArray::cleanup()
{
    glDeleteVertexArrays(1, &number_);
}
