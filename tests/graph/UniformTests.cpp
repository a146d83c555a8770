#include "support/LogCapture.h"

#include <lumetra/context/LMContext.h>
#include <lumetra/graph/LMMatrix3.h>
#include <lumetra/graph/LMVector2.h>
#include <lumetra/graph/LMVector3.h>
#include <lumetra/graph/LMVector4.h>

#include <gtest/gtest.h>

namespace {

// A program whose declarations are the ones the uniform objects write, and
// which uses every uniform so that none is optimised away.
class Uniforms : public testing::Test {
protected:
    void SetUp() override
    {
        const std::string source = "#version 150\nout vec3 lm_output; " + center->uniformString() +
                                   tint->uniformString() + weights->uniformString() + matrix->uniformString() +
                                   "\nvoid main() { lm_output = vec3(lm_center, 0.0) + lm_tint + lm_weights.xyz * "
                                   "lm_weights.w + lm_matrix * vec3(1.0); }\n";
        program = context->createProgramWithName("Uniforms", source.c_str());
        context->makeCurrentContext();
        context->executeOpenGLNoContextSwitch([&] { program->useProgram(); });
    }

    std::vector<float> read(const std::string& name, size_t count)
    {
        std::vector<float> values(count, -1.0f);
        context->executeOpenGLNoContextSwitch(
            [&] { glGetUniformfv(program->number(), program->uniformLocation(uniformName(name)), values.data()); });
        return values;
    }

    // The location is asked on the GL queue, where the program's context is current.
    void bind(LMUniform& uniform, const LMValue& value)
    {
        GLint location = -1;
        const std::string name = uniformName(uniform.name());
        context->executeOpenGLNoContextSwitch([&] { location = program->uniformLocation(name); });
        uniform.bindToLocation(location, value, context);
    }

    std::shared_ptr<LMContext> context = LMContext::contextWithDimensions({4, 4});
    std::shared_ptr<LMVector2> center = LMVector2::vectorWithName("center");
    std::shared_ptr<LMVector3> tint = LMVector3::vectorWithName("tint");
    std::shared_ptr<LMVector4> weights = LMVector4::vectorWithName("weights");
    std::shared_ptr<LMMatrix3> matrix = LMMatrix3::matrixWithName("matrix");
    std::shared_ptr<LMProgram> program;
};

} // namespace

// Each upload is read back from GL. A short list, or nothing, uploads zeros
// silently; a value of another kind uploads zeros and is reported once per
// uniform.
TEST_F(Uniforms, UploadTheirLeadingEntriesOrZeros)
{
    LMUniform base;
    base.setName("center");
    const std::vector<float> nineZeros(9, 0.0f);
    struct Case {
        LMUniform& uniform;
        LMValue value;
        std::vector<float> expected;
        const char* what;
    };
    const Case cases[] = {
        {*center, LMValue{3.0, 4.0, 5.0}, {3, 4}, "entries past the second are ignored"},
        {base, LMValue{1.0, 1.0}, {3, 4}, "the base class uploads nothing"},
        {*center, LMValue{7.0}, {0, 0}, "a short list is never read in part"},
        {*tint, LMValue{0.5, 0.25, 0.125}, {0.5, 0.25, 0.125}, "three numbers"},
        {*tint, LMValue(), {0, 0, 0}, "nothing"},
        {*weights, LMValue{1.0, 2.0, 3.0, 4.0}, {1, 2, 3, 4}, "four numbers"},
        {*weights, LMValue{1.0, 2.0, 3.0}, {0, 0, 0, 0}, "three of four"},
        // glGetUniformfv gives a mat3 column by column: as it was given.
        {*matrix, LMValue{1, 2, 3, 4, 5, 6, 7, 8, 9}, {1, 2, 3, 4, 5, 6, 7, 8, 9}, "nine numbers"},
        {*matrix, LMValue{1, 2, 3, 4, 5, 6, 7, 8}, nineZeros, "eight of nine"},
        {*center, LMValue{1.0, 2.0}, {1, 2}, "two numbers"},
        {*center, LMValue(5.0), {0, 0}, "a number"},
        {*center, LMValue{1.0, 2.0}, {1, 2}, "two numbers again"},
        {*center, LMValue("not numbers"), {0, 0}, "a string, not reported again"},
        {*matrix, LMValue{1, 2, 3, 4, 5, 6, 7, 8, 9}, {1, 2, 3, 4, 5, 6, 7, 8, 9}, "nine numbers again"},
        {*matrix, LMValue("nine numbers"), nineZeros, "a string"},
    };
    LogCapture capture;
    for (const Case& c : cases) {
        bind(c.uniform, c.value);
        EXPECT_EQ(read(c.uniform.name(), c.expected.size()), c.expected) << c.what;
    }
    EXPECT_EQ(capture.lines(), (std::vector<std::string>{
                                   "LMVector2: The value of center is a number, not a list of 2 numbers; using zeros",
                                   "LMMatrix3: The value of matrix is a string, not a list of 9 numbers; using zeros",
                               }));
}
