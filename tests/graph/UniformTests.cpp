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

    // Locations are asked on the GL queue, where the program's context is current.
    GLint locationOf(const std::shared_ptr<LMProgram>& of, const std::string& name)
    {
        GLint location = -1;
        context->executeOpenGLNoContextSwitch([&] { location = of->uniformLocation(uniformName(name)); });
        return location;
    }

    void bind(LMUniform& uniform, const LMValue& value)
    {
        uniform.bindToLocation(locationOf(program, uniform.name()), value, context);
    }

    std::shared_ptr<LMContext> context = LMContext::contextWithDimensions({4, 4});
    std::shared_ptr<LMVector2> center = LMVector2::vectorWithName("center");
    std::shared_ptr<LMVector3> tint = LMVector3::vectorWithName("tint");
    std::shared_ptr<LMVector4> weights = LMVector4::vectorWithName("weights");
    std::shared_ptr<LMMatrix3> matrix = LMMatrix3::matrixWithName("matrix");
    std::shared_ptr<LMProgram> program;
};

} // namespace

// A short list, or nothing, uploads zeros silently.
TEST_F(Uniforms, UploadTheirLeadingEntriesOrZeros)
{
    LogCapture capture;
    bind(*center, LMValue{3.0, 4.0, 5.0});
    EXPECT_EQ(read("center", 2), (std::vector<float>{3, 4})) << "entries past the second are ignored";
    LMUniform base;
    base.setName("center");
    bind(base, LMValue{1.0, 1.0});
    EXPECT_EQ(read("center", 2), (std::vector<float>{3, 4})) << "the base class uploads nothing";
    bind(*center, LMValue{7.0});
    EXPECT_EQ(read("center", 2), (std::vector<float>{0, 0})) << "a short list is never read in part";

    bind(*tint, LMValue{0.5, 0.25, 0.125});
    EXPECT_EQ(read("tint", 3), (std::vector<float>{0.5, 0.25, 0.125}));
    bind(*tint, LMValue());
    EXPECT_EQ(read("tint", 3), (std::vector<float>{0, 0, 0}));

    bind(*weights, LMValue{1.0, 2.0, 3.0, 4.0});
    EXPECT_EQ(read("weights", 4), (std::vector<float>{1, 2, 3, 4}));
    bind(*weights, LMValue{1.0, 2.0, 3.0});
    EXPECT_EQ(read("weights", 4), (std::vector<float>{0, 0, 0, 0}));
    bind(*matrix, LMValue{1, 2, 3, 4, 5, 6, 7, 8});
    EXPECT_EQ(read("matrix", 9), std::vector<float>(9, 0.0f));
    EXPECT_TRUE(capture.lines().empty());
}

TEST_F(Uniforms, MatrixTakesNineEntriesColumnByColumn)
{
    bind(*matrix, LMValue{1, 2, 3, 4, 5, 6, 7, 8, 9});
    // glGetUniformfv returns a mat3 column by column, as it was given.
    EXPECT_EQ(read("matrix", 9), (std::vector<float>{1, 2, 3, 4, 5, 6, 7, 8, 9}));

    // The first column is (1, 2, 3): drawing lm_matrix * (1, 0, 0) shows it.
    auto probe = context->createProgramWithName(
        "MatrixProbe", ("#version 150\nout vec3 lm_output; " + matrix->uniformString() +
                        "void main() { lm_output = lm_matrix * vec3(1.0, 0.0, 0.0) / 4.0; }")
                           .c_str());
    auto target = context->requestRenderTargetWithDimensions({4, 4});
    context->bindToRenderTarget(target);
    context->bindToSharedVAO();
    context->executeOpenGLNoContextSwitch([&] { probe->useProgram(); });
    matrix->bindToLocation(locationOf(probe, "matrix"), LMValue{1, 2, 3, 4, 5, 6, 7, 8, 9}, context);
    GLubyte pixel[3] = {};
    context->executeOpenGLNoContextSwitch([&] {
        glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
        glReadPixels(1, 1, 1, 1, GL_RGB, GL_UNSIGNED_BYTE, pixel);
        program->useProgram();
    });
    EXPECT_NEAR(pixel[0], 0.25 * 255, 1);
    EXPECT_NEAR(pixel[1], 0.50 * 255, 1);
    EXPECT_NEAR(pixel[2], 0.75 * 255, 1);
    context->releaseRenderTarget(target);
}

TEST_F(Uniforms, ValuesOfTheWrongKindCountAsMissingAndAreReportedOnce)
{
    LogCapture capture;
    bind(*center, LMValue{1.0, 2.0});
    bind(*center, LMValue(5.0));
    EXPECT_EQ(read("center", 2), (std::vector<float>{0, 0}));
    bind(*center, LMValue("not numbers"));
    EXPECT_EQ(read("center", 2), (std::vector<float>{0, 0}));
    EXPECT_EQ(capture.lines(),
              (std::vector<std::string>{"LMVector2: The value of center is a number, not a list of 2 numbers; using zeros"}));

    bind(*matrix, LMValue("nine numbers"));
    EXPECT_EQ(read("matrix", 9), std::vector<float>(9, 0.0f));
    EXPECT_EQ(capture.lines().size(), 2u);
}
