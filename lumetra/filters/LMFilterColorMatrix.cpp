#include "lumetra/filters/LMFilterColorMatrix.h"

namespace {

// uniform vec4 lm_NAME[3], from a list of twelve numbers.
class RowsUniform : public LMUniform {
public:
    std::string uniformString() const override { return "uniform vec4 " + uniformName(name()) + "[3]; "; }
    void bindToLocation(GLint location, const LMValue& value, const std::shared_ptr<LMContext>&) override
    {
        const std::vector<float> rows = componentsOf(value, 12, "LMFilterColorMatrix");
        glUniform4fv(location, 3, rows.data());
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
           "    vec4 c = vec4(texture(lm_input, lm_location).rgb, 1.0);\n"
           "    lm_output = vec3(dot(lm_matrix[0], c), dot(lm_matrix[1], c), dot(lm_matrix[2], c));\n"
           "}\n";
}

std::vector<std::shared_ptr<LMUniform>> LMFilterColorMatrix::otherUniforms() const
{
    auto rows = std::make_shared<RowsUniform>();
    rows->setName("matrix");
    return {rows};
}
