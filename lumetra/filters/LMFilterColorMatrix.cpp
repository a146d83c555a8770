#include "lumetra/filters/LMFilterColorMatrix.h"

namespace {

// uniform mat4 lm_NAME from twelve numbers row by row: the 3 by 4 matrix in
// its upper rows, the fourth row unused. One uniform of a plain type, so a
// fused run declares and sets it as it does any other.
class MatrixUniform : public LMUniform {
public:
    std::string uniformString() const override { return "uniform mat4 " + uniformName(name()) + "; "; }
    void bindToLocation(GLint location, const LMValue& value, const std::shared_ptr<LMContext>&) override
    {
        const std::vector<float> rows = componentsOf(value, 12, "LMFilterColorMatrix");
        float columns[16] = {};
        for (size_t row = 0; row < 3; ++row)
            for (size_t column = 0; column < 4; ++column)
                columns[column * 4 + row] = rows[row * 4 + column];
        glUniformMatrix4fv(location, 1, GL_FALSE, columns);
    }
};

LMParameter matrixParameter()
{
    LMParameter matrix;
    matrix.name = "matrix";
    matrix.role = LMParameter::Role::Uniform;
    matrix.type = LMParameter::Type::Numbers;
    matrix.listLength = 12;
    matrix.defaultValue = LMValue{1.0, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0};
    matrix.help = "m00,...,m23 row by row: out_i = m_i0 r + m_i1 g + m_i2 b + m_i3";
    return matrix;
}

} // namespace

const LMFilterDeclaration& LMFilterColorMatrix::declaration()
{
    static const LMFilterDeclaration declared =
        LMFilterDeclaration("color-matrix", "colour",
                            "a 3 by 4 matrix: each channel a sum of the three, plus a constant")
            .input("input", "the image")
            .perPixel()
            .parameter(matrixParameter())
            .demo("color-matrix matrix=0,0,1,0,0,1,0,0,1,0,0,0");
    return declared;
}

std::string LMFilterColorMatrix::kernelSource() const
{
    return "void main() {\n"
           "    lm_output = (lm_matrix * vec4(texture(lm_input, lm_location).rgb, 1.0)).rgb;\n"
           "}\n";
}

std::vector<std::shared_ptr<LMUniform>> LMFilterColorMatrix::otherUniforms() const
{
    auto matrix = std::make_shared<MatrixUniform>();
    matrix->setName("matrix");
    return {matrix};
}
